// SPDX-License-Identifier: MIT
// The colour spaces of JPEG files to RGB and CMYK.
//
// With u = Cb - 128, v = Cr - 128:
//   R = Y + ((22970 v + 8192) >> 14)
//   G = Y + ((-5638 u - 11700 v + 8192) >> 14)
//   B = Y + ((29032 u + 8192) >> 14)
// each clamped to 0..255. (Y << 14 leaves the shift unrounded.) All in 16-bit lanes but G's sum: a
// rounding fixed-point product gives (a b + 2^14) >> 15, which is R's and B's term for a = 2 v, 2
// u.
#include "jpeg/color/plane_rows.h"
#include "simd/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/color/ycbcr_to_rgb.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_YCBCR_TO_RGB_KERNELS
#  define ZEPJP_YCBCR_TO_RGB_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  RowFunction p3_to_rgb, p3_to_bgr, p3_to_p3;
  RowFunction p4_to_cmyk, p4_to_p4;
  RowFunction c2_to_rgb;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;

constexpr size_t kPixels = hn::MaxLanes(D8());  // in a step

// Half of the pixels of a step: 128-bit block b of half h holds the pixels 16 b + 8 h .. + 7.
struct Half {
  V16 y, u2, v2;  // Y, 2 (Cb - 128), 2 (Cr - 128)
};

struct Rgb {
  V8 r, g, b;
};

struct RgbHalf {
  V16 r, g, b;
};

HWY_INLINE V16 GreenTerm(V16 u2, V16 v2) {
  const D16 d16;
  const D32 d32;
  constexpr uint32_t kPair =
      static_cast<uint16_t>(-5638 / 2) | uint32_t{static_cast<uint16_t>(-11700 / 2)} << 16;
  const V16 weights = hn::BitCast(d16, hn::Set(hn::ScalableTag<uint32_t>(), kPair));
  const auto round = hn::Set(d32, 8192);
  const auto low = DotAcc(round, hn::InterleaveLower(d16, u2, v2), weights);
  const auto high = DotAcc(round, hn::InterleaveUpper(d16, u2, v2), weights);
  return PackBlocks(hn::ShiftRight<14>(low), hn::ShiftRight<14>(high));
}

HWY_INLINE RgbHalf ConvertHalf(const Half& h) {
  const D16 d16;
  return {hn::Add(h.y, hn::MulFixedPoint15(h.v2, hn::Set(d16, 22970))),
          hn::Add(h.y, GreenTerm(h.u2, h.v2)),
          hn::Add(h.y, hn::MulFixedPoint15(h.u2, hn::Set(d16, 29032)))};
}

HWY_INLINE Rgb Convert(const Half& low, const Half& high) {
  const RgbHalf a = ConvertHalf(low);
  const RgbHalf b = ConvertHalf(high);
  return {PackBlocks(a.r, b.r), PackBlocks(a.g, b.g), PackBlocks(a.b, b.b)};
}

// Twice what is left of 128, of unsigned 16-bit lanes.
HWY_INLINE V16 Centred(V16 chroma) {
  return hn::Sub(hn::ShiftLeft<1>(chroma), hn::Set(D16(), 256));
}

// Separate planes; a fourth is not part of the conversion.
struct PlanarYcc : Span<3, 1> {
  static HWY_INLINE Rgb Load(const uint8_t* const* src, size_t x) {
    const D8 d8;
    const D16 d16;
    const auto zero = hn::Zero(d8);
    const V8 y = hn::LoadU(d8, src[0] + x);
    const V8 cb = hn::LoadU(d8, src[1] + x);
    const V8 cr = hn::LoadU(d8, src[2] + x);
    const auto low = [&](V8 v)
                         ZEP_ATTR { return hn::BitCast(d16, hn::InterleaveLower(d8, v, zero)); };
    const auto high = [&](V8 v)
                          ZEP_ATTR { return hn::BitCast(d16, hn::InterleaveUpper(d8, v, zero)); };
    return Convert({low(y), Centred(low(cb)), Centred(low(cr))},
                   {high(y), Centred(high(cb)), Centred(high(cr))});
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
    const V8 bytes = LoadBlocks<32>(D8(), from);
    return {Pick(bytes, kY), Centred(Pick(bytes, kCb)), Centred(Pick(bytes, kCr))};
  }
  static HWY_INLINE Rgb Load(const uint8_t* const* src, size_t x) {
    return Convert(Load8(src[0] + 2 * x), Load8(src[0] + 2 * x + 16));
  }
};

struct ToRgb : Span<1, 3> {
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x) {
    StoreTriples(p.r, p.g, p.b, D8(), dst[0] + 3 * x);
  }
};

struct ToBgr : Span<1, 3> {
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x) {
    StoreTriples(p.b, p.g, p.r, D8(), dst[0] + 3 * x);
  }
};

struct ToPlanes : Span<3, 1> {
  static HWY_INLINE void Store(const Rgb& p, uint8_t* const* dst, size_t x) {
    hn::StoreU(p.r, D8(), dst[0] + x);
    hn::StoreU(p.g, D8(), dst[1] + x);
    hn::StoreU(p.b, D8(), dst[2] + x);
  }
};

HWY_INLINE Rgb Inks(const Rgb& p) {
  const auto invert = [](V8 v) ZEP_ATTR { return hn::Xor(v, hn::Set(D8(), 255)); };
  return {invert(p.r), invert(p.g), invert(p.b)};
}

template <class Source, class Target>
void ConvertRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x)
                        ZEP_ATTR { Target::Store(Source::Load(from, x), to, x); };
  ForElements<kPixels, Source, Target>(src, dst, 0, width, step);
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
    ConvertRow<PlanarYcc, ToRgb>,
    ConvertRow<PlanarYcc, ToBgr>,
    ConvertRow<PlanarYcc, ToPlanes>,
    CmykRowC4,
    CmykRowP4,
    ConvertRow<Ycc422, ToRgb>,
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD
void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

}  // namespace
}  // namespace zepjp

using zepjp::ConvertParallel;
using zepjp::kernels;

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
#endif  // HWY_ONCE
