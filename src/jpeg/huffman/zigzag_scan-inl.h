// SPDX-License-Identifier: MIT
// Masks of the coefficients of a block in zigzag order (ITU-T T.81, figure A.6), made with vectors:
// bit k stands for zigzag index k. With them an entropy coder visits only nonzero coefficients.
// Included once per instruction set.
//
// AVX-512 permutes the 64 coefficients themselves (vpermt2w twice). The other instruction sets make
// the masks from bytes in zigzag order (zigzag_bytes-inl.h).
#if defined(ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_
#    undef ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_HUFFMAN_ZIGZAG_SCAN_INL_H_
#  endif

#  include <cstdlib>

#  include "jpeg/huffman/elements.h"
#  include "jpeg/huffman/magnitude.h"
#  include "jpeg/huffman/zigzag_bytes-inl.h"
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
    return NonZeroBits(ToZigzagBytes(block_, [](VCoefficients v) ZEP_ATTR { return v; }));
  }
  // Magnitudes of at least `least`, which is 1 to 32768.
  HWY_INLINE uint64_t AtLeast(uint32_t least) const {
    const hn::RebindToUnsigned<DCoefficients> du;
    const auto below = hn::Set(du, static_cast<uint16_t>(least - 1));
    return NonZeroBits(ToZigzagBytes(block_, [=](VCoefficients v) ZEP_ATTR {
      const auto excess = hn::SaturatedSub(hn::BitCast(du, hn::Abs(v)), below);
      return hn::BitCast(DCoefficients(), excess);
    }));
  }
  HWY_INLINE int64_t value(int index) const {
    return LoadCoefficient(block_ + kNaturalOfZigzag[index]);
  }
  HWY_INLINE uint32_t magnitude(int index) const { return magnitudes_[kNaturalOfZigzag[index]]; }
  // The lowest bits of the result are the extra bits of the coefficient.
  HWY_INLINE uint64_t extra(int index) const { return extras_[kNaturalOfZigzag[index]]; }

 private:
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
