// SPDX-License-Identifier: MIT
// Huffman tables from the lists of a DHT segment: the number of codes of each length, and the
// symbols in the order of their codes. Codes count up within a length; from one length to the next
// the code is doubled, that is, a 0 bit is appended (ITU-T T.81, annex C).
//
// The encoder's table has the length and code of each symbol. The decoder's table has a look-up
// table by the next 8 bits for codes of up to 8 bits, and for each length the first code, the last
// code and the index of the first symbol. Longer codes are found by comparing with the last code of
// each length (F.2.2.3).
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/code_lengths.h"
#include "jpeg/huffman/records.h"

namespace zepjp {
namespace {

constexpr int kMaxCodes = 256;

// Whether the lists have more than 256 symbols.
bool TooManyCodes(const uint8_t* list_bits) {
  int count = 0;
  for (int i = 0; i < kMaxCodeBits; ++i) count += list_bits[i];
  return count > kMaxCodes;
}

// Calls visit(length, first code, first index, count) for each length that has codes, until it
// returns an error. In invalid lists a code may need up to 8 + 15 bits.
template <class Visit>
zepStatus ForLengths(const uint8_t* list_bits, const Visit& visit) {
  uint32_t code = 0;
  uint32_t index = 0;
  for (uint32_t length = 1; length <= kMaxCodeBits; ++length, code <<= 1) {
    const uint32_t count = list_bits[length - 1];
    if (count == 0) continue;
    if (const zepStatus bad = visit(length, code, index, count)) return bad;
    code += count;
    index += count;
  }
  return zepStatusOk;
}

// Whether a length has more codes than its bits can express, or uses the code of all ones.
bool Overfull(const uint8_t* list_bits) {
  return ForLengths(list_bits, [](uint32_t length, uint32_t code, uint32_t, uint32_t count) {
           return code + count >= 1U << length ? zepStatusBadHuffTable : zepStatusOk;
         }) != zepStatusOk;
}

zepStatus BuildEncoderTable(const uint8_t* list_bits, const uint8_t* list_vals,
                            zepiEncodeHuffmanSpec* table) {
  std::memset(table, 0, sizeof(*table));
  if (TooManyCodes(list_bits) || Overfull(list_bits)) return zepStatusBadHuffTable;
  return ForLengths(list_bits, [=](uint32_t length, uint32_t code, uint32_t index, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) {
      table->entry[list_vals[index + i]] = length << 16 | (code + i);
    }
    return zepStatusOk;
  });
}

// Fills the entries of the 8-bit table that begin with the codes of a length. A code whose entries
// would begin right at the end of the table is ignored; one that would begin later makes the table
// invalid.
zepStatus FillFast(zepiDecodeHuffmanSpec* table, uint32_t length, uint32_t code, uint32_t index,
                   uint32_t count) {
  const uint32_t span = 1U << (kFastCodeBits - length);
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t first = (code + i) * span;
    if (first > 256) return zepStatusBadHuffTable;
    const uint32_t entry = length << 16 | table->symbol[index + i];
    for (uint32_t at = first; at < first + span && at < 256; ++at) table->fast[at] = entry;
  }
  return zepStatusOk;
}

zepStatus BuildDecoderTable(const uint8_t* list_bits, const uint8_t* list_vals,
                            zepiDecodeHuffmanSpec* table) {
  std::memset(table, 0, sizeof(*table));
  if (TooManyCodes(list_bits)) return zepStatusBadHuffTable;
  for (int length = 1; length <= kMaxCodeBits + 1; ++length) table->lastCode[length] = kNoCode;
  ForLengths(list_bits, [=](uint32_t length, uint32_t code, uint32_t index, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i) table->symbol[index + i] = list_vals[index + i];
    table->firstCode[length] = static_cast<uint16_t>(code);
    table->lastCode[length] = static_cast<uint16_t>(code + count - 1);
    table->firstIndex[length] = static_cast<uint16_t>(index);
    return zepStatusOk;
  });
  return ForLengths(list_bits, [=](uint32_t length, uint32_t code, uint32_t index, uint32_t count) {
    return length <= kFastCodeBits ? FillFast(table, length, code, index, count) : zepStatusOk;
  });
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiEncodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* pSize) {
  return StoreRecordSize<zepiEncodeHuffmanSpec>(pSize);
}

zepStatus ZEP_CALL zepiEncodeHuffmanSpecInit_JPEG_8u(const uint8_t* pListBits,
                                                     const uint8_t* pListVals,
                                                     zepiEncodeHuffmanSpec* pEncHuffSpec) {
  if (auto bad = Checks().Ptr(pListBits).Ptr(pListVals).Ptr(pEncHuffSpec).Failed()) return bad;
  return BuildEncoderTable(pListBits, pListVals, pEncHuffSpec);
}

zepStatus ZEP_CALL zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* pListBits,
                                                          const uint8_t* pListVals,
                                                          zepiEncodeHuffmanSpec** ppEncHuffSpec) {
  if (auto bad = Checks().Ptr(pListBits).Ptr(pListVals).Ptr(ppEncHuffSpec).Failed()) return bad;
  if (auto bad = AllocateRecord(ppEncHuffSpec)) return bad;
  return BuildEncoderTable(pListBits, pListVals, *ppEncHuffSpec);
}

zepStatus ZEP_CALL zepiEncodeHuffmanSpecFree_JPEG_8u(zepiEncodeHuffmanSpec* pEncHuffSpec) {
  return FreeRecord(pEncHuffSpec);
}

zepStatus ZEP_CALL zepiDecodeHuffmanSpecGetBufSize_JPEG_8u(int32_t* pSize) {
  return StoreRecordSize<zepiDecodeHuffmanSpec>(pSize);
}

zepStatus ZEP_CALL zepiDecodeHuffmanSpecInit_JPEG_8u(const uint8_t* pListBits,
                                                     const uint8_t* pListVals,
                                                     zepiDecodeHuffmanSpec* pDecHuffSpec) {
  if (auto bad = Checks().Ptr(pListBits).Ptr(pListVals).Ptr(pDecHuffSpec).Failed()) return bad;
  return BuildDecoderTable(pListBits, pListVals, pDecHuffSpec);
}

zepStatus ZEP_CALL zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(const uint8_t* pListBits,
                                                          const uint8_t* pListVals,
                                                          zepiDecodeHuffmanSpec** ppDecHuffSpec) {
  if (auto bad = Checks().Ptr(pListBits).Ptr(pListVals).Ptr(ppDecHuffSpec).Failed()) return bad;
  if (auto bad = AllocateRecord(ppDecHuffSpec)) return bad;
  return BuildDecoderTable(pListBits, pListVals, *ppDecHuffSpec);
}

zepStatus ZEP_CALL zepiDecodeHuffmanSpecFree_JPEG_8u(zepiDecodeHuffmanSpec* pDecHuffSpec) {
  return FreeRecord(pDecHuffSpec);
}
