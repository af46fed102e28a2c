// SPDX-License-Identifier: MIT
// Baseline decoding of a block (ITU-T T.81, F.2.2).
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/fast_bit_reader.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"

namespace zepjp {
namespace {

void StoreCoefficient(int32_t value, int16_t* to) {
  const auto low = static_cast<uint16_t>(value);
  std::memcpy(to, &low, sizeof(low));
}

zepStatus TakeDc(const zepiDecodeHuffmanSpec& table, BitReader* reader, int32_t* difference) {
  uint32_t category = 0, bits = 0;
  if (auto bad = reader->TakeSymbol(table, &category)) return bad;
  if (category > 16) return zepStatusBadHuffCode;
  if (category == 0) return *difference = 0, zepStatusOk;
  if (auto bad = reader->Take(static_cast<int>(category), &bits)) return bad;
  *difference = ValueOf(category, bits);
  return zepStatusOk;
}

// What a symbol of an AC table stands for.
struct RunAndCategory {
  uint32_t run, category;
  bool IsEnd() const { return category == 0 && run < 15; }
};
RunAndCategory Split(uint32_t symbol) { return {(symbol >> 4) & 15, symbol & 15}; }

// The DC difference, by the quick reader. False, and nothing taken: it is left to the careful one.
[[gnu::always_inline]] inline bool TakeDcFast(const zepiDecodeHuffmanSpec& table,
                                              FastBitReader* reader, int32_t* difference) {
  if (!reader->Ensure32()) return false;
  const auto mark = reader->mark();
  uint32_t category = 0;
  if (!reader->TakeSymbol(table, &category)) return false;
  if (category > 16) return reader->GoBack(mark), false;
  *difference = ValueOf(category, reader->Take(static_cast<int>(category)));
  return true;
}

// The coefficients from zigzag index `k` on, as far as the quick reader comes; returns the index of the
// next one, 64 at the end of the block. Whatever is out of the ordinary is left to the careful reader.
[[gnu::always_inline]] inline uint32_t TakeAcsFast(uint32_t k, const zepiDecodeHuffmanSpec& table,
                                                   FastBitReader* reader, int16_t* block) {
  while (k < 64 && reader->Ensure32()) {
    const auto mark = reader->mark();
    uint32_t symbol = 0;
    if (!reader->TakeSymbol(table, &symbol)) return k;
    const RunAndCategory next = Split(symbol);
    if (next.IsEnd()) return 64;
    if (k + next.run > 63) return reader->GoBack(mark), k;
    k += next.run;
    const int32_t value = ValueOf(next.category, reader->Take(static_cast<int>(next.category)));
    StoreCoefficient(value, block + kNaturalOfZigzag[k]);  // 0 behind a run of 16
    ++k;
  }
  return k;
}

zepStatus TakeAcs(uint32_t k, const zepiDecodeHuffmanSpec& table, BitReader* reader,
                  int16_t* block) {
  while (k < 64) {
    uint32_t symbol = 0, bits = 0;
    if (auto bad = reader->TakeSymbol(table, &symbol)) return bad;
    const RunAndCategory next = Split(symbol);
    if (next.IsEnd()) return zepStatusOk;
    k += next.run;
    if (k > 63) return zepStatusBadHuffCode;
    if (next.category != 0) {
      if (auto bad = reader->Take(static_cast<int>(next.category), &bits)) return bad;
      StoreCoefficient(ValueOf(next.category, bits), block + kNaturalOfZigzag[k]);
    }
    ++k;
    FastBitReader fast(reader->source(), reader->bits());
    k = TakeAcsFast(k, table, &fast, block);
    reader->set_bits(fast.bits());
  }
  return zepStatusOk;
}

zepStatus DecodeBlock(int16_t* block, int16_t* last_dc, const zepiDecodeHuffmanSpec& dc_table,
                      const zepiDecodeHuffmanSpec& ac_table, BitReader* reader) {
  std::memset(block, 0, 64 * sizeof(*block));
  int16_t last;
  std::memcpy(&last, last_dc, sizeof(last));
  int32_t difference = 0;
  FastBitReader fast(reader->source(), reader->bits());
  uint32_t k = 1;
  if (TakeDcFast(dc_table, &fast, &difference)) {
    k = TakeAcsFast(k, ac_table, &fast, block);
    reader->set_bits(fast.bits());
  } else {
    reader->set_bits(fast.bits());
    if (auto bad = TakeDc(dc_table, reader, &difference)) return bad;
  }
  StoreCoefficient(last + difference, block);
  if (auto bad = TakeAcs(k, ac_table, reader, block)) return bad;
  std::memcpy(last_dc, block, sizeof(*block));
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using zepjp::Checks;

zepStatus ZEP_CALL zepiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* pSrc, int32_t srcLenBytes,
                                                      int32_t* pSrcCurrPos, int16_t* pDst,
                                                      int16_t* pLastDC, int32_t* pMarker,
                                                      const zepiDecodeHuffmanSpec* pDcTable,
                                                      const zepiDecodeHuffmanSpec* pAcTable,
                                                      zepiDecodeHuffmanState* pDecHuffState) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Refuse(srcLenBytes < 0, zepStatusBadArg)
                     .Ptr(pSrcCurrPos)
                     .Ptr(pDst)
                     .Ptr(pLastDC)
                     .Ptr(pMarker)
                     .Ptr(pDcTable)
                     .Ptr(pAcTable)
                     .Ptr(pDecHuffState)
                     .Failed()) {
    return bad;
  }
  zepjp::BitReader reader({pSrc, srcLenBytes, pSrcCurrPos, pMarker}, pDecHuffState);
  const zepStatus status = zepjp::DecodeBlock(pDst, pLastDC, *pDcTable, *pAcTable, &reader);
  reader.Store();
  return status;
}
