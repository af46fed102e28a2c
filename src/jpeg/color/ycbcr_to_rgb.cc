// SPDX-License-Identifier: MIT
// YCbCr to RGB and YCCK to CMYK (ITU-T T.871), from planes to pixels of several layouts. The
// arithmetic is in ycbcr_to_rgb-inl.h.
//
// Planes Cb and Cr may have half the width, or half of both sizes. Then pixels share chroma
// samples; nothing is interpolated.
#include "frame/checks.h"
#include "frame/rows.h"
#include "jpeg/color/plane_rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/color/ycbcr_to_rgb.cc"
#include "hwy/foreach_target.h"
#include "jpeg/color/store_pixels-inl.h"
#include "jpeg/color/ycbcr_to_rgb-inl.h"

#ifndef ZEPJP_YCBCR_TO_RGB_KERNELS
#  define ZEPJP_YCBCR_TO_RGB_KERNELS
namespace zepjp {
namespace {

// Converts a row of planes Y, Cb, Cr to pixels; kernels without a fourth channel ignore `alpha`.
using PixelRow = void (*)(const uint8_t* const* src, uint8_t* dst, size_t width, uint8_t alpha);

struct Kernels {
  RowFunction p3_to_rgb, p3_to_bgr, p3_to_p3;
  RowFunction p4_to_cmyk, p4_to_p4;
  RowFunction c2_to_rgb;
  PixelRow rgbx, bgrx;
  PixelRow rgb555, bgr555, rgb565, bgr565;
  PixelRow half_rgb, half_bgr, half_rgbx, half_bgrx;  // for Cb and Cr of half the width
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// Results are parted as store_pixels-inl.h defines: even and odd pixels are converted in registers
// of their own.
HWY_INLINE Rgb AddTerms(V8 y, const Terms& even, const Terms& odd) {
  const hn::Repartition<uint16_t, D8> d16;
  const V16 even_y = hn::BitCast(D16(), hn::And(hn::BitCast(d16, y), hn::Set(d16, 255)));
  const V16 odd_y = hn::BitCast(D16(), hn::ShiftRight<8>(hn::BitCast(d16, y)));
  return AddTerms(even_y, even, odd_y, odd);
}

// 2 (c - 128) of the even or odd bytes.
HWY_INLINE V16 EvenChroma(V8 c) { return hn::Sub(PairDot<2, 0>(c), hn::Set(D16(), 256)); }
HWY_INLINE V16 OddChroma(V8 c) { return hn::Sub(PairDot<0, 2>(c), hn::Set(D16(), 256)); }

// Separate planes Y, Cb, Cr.
struct PlanarYcc : Span<3, 1> {
  template <class Parts>
  static HWY_INLINE Rgb Load(Parts parts, const uint8_t* const* src, size_t x) {
    const V8 cb = LoadPixels(parts, src[1] + x), cr = LoadPixels(parts, src[2] + x);
    return AddTerms(LoadPixels(parts, src[0] + x), TermsOf(EvenChroma(cb), EvenChroma(cr)),
                    TermsOf(OddChroma(cb), OddChroma(cr)));
  }
};

// Planes Cb and Cr of half the width: pixels 2i and 2i + 1 share sample i. `x` is even.
struct HalfYcc {
  static HWY_INLINE V16 Chroma(const uint8_t* from) {
    const V16 wide = hn::PromoteTo(D16(), hn::LoadU(hn::Half<D8>(), from));
    return hn::Sub(hn::ShiftLeft<1>(wide), hn::Set(D16(), 256));
  }
  static HWY_INLINE Rgb Load(const uint8_t* const* src, size_t x) {
    const Terms terms = TermsOf(Chroma(src[1] + x / 2), Chroma(src[2] + x / 2));
    return AddTerms(hn::LoadU(D8(), src[0] + x), terms, terms);
  }
};

// Y0 Cb Y1 Cr: two pixels share their chroma.
struct Ycc422 : Span<1, 2> {
  template <class Parts>
  static HWY_INLINE Rgb Load(Parts parts, const uint8_t* const* src, size_t x) {
    const uint8_t* from = src[0] + 2 * x;
    const hn::Repartition<uint16_t, D8> d16;
    const auto low = hn::BitCast(d16, LoadBlocksFrom<0, 2>(parts, from));
    const auto high = hn::BitCast(d16, LoadBlocksFrom<8, 2>(parts, from));
    const auto pack = [](auto a, auto b) ZEP_ATTR {
      return PackBlocks(hn::BitCast(D16(), a), hn::BitCast(D16(), b));
    };
    const auto bytes = hn::Set(d16, 255);
    const V8 y = pack(hn::And(low, bytes), hn::And(high, bytes));
    const V8 chroma = pack(hn::ShiftRight<8>(low), hn::ShiftRight<8>(high));
    const Terms terms = TermsOf(EvenChroma(chroma), OddChroma(chroma));
    return AddTerms(y, terms, terms);
  }
};

struct ToRgb : Span<1, 3> {
  template <class Parts>
  static HWY_INLINE void Store(const Rgb& p, Parts parts, uint8_t* const* dst, size_t x, uint8_t) {
    StoreThree(p.r, p.g, p.b, parts, dst[0] + 3 * x);
  }
};

struct ToRgbx : Span<1, 4> {
  template <class Parts>
  static HWY_INLINE void Store(const Rgb& p, Parts parts, uint8_t* const* dst, size_t x,
                               uint8_t alpha) {
    StoreFour(p.r, p.g, p.b, hn::Set(D8(), alpha), parts, dst[0] + 4 * x);
  }
};

// 16-bit pixels of the upper 5, kGreenBits and 5 bits of the channels, the first channel highest.
template <int kGreenBits>
struct ToPacked : Span<1, 2> {
  static HWY_INLINE V8 Masked(hn::VFromD<hn::Repartition<uint16_t, D8>> v, int mask) {
    return hn::And(hn::BitCast(D8(), v), hn::Set(D8(), static_cast<uint8_t>(mask)));
  }
  template <class Parts>
  static HWY_INLINE void Store(const Rgb& p, Parts parts, uint8_t* const* dst, size_t x, uint8_t) {
    const hn::Repartition<uint16_t, D8> d16;
    constexpr int kFirst = 6 - kGreenBits, kUpperGreen = 11 - kGreenBits;
    const auto first = hn::BitCast(d16, p.r), green = hn::BitCast(d16, p.g);
    const V8 high = hn::Or(Masked(hn::ShiftRight<kFirst>(first), 0xF8 >> kFirst),
                           Masked(hn::ShiftRight<kUpperGreen>(green), 0xFF >> kUpperGreen));
    const V8 low = hn::Or(Masked(hn::ShiftLeft<kGreenBits - 3>(green), 0xE0),
                          Masked(hn::ShiftRight<3>(hn::BitCast(d16, p.b)), 0x1F));
    StoreTwo(low, high, parts, dst[0] + 2 * x);
  }
};

struct ToPlanes : Span<3, 1> {
  template <class Parts>
  static HWY_INLINE void Store(const Rgb& p, Parts parts, uint8_t* const* dst, size_t x, uint8_t) {
    StorePixels(Ordered<1>(p.r), parts, dst[0] + x);
    StorePixels(Ordered<1>(p.g), parts, dst[1] + x);
    StorePixels(Ordered<1>(p.b), parts, dst[2] + x);
  }
};

// The channels in reverse order.
template <class Target>
struct Backward : Span<1, Target::kBytes> {
  template <class Parts>
  static HWY_INLINE void Store(const Rgb& p, Parts parts, uint8_t* const* dst, size_t x,
                               uint8_t alpha) {
    Target::Store(Reversed(p), parts, dst, x, alpha);
  }
};

template <class Source, class Target>
struct PixelStep {
  uint8_t alpha;
  template <class Parts>
  HWY_INLINE void Run(Parts parts, const uint8_t* const* src, uint8_t* const* dst, size_t x) const {
    Target::Store(Source::Load(parts, src, x), parts, dst, x, alpha);
  }
};

template <class Source, class Target>
void ConvertRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  ForPixels<Source, Target>(src, dst, 0, width, PixelStep<Source, Target>{0});
}

template <class Target>
void ConvertPixels(const uint8_t* const* src, uint8_t* dst, size_t width, uint8_t alpha) {
  ForPixels<PlanarYcc, Target>(src, &dst, 0, width, PixelStep<PlanarYcc, Target>{alpha});
}

template <class Target>
HWY_INLINE void ConvertHalfStep(const uint8_t* const* src, uint8_t* dst, size_t x, uint8_t alpha) {
  Target::Store(HalfYcc::Load(src, x), Whole(), &dst, x, alpha);
}

// Converts the pixels from `begin`, which is even, to `end` - 1 on copies; they are fewer than a
// step.
template <class Target>
HWY_NOINLINE void ConvertFewOfHalf(const uint8_t* const* src, uint8_t* dst, size_t begin,
                                   size_t end, uint8_t alpha) {
  HWY_ALIGN uint8_t in[3][kPixels];
  HWY_ALIGN uint8_t out[kPixels * Target::kBytes];
  const uint8_t* const from[] = {in[0], in[1], in[2]};
  const size_t count = end - begin;
  CopyBytes(src[0] + begin, in[0], count);
  for (int i = 1; i < 3; ++i) CopyBytes(src[i] + begin / 2, in[i], (count + 1) / 2);
  ConvertHalfStep<Target>(from, out, 0, alpha);
  CopyBytes(out, dst + begin * Target::kBytes, count * Target::kBytes);
}

template <class Target>
void ConvertHalfPixels(const uint8_t* const* src, uint8_t* dst, size_t width, uint8_t alpha) {
  const size_t even = width & ~size_t{1};
  size_t x = 0;
  for (; x + kPixels <= even; x += kPixels) ConvertHalfStep<Target>(src, dst, x, alpha);
  if (x < even && x > 0) {
    ConvertHalfStep<Target>(src, dst, even - kPixels, alpha);
    x = even;
  }
  if (x < width) ConvertFewOfHalf<Target>(src, dst, x, width, alpha);
}

struct InksStep {
  template <class Parts>
  HWY_INLINE void Run(Parts parts, const uint8_t* const* src, uint8_t* const* dst, size_t x) const {
    const Rgb inks = Inks(PlanarYcc::Load(parts, src, x));
    StoreFour(inks.r, inks.g, inks.b, LoadPixels(parts, src[3] + x), parts, dst[0] + 4 * x);
  }
};
void CmykRowC4(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  ForPixels<Span<4, 1>, Span<1, 4>>(src, dst, 0, width, InksStep());
}

struct InkPlanesStep {
  template <class Parts>
  HWY_INLINE void Run(Parts parts, const uint8_t* const* src, uint8_t* const* dst, size_t x) const {
    ToPlanes::Store(Inks(PlanarYcc::Load(parts, src, x)), parts, dst, x, 0);
  }
};
void CmykRowP4(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  ForPixels<PlanarYcc, ToPlanes>(src, dst, 0, width, InkPlanesStep());
  CopyBytes(src[3], dst[3], width);
}

constexpr Kernels kKernels = {
    .p3_to_rgb = ConvertRow<PlanarYcc, ToRgb>,
    .p3_to_bgr = ConvertRow<PlanarYcc, Backward<ToRgb>>,
    .p3_to_p3 = ConvertRow<PlanarYcc, ToPlanes>,
    .p4_to_cmyk = CmykRowC4,
    .p4_to_p4 = CmykRowP4,
    .c2_to_rgb = ConvertRow<Ycc422, ToRgb>,
    .rgbx = ConvertPixels<ToRgbx>,
    .bgrx = ConvertPixels<Backward<ToRgbx>>,
    .rgb555 = ConvertPixels<ToPacked<5>>,
    .bgr555 = ConvertPixels<Backward<ToPacked<5>>>,
    .rgb565 = ConvertPixels<ToPacked<6>>,
    .bgr565 = ConvertPixels<Backward<ToPacked<6>>>,
    .half_rgb = ConvertHalfPixels<ToRgb>,
    .half_bgr = ConvertHalfPixels<Backward<ToRgb>>,
    .half_rgbx = ConvertHalfPixels<ToRgbx>,
    .half_bgrx = ConvertHalfPixels<Backward<ToRgbx>>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

// Planes with chroma of half the width are not converted by halves, so they need rows of twice the
// width.
ByWidth<Kernels> kernels;

ZEP_AT_LOAD
void ChooseKernels() { kernels = ZEP_CHOOSE_BY_WIDTH(kKernels); }

// Converts planes of equal size.
zepStatus ConvertPlanes(PixelRow kernel, const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                        int32_t dst_step, zepiSize roi, uint8_t alpha = 0) {
  if (auto bad =
          Checks().Planes(src, 3).Ptr(dst).Step(src_step).Step(dst_step).Size(roi).Failed()) {
    return bad;
  }
  for (int32_t y = 0; y < roi.height; ++y) {
    const PlaneRows<3, const uint8_t> from(src, src_step, y);
    kernel(from.rows, Row(dst, dst_step, y), static_cast<size_t>(roi.width), alpha);
  }
  return zepStatusOk;
}

zepStatus ConvertPacked(PixelRow kernel, const uint8_t* const* src, int32_t src_step, uint16_t* dst,
                        int32_t dst_step, zepiSize roi) {
  return ConvertPlanes(kernel, src, src_step, reinterpret_cast<uint8_t*>(dst), dst_step, roi);
}

// Converts planes with Cb and Cr of half the width and 1 / kRows of the height; each plane has its
// own step.
template <int kRows>
zepStatus ConvertHalf(PixelRow kernel, const uint8_t* const* src, const int32_t* src_step,
                      uint8_t* dst, int32_t dst_step, zepiSize roi, uint8_t alpha = 0) {
  if (auto bad = Checks()
                     .Planes(src, 3)
                     .Ptr(src_step)
                     .Ptr(dst)
                     .Steps(src_step, 3)
                     .Step(dst_step)
                     .Size(roi)
                     .Failed()) {
    return bad;
  }
  for (int32_t y = 0; y < roi.height; ++y) {
    const uint8_t* const from[] = {Row(src[0], src_step[0], y), Row(src[1], src_step[1], y / kRows),
                                   Row(src[2], src_step[2], y / kRows)};
    kernel(from, Row(dst, dst_step, y), static_cast<size_t>(roi.width), alpha);
  }
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<3, 1>(kernels.For(roiSize.width).p3_to_rgb, pSrc, srcStep, &pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                              uint8_t* const pDst[3], int32_t dstStep,
                                              zepiSize roiSize) {
  return ConvertParallel<3, 3>(kernels.For(roiSize.width).p3_to_p3, pSrc, srcStep, pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<3, 1>(kernels.For(roiSize.width).p3_to_bgr, pSrc, srcStep, &pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<4, 1>(kernels.For(roiSize.width).p4_to_cmyk, pSrc, srcStep, &pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                              uint8_t* const pDst[4], int32_t dstStep,
                                              zepiSize roiSize) {
  return ConvertParallel<4, 4>(kernels.For(roiSize.width).p4_to_p4, pSrc, srcStep, pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* pDst, int32_t dstStep,
                                                   zepiSize roiSize) {
  const bool odd_width = roiSize.width % 2 != 0;
  return ConvertParallel<1, 1>(kernels.For(roiSize.width).c2_to_rgb, &pSrc, srcStep, &pDst, dstStep,
                               roiSize, odd_width);
}

zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize,
                                                uint8_t alpha) {
  return ConvertPlanes(kernels.For(roiSize.width).rgbx, pSrc, srcStep, pDst, dstStep, roiSize,
                       alpha);
}

zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize,
                                                uint8_t alpha) {
  return ConvertPlanes(kernels.For(roiSize.width).bgrx, pSrc, srcStep, pDst, dstStep, roiSize,
                       alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<2>(kernels.For(roiSize.width / 2).half_rgb, pSrc, srcStep, pDst, dstStep,
                        roiSize);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<2>(kernels.For(roiSize.width / 2).half_rgbx, pSrc, srcStep, pDst, dstStep,
                        roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<2>(kernels.For(roiSize.width / 2).half_bgr, pSrc, srcStep, pDst, dstStep,
                        roiSize);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<2>(kernels.For(roiSize.width / 2).half_bgrx, pSrc, srcStep, pDst, dstStep,
                        roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<1>(kernels.For(roiSize.width / 2).half_rgb, pSrc, srcStep, pDst, dstStep,
                        roiSize);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<1>(kernels.For(roiSize.width / 2).half_rgbx, pSrc, srcStep, pDst, dstStep,
                        roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<1>(kernels.For(roiSize.width / 2).half_bgr, pSrc, srcStep, pDst, dstStep,
                        roiSize);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<1>(kernels.For(roiSize.width / 2).half_bgrx, pSrc, srcStep, pDst, dstStep,
                        roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).rgb555, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).rgb565, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).bgr555, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).bgr565, pSrc, srcStep, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
