// SPDX-License-Identifier: MIT
// RGB to YCbCr and CMYK to YCCK (ITU-T T.871), in full and with reduced chroma. The arithmetic is
// in rgb_to_ycbcr-inl.h.
//
// Within a row the first 8 * floor(width / 8) pixels are converted with coefficients scaled by
// 2^15, the rest with those scaled by 2^14; so the interface defines it. Functions for inks and
// 16-bit pixels use 2^14 throughout. Reduced chroma comes from sums over 2x1 or 2x2 pixels, rounded
// once.
#include "jpeg/color/plane_rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/color/rgb_to_ycbcr.cc"
#include "hwy/foreach_target.h"
#include "jpeg/color/rgb_to_ycbcr-inl.h"

#ifndef ZEPJP_RGB_TO_YCBCR_KERNELS
#  define ZEPJP_RGB_TO_YCBCR_KERNELS
namespace zepjp {
namespace {

// The kernels that reduce chroma get one or two source rows, and as destinations the same number of
// rows of Y, then Cb, then Cr.
struct Kernels {
  RowFunction rgb_c3, bgr_c3, rgb_c4, bgr_c4, rgb_p3;
  RowFunction rgb_to_y_c3, bgr_to_y_c3, rgb_to_y_c4, bgr_to_y_c4, rgb_to_y_p3;
  RowFunction cmyk_c4, cmyk_p4;
  RowFunction rgb555, bgr555, rgb565, bgr565;
  RowFunction rgb_c3_411, rgb_c4_411, bgr_c3_411, bgr_c4_411;
  RowFunction rgb_c3_422, rgb_c4_422, bgr_c3_422, bgr_c4_422;
};

// The rules for the full groups of eight pixels of a row, and for the rest.
struct RgbOrder {
  static constexpr Rule kGroups = k15Bits, kRest = k14Bits;
};
struct BgrOrder {
  static constexpr Rule kGroups = Reversed(k15Bits), kRest = Reversed(k14Bits);
};
struct RgbOrder14 {
  static constexpr Rule kGroups = k14Bits, kRest = k14Bits;
};
struct BgrOrder14 {
  static constexpr Rule kGroups = Reversed(k14Bits), kRest = Reversed(k14Bits);
};
struct Inks14 {
  static constexpr Rule kGroups = Inverted(k14Bits), kRest = Inverted(k14Bits);
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

template <const Rule& kRule, class Parts>
HWY_INLINE void StoreYcc(const Pairs& pairs, Parts parts, uint8_t* const* dst, size_t x) {
  StorePixels(Convert<kRule.shift>(pairs, kRule.y), parts, dst[0] + x);
  StorePixels(Convert<kRule.shift>(pairs, kRule.cb), parts, dst[1] + x);
  StorePixels(Convert<kRule.shift>(pairs, kRule.cr), parts, dst[2] + x);
}

template <class Source, const Rule& kRule>
struct ConvertStep {
  template <class Parts>
  HWY_INLINE void Run(Parts parts, const uint8_t* const* src, uint8_t* const* dst, size_t x) const {
    StoreYcc<kRule>(Source::Load(parts, src, x), parts, dst, x);
  }
};
template <class Source, const Rule& kRule>
void ConvertSpan(const uint8_t* const* src, uint8_t* const* dst, size_t begin, size_t end) {
  ForPixels<Source, Span<3, 1>>(src, dst, begin, end, ConvertStep<Source, kRule>());
}

template <class Source, class Order>
void ConvertRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  if constexpr (Order::kGroups.shift == Order::kRest.shift) {
    ConvertSpan<Source, Order::kGroups>(src, dst, 0, width);
  } else {
    const size_t groups = width / 8 * 8;
    ConvertSpan<Source, Order::kGroups>(src, dst, 0, groups);
    ConvertSpan<Source, Order::kRest>(src, dst, groups, width);
  }
}

template <class Source, class Order>
struct LuminanceStep {
  static constexpr Component kY = Order::kGroups.y;
  template <class Parts>
  HWY_INLINE void Run(Parts parts, const uint8_t* const* src, uint8_t* const* dst, size_t x) const {
    StorePixels(Convert<15>(Source::Load(parts, src, x), kY), parts, dst[0] + x);
  }
};
template <class Source, class Order>
void LuminanceSpan(const uint8_t* const* src, uint8_t* const* dst, size_t begin, size_t end) {
  ForPixels<Source, Span<1, 1>>(src, dst, begin, end, LuminanceStep<Source, Order>());
}

template <class Source, class Order>
void LuminanceRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  LuminanceSpan<Source, Order>(src, dst, 0, width);
}

struct InksStep {
  template <class Parts>
  HWY_INLINE void Run(Parts parts, const uint8_t* const* src, uint8_t* const* dst, size_t x) const {
    using Source = Interleaved<4>;
    const Source::Raw raw = Source::LoadRaw(parts, src, x);
    StoreYcc<Inks14::kGroups>(Source::MakePairs(raw), parts, dst, x);
    StorePixels(PackBlocks(PackBlocks(Fourth(raw.quarters[0]), Fourth(raw.quarters[1])),
                           PackBlocks(Fourth(raw.quarters[2]), Fourth(raw.quarters[3]))),
                parts, dst[3] + x);
  }
  static HWY_INLINE V32 Fourth(V8 pixels) {
    const hn::ScalableTag<uint32_t> d32;
    return hn::BitCast(D32(), hn::ShiftRight<24>(hn::BitCast(d32, pixels)));
  }
};
void CmykRowC4(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  ForPixels<Span<1, 4>, Span<4, 1>>(src, dst, 0, width, InksStep());
}

void CmykRowP4(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  ConvertSpan<Planar, Inks14::kGroups>(src, dst, 0, width);
  CopyBytes(src[3], dst[3], width);
}

template <class Source, class Order, int kRows>
struct ReducingStep {
  static constexpr size_t kStep = 2 * kPixels;
  static constexpr Rule kRule = Summed(Order::kRest, kRows);
  static constexpr Component kY = Order::kGroups.y;

  // dst: the rows of Y, then Cb and Cr.
  static HWY_INLINE void Run(const uint8_t* const* src, uint8_t* const* dst, size_t x) {
    const GroupPairs low = LuminanceAndSums(src, dst, x);
    const GroupPairs high = LuminanceAndSums(src, dst, x + kPixels);
    StoreChroma(low, high, kRule.cb, dst[kRows] + x / 2);
    StoreChroma(low, high, kRule.cr, dst[kRows + 1] + x / 2);
  }

  static HWY_INLINE GroupPairs LuminanceAndSums(const uint8_t* const* src, uint8_t* const* dst,
                                                size_t x) {
    typename Source::Raw raw[kRows];
    for (int row = 0; row < kRows; ++row) raw[row] = Source::LoadRaw(Whole(), src + row, x);
    for (int row = 0; row < kRows; ++row) {
      hn::StoreU(Convert<15>(Source::MakePairs(raw[row]), kY), D8(), dst[row] + x);
    }
    return SumGroups<Source, kRows>(raw);
  }

  static HWY_INLINE void StoreChroma(const GroupPairs& low, const GroupPairs& high,
                                     const Component& c, uint8_t* to) {
    const V8 packed =
        PackBlocks(ConvertGroups<kRule.shift>(low, c), ConvertGroups<kRule.shift>(high, c));
    hn::StoreU(OrderHalves(packed), D8(), to);
  }
};

// Converts rows that are too short for a step, on copies.
template <class Step, class Source, int kRows>
HWY_NOINLINE void ReduceShortRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  HWY_ALIGN uint8_t in[kRows][Step::kStep * Source::kBytes];
  HWY_ALIGN uint8_t out[kRows + 2][Step::kStep];
  const uint8_t* in_rows[kRows];
  uint8_t* out_rows[kRows + 2];
  for (int i = 0; i < kRows; ++i) {
    CopyBytes(src[i], in[i], width * Source::kBytes);
    in_rows[i] = in[i];
  }
  for (int i = 0; i < kRows + 2; ++i) out_rows[i] = out[i];
  Step::Run(in_rows, out_rows, 0);
  for (int i = 0; i < kRows + 2; ++i) CopyBytes(out[i], dst[i], i < kRows ? width : width / 2);
}

// Converts rows with chroma from groups of 2 x kRows pixels; a last odd column gets luminance only.
template <class Source, class Order, int kRows>
void ReducingRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  using Step = ReducingStep<Source, Order, kRows>;
  if (width < Step::kStep) return ReduceShortRow<Step, Source, kRows>(src, dst, width);
  const size_t even = width & ~size_t{1};
  size_t x = 0;
  for (; x + Step::kStep <= even; x += Step::kStep) Step::Run(src, dst, x);
  if (x < even) Step::Run(src, dst, even - Step::kStep);
  for (int row = 0; row < kRows; ++row) {
    LuminanceSpan<Source, Order>(src + row, dst + row, even, width);
  }
}

using C3 = Interleaved<3>;
using C4 = Interleaved<4>;

constexpr Kernels kKernels = {
    .rgb_c3 = ConvertRow<C3, RgbOrder>,
    .bgr_c3 = ConvertRow<C3, BgrOrder>,
    .rgb_c4 = ConvertRow<C4, RgbOrder>,
    .bgr_c4 = ConvertRow<C4, BgrOrder>,
    .rgb_p3 = ConvertRow<Planar, RgbOrder>,
    .rgb_to_y_c3 = LuminanceRow<C3, RgbOrder>,
    .bgr_to_y_c3 = LuminanceRow<C3, BgrOrder>,
    .rgb_to_y_c4 = LuminanceRow<C4, RgbOrder>,
    .bgr_to_y_c4 = LuminanceRow<C4, BgrOrder>,
    .rgb_to_y_p3 = LuminanceRow<Planar, RgbOrder>,
    .cmyk_c4 = CmykRowC4,
    .cmyk_p4 = CmykRowP4,
    .rgb555 = ConvertRow<Packed<5>, RgbOrder14>,
    .bgr555 = ConvertRow<Packed<5>, BgrOrder14>,
    .rgb565 = ConvertRow<Packed<6>, RgbOrder14>,
    .bgr565 = ConvertRow<Packed<6>, BgrOrder14>,
    .rgb_c3_411 = ReducingRow<C3, RgbOrder, 2>,
    .rgb_c4_411 = ReducingRow<C4, RgbOrder, 2>,
    .bgr_c3_411 = ReducingRow<C3, BgrOrder, 2>,
    .bgr_c4_411 = ReducingRow<C4, BgrOrder, 2>,
    .rgb_c3_422 = ReducingRow<C3, RgbOrder, 1>,
    .rgb_c4_422 = ReducingRow<C4, RgbOrder, 1>,
    .bgr_c3_422 = ReducingRow<C3, BgrOrder, 1>,
    .bgr_c4_422 = ReducingRow<C4, BgrOrder, 1>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

// The kernels that reduce chroma make half a vector of chroma from each vector of pixels, so they
// need rows of twice the width.
ByWidth<Kernels> kernels;

ZEP_AT_LOAD
void ChooseKernels() { kernels = ZEP_CHOOSE_BY_WIDTH(kKernels); }

const uint8_t* Bytes(const uint16_t* words) { return reinterpret_cast<const uint8_t*>(words); }

zepStatus ConvertPacked(RowFunction kernel, const uint16_t* src, int32_t src_step,
                        uint8_t* const* dst, int32_t dst_step, zepiSize roi) {
  if (auto bad =
          Checks().Ptr(src).Planes(dst, 3).Step(src_step).Step(dst_step).Size(roi).Failed()) {
    return bad;
  }
  const uint8_t* const plane = Bytes(src);
  ConvertSerial<1, 3>(kernel, &plane, src_step, dst, dst_step, roi);
  return zepStatusOk;
}

zepStatus ConvertC4(RowFunction kernel, const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                    int32_t dst_step, zepiSize roi) {
  if (auto bad = Checks().Ptr(src).Planes(dst, 3).Size(roi).Failed()) return bad;
  ConvertSerial<1, 3>(kernel, &src, src_step, dst, dst_step, roi);
  return zepStatusOk;
}

zepStatus Convert422(RowFunction kernel, const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                     int32_t dst_step, zepiSize roi) {
  if (auto bad = Checks().Ptr(src).Planes(dst, 3).Size(roi, 2, 1).Failed()) return bad;
  ConvertSerial<1, 3>(kernel, &src, src_step, dst, dst_step, roi);
  return roi.width % 2 != 0 ? zepStatusOddSizeWarning : zepStatusOk;
}

// `luminance` converts a last odd row, which has no chroma.
zepStatus Convert411(RowFunction kernel, RowFunction luminance, const uint8_t* src,
                     int32_t src_step, uint8_t* const* dst, int32_t dst_step, zepiSize roi) {
  if (auto bad = Checks().Ptr(src).Planes(dst, 3).Size(roi, 2, 2).Failed()) return bad;
  const auto width = static_cast<size_t>(roi.width);
  for (int32_t y = 0; y + 2 <= roi.height; y += 2) {
    const uint8_t* const from[] = {Row(src, src_step, y), Row(src, src_step, y + 1)};
    uint8_t* const to[] = {Row(dst[0], dst_step, y), Row(dst[0], dst_step, y + 1),
                           Row(dst[1], dst_step, y / 2), Row(dst[2], dst_step, y / 2)};
    kernel(from, to, width);
  }
  if (roi.height % 2 != 0) {
    const uint8_t* const from = Row(src, src_step, roi.height - 1);
    uint8_t* const to = Row(dst[0], dst_step, roi.height - 1);
    luminance(&from, &to, width);
  }
  return (roi.width | roi.height) % 2 != 0 ? zepStatusOddSizeWarning : zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                uint8_t* const pDst[3], int32_t dstStep,
                                                zepiSize roiSize) {
  return ConvertParallel<1, 3>(kernels.For(roiSize.width).rgb_c3, &pSrc, srcStep, pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                uint8_t* const pDst[3], int32_t dstStep,
                                                zepiSize roiSize) {
  return ConvertParallel<1, 3>(kernels.For(roiSize.width).bgr_c3, &pSrc, srcStep, pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const pSrc[3], int32_t srcStep,
                                              uint8_t* const pDst[3], int32_t dstStep,
                                              zepiSize roiSize) {
  return ConvertParallel<3, 3>(kernels.For(roiSize.width).rgb_p3, pSrc, srcStep, pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiRGBToYCbCr_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                uint8_t* const pDst[3], int32_t dstStep,
                                                zepiSize roiSize) {
  return ConvertC4(kernels.For(roiSize.width).rgb_c4, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiBGRToYCbCr_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                uint8_t* const pDst[3], int32_t dstStep,
                                                zepiSize roiSize) {
  return ConvertC4(kernels.For(roiSize.width).bgr_c4, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRGBToY_JPEG_8u_C3C1R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                            int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<1, 1>(kernels.For(roiSize.width).rgb_to_y_c3, &pSrc, srcStep, &pDst,
                               dstStep, roiSize);
}

zepStatus ZEP_CALL zepiBGRToY_JPEG_8u_C3C1R(const uint8_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                            int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<1, 1>(kernels.For(roiSize.width).bgr_to_y_c3, &pSrc, srcStep, &pDst,
                               dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRGBToY_JPEG_8u_P3C1R(const uint8_t* const pSrc[3], int32_t srcStep,
                                            uint8_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ConvertParallel<3, 1>(kernels.For(roiSize.width).rgb_to_y_p3, pSrc, srcStep, &pDst,
                               dstStep, roiSize);
}

zepStatus ZEP_CALL zepiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* pSrc, int32_t srcStep,
                                                uint8_t* const pDst[4], int32_t dstStep,
                                                zepiSize roiSize) {
  return ConvertParallel<1, 4>(kernels.For(roiSize.width).cmyk_c4, &pSrc, srcStep, pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const pSrc[4], int32_t srcStep,
                                              uint8_t* const pDst[4], int32_t dstStep,
                                              zepiSize roiSize) {
  return ConvertParallel<4, 4>(kernels.For(roiSize.width).cmyk_p4, pSrc, srcStep, pDst, dstStep,
                               roiSize);
}

zepStatus ZEP_CALL zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).rgb555, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).bgr555, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).rgb565, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* pSrc, int32_t srcStep,
                                                      uint8_t* const pDst[3], int32_t dstStep,
                                                      zepiSize roiSize) {
  return ConvertPacked(kernels.For(roiSize.width).bgr565, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRGBToYCbCr411_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert411(kernels.For(roiSize.width / 2).rgb_c3_411,
                    kernels.For(roiSize.width).rgb_to_y_c3, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRGBToYCbCr411_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert411(kernels.For(roiSize.width / 2).rgb_c4_411,
                    kernels.For(roiSize.width).rgb_to_y_c4, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiBGRToYCbCr411_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert411(kernels.For(roiSize.width / 2).bgr_c3_411,
                    kernels.For(roiSize.width).bgr_to_y_c3, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiBGRToYCbCr411_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert411(kernels.For(roiSize.width / 2).bgr_c4_411,
                    kernels.For(roiSize.width).bgr_to_y_c4, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRGBToYCbCr422_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert422(kernels.For(roiSize.width / 2).rgb_c3_422, pSrc, srcStep, pDst, dstStep,
                    roiSize);
}

zepStatus ZEP_CALL zepiRGBToYCbCr422_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert422(kernels.For(roiSize.width / 2).rgb_c4_422, pSrc, srcStep, pDst, dstStep,
                    roiSize);
}

zepStatus ZEP_CALL zepiBGRToYCbCr422_JPEG_8u_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert422(kernels.For(roiSize.width / 2).bgr_c3_422, pSrc, srcStep, pDst, dstStep,
                    roiSize);
}

zepStatus ZEP_CALL zepiBGRToYCbCr422_JPEG_8u_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                   uint8_t* const pDst[3], int32_t dstStep,
                                                   zepiSize roiSize) {
  return Convert422(kernels.For(roiSize.width / 2).bgr_c4_422, pSrc, srcStep, pDst, dstStep,
                    roiSize);
}

#endif  // HWY_ONCE
