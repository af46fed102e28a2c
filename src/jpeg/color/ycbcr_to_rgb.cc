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

// Separate planes Y, Cb, Cr.
struct PlanarYcc : Span<3, 1> {
  static HWY_INLINE Rgb Load(const uint8_t* const* src, size_t x) {
    const D8 d8;
    return Convert(hn::LoadU(d8, src[0] + x), hn::LoadU(d8, src[1] + x), hn::LoadU(d8, src[2] + x));
  }
};

// Planes Cb and Cr of half the width: pixels 2i and 2i + 1 share sample i. `x` is even.
struct HalfYcc {
  static HWY_INLINE V8 Twice(const uint8_t* chroma) {
    const hn::RepartitionToWide<D8> d16;
    const auto wide = hn::PromoteTo(d16, hn::LoadU(hn::Half<D8>(), chroma));
    return hn::BitCast(D8(), hn::Or(wide, hn::ShiftLeft<8>(wide)));
  }
  static HWY_INLINE Rgb Load(const uint8_t* const* src, size_t x) {
    return Convert(hn::LoadU(D8(), src[0] + x), Twice(src[1] + x / 2), Twice(src[2] + x / 2));
  }
};

// Y0 Cb Y1 Cr: two pixels share their chroma.
struct Ycc422 : Span<1, 2> {
  static HWY_INLINE V16 Pick(V8 bytes, const int8_t (&indices)[16]) {
    const V8 table = hn::LoadDup128(D8(), reinterpret_cast<const uint8_t*>(indices));
    return hn::BitCast(D16(), hn::TableLookupBytesOr0(bytes, table));
  }
  static HWY_INLINE Half Load8(const uint8_t* from) {
    alignas(16) static constexpr int8_t kY[16] = {0, -1, 2,  -1, 4,  -1, 6,  -1,
                                                  8, -1, 10, -1, 12, -1, 14, -1};
    alignas(16) static constexpr int8_t kCb[16] = {1, -1, 1, -1, 5,  -1, 5,  -1,
                                                   9, -1, 9, -1, 13, -1, 13, -1};
    alignas(16) static constexpr int8_t kCr[16] = {3,  -1, 3,  -1, 7,  -1, 7,  -1,
                                                   11, -1, 11, -1, 15, -1, 15, -1};
    const V8 bytes = LoadBlocks(D8(), from, 32);
    return {Pick(bytes, kY), Centred(Pick(bytes, kCb)), Centred(Pick(bytes, kCr))};
  }
  static HWY_INLINE Rgb Load(const uint8_t* const* src, size_t x) {
    return Convert(Load8(src[0] + 2 * x), Load8(src[0] + 2 * x + 16));
  }
};

struct ToRgb : Span<1, 3> {
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x, uint8_t = 0) {
    StoreTriples(p.r, p.g, p.b, D8(), dst[0] + 3 * x);
  }
};

struct ToRgbx : Span<1, 4> {
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x, uint8_t alpha) {
    hn::StoreInterleaved4(p.r, p.g, p.b, hn::Set(D8(), alpha), D8(), dst[0] + 4 * x);
  }
};

// 16-bit pixels of the upper 5, kGreenBits and 5 bits of the channels, the first channel highest.
template <int kGreenBits>
struct ToPacked : Span<1, 2> {
  static HWY_INLINE V16 Word(V16 first, V16 second, V16 third) {
    const auto upper = [](V16 v, int bits) ZEP_ATTR {
      return hn::And(v, hn::Set(D16(), int16_t(256 - (256 >> bits))));
    };
    const V16 high = hn::ShiftLeft<kGreenBits + 2>(upper(first, 5));
    const V16 green = hn::ShiftLeft<kGreenBits - 3>(upper(second, kGreenBits));
    return hn::Or(hn::Or(high, green), hn::ShiftRight<3>(third));
  }
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x, uint8_t = 0) {
    const V16 low = Word(LowerWords(p.r), LowerWords(p.g), LowerWords(p.b));
    const V16 high = Word(UpperWords(p.r), UpperWords(p.g), UpperWords(p.b));
    StoreBlocks(hn::BitCast(D8(), low), D8(), dst[0] + 2 * x, 32);
    StoreBlocks(hn::BitCast(D8(), high), D8(), dst[0] + 2 * x + 16, 32);
  }
};

struct ToPlanes : Span<3, 1> {
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x, uint8_t = 0) {
    hn::StoreU(p.r, D8(), dst[0] + x);
    hn::StoreU(p.g, D8(), dst[1] + x);
    hn::StoreU(p.b, D8(), dst[2] + x);
  }
};

// The channels in reverse order.
template <class Target>
struct Backward : Span<1, Target::kBytes> {
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x, uint8_t alpha = 0) {
    Target::Store(Reversed(p), dst, x, alpha);
  }
};

template <class Source, class Target>
void ConvertRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x)
                        ZEP_ATTR { Target::Store(Source::Load(from, x), to, x); };
  ForElements<kPixels, Source, Target>(src, dst, 0, width, step);
}

template <class Target>
void ConvertPixels(const uint8_t* const* src, uint8_t* dst, size_t width, uint8_t alpha) {
  const auto step = [alpha](const uint8_t* const* from, uint8_t* const* to, size_t x)
                        ZEP_ATTR { Target::Store(PlanarYcc::Load(from, x), to, x, alpha); };
  ForElements<kPixels, PlanarYcc, Target>(src, &dst, 0, width, step);
}

// Converts the pixels from `begin`, which is even, to `end` - 1 on copies; they are fewer than a
// step.
template <class Target>
HWY_NOINLINE void ConvertFewOfHalf(const uint8_t* const* src, uint8_t* dst, size_t begin,
                                   size_t end, uint8_t alpha) {
  HWY_ALIGN uint8_t in[3][kPixels];
  HWY_ALIGN uint8_t out[kPixels * Target::kBytes];
  const uint8_t* const from[] = {in[0], in[1], in[2]};
  uint8_t* to = out;
  const size_t count = end - begin;
  CopyBytes(src[0] + begin, in[0], count);
  for (int i = 1; i < 3; ++i) CopyBytes(src[i] + begin / 2, in[i], (count + 1) / 2);
  Target::Store(HalfYcc::Load(from, 0), &to, 0, alpha);
  CopyBytes(out, dst + begin * Target::kBytes, count * Target::kBytes);
}

template <class Target>
void ConvertHalfPixels(const uint8_t* const* src, uint8_t* dst, size_t width, uint8_t alpha) {
  const auto step = [=](size_t x)
                        ZEP_ATTR { Target::Store(HalfYcc::Load(src, x), &dst, x, alpha); };
  const size_t even = width & ~size_t{1};
  size_t x = 0;
  for (; x + kPixels <= even; x += kPixels) step(x);
  if (x < even && x > 0) {
    step(even - kPixels);
    x = even;
  }
  if (x < width) ConvertFewOfHalf<Target>(src, dst, x, width, alpha);
}

void CmykRowC4(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    const Rgb inks = Inks(PlanarYcc::Load(from, x));
    const V8 k = hn::LoadU(D8(), from[3] + x);
    hn::StoreInterleaved4(inks.r, inks.g, inks.b, k, D8(), to[0] + 4 * x);
  };
  ForElements<kPixels, Span<4, 1>, Span<1, 4>>(src, dst, 0, width, step);
}

void CmykRowP4(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x)
                        ZEP_ATTR { ToPlanes::Store(Inks(PlanarYcc::Load(from, x)), to, x); };
  ForElements<kPixels, Span<3, 1>, Span<3, 1>>(src, dst, 0, width, step);
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

Kernels kernels;

ZEP_AT_LOAD
void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

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
  return ConvertParallel<3, 1>(kernels.p3_to_rgb, pSrc, srcStep, &pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                              uint8_t* const pDst[3], int32_t dstStep,
                                              zepiSize roiSize) {
  return ConvertParallel<3, 3>(kernels.p3_to_p3, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<3, 1>(kernels.p3_to_bgr, pSrc, srcStep, &pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<4, 1>(kernels.p4_to_cmyk, pSrc, srcStep, &pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                              uint8_t* const pDst[4], int32_t dstStep,
                                              zepiSize roiSize) {
  return ConvertParallel<4, 4>(kernels.p4_to_p4, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* pDst, int32_t dstStep,
                                                   zepiSize roiSize) {
  const bool odd_width = roiSize.width % 2 != 0;
  return ConvertParallel<1, 1>(kernels.c2_to_rgb, &pSrc, srcStep, &pDst, dstStep, roiSize,
                               odd_width);
}

zepStatus ZEP_CALL zepiYCbCrToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize,
                                                uint8_t alpha) {
  return ConvertPlanes(kernels.rgbx, pSrc, srcStep, pDst, dstStep, roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCrToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                uint8_t* pDst, int32_t dstStep, zepiSize roiSize,
                                                uint8_t alpha) {
  return ConvertPlanes(kernels.bgrx, pSrc, srcStep, pDst, dstStep, roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<2>(kernels.half_rgb, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<2>(kernels.half_rgbx, pSrc, srcStep, pDst, dstStep, roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<2>(kernels.half_bgr, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<2>(kernels.half_bgrx, pSrc, srcStep, pDst, dstStep, roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<1>(kernels.half_rgb, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGB_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<1>(kernels.half_rgbx, pSrc, srcStep, pDst, dstStep, roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C3R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize) {
  return ConvertHalf<1>(kernels.half_bgr, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGR_JPEG_8u_P3C4R(const uint8_t* const pSrc[3],
                                                   const int32_t srcStep[3], uint8_t* pDst,
                                                   int32_t dstStep, zepiSize roiSize,
                                                   uint8_t alpha) {
  return ConvertHalf<1>(kernels.half_bgrx, pSrc, srcStep, pDst, dstStep, roiSize, alpha);
}

zepStatus ZEP_CALL zepiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.rgb555, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.rgb565, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.bgr555, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                                      uint16_t* pDst, int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.bgr565, pSrc, srcStep, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
