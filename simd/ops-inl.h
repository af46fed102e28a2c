// SPDX-License-Identifier: MIT
// The few vector operations that Highway lacks. Included once per instruction set.

// What the kernels call AVX-512 includes byte permutations and dot products, which Highway's AVX3
// target does not name. (Highway's next target does not fit: it also requires the VEX form of the
// dot products, which many AVX-512 processors lack.)
#undef ZEP_TARGET_STR
#if HWY_TARGET == HWY_AVX3
#  define ZEP_TARGET_STR \
    HWY_TARGET_STR ",lzcnt,avx512vnni,avx512vbmi,avx512vbmi2,avx512bitalg,avx512vpopcntdq"
#elif HWY_TARGET == HWY_AVX2
#  define ZEP_TARGET_STR HWY_TARGET_STR ",lzcnt"
#elif defined(HWY_TARGET_STR)
#  define ZEP_TARGET_STR HWY_TARGET_STR
#endif

// ZEP_ATTR stands after the arguments of a lambda in a kernel.
#undef ZEP_BEFORE_NAMESPACE
#undef ZEP_ATTR
#ifdef ZEP_TARGET_STR
#  define ZEP_ATTR __attribute__((target(ZEP_TARGET_STR)))
#  define ZEP_BEFORE_NAMESPACE()        \
    HWY_PUSH_ATTRIBUTES(ZEP_TARGET_STR) \
    static_assert(true, "For requiring trailing semicolon")
#else
#  define ZEP_ATTR
#  define ZEP_BEFORE_NAMESPACE() HWY_BEFORE_NAMESPACE()
#endif

#if defined(ZEPJP_SIMD_OPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SIMD_OPS_INL_H_
#    undef ZEPJP_SIMD_OPS_INL_H_
#  else
#    define ZEPJP_SIMD_OPS_INL_H_
#  endif

#  include "hwy/highway.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

namespace hn = hwy::HWY_NAMESPACE;

HWY_INLINE void CopyBytes(const void* from, void* to, size_t size) {
  __builtin_memcpy(to, from, size);
}

// PackBlocks narrows two registers to one with saturation: 32-bit lanes become signed 16-bit lanes,
// 16-bit lanes become unsigned 8-bit lanes. It works within 128-bit blocks: each block of the
// result holds that block of `low`, then that of `high`.
//
// PairDot is kEven * v[2i] + kOdd * v[2i+1] of unsigned bytes in 16-bit lanes. The weights must be
// so small that the sum fits 15 bits.
//
// Nearest rounds floats to the nearest integers, halves to even; the results must fit 32 bits.
//
// DotAcc is acc + a[2i] * b[2i] + a[2i+1] * b[2i+1] in 32-bit lanes; the sum wraps.
#  if HWY_TARGET == HWY_NEON

HWY_INLINE hn::Vec128<int16_t> PackBlocks(hn::Vec128<int32_t> low, hn::Vec128<int32_t> high) {
  return hn::Vec128<int16_t>(vcombine_s16(vqmovn_s32(low.raw), vqmovn_s32(high.raw)));
}
HWY_INLINE hn::Vec128<uint8_t> PackBlocks(hn::Vec128<int16_t> low, hn::Vec128<int16_t> high) {
  return hn::Vec128<uint8_t>(vcombine_u8(vqmovun_s16(low.raw), vqmovun_s16(high.raw)));
}
HWY_INLINE hn::Vec128<int32_t> DotAcc(hn::Vec128<int32_t> acc, hn::Vec128<int16_t> a,
                                      hn::Vec128<int16_t> b) {
  const int32x4_t low = vmull_s16(vget_low_s16(a.raw), vget_low_s16(b.raw));
  const int32x4_t high = vmull_high_s16(a.raw, b.raw);
  return hn::Vec128<int32_t>(vaddq_s32(acc.raw, vpaddq_s32(low, high)));
}

HWY_INLINE hn::Vec128<int32_t> Nearest(hn::Vec128<float> v) {
  return hn::Vec128<int32_t>(vcvtnq_s32_f32(v.raw));
}

template <int kEven, int kOdd>
HWY_INLINE hn::Vec128<int16_t> PairDot(hn::Vec128<uint8_t> v) {
  const uint16x8_t pairs = vreinterpretq_u16_u8(v.raw);
  const uint16x8_t even = vmulq_n_u16(vandq_u16(pairs, vdupq_n_u16(255)), kEven);
  return hn::Vec128<int16_t>(vreinterpretq_s16_u16(vmlaq_n_u16(even, vshrq_n_u16(pairs, 8), kOdd)));
}

#  elif HWY_ARCH_X86

HWY_INLINE hn::Vec128<int16_t> PackBlocks(hn::Vec128<int32_t> low, hn::Vec128<int32_t> high) {
  return hn::Vec128<int16_t>{_mm_packs_epi32(low.raw, high.raw)};
}
HWY_INLINE hn::Vec128<uint8_t> PackBlocks(hn::Vec128<int16_t> low, hn::Vec128<int16_t> high) {
  return hn::Vec128<uint8_t>{_mm_packus_epi16(low.raw, high.raw)};
}
HWY_INLINE hn::Vec128<int32_t> Nearest(hn::Vec128<float> v) {
  return hn::Vec128<int32_t>{_mm_cvtps_epi32(v.raw)};
}
template <int kEven, int kOdd>
HWY_INLINE hn::Vec128<int16_t> PairDot(hn::Vec128<uint8_t> v) {
  return hn::Vec128<int16_t>{_mm_maddubs_epi16(v.raw, _mm_set1_epi16(kOdd << 8 | kEven))};
}
HWY_INLINE hn::Vec128<int32_t> DotAcc(hn::Vec128<int32_t> acc, hn::Vec128<int16_t> a,
                                      hn::Vec128<int16_t> b) {
#    if HWY_TARGET <= HWY_AVX3
  return hn::Vec128<int32_t>{_mm_dpwssd_epi32(acc.raw, a.raw, b.raw)};
#    else
  return hn::Vec128<int32_t>{_mm_add_epi32(acc.raw, _mm_madd_epi16(a.raw, b.raw))};
#    endif
}

#    if HWY_TARGET <= HWY_AVX2  // a newer instruction set has a smaller number

HWY_INLINE hn::Vec256<int16_t> PackBlocks(hn::Vec256<int32_t> low, hn::Vec256<int32_t> high) {
  return hn::Vec256<int16_t>{_mm256_packs_epi32(low.raw, high.raw)};
}
HWY_INLINE hn::Vec256<uint8_t> PackBlocks(hn::Vec256<int16_t> low, hn::Vec256<int16_t> high) {
  return hn::Vec256<uint8_t>{_mm256_packus_epi16(low.raw, high.raw)};
}
HWY_INLINE hn::Vec256<int32_t> Nearest(hn::Vec256<float> v) {
  return hn::Vec256<int32_t>{_mm256_cvtps_epi32(v.raw)};
}
template <int kEven, int kOdd>
HWY_INLINE hn::Vec256<int16_t> PairDot(hn::Vec256<uint8_t> v) {
  return hn::Vec256<int16_t>{_mm256_maddubs_epi16(v.raw, _mm256_set1_epi16(kOdd << 8 | kEven))};
}
HWY_INLINE hn::Vec256<int32_t> DotAcc(hn::Vec256<int32_t> acc, hn::Vec256<int16_t> a,
                                      hn::Vec256<int16_t> b) {
#      if HWY_TARGET <= HWY_AVX3
  return hn::Vec256<int32_t>{_mm256_dpwssd_epi32(acc.raw, a.raw, b.raw)};
#      else
  return hn::Vec256<int32_t>{_mm256_add_epi32(acc.raw, _mm256_madd_epi16(a.raw, b.raw))};
#      endif
}

#    endif
#    if HWY_TARGET <= HWY_AVX3

HWY_INLINE hn::Vec512<int16_t> PackBlocks(hn::Vec512<int32_t> low, hn::Vec512<int32_t> high) {
  return hn::Vec512<int16_t>{_mm512_packs_epi32(low.raw, high.raw)};
}
HWY_INLINE hn::Vec512<uint8_t> PackBlocks(hn::Vec512<int16_t> low, hn::Vec512<int16_t> high) {
  return hn::Vec512<uint8_t>{_mm512_packus_epi16(low.raw, high.raw)};
}
template <int kEven, int kOdd>
HWY_INLINE hn::Vec512<int16_t> PairDot(hn::Vec512<uint8_t> v) {
  return hn::Vec512<int16_t>{_mm512_maddubs_epi16(v.raw, _mm512_set1_epi16(kOdd << 8 | kEven))};
}
HWY_INLINE hn::Vec512<int32_t> DotAcc(hn::Vec512<int32_t> acc, hn::Vec512<int16_t> a,
                                      hn::Vec512<int16_t> b) {
  return hn::Vec512<int32_t>{_mm512_dpwssd_epi32(acc.raw, a.raw, b.raw)};
}

#    endif
#  else  // any other processor, with vectors of 128 bits

HWY_INLINE hn::Vec128<int16_t> PackBlocks(hn::Vec128<int32_t> low, hn::Vec128<int32_t> high) {
  const hn::Full64<int16_t> half;
  return hn::Combine(hn::Full128<int16_t>(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
}
HWY_INLINE hn::Vec128<uint8_t> PackBlocks(hn::Vec128<int16_t> low, hn::Vec128<int16_t> high) {
  const hn::Full64<uint8_t> half;
  return hn::Combine(hn::Full128<uint8_t>(), hn::DemoteTo(half, high), hn::DemoteTo(half, low));
}
HWY_INLINE hn::Vec128<int32_t> DotAcc(hn::Vec128<int32_t> acc, hn::Vec128<int16_t> a,
                                      hn::Vec128<int16_t> b) {
  const hn::Full128<int32_t> d;
  const auto pairs_a = hn::BitCast(d, a), pairs_b = hn::BitCast(d, b);
  const auto even = hn::Mul(hn::ShiftRight<16>(hn::ShiftLeft<16>(pairs_a)),
                            hn::ShiftRight<16>(hn::ShiftLeft<16>(pairs_b)));
  const auto odd = hn::Mul(hn::ShiftRight<16>(pairs_a), hn::ShiftRight<16>(pairs_b));
  return hn::Add(acc, hn::Add(even, odd));
}
HWY_INLINE hn::Vec128<int32_t> Nearest(hn::Vec128<float> v) { return hn::NearestInt(v); }
template <int kEven, int kOdd>
HWY_INLINE hn::Vec128<int16_t> PairDot(hn::Vec128<uint8_t> v) {
  const hn::Full128<uint16_t> d;
  const auto pairs = hn::BitCast(d, v);
  const auto even = hn::Mul(hn::And(pairs, hn::Set(d, 255)), hn::Set(d, kEven));
  const auto odd = hn::Mul(hn::ShiftRight<8>(pairs), hn::Set(d, kOdd));
  return hn::BitCast(hn::Full128<int16_t>(), hn::Add(even, odd));
}

#  endif

// Reorders the 64-bit halves that PackBlocks leaves, [a0 b0 a1 b1 ...], to [a0 a1 ... b0 b1 ...].
template <class T>
HWY_INLINE hn::Vec128<T> OrderHalves(hn::Vec128<T> v) {
  return v;
}
#  if HWY_TARGET <= HWY_AVX2
template <class T>
HWY_INLINE hn::Vec256<T> OrderHalves(hn::Vec256<T> v) {
  return hn::Vec256<T>{_mm256_permute4x64_epi64(v.raw, 0xD8)};
}
#  endif
#  if HWY_TARGET <= HWY_AVX3
template <class T>
HWY_INLINE hn::Vec512<T> OrderHalves(hn::Vec512<T> v) {
  const __m512i order = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
  return hn::Vec512<T>{_mm512_permutexvar_epi64(order, v.raw)};
}
#  endif

// Transposes the 4x4 matrix of 32-bit lanes (register by lane) in each 128-bit block.
template <class D, class V = hn::VFromD<D>>
HWY_INLINE void Transpose32(D d, V (&v)[4]) {
  const hn::Repartition<uint32_t, D> d32;
  const hn::Repartition<uint64_t, D> d64;
  const auto low = [&](V a, V b) ZEP_ATTR {
    return hn::BitCast(d64, hn::InterleaveLower(d32, hn::BitCast(d32, a), hn::BitCast(d32, b)));
  };
  const auto high = [&](V a, V b) ZEP_ATTR {
    return hn::BitCast(d64, hn::InterleaveUpper(d32, hn::BitCast(d32, a), hn::BitCast(d32, b)));
  };
  const auto low01 = low(v[0], v[1]), low23 = low(v[2], v[3]);
  const auto high01 = high(v[0], v[1]), high23 = high(v[2], v[3]);
  v[0] = hn::BitCast(d, hn::InterleaveLower(d64, low01, low23));
  v[1] = hn::BitCast(d, hn::InterleaveUpper(d64, low01, low23));
  v[2] = hn::BitCast(d, hn::InterleaveLower(d64, high01, high23));
  v[3] = hn::BitCast(d, hn::InterleaveUpper(d64, high01, high23));
}

// 128-bit blocks that lie `stride` bytes apart, at any alignment.
template <size_t kLanes>
HWY_INLINE hn::VFromD<hn::Simd<uint8_t, kLanes, 0>> LoadBlocks(hn::Simd<uint8_t, kLanes, 0> d,
                                                               const uint8_t* from,
                                                               ptrdiff_t stride) {
  if constexpr (kLanes == 16) {
    return hn::LoadU(d, from);
  } else {
    const hn::Half<decltype(d)> half;
    return hn::Combine(d, LoadBlocks(half, from + stride * ptrdiff_t{kLanes / 32}, stride),
                       LoadBlocks(half, from, stride));
  }
}

// The reverse of LoadBlocks.
template <size_t kLanes>
HWY_INLINE void StoreBlocks(hn::VFromD<hn::Simd<uint8_t, kLanes, 0>> v,
                            hn::Simd<uint8_t, kLanes, 0> d, uint8_t* to, ptrdiff_t stride) {
  if constexpr (kLanes == 16) {
    hn::StoreU(v, d, to);
  } else {
    const hn::Half<decltype(d)> half;
    StoreBlocks(hn::LowerHalf(half, v), half, to, stride);
    StoreBlocks(hn::UpperHalf(half, v), half, to + stride * ptrdiff_t{kLanes / 32}, stride);
  }
}

// The 128-bit blocks of two vectors in turn: a0 b0 a1 b1 ...
template <class D>
HWY_INLINE void LoadBlocksInTurn(D d, const uint8_t* from, hn::VFromD<D>& a, hn::VFromD<D>& b) {
  constexpr size_t kBytes = hn::MaxLanes(D());
  const auto first = hn::LoadU(d, from), second = hn::LoadU(d, from + kBytes);
#  if HWY_TARGET <= HWY_AVX3
  if constexpr (kBytes == 64) {
    const __m512i even = _mm512_setr_epi64(0, 1, 4, 5, 8, 9, 12, 13);
    const __m512i odd = _mm512_setr_epi64(2, 3, 6, 7, 10, 11, 14, 15);
    a = hn::VFromD<D>{_mm512_permutex2var_epi64(first.raw, even, second.raw)};
    b = hn::VFromD<D>{_mm512_permutex2var_epi64(first.raw, odd, second.raw)};
    return;
  }
#  endif
  if constexpr (kBytes == 32) {
    a = hn::ConcatLowerLower(d, second, first);
    b = hn::ConcatUpperUpper(d, second, first);
  } else {
    a = first;
    b = second;
  }
}
template <class D>
HWY_INLINE void StoreBlocksInTurn(hn::VFromD<D> a, hn::VFromD<D> b, D d, uint8_t* to) {
  constexpr size_t kBytes = hn::MaxLanes(D());
#  if HWY_TARGET <= HWY_AVX3
  if constexpr (kBytes == 64) {
    const __m512i first = _mm512_setr_epi64(0, 1, 8, 9, 2, 3, 10, 11);
    const __m512i second = _mm512_setr_epi64(4, 5, 12, 13, 6, 7, 14, 15);
    hn::StoreU(hn::VFromD<D>{_mm512_permutex2var_epi64(a.raw, first, b.raw)}, d, to);
    hn::StoreU(hn::VFromD<D>{_mm512_permutex2var_epi64(a.raw, second, b.raw)}, d, to + 64);
    return;
  }
#  endif
  if constexpr (kBytes == 32) {
    hn::StoreU(hn::ConcatLowerLower(d, b, a), d, to);
    hn::StoreU(hn::ConcatUpperUpper(d, b, a), d, to + 32);
  } else {
    hn::StoreU(a, d, to);
    hn::StoreU(b, d, to + kBytes);
  }
}

// The memory layout of the elements of one step: kPlanes rows, kBytes for each element.
template <int kPlanesOf, size_t kBytesOf>
struct Span {
  static constexpr int kPlanes = kPlanesOf;
  static constexpr size_t kBytes = kBytesOf;
};

// The step on copies of `count` elements, fewer than kStep.
template <size_t kStep, class Source, class Target, class Step>
HWY_NOINLINE void StepOnCopies(const uint8_t* const* src, uint8_t* const* dst, size_t begin,
                               size_t count, Step step) {
  HWY_ALIGN uint8_t in[Source::kPlanes][kStep * Source::kBytes];
  HWY_ALIGN uint8_t out[Target::kPlanes][kStep * Target::kBytes];
  const uint8_t* in_rows[Source::kPlanes];
  uint8_t* out_rows[Target::kPlanes];
  for (int i = 0; i < Source::kPlanes; ++i) {
    CopyBytes(src[i] + begin * Source::kBytes, in[i], count * Source::kBytes);
    in_rows[i] = in[i];
  }
  for (int i = 0; i < Target::kPlanes; ++i) out_rows[i] = out[i];
  step(in_rows, out_rows, 0);
  for (int i = 0; i < Target::kPlanes; ++i) {
    CopyBytes(out[i], dst[i] + begin * Target::kBytes, count * Target::kBytes);
  }
}

// Calls step(src, dst, x) for the elements `begin` to `end` - 1 of a row, kStep at a time. A step
// reads kStep elements at src[i] + x * Source::kBytes and writes kStep at dst[i] + x *
// Target::kBytes. The last step starts earlier and repeats some elements, so that it ends at `end`;
// therefore source and target must not overlap. A row of fewer than kStep elements is processed on
// copies. So a step never touches anything outside the row.
template <size_t kStep, class Source, class Target, class Step>
HWY_INLINE void ForElements(const uint8_t* const* src, uint8_t* const* dst, size_t begin,
                            size_t end, const Step& step) {
  const size_t count = end - begin;
  if (count >= kStep) {
    // Copies, because a step's stores could change the arrays of pointers.
    const uint8_t* from[Source::kPlanes];
    uint8_t* to[Target::kPlanes];
    for (int i = 0; i < Source::kPlanes; ++i) from[i] = src[i];
    for (int i = 0; i < Target::kPlanes; ++i) to[i] = dst[i];
    size_t x = begin;
    for (; x + kStep <= end; x += kStep) step(from, to, x);
    if (x < end) step(from, to, end - kStep);
  } else if (count > 0) {
    StepOnCopies<kStep, Source, Target>(src, dst, begin, count, step);
  }
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
