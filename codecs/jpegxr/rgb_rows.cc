// SPDX-License-Identifier: MIT
// Components from RGB, each sample times 2^shift:
//
//   v = b - r
//   t = r + ceil(v / 2) - g          ceil(v / 2) = (v + 1) >> 1
//   y = g + floor(t / 2) - offset    u = -t
//
// and RGB from components by the same steps backwards: g from y and t, r from t, g and v, b from v
// and r. Each step adds a function of values that both sides know, so nothing is lost.
//
// Samples are at most 255 * 8, so all values of the first direction fit into 16 bits. Components
// come from files and may be anything: the second direction works on 32 bits that wrap, and packs
// with saturation.
#include "codecs/jpegxr/rgb_rows.h"

#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "codecs/jpegxr/rgb_rows.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_JPEGXR_RGB_ROWS_KERNELS
#  define ZEPJP_JPEGXR_RGB_ROWS_KERNELS
namespace zepcodec::jpegxr {
namespace {

// Planes of components are addressed as bytes.
struct Kernels {
  void (*split)(const uint8_t* pixels, size_t width, int shift, int32_t offset,
                uint8_t* const* yuv);
  void (*join)(const uint8_t* const* yuv, size_t width, int shift, int32_t offset, uint8_t* pixels);
};

}  // namespace
}  // namespace zepcodec::jpegxr
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepcodec::jpegxr::HWY_NAMESPACE {
namespace {

using namespace zepjp::HWY_NAMESPACE;  // simd/ops-inl.h

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;
constexpr size_t kPixels = hn::MaxLanes(D8());
constexpr size_t kWords = hn::MaxLanes(D32());

// The halves of a register, in wider lanes.
HWY_INLINE V16 LowerSamples(V8 v) { return hn::PromoteTo(D16(), hn::LowerHalf(v)); }
HWY_INLINE V16 UpperSamples(V8 v) { return hn::PromoteTo(D16(), hn::UpperHalf(hn::Half<D8>(), v)); }
HWY_INLINE void StoreWords(V16 v, uint8_t* to) {
  const V32 lower = hn::PromoteTo(D32(), hn::LowerHalf(v));
  const V32 upper = hn::PromoteTo(D32(), hn::UpperHalf(hn::Half<D16>(), v));
  hn::StoreU(hn::BitCast(D8(), lower), D8(), to);
  hn::StoreU(hn::BitCast(D8(), upper), D8(), to + 4 * kWords);
}

HWY_INLINE void SplitPart(V16 r, V16 g, V16 b, int shift, V16 offset, uint8_t* const* yuv,
                          size_t x) {
  r = hn::ShiftLeftSame(r, shift);
  g = hn::ShiftLeftSame(g, shift);
  b = hn::ShiftLeftSame(b, shift);
  const V16 v = hn::Sub(b, r);
  const V16 half_v = hn::ShiftRight<1>(hn::Add(v, hn::Set(D16(), 1)));
  const V16 t = hn::Sub(hn::Add(r, half_v), g);
  StoreWords(hn::Sub(hn::Add(g, hn::ShiftRight<1>(t)), offset), yuv[0] + 4 * x);
  StoreWords(hn::Neg(t), yuv[1] + 4 * x);
  StoreWords(v, yuv[2] + 4 * x);
}

void Split(const uint8_t* pixels, size_t width, int shift, int32_t offset, uint8_t* const* yuv) {
  const V16 all_offset = hn::Set(D16(), static_cast<int16_t>(offset));
  const auto step = [=](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    V8 r, g, b;
    hn::LoadInterleaved3(D8(), from[0] + 3 * x, r, g, b);
    SplitPart(LowerSamples(r), LowerSamples(g), LowerSamples(b), shift, all_offset, to, x);
    SplitPart(UpperSamples(r), UpperSamples(g), UpperSamples(b), shift, all_offset, to,
              x + kPixels / 2);
  };
  ForElements<kPixels, Span<1, 3>, Span<3, 4>>(&pixels, yuv, 0, width, step);
}

// The 32-bit quarters [a0 b0 c0 d0 a1 b1 ...] that packing twice leaves, in order:
// [a0 a1 ... b0 b1 ...].
template <class T>
HWY_INLINE hn::Vec128<T> OrderQuarters(hn::Vec128<T> v) {
  return v;
}
#if HWY_TARGET <= HWY_AVX2
template <class T>
HWY_INLINE hn::Vec256<T> OrderQuarters(hn::Vec256<T> v) {
  const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
  return hn::Vec256<T>{_mm256_permutevar8x32_epi32(v.raw, order)};
}
#endif
#if HWY_TARGET <= HWY_AVX3
template <class T>
HWY_INLINE hn::Vec512<T> OrderQuarters(hn::Vec512<T> v) {
  const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
  return hn::Vec512<T>{_mm512_permutexvar_epi32(order, v.raw)};
}
#endif

HWY_INLINE V8 PackFour(const V32 (&v)[4], int shift) {
  V32 shifted[4];
  for (size_t i = 0; i < 4; ++i) shifted[i] = hn::ShiftRightSame(v[i], shift);
  return OrderQuarters(
      PackBlocks(PackBlocks(shifted[0], shifted[1]), PackBlocks(shifted[2], shifted[3])));
}

void Join(const uint8_t* const* yuv, size_t width, int shift, int32_t offset, uint8_t* pixels) {
  const V32 all_offset = hn::Set(D32(), offset);
  const auto step = [=](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    V32 r[4], g[4], b[4];
    for (size_t i = 0; i < 4; ++i) {
      const auto load = [&](int component) ZEP_ATTR {
        return hn::BitCast(D32(), hn::LoadU(D8(), from[component] + 4 * (x + i * kWords)));
      };
      const V32 t = hn::Neg(load(1));
      const V32 v = load(2);
      const V32 half_v = hn::ShiftRight<1>(hn::Add(v, hn::Set(D32(), 1)));
      g[i] = hn::Sub(hn::Add(load(0), all_offset), hn::ShiftRight<1>(t));
      r[i] = hn::Sub(hn::Add(t, g[i]), half_v);
      b[i] = hn::Add(v, r[i]);
    }
    hn::StoreInterleaved3(PackFour(r, shift), PackFour(g, shift), PackFour(b, shift), D8(),
                          to[0] + 3 * x);
  };
  ForElements<kPixels, Span<3, 4>, Span<1, 3>>(yuv, &pixels, 0, width, step);
}

constexpr Kernels kKernels = {Split, Join};

}  // namespace
}  // namespace zepcodec::jpegxr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepcodec::jpegxr {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

}  // namespace

void SplitRgbRow(const uint8_t* pixels, size_t width, int shift, int32_t offset,
                 int32_t* const (&yuv)[3]) {
  uint8_t* const planes[3] = {reinterpret_cast<uint8_t*>(yuv[0]),
                              reinterpret_cast<uint8_t*>(yuv[1]),
                              reinterpret_cast<uint8_t*>(yuv[2])};
  kernels.split(pixels, width, shift, offset, planes);
}

void JoinRgbRow(const int32_t* const (&yuv)[3], size_t width, int shift, int32_t offset,
                uint8_t* pixels) {
  const uint8_t* const planes[3] = {reinterpret_cast<const uint8_t*>(yuv[0]),
                                    reinterpret_cast<const uint8_t*>(yuv[1]),
                                    reinterpret_cast<const uint8_t*>(yuv[2])};
  kernels.join(planes, width, shift, offset, pixels);
}

}  // namespace zepcodec::jpegxr
#endif  // HWY_ONCE
