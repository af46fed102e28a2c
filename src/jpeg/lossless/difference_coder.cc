// SPDX-License-Identifier: MIT
// Coding of differences in lossless JPEG (ITU-T T.81, H.1.2.2): the code of a magnitude category
// and its extra bits, one difference or rows of up to four interleaved components at a time.
//
// As with blocks, a fast coder and the reference coder give the same bytes, positions and states.
// The fast one codes several samples at a time. It fails, and then has changed nothing, if there is
// little room, a symbol without a code, a marker, or the end of the source; then the reference
// coder goes on sample by sample. Long rows are decoded by row_reader.h.
#include <algorithm>
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/collector.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/huffman/quick_reader.h"
#include "jpeg/lossless/row_reader.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS ZEP_ALL_BUT_SCALAR_TARGETS
#define HWY_TARGET_INCLUDE "jpeg/lossless/difference_coder.cc"
#include "hwy/foreach_target.h"
#include "simd/scalar-inl.h"

#ifndef ZEPJP_DIFFERENCE_CODER_KERNELS
#  define ZEPJP_DIFFERENCE_CODER_KERNELS
namespace zepjp {
namespace {

constexpr int kMaxComponents = 4;

// Rows of the components of a scan with their tables.
struct RowsToEncode {
  const int16_t* rows[kMaxComponents];
  const zepiEncodeHuffmanSpec* tables[kMaxComponents];
  int components;
};
struct RowsToDecode {
  int16_t* rows[kMaxComponents];
  const zepiDecodeHuffmanSpec* tables[kMaxComponents];
  int components;
};

struct Kernels {
  zepStatus (*encode)(const RowsToEncode& rows, size_t width, const Destination& to,
                      zepiEncodeHuffmanState* state);
  zepStatus (*decode)(const RowsToDecode& rows, size_t width, const Source& from,
                      zepiDecodeHuffmanState* state);
};

// Category 16 has only the difference 32768, and no extra bits.
constexpr uint32_t NumExtraBits(uint32_t category) { return category % kMaxDcCategory; }
constexpr int32_t kFarDifference = -32768;

// The number of columns that are coded together.
constexpr size_t kColumns = 32;

// The room for `count` differences: each takes at most 31 bits, a 00 may be stuffed after every
// byte, and whole 64-bit words are stored.
constexpr int64_t RoomFor(size_t count) {
  return 2 * ((7 + 31 * static_cast<int64_t>(count) + 7) / 8) + 8;
}

// Looks codes up in the tables.
class TableCodes {
 public:
  explicit TableCodes(const RowsToEncode& rows) : rows_(rows) {}
  HWY_INLINE bool Put(int component, int32_t difference, Collector* to) const {
    const uint32_t category = CategoryOf(difference);
    return PutValue(rows_.tables[component]->entry[category], difference, NumExtraBits(category),
                    to);
  }

 private:
  const RowsToEncode& rows_;
};

// Looks codes up in lists that are made first, which pays off for long rows.
class ListedCodes {
 public:
  static constexpr size_t kWorth = 256;  // differences

  explicit ListedCodes(const RowsToEncode& rows) {
    for (int i = 0; i < rows.components; ++i) {
      for (uint32_t category = 0; category <= kMaxDcCategory; ++category) {
        const uint64_t entry = rows.tables[i]->entry[category];
        const uint64_t length = entry >> 16, extra = NumExtraBits(category);
        const uint64_t code = entry & ((uint64_t{1} << length % 32) - 1);
        codes_[i][category] = length - 1 > 15 ? 0 : code << extra << 8 | (length + extra);
      }
    }
  }
  HWY_INLINE bool Put(int component, int32_t difference, Collector* to) const {
    const uint32_t category = CategoryOf(difference);
    const uint64_t code = codes_[component][category];
    if (HWY_UNLIKELY(code == 0)) return false;
    const uint64_t extra = ExtraBits(difference) & ((uint64_t{1} << NumExtraBits(category)) - 1);
    to->Put(code >> 8 | extra, static_cast<int>(code & 0xFF));
    return true;
  }

 private:
  // The code, shifted left by the number of extra bits, above 8 bits for the length of both.
  uint64_t codes_[kMaxComponents][kMaxDcCategory + 1];
};

template <class Codes>
HWY_INLINE bool EncodeQuickly(const RowsToEncode& rows, const Codes& codes, size_t begin,
                              size_t end, const Destination& to, zepiEncodeHuffmanState* state) {
  const int64_t position = *to.position;
  const size_t count = (end - begin) * static_cast<size_t>(rows.components);
  if (position < 0 || to.length - position < RoomFor(count)) return false;
  Collector collector(*state, to.bytes + position);
  for (size_t x = begin; x < end; ++x) {
    for (int i = 0; i < rows.components; ++i) {
      if (!codes.Put(i, LoadCoefficient(rows.rows[i] + x), &collector)) return false;
    }
  }
  *to.position = static_cast<int32_t>(collector.Finish(state) - to.bytes);
  return true;
}

zepStatus EncodeCarefully(const RowsToEncode& rows, size_t begin, size_t end, const Destination& to,
                          zepiEncodeHuffmanState* state) {
  BitWriter writer(to, state);
  for (size_t x = begin; x < end; ++x) {
    for (int i = 0; i < rows.components; ++i) {
      const int32_t difference = LoadCoefficient(rows.rows[i] + x);
      const uint32_t category = CategoryOf(difference);
      if (auto bad = writer.PutCode(rows.tables[i]->entry[category])) return bad;
      const uint32_t extra = NumExtraBits(category);
      if (extra == 0) continue;
      if (auto bad = writer.Put(static_cast<uint32_t>(ExtraBits(difference)), extra)) return bad;
    }
  }
  return zepStatusOk;
}

template <class Bytes>
HWY_INLINE bool TakeDifferences(const RowsToDecode& rows, size_t begin, size_t end,
                                const Bytes& bytes, uint32_t unused, Progress* progress) {
  QuickReader<Bytes> reader(bytes, unused);
  if (!reader.Refill()) return false;
  // Nothing is written on failure: the reference coder may stop at an earlier sample.
  int16_t taken[kMaxComponents][kColumns];
  for (size_t x = begin; x < end; ++x) {
    for (int i = 0; i < rows.components; ++i) {
      if (!reader.Ensure()) return false;
      const uint32_t entry = reader.TakeSymbol(*rows.tables[i]);
      const uint32_t category = entry & 0xFFFF;
      if (HWY_UNLIKELY(entry == 0 || category > kMaxDcCategory)) return false;
      int32_t difference = reader.TakeDifference(NumExtraBits(category));
      if (HWY_UNLIKELY(category == kMaxDcCategory)) difference = kFarDifference;
      taken[i][x - begin] = static_cast<int16_t>(difference);
    }
  }
  if (!reader.Finish(progress)) return false;
  for (int i = 0; i < rows.components; ++i) {
    std::memcpy(rows.rows[i] + begin, taken[i], (end - begin) * sizeof(int16_t));
  }
  return true;
}

zepStatus TakeDifference(const zepiDecodeHuffmanSpec& table, BitReader* reader,
                         int32_t* difference) {
  uint32_t category = 0, bits = 0;
  if (auto bad = reader->TakeSymbol(table, &category)) return bad;
  if (category > kMaxDcCategory) return zepStatusBadHuffCode;
  const uint32_t extra = NumExtraBits(category);
  *difference = category == kMaxDcCategory ? kFarDifference : 0;
  if (extra == 0) return zepStatusOk;
  if (auto bad = reader->Take(static_cast<int>(extra), &bits)) return bad;
  *difference = ValueOf(extra, bits);
  return zepStatusOk;
}

zepStatus DecodeCarefully(const RowsToDecode& rows, size_t begin, size_t end, const Source& from,
                          zepiDecodeHuffmanState* state) {
  BitReader reader(from, state);
  zepStatus status = zepStatusOk;
  for (size_t x = begin; x < end && status == zepStatusOk; ++x) {
    for (int i = 0; i < rows.components && status == zepStatusOk; ++i) {
      int32_t difference = 0;
      status = TakeDifference(*rows.tables[i], &reader, &difference);
      if (status == zepStatusOk) StoreCoefficient(difference, rows.rows[i] + x);
    }
  }
  reader.Store();
  return status;
}

// Long rows are decoded by RowReader. Its look-up tables must be made first, which does not pay off
// for fewer than kWorthLists differences.
constexpr size_t kWorthLists = 256;

struct CodeLists {
  ShortCodes lists[kMaxComponents];
  const ShortCodes* of[kMaxComponents];
};

// Components with the same table have the same list.
inline void ListCodes(const RowsToDecode& rows, CodeLists* codes) {
  for (int i = 0; i < rows.components; ++i) {
    int same = 0;
    while (rows.tables[same] != rows.tables[i]) ++same;
    if (same == i) codes->lists[i].List(*rows.tables[i]);
    codes->of[i] = &codes->lists[same];
  }
}

// Decodes the columns from `begin` whose bits are in a part of the source; returns their end.
HWY_INLINE size_t DecodePart(const RowsToDecode& rows, const CodeLists& codes, size_t begin,
                             size_t end, const Source& from, zepiDecodeHuffmanState* state) {
  if (!IsUsual(from, *state)) return begin;
  const auto components = static_cast<size_t>(rows.components);
  const RowBytes bytes(from, *state, (end - begin) * components + 64);
  const size_t need = RowReader::kMostBits * components + RowReader::kMostAhead;
  RowReader reader(bytes, *state);
  Progress done = reader.counts();
  size_t x = begin;
  for (; x < end && done.taken + need <= 8 * bytes.size(); ++x) {
    for (size_t i = 0; i < components; ++i) {
      int16_t difference;
      if (HWY_UNLIKELY(!reader.Take(*rows.tables[i], *codes.of[i], &difference))) {
        bytes.Finish(done, from, state);
        return x;
      }
      StoreCoefficient(difference, rows.rows[i] + x);
    }
    done = reader.counts();
  }
  bytes.Finish(done, from, state);
  return x;
}

// Decodes the start of a row; returns the number of columns.
HWY_INLINE size_t DecodeLong(const RowsToDecode& rows, size_t width, const Source& from,
                             zepiDecodeHuffmanState* state) {
  if (width * static_cast<size_t>(rows.components) < kWorthLists) return 0;
  CodeLists codes;
  ListCodes(rows, &codes);
  size_t x = 0;
  for (size_t begin = width; x != begin && x < width;) {
    begin = x;
    x = DecodePart(rows, codes, begin, width, from, state);
  }
  return x;
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_SCALAR_NAMESPACE("bmi,bmi2,lzcnt");
namespace zepjp::HWY_NAMESPACE {
namespace {

template <class Codes>
zepStatus EncodeWith(const Codes& codes, const RowsToEncode& rows, size_t width,
                     const Destination& to, zepiEncodeHuffmanState* state) {
  for (size_t x = 0; x < width; x += kColumns) {
    const size_t end = std::min(x + kColumns, width);
    if (EncodeQuickly(rows, codes, x, end, to, state)) continue;
    if (auto bad = EncodeCarefully(rows, x, end, to, state)) return bad;
  }
  return zepStatusOk;
}

zepStatus Encode(const RowsToEncode& rows, size_t width, const Destination& to,
                 zepiEncodeHuffmanState* state) {
  if (width * static_cast<size_t>(rows.components) < ListedCodes::kWorth) {
    return EncodeWith(TableCodes(rows), rows, width, to, state);
  }
  return EncodeWith(ListedCodes(rows), rows, width, to, state);
}

zepStatus Decode(const RowsToDecode& rows, size_t width, const Source& from,
                 zepiDecodeHuffmanState* state) {
  for (size_t x = DecodeLong(rows, width, from, state); x < width; x += kColumns) {
    const size_t end = std::min(x + kColumns, width);
    const auto take = [&](const auto& bytes, uint32_t unused, Progress* progress)
                          ZEP_SCALAR_ATTR("bmi,bmi2,lzcnt") {
                            return TakeDifferences(rows, x, end, bytes, unused, progress);
                          };
    if (ReadPlain(from, state, take) || ReadStuffed(from, state, take)) continue;
    if (auto bad = DecodeCarefully(rows, x, end, from, state)) return bad;
  }
  return zepStatusOk;
}

constexpr Kernels kKernels = {.encode = Encode, .decode = Decode};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
ZEP_AFTER_SCALAR_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

bool IsBadCount(int32_t width, int32_t components) {
  return width < 1 || components < 1 || components > kMaxComponents;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* pSrc, uint8_t* pDst,
                                                      int32_t dstLenBytes, int32_t* pDstCurrPos,
                                                      const zepiEncodeHuffmanSpec* pTable,
                                                      zepiEncodeHuffmanState* pEncHuffState,
                                                      int32_t bFlushState) {
  const Destination to = {pDst, dstLenBytes, pDstCurrPos};
  if (auto bad = CheckDestination(to, pEncHuffState)) return bad;
  if (bFlushState != 0) return BitWriter(to, pEncHuffState).Flush();
  if (auto bad = Checks().Ptr(pSrc).Ptr(pTable).Failed()) return bad;
  return kernels.encode({{pSrc}, {pTable}, 1}, 1, to, pEncHuffState);
}

zepStatus ZEP_CALL zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(
    const int16_t* const pSrc[4], uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos,
    int32_t width, int32_t nComponents, const zepiEncodeHuffmanSpec* const pTable[4],
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  const Destination to = {pDst, dstLenBytes, pDstCurrPos};
  if (auto bad = CheckDestination(to, pEncHuffState)) return bad;
  if (bFlushState != 0) return BitWriter(to, pEncHuffState).Flush();
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pTable)
                     .Refuse(IsBadCount(width, nComponents), zepStatusBadSize)
                     .Planes(pSrc, nComponents)
                     .Planes(pTable, nComponents)
                     .Failed()) {
    return bad;
  }
  RowsToEncode rows = {{}, {}, nComponents};
  std::copy_n(pSrc, nComponents, rows.rows);
  std::copy_n(pTable, nComponents, rows.tables);
  return kernels.encode(rows, static_cast<size_t>(width), to, pEncHuffState);
}

zepStatus ZEP_CALL zepiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* pSrc, int32_t srcLenBytes,
                                                      int32_t* pSrcCurrPos, int16_t* pDst,
                                                      int32_t* pMarker,
                                                      const zepiDecodeHuffmanSpec* pTable,
                                                      zepiDecodeHuffmanState* pDecHuffState) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Refuse(srcLenBytes < 0, zepStatusBadArg)
                     .Ptr(pSrcCurrPos)
                     .Ptr(pDst)
                     .Ptr(pMarker)
                     .Ptr(pTable)
                     .Ptr(pDecHuffState)
                     .Failed()) {
    return bad;
  }
  return kernels.decode({{pDst}, {pTable}, 1}, 1, {pSrc, srcLenBytes, pSrcCurrPos, pMarker},
                        pDecHuffState);
}

zepStatus ZEP_CALL zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
    const uint8_t* pSrc, int32_t srcLenBytes, int32_t* pSrcCurrPos, int16_t* const pDst[4],
    int32_t width, int32_t nComponents, int32_t* pMarker,
    const zepiDecodeHuffmanSpec* const pTable[4], zepiDecodeHuffmanState* pDecHuffState) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Refuse(srcLenBytes < 0, zepStatusBadArg)
                     .Ptr(pSrcCurrPos)
                     .Ptr(pDst)
                     .Ptr(pMarker)
                     .Ptr(pTable)
                     .Ptr(pDecHuffState)
                     .Refuse(IsBadCount(width, nComponents), zepStatusBadSize)
                     .Planes(pDst, nComponents)
                     .Planes(pTable, nComponents)
                     .Failed()) {
    return bad;
  }
  RowsToDecode rows = {{}, {}, nComponents};
  std::copy_n(pDst, nComponents, rows.rows);
  std::copy_n(pTable, nComponents, rows.tables);
  return kernels.decode(rows, static_cast<size_t>(width), {pSrc, srcLenBytes, pSrcCurrPos, pMarker},
                        pDecHuffState);
}
#endif  // HWY_ONCE
