// SPDX-License-Identifier: MIT
// Baseline coding of a block (ITU-T T.81, F.1.2): the DC difference, then each nonzero coefficient
// in zigzag order with the run of zeros before it.
//
// Two encoders give the same bytes, positions and states:
//
//   EncodeQuickly    vectors bring the coefficients into zigzag order as saturated bytes
//                    (zigzag_bytes-inl.h). A loop over the nonzero ones looks up category and
//                    extra bits, and collects codes and extra bits in 64 bits (collector.h). It
//                    needs room for the longest possible block, and fails if a symbol has no code.
//   EncodeCarefully  the reference writer (bit_writer.h), value by value. It runs if the first one
//                    fails, and overwrites the bytes that the first one stored.
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/collector.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/huffman/block_encoder.cc"
#include "hwy/foreach_target.h"
#include "jpeg/huffman/zigzag_bytes-inl.h"

#ifndef ZEPJP_BLOCK_ENCODER_KERNELS
#  define ZEPJP_BLOCK_ENCODER_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  decltype(zepiEncodeHuffman8x8_JPEG_16s1u_C1)* encode;
};

// The longest block in bytes: 7 pending bits, 16 + 16 bits for DC, 16 + 15 for each other
// coefficient; every byte may be FF, which is stuffed.
constexpr int32_t kMaxBlockBytes = 2 * ((7 + 32 + 63 * 31 + 7) / 8);

// The category and the extra bits of a coefficient that fits a signed byte. The bytes -128, -127 and
// 127 may be saturated: their category is so large that no symbol fits it.
struct SmallValue {
  uint16_t category, extra;
};
struct SmallValues {
  SmallValue of[256];
};
constexpr SmallValues MakeSmallValues() {
  SmallValues values = {};
  for (int v = -128; v < 128; ++v) {
    SmallValue& value = values.of[v & 255];
    while ((v < 0 ? -v : v) >> value.category != 0) ++value.category;
    value.extra = static_cast<uint16_t>((v < 0 ? v - 1 : v) & ((1 << value.category) - 1));
    if (v < -126 || v > 126) value.category = 256;
  }
  return values;
}
constexpr SmallValues kSmallValues = MakeSmallValues();

// Returns the difference to the last DC, which becomes this block's.
inline int32_t ExchangeDc(const int16_t* block, int16_t* last_dc) {
  const int32_t dc = LoadCoefficient(block);
  const int32_t difference = dc - LoadCoefficient(last_dc);
  std::memcpy(last_dc, block, sizeof(*block));
  return difference;
}

// Writes a nonzero coefficient after `run` zeros.
zepStatus PutAc(int32_t value, uint32_t run, const zepiEncodeHuffmanSpec& table,
                BitWriter* writer) {
  for (; run > 15; run -= 16) {
    if (auto bad = writer->PutCode(table.entry[kRunOf16])) return bad;
  }
  const uint32_t category = CategoryOf(value);
  if (category > 15) return zepStatusBadHuffTable;  // -32768 has no symbol
  if (auto bad = writer->PutCode(table.entry[run << 4 | category])) return bad;
  return writer->Put(static_cast<uint32_t>(ExtraBits(value)), category);
}

// Appends any nonzero coefficient after a run of any length. False for a symbol without a code.
HWY_NOINLINE bool PutRare(int32_t value, uint64_t run, const zepiEncodeHuffmanSpec& table,
                          Collector* to) {
  for (; run > 15; run -= 16) {
    if (!PutCode(table.entry[kRunOf16], to)) return false;
  }
  const uint32_t category = CategoryOf(value);
  if (category > 15) return false;  // -32768 has no symbol
  return PutValue(table.entry[run << 4 | category], value, category, to);
}

HWY_NOINLINE zepStatus EncodeCarefully(const int16_t* block, int32_t dc_difference,
                                       const zepiEncodeHuffmanSpec& dc_table,
                                       const zepiEncodeHuffmanSpec& ac_table, const Destination& to,
                                       zepiEncodeHuffmanState* state) {
  BitWriter writer(to, state);
  if (auto bad = PutDc(dc_difference, dc_table, &writer)) return bad;
  uint32_t run = 0;
  for (int k = 1; k < 64; ++k) {
    const int32_t value = LoadCoefficient(block + kNaturalOfZigzag[k]);
    if (value == 0) {
      ++run;
      continue;
    }
    if (auto bad = PutAc(value, run, ac_table, &writer)) return bad;
    run = 0;
  }
  return run == 0 ? zepStatusOk : writer.PutCode(ac_table.entry[kEndOfBlock]);
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// The block in zigzag order, as signed bytes; those outside -127 to 127 are saturated.
class Coefficients {
 public:
  HWY_INLINE explicit Coefficients(const int16_t* block) {
    const ZigzagBytes zigzag = ToZigzagBytes(block, [](VCoefficients v) ZEP_ATTR { return v; });
    for (size_t i = 0; i < 64; i += kBytesInVector) {
      hn::Store(zigzag.part[i / kBytesInVector], DBytes(), reinterpret_cast<int8_t*>(bytes_ + i));
    }
    nonzero_ = NonZeroBits(zigzag);
  }
  uint64_t nonzero() const { return nonzero_; }
  const SmallValue& operator[](uint64_t index) const { return kSmallValues.of[bytes_[index]]; }

 private:
  alignas(kBytesInVector) uint8_t bytes_[64];
  uint64_t nonzero_;
};

HWY_INLINE bool PutAcs(const int16_t* block, const Coefficients& coefficients,
                       const zepiEncodeHuffmanSpec& table, Collector* to) {
  uint64_t next = 1;  // the first index that is not coded yet
  for (uint64_t left = coefficients.nonzero() & ~uint64_t{1}; left != 0; left &= left - 1) {
    const auto index = static_cast<uint64_t>(__builtin_ctzll(left));
    const SmallValue& value = coefficients[index];
    const uint64_t symbol = 16 * (index - next) + value.category;
    if (HWY_LIKELY(symbol < 256)) {
      if (!PutBits(table.entry[symbol], value.extra, value.category, to)) return false;
    } else {
      Collector copy = *to;
      const int32_t any = LoadCoefficient(block + kNaturalOfZigzag[index]);
      if (!PutRare(any, index - next, table, &copy)) return false;
      *to = copy;
    }
    next = index + 1;
  }
  return next == 64 || PutCode(table.entry[kEndOfBlock], to);
}

// False if there is too little room or a symbol without a code; then position and state have not
// changed.
HWY_INLINE bool EncodeQuickly(const int16_t* block, int32_t dc_difference,
                              const zepiEncodeHuffmanSpec& dc_table,
                              const zepiEncodeHuffmanSpec& ac_table, const Destination& to,
                              zepiEncodeHuffmanState* state) {
  const int64_t position = *to.position;
  if (HWY_UNLIKELY(position < 0 || to.length - position < kMaxBlockBytes)) return false;
  const Coefficients coefficients(block);
  Collector collector(*state, to.bytes + position);
  const uint32_t category = CategoryOf(dc_difference);
  if (HWY_UNLIKELY(!PutValue(dc_table.entry[category], dc_difference, category, &collector) ||
                   !PutAcs(block, coefficients, ac_table, &collector))) {
    return false;
  }
  *to.position = static_cast<int32_t>(collector.Finish(state) - to.bytes);
  return true;
}

// Not inlined: else g++ splits the function after the first checks and calls the rest with all
// arguments once more.
HWY_NOINLINE zepStatus ZEP_CALL Encode(const int16_t* block, uint8_t* bytes, int32_t length,
                                       int32_t* position, int16_t* last_dc,
                                       const zepiEncodeHuffmanSpec* dc_table,
                                       const zepiEncodeHuffmanSpec* ac_table,
                                       zepiEncodeHuffmanState* state, int32_t flushes) {
  if (auto bad = CheckDestination({bytes, length, position}, state)) return bad;
  if (HWY_UNLIKELY(flushes != 0)) return BitWriter({bytes, length, position}, state).Flush();
  if (auto bad = Checks().Ptr(block).Ptr(last_dc).Ptr(dc_table).Ptr(ac_table).Failed()) return bad;
  const int32_t dc_difference = ExchangeDc(block, last_dc);
  if (HWY_LIKELY(EncodeQuickly(block, dc_difference, *dc_table, *ac_table,
                               {bytes, length, position}, state))) {
    return zepStatusOk;
  }
  return EncodeCarefully(block, dc_difference, *dc_table, *ac_table, {bytes, length, position},
                         state);
}

constexpr Kernels kKernels = {.encode = Encode};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiEncodeHuffman8x8_JPEG_16s1u_C1(
    const int16_t* pSrc, uint8_t* pDst, int32_t dstLenBytes, int32_t* pDstCurrPos, int16_t* pLastDC,
    const zepiEncodeHuffmanSpec* pDcTable, const zepiEncodeHuffmanSpec* pAcTable,
    zepiEncodeHuffmanState* pEncHuffState, int32_t bFlushState) {
  return kernels.encode(pSrc, pDst, dstLenBytes, pDstCurrPos, pLastDC, pDcTable, pAcTable,
                        pEncHuffState, bFlushState);
}
#endif  // HWY_ONCE
