// SPDX-License-Identifier: MIT
// Operations that the decoders of BC6H and BC7 share: extracting indexes from a block, and looking
// up their weights. Included once per instruction set.
#if defined(ZEPJP_SRC_TEXTURE_BPTC_BPTC_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_TEXTURE_BPTC_BPTC_INL_H_
#    undef ZEPJP_SRC_TEXTURE_BPTC_BPTC_INL_H_
#  else
#    define ZEPJP_SRC_TEXTURE_BPTC_BPTC_INL_H_
#  endif

#  include "texture/bptc/bptc_tables.h"
#  include "texture/lanes-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using Q8 = hn::Simd<uint8_t, 16, 0>;
using Q16 = hn::Repartition<uint16_t, Q8>;
using Q64 = hn::Repartition<uint64_t, Q8>;
using QI16 = hn::Repartition<int16_t, Q8>;
using VQ8 = hn::VFromD<Q8>;
using VQ16 = hn::VFromD<Q16>;

HWY_INLINE VQ8 Quarter(const Bytes16& bytes) { return hn::Load(Q8(), bytes.lane); }
HWY_INLINE VQ16 Quarter(const Words8& words) { return hn::Load(Q16(), words.lane); }

HWY_INLINE uint64_t LoadHalf(const uint8_t* from) {
  uint64_t half;
  CopyBytes(from, &half, 8);
  return half;
}

// Inserts the highest bit of the index of pixel `anchor`, which is 0 and not stored. The indexes of
// the pixels before it must be complete.
template <int kBits>
HWY_INLINE uint64_t InsertAnchor(uint64_t indexes, unsigned anchor) {
  return indexes + (indexes & (~uint64_t{0} << (kBits * anchor + kBits - 1)));
}

// Expands sixteen indexes of kBits bits to bytes.
#  if HWY_TARGET == HWY_AVX3

template <int kBits>
HWY_INLINE VQ8 ExpandIndexes(uint64_t indexes) {
  constexpr uint8_t k = kBits;
  static constexpr Bytes16 kShifts = {{0, k, 2 * k, 3 * k, 4 * k, 5 * k, 6 * k, 7 * k, 8 * k, 9 * k,
                                       10 * k, 11 * k, 12 * k, 13 * k, 14 * k, 15 * k}};
  const __m128i all = _mm_set1_epi64x(static_cast<int64_t>(indexes));
  const VQ8 shifted = {_mm_multishift_epi64_epi8(Quarter(kShifts).raw, all)};
  return hn::And(shifted, hn::Set(Q8(), (1 << kBits) - 1));
}

#  else

// For eight pixels from `first`: the two bytes that contain a pixel's index, and the factor that
// moves the index to the top of that word.
template <int kBits>
constexpr Bytes16 IndexBytes(int first) {
  Bytes16 bytes = {};
  for (int i = 0; i < 8; ++i) {
    const int at = kBits * (first + i) / 8;
    bytes.lane[2 * i] = static_cast<uint8_t>(at);
    bytes.lane[2 * i + 1] = static_cast<uint8_t>(at + 1);
  }
  return bytes;
}
template <int kBits>
constexpr Words8 IndexFactors(int first) {
  Words8 factors = {};
  for (int i = 0; i < 8; ++i) {
    factors.lane[i] = static_cast<uint16_t>(1 << (16 - kBits - kBits * (first + i) % 8));
  }
  return factors;
}

template <int kBits>
HWY_INLINE VQ8 ExpandIndexes(uint64_t indexes) {
  static constexpr Bytes16 kLow = IndexBytes<kBits>(0), kHigh = IndexBytes<kBits>(8);
  static constexpr Words8 kToTop[2] = {IndexFactors<kBits>(0), IndexFactors<kBits>(8)};
  const VQ8 all = hn::BitCast(Q8(), hn::Set(Q64(), indexes));
  const VQ16 low = hn::BitCast(Q16(), hn::TableLookupBytes(all, Quarter(kLow)));
  const VQ16 high = hn::BitCast(Q16(), hn::TableLookupBytes(all, Quarter(kHigh)));
  const VQ16 first = hn::ShiftRight<16 - kBits>(hn::Mul(low, Quarter(kToTop[0])));
  const VQ16 second = hn::ShiftRight<16 - kBits>(hn::Mul(high, Quarter(kToTop[1])));
  return PackBlocks(hn::BitCast(QI16(), first), hn::BitCast(QI16(), second));
}

#  endif

template <int kBits>
constexpr Bytes16 WeightTable() {
  Bytes16 table = {};
  for (int i = 0; i < 16; ++i) table.lane[i] = WeightOf(kBits, i & ((1 << kBits) - 1));
  return table;
}

// The weights of sixteen pixels, out of 64.
template <int kBits>
HWY_INLINE VQ8 Weights(uint64_t indexes) {
  static constexpr Bytes16 kTable = WeightTable<kBits>();
  return hn::TableLookupBytes(Quarter(kTable), ExpandIndexes<kBits>(indexes));
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
