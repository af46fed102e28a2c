// SPDX-License-Identifier: MIT
// Masks of the coefficients of a block in zigzag order (ITU-T T.81, figure A.6), made with vectors:
// bit k stands for zigzag index k. With them an entropy coder visits only nonzero coefficients.
// Included once per instruction set.
//
// AVX-512 permutes the 64 coefficients themselves (vpermt2w twice). The other instruction sets
// compare the coefficients in natural order, pack the 64 flags into four registers of bytes, and
// collect the flags of each 16 zigzag indexes with one byte shuffle for each register that holds
// some of them.
#if defined(ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_
#    undef ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_
#  endif

#  include <cstdlib>

#  include "jpeg/huffman/elements.h"
#  include "jpeg/huffman/magnitude.h"
#  include "jpeg/zigzag.h"
#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

#  if HWY_TARGET == HWY_AVX3

// The coefficients in zigzag order.
class ZigzagScan {
 public:
  HWY_INLINE explicit ZigzagScan(const int16_t* block) {
    const __m512i low = _mm512_loadu_si512(block);
    const __m512i high = _mm512_loadu_si512(block + 32);
    first_ = _mm512_permutex2var_epi16(low, Order(0), high);
    second_ = _mm512_permutex2var_epi16(low, Order(32), high);
    _mm512_store_si512(values_, first_);
    _mm512_store_si512(values_ + 32, second_);
    _mm512_store_si512(magnitudes_, _mm512_abs_epi16(first_));
    _mm512_store_si512(magnitudes_ + 32, _mm512_abs_epi16(second_));
    _mm512_store_si512(extras_, Extras(first_));
    _mm512_store_si512(extras_ + 32, Extras(second_));
  }

  // Bit k stands for zigzag index k.
  HWY_INLINE uint64_t NonZero() const {
    return _mm512_test_epi16_mask(first_, first_) |
           uint64_t{_mm512_test_epi16_mask(second_, second_)} << 32;
  }
  // Magnitudes of at least `least`, which is 1 to 32768.
  HWY_INLINE uint64_t AtLeast(uint32_t least) const {
    const __m512i limit = _mm512_set1_epi16(static_cast<int16_t>(least));
    return _mm512_cmpge_epu16_mask(_mm512_abs_epi16(first_), limit) |
           uint64_t{_mm512_cmpge_epu16_mask(_mm512_abs_epi16(second_), limit)} << 32;
  }
  HWY_INLINE int64_t value(int index) const { return values_[index]; }
  HWY_INLINE uint32_t magnitude(int index) const { return magnitudes_[index]; }
  // The lowest bits of the result are the extra bits of the coefficient.
  HWY_INLINE uint64_t extra(int index) const { return extras_[index]; }

 private:
  static HWY_INLINE __m512i Extras(__m512i values) {
    return _mm512_add_epi16(values, _mm512_srai_epi16(values, 15));
  }
  static HWY_INLINE __m512i Order(int from) {
    return _mm512_cvtepu8_epi16(
        _mm256_loadu_si256(reinterpret_cast<const __m256i*>(kNaturalOfZigzag + from)));
  }

  __m512i first_, second_;
  alignas(
      64) int16_t values_[64];  // compilers drop the stores of arrays that a caller does not use
  alignas(64) uint16_t magnitudes_[64];
  alignas(64) uint16_t extras_[64];
};

#  else

// bytes[g][s] shuffles register s, which holds the natural positions 16s to 16s + 15, to the zigzag
// indexes 16g to 16g + 15. Indexes whose position is in another register have -1, which gives 0.
struct ZigzagShuffle {
  alignas(16) int8_t bytes[4][4][16];
  bool is_used[4][4];
};
constexpr ZigzagShuffle MakeZigzagShuffle() {
  ZigzagShuffle shuffle = {};
  for (int k = 0; k < 64; ++k) {
    for (int s = 0; s < 4; ++s) shuffle.bytes[k / 16][s][k % 16] = -1;
    const int natural = kNaturalOfZigzag[k];
    shuffle.bytes[k / 16][natural / 16][k % 16] = static_cast<int8_t>(natural % 16);
    shuffle.is_used[k / 16][natural / 16] = true;
  }
  return shuffle;
}
constexpr ZigzagShuffle kZigzagShuffle = MakeZigzagShuffle();

class ZigzagScan {
 public:
  HWY_INLINE explicit ZigzagScan(const int16_t* block) : block_(block) {
    const hn::CappedTag<int16_t, 16> d;
    for (size_t i = 0; i < 64; i += hn::MaxLanes(d)) {
      const auto values = hn::LoadU(d, block + i);
      hn::Store(hn::Abs(values), d, reinterpret_cast<int16_t*>(magnitudes_) + i);
      hn::Store(hn::Add(values, hn::BroadcastSignBit(values)), d,
                reinterpret_cast<int16_t*>(extras_) + i);
    }
  }

  // Bit k stands for zigzag index k.
  HWY_INLINE uint64_t NonZero() const {
    return Where([](V16 values) ZEP_ATTR { return values; });
  }
  // Magnitudes of at least `least`, which is 1 to 32768.
  HWY_INLINE uint64_t AtLeast(uint32_t least) const {
    const auto below = hn::Set(DU16(), static_cast<uint16_t>(least - 1));
    return Where([=](V16 values) ZEP_ATTR {
      const auto magnitudes = hn::BitCast(DU16(), hn::Abs(values));
      return hn::BitCast(D16(), hn::SaturatedSub(magnitudes, below));
    });
  }
  HWY_INLINE int64_t value(int index) const {
    return LoadCoefficient(block_ + kNaturalOfZigzag[index]);
  }
  HWY_INLINE uint32_t magnitude(int index) const { return magnitudes_[kNaturalOfZigzag[index]]; }
  // The lowest bits of the result are the extra bits of the coefficient.
  HWY_INLINE uint64_t extra(int index) const { return extras_[kNaturalOfZigzag[index]]; }

 private:
  using D8 = hn::FixedTag<uint8_t, 16>;
  using D16 = hn::FixedTag<int16_t, 8>;
  using DU16 = hn::FixedTag<uint16_t, 8>;
  using V8 = hn::VFromD<D8>;
  using V16 = hn::VFromD<D16>;

  // A byte for each of 16 coefficients: 0 if map(coefficient) is 0, else 1.
  template <class Map>
  HWY_INLINE V8 Flags(const int16_t* from, const Map& map) const {
    const auto flag = [&](const int16_t* at) ZEP_ATTR {
      const auto is_zero =
          hn::VecFromMask(D16(), hn::Eq(map(hn::LoadU(D16(), at)), hn::Zero(D16())));
      return hn::AndNot(is_zero, hn::Set(D16(), 1));
    };
    return PackBlocks(flag(from), flag(from + 8));
  }

  template <class Map>
  HWY_INLINE uint64_t Where(const Map& map) const {
    const V8 flags[4] = {Flags(block_, map), Flags(block_ + 16, map), Flags(block_ + 32, map),
                         Flags(block_ + 48, map)};
    return GroupBits<0>(flags) | GroupBits<1>(flags) | GroupBits<2>(flags) | GroupBits<3>(flags);
  }

  template <int kGroup, int kSource>
  static HWY_INLINE V8 AddFrom(V8 sum, V8 source) {
    if constexpr (!kZigzagShuffle.is_used[kGroup][kSource]) return sum;
    const V8 order =
        hn::Load(D8(), reinterpret_cast<const uint8_t*>(kZigzagShuffle.bytes[kGroup][kSource]));
    return hn::Or(sum, hn::TableLookupBytesOr0(source, order));
  }

  template <int kGroup>
  static HWY_INLINE uint64_t GroupBits(const V8 (&flags)[4]) {
    V8 group = hn::Zero(D8());
    group = AddFrom<kGroup, 0>(group, flags[0]);
    group = AddFrom<kGroup, 1>(group, flags[1]);
    group = AddFrom<kGroup, 2>(group, flags[2]);
    group = AddFrom<kGroup, 3>(group, flags[3]);
    uint64_t bits = 0;
    hn::StoreMaskBits(D8(), hn::Ne(group, hn::Zero(D8())), reinterpret_cast<uint8_t*>(&bits));
    return bits << (16 * kGroup);
  }

  const int16_t* block_;
  // In natural order; compilers drop the stores of arrays that a caller does not use.
  alignas(32) uint16_t magnitudes_[64];
  alignas(32) uint16_t extras_[64];
};

#  endif

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
