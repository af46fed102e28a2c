// SPDX-License-Identifier: MIT
// Vectors of the even and of the odd samples of a row: loads, stores, and moves by one lane.
// Included once per instruction set.
#if defined(ZEPJP_SRC_JPEG2K_WAVELET_EVEN_ODD_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_WAVELET_EVEN_ODD_INL_H_
#    undef ZEPJP_SRC_JPEG2K_WAVELET_EVEN_ODD_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_WAVELET_EVEN_ODD_INL_H_
#  endif

#  include "jpeg2k/wavelet/filters-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// One vector from the lanes of a followed by those of b: from lane 1 of a (MoveDown), or from the
// last lane of a (MoveUp).
#  if HWY_TARGET == HWY_AVX3
template <class T>
HWY_INLINE hn::Vec512<T> MoveDown(hn::Vec512<T> a, hn::Vec512<T> b) {
  const hn::Full512<int32_t> d32;
  const __m512i low = hn::BitCast(d32, a).raw, high = hn::BitCast(d32, b).raw;
  __m512i moved = _mm512_alignr_epi32(high, low, sizeof(T) == 4 ? 1 : 4);
  if (sizeof(T) == 2) moved = _mm512_alignr_epi8(moved, low, sizeof(T));
  return hn::BitCast(hn::Full512<T>(), hn::Vec512<int32_t>{moved});
}
template <class T>
HWY_INLINE hn::Vec512<T> MoveUp(hn::Vec512<T> a, hn::Vec512<T> b) {
  const hn::Full512<int32_t> d32;
  const __m512i low = hn::BitCast(d32, a).raw, high = hn::BitCast(d32, b).raw;
  __m512i moved = _mm512_alignr_epi32(high, low, sizeof(T) == 4 ? 15 : 12);
  if (sizeof(T) == 2) moved = _mm512_alignr_epi8(high, moved, 16 - sizeof(T));
  return hn::BitCast(hn::Full512<T>(), hn::Vec512<int32_t>{moved});
}
#  elif HWY_TARGET == HWY_AVX2
template <class T>
HWY_INLINE hn::Vec256<T> MoveDown(hn::Vec256<T> a, hn::Vec256<T> b) {
  const hn::Full256<int32_t> d32;
  const __m256i low = hn::BitCast(d32, a).raw, high = hn::BitCast(d32, b).raw;
  const __m256i middle = _mm256_permute2x128_si256(low, high, 0x21);
  return hn::BitCast(hn::Full256<T>(),
                     hn::Vec256<int32_t>{_mm256_alignr_epi8(middle, low, sizeof(T))});
}
template <class T>
HWY_INLINE hn::Vec256<T> MoveUp(hn::Vec256<T> a, hn::Vec256<T> b) {
  const hn::Full256<int32_t> d32;
  const __m256i low = hn::BitCast(d32, a).raw, high = hn::BitCast(d32, b).raw;
  const __m256i middle = _mm256_permute2x128_si256(low, high, 0x21);
  return hn::BitCast(hn::Full256<T>(),
                     hn::Vec256<int32_t>{_mm256_alignr_epi8(high, middle, 16 - sizeof(T))});
}
#  else
template <class T>
HWY_INLINE hn::Vec128<T> MoveDown(hn::Vec128<T> a, hn::Vec128<T> b) {
  return hn::CombineShiftRightBytes<sizeof(T)>(hn::Full128<T>(), b, a);
}
template <class T>
HWY_INLINE hn::Vec128<T> MoveUp(hn::Vec128<T> a, hn::Vec128<T> b) {
  return hn::CombineShiftRightBytes<16 - sizeof(T)>(hn::Full128<T>(), b, a);
}
#  endif

// A block: the even and the odd samples.
template <class T>
struct EvenOdd {
  Vector<T> even, odd;
};

template <class T>
HWY_INLINE EvenOdd<T> LoadEvenOdd(const T* from) {
  const Tag<T> d;
  const Vector<T> a = hn::LoadU(d, from), b = hn::LoadU(d, from + kLanesOf<T>);
  return {hn::ConcatEven(d, b, a), hn::ConcatOdd(d, b, a)};
}

#  if HWY_TARGET == HWY_AVX3

// The lanes of both vectors in the order of the samples; lanes of `odd` follow those of `even`.
template <class Index>
struct SampleOrder {
  HWY_ALIGN Index lanes[2 * kLanesOf<Index>];
  constexpr SampleOrder() : lanes() {
    for (size_t i = 0; i < 2 * kLanesOf<Index>; ++i) {
      lanes[i] = static_cast<Index>(i / 2 + i % 2 * kLanesOf<Index>);
    }
  }
};

// One permutation for each half of the samples; Highway takes two, after an interleaving.
template <class T>
HWY_INLINE void StoreEvenOdd(Vector<T> even, Vector<T> odd, T* to) {
  using Index = hwy::MakeSigned<T>;
  static constexpr SampleOrder<Index> kOrder;
  const Tag<Index> d;
  const __m512i a = hn::BitCast(d, even).raw, b = hn::BitCast(d, odd).raw;
  for (size_t i = 0; i < 2 * kLanesOf<T>; i += kLanesOf<T>) {
    const __m512i order = hn::Load(d, kOrder.lanes + i).raw;
    const Vector<Index> samples{sizeof(T) == 2 ? _mm512_permutex2var_epi16(a, order, b)
                                               : _mm512_permutex2var_epi32(a, order, b)};
    hn::StoreU(hn::BitCast(Tag<T>(), samples), Tag<T>(), to + i);
  }
}

#  else

template <class T>
HWY_INLINE void StoreEvenOdd(Vector<T> even, Vector<T> odd, T* to) {
  hn::StoreInterleaved2(even, odd, Tag<T>(), to);
}

#  endif

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
