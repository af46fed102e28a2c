// SPDX-License-Identifier: MIT
// The blocks of one MCU to pixels (ITU-T T.81, A.2 and A.3.1; ITU-T T.871): each value plus 128 is
// saturated to 0..255, chroma samples are repeated, and YCbCr is converted to RGB or YCCK to CMYK,
// or nothing is converted.
//
// Vectors hold cells of 16 pixels, as in pixels_to_mcu.cc. A V16 has eight values of each cell: one
// of the cell's two runs.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/mcu/mcu_to_pixels.cc"
#include "hwy/foreach_target.h"
#include "jpeg/color/triples-inl.h"
#include "jpeg/color/ycbcr_to_rgb-inl.h"

#ifndef ZEPJP_MCU_TO_PIXELS_KERNELS
#  define ZEPJP_MCU_TO_PIXELS_KERNELS
namespace zepjp {
namespace {

using FromMcu = void (*)(const int16_t* const* src, uint8_t* dst, ptrdiff_t step, uint8_t alpha);

// A kernel for each sampling.
struct FromMcuSamplings {
  FromMcu full, half_width, half;  // 444, 422, 411
};

struct Kernels {
  FromMcuSamplings rgb_c3, rgb_c4, bgr_c3, bgr_c4, cmyk, samples;
  FromMcu c2;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

constexpr size_t kCells = kPixels / 16;
constexpr size_t kRowBytes = 16, kBlockBytes = 128;

// The values of kCells rows of a block, or of twice that number: rows of both vectors in turn. They
// are limited to -128..127.
HWY_INLINE V16 Limited(V8 bytes) {
  const D16 d16;
  return hn::Min(hn::Max(hn::BitCast(d16, bytes), hn::Set(d16, -128)), hn::Set(d16, 127));
}
HWY_INLINE V16 LoadRows(const int16_t* block, size_t offset) {
  return Limited(hn::LoadU(D8(), reinterpret_cast<const uint8_t*>(block) + offset));
}
HWY_INLINE void LoadRows(const int16_t* block, size_t offset, V16 (&rows)[1]) {
  rows[0] = LoadRows(block, offset);
}
HWY_INLINE void LoadRows(const int16_t* block, size_t offset, V16 (&rows)[2]) {
  V8 even, odd;
  LoadBlocksInTurn(D8(), reinterpret_cast<const uint8_t*>(block) + offset, even, odd);
  rows[0] = Limited(even);
  rows[1] = Limited(odd);
}

HWY_INLINE V16 Plus128(V16 v) { return hn::Add(v, hn::Set(D16(), 128)); }

// One component of the two runs of each cell.
struct Runs {
  V16 lower, upper;

  HWY_INLINE V8 Bytes() const { return PackBlocks(Plus128(lower), Plus128(upper)); }
};

HWY_INLINE Runs Twice(V16 v) {
  return {hn::InterleaveLower(D16(), v, v), hn::InterleaveUpper(D16(), v, v)};
}

HWY_INLINE Terms TermsOfValues(V16 cb, V16 cr) {
  return TermsOf(hn::ShiftLeft<1>(cb), hn::ShiftLeft<1>(cr));
}

// The components of cells, and the terms of their chroma.
struct CellRuns {
  Runs components[4];
  Terms lower, upper;

  HWY_INLINE Rgb Convert() const {
    const Runs& y = components[0];
    return AddTerms(Plus128(y.lower), lower, Plus128(y.upper), upper);
  }
  // Full chroma.
  HWY_INLINE void MakeTerms() {
    const Runs &cb = components[1], &cr = components[2];
    lower = TermsOfValues(cb.lower, cr.lower);
    upper = TermsOfValues(cb.upper, cr.upper);
  }
  // Each sample of chroma serves two neighbours.
  HWY_INLINE void RepeatChroma(V16 cb, V16 cr) {
    components[1] = Twice(cb);
    components[2] = Twice(cr);
    const Terms terms = TermsOfValues(cb, cr);
    const Runs r = Twice(terms.r), g = Twice(terms.g), b = Twice(terms.b);
    lower = {r.lower, g.lower, b.lower};
    upper = {r.upper, g.upper, b.upper};
  }
};

// The addresses of the two runs of the first cell, and the distance from each cell to the next.
struct PixelTarget {
  uint8_t* first;
  uint8_t* second;
  ptrdiff_t step;
};

template <size_t kBlocks>
HWY_INLINE void StoreHalves(hn::VFromD<hn::Simd<uint8_t, 16 * kBlocks, 0>> v,
                            hn::Simd<uint8_t, 16 * kBlocks, 0> d, uint8_t* lower, uint8_t* upper,
                            ptrdiff_t step) {
  const hn::Half<decltype(d)> half;
  if constexpr (kBlocks == 1) {
    hn::StoreU(hn::LowerHalf(half, v), half, lower);
    hn::StoreU(hn::UpperHalf(half, v), half, upper);
  } else {
    constexpr ptrdiff_t kHalf = kBlocks / 2;
    StoreHalves<kBlocks / 2>(hn::LowerHalf(half, v), half, lower, upper, step);
    StoreHalves<kBlocks / 2>(hn::UpperHalf(half, v), half, lower + kHalf * step,
                             upper + kHalf * step, step);
  }
}

constexpr int LaneOf(int pixel) { return pixel; }

// A run of eight three-byte pixels has 24 bytes: the part in the middle belongs to both runs.
HWY_INLINE void StoreThree(V8 a, V8 b, V8 c, const PixelTarget& to) {
  const D8 d8;
  V8 parts[3];
  MakeTriples<LaneOf>(a, b, c, parts);
  StoreBlocks(parts[0], d8, to.first, to.step);
  StoreHalves<kCells>(parts[1], d8, to.first + 16, to.second, to.step);
  StoreBlocks(parts[2], d8, to.second + 8, to.step);
}

HWY_INLINE void StoreFour(V8 a, V8 b, V8 c, V8 d, const PixelTarget& to) {
  const D8 d8;
  const auto words = [](V8 v) ZEP_ATTR { return hn::BitCast(D16(), v); };
  const V16 ab_lower = words(hn::InterleaveLower(d8, a, b)),
            ab_upper = words(hn::InterleaveUpper(d8, a, b));
  const V16 cd_lower = words(hn::InterleaveLower(d8, c, d)),
            cd_upper = words(hn::InterleaveUpper(d8, c, d));
  const auto store = [&](V16 v, uint8_t* at)
                         ZEP_ATTR { StoreBlocks(hn::BitCast(D8(), v), D8(), at, to.step); };
  store(hn::InterleaveLower(D16(), ab_lower, cd_lower), to.first);
  store(hn::InterleaveUpper(D16(), ab_lower, cd_lower), to.first + 16);
  store(hn::InterleaveLower(D16(), ab_upper, cd_upper), to.second);
  store(hn::InterleaveUpper(D16(), ab_upper, cd_upper), to.second + 16);
}

// Targets: they convert the components of cells and store the pixels.
template <bool kIsBgr>
struct ToThree {
  static constexpr size_t kChannels = 3, kComponents = 3;
  static HWY_INLINE void Store(const CellRuns& cells, uint8_t, const PixelTarget& to) {
    const Rgb rgb = cells.Convert();
    const Rgb p = kIsBgr ? Reversed(rgb) : rgb;
    StoreThree(p.r, p.g, p.b, to);
  }
};
template <bool kIsBgr>
struct ToFour {
  static constexpr size_t kChannels = 4, kComponents = 3;
  static HWY_INLINE void Store(const CellRuns& cells, uint8_t alpha, const PixelTarget& to) {
    const Rgb rgb = cells.Convert();
    const Rgb p = kIsBgr ? Reversed(rgb) : rgb;
    StoreFour(p.r, p.g, p.b, hn::Set(D8(), alpha), to);
  }
};
struct ToInks {
  static constexpr size_t kChannels = 4, kComponents = 4;
  static HWY_INLINE void Store(const CellRuns& cells, uint8_t, const PixelTarget& to) {
    const Rgb p = Inks(cells.Convert());
    StoreFour(p.r, p.g, p.b, cells.components[3].Bytes(), to);
  }
};
struct ToSamples {
  static constexpr size_t kChannels = 3, kComponents = 3;
  static HWY_INLINE void Store(const CellRuns& cells, uint8_t, const PixelTarget& to) {
    const Runs* runs = cells.components;
    StoreThree(runs[0].Bytes(), runs[1].Bytes(), runs[2].Bytes(), to);
  }
};

template <class Target>
void FromMcu444(const int16_t* const* src, uint8_t* dst, ptrdiff_t step, uint8_t alpha) {
  for (size_t y = 0; y < 8; y += 2 * kCells) {
    CellRuns cells;
    for (size_t i = 0; i < Target::kComponents; ++i) {
      cells.components[i] = {LoadRows(src[i], y * kRowBytes),
                             LoadRows(src[i], (y + kCells) * kRowBytes)};
    }
    cells.MakeTerms();
    uint8_t* to = dst + static_cast<ptrdiff_t>(y) * step;
    Target::Store(cells, alpha, {to, to + static_cast<ptrdiff_t>(kCells) * step, step});
  }
}

// 422 with kRows = 1, 411 with 2. A step covers kCells rows of chroma, each for kRows rows of
// pixels.
template <class Target, int kRows>
void FromReducedMcu(const int16_t* const* src, uint8_t* dst, ptrdiff_t step, uint8_t alpha) {
  for (size_t y = 0; y < 8; y += kCells) {
    CellRuns cells;
    cells.RepeatChroma(LoadRows(src[1], y * kRowBytes), LoadRows(src[2], y * kRowBytes));
    const size_t top = kRows * y;
    const size_t offset = top / 8 * 2 * kBlockBytes + top % 8 * kRowBytes;
    V16 lower[4][kRows], upper[4][kRows];
    for (size_t i = 0; i < Target::kComponents; i += 3) {
      LoadRows(src[i], offset, lower[i]);
      LoadRows(src[i], offset + kBlockBytes, upper[i]);
    }
    for (size_t row = 0; row < kRows; ++row) {
      for (size_t i = 0; i < Target::kComponents; i += 3) {
        cells.components[i] = {lower[i][row], upper[i][row]};
      }
      uint8_t* to = dst + static_cast<ptrdiff_t>(top + row) * step;
      Target::Store(cells, alpha, {to, to + 8 * Target::kChannels, kRows * step});
    }
  }
}

// Y0 Cb Y1 Cr.
void Join422(const int16_t* const* src, uint8_t* dst, ptrdiff_t step, uint8_t) {
  for (size_t y = 0; y < 8; y += kCells) {
    const size_t offset = y * kRowBytes;
    const V16 cb = Plus128(LoadRows(src[1], offset)), cr = Plus128(LoadRows(src[2], offset));
    const auto join = [](V16 luminance, V16 chroma) ZEP_ATTR {
      return hn::BitCast(D8(), hn::Or(Plus128(luminance), hn::ShiftLeft<8>(chroma)));
    };
    uint8_t* to = dst + static_cast<ptrdiff_t>(y) * step;
    StoreBlocks(join(LoadRows(src[0], offset), hn::InterleaveLower(D16(), cb, cr)), D8(), to, step);
    StoreBlocks(join(LoadRows(src[0], offset + kBlockBytes), hn::InterleaveUpper(D16(), cb, cr)),
                D8(), to + 16, step);
  }
}

template <class Target>
constexpr FromMcuSamplings kSamplings = {
    .full = FromMcu444<Target>,
    .half_width = FromReducedMcu<Target, 1>,
    .half = FromReducedMcu<Target, 2>,
};

constexpr Kernels kKernels = {
    .rgb_c3 = kSamplings<ToThree<false>>,
    .rgb_c4 = kSamplings<ToFour<false>>,
    .bgr_c3 = kSamplings<ToThree<true>>,
    .bgr_c4 = kSamplings<ToFour<true>>,
    .cmyk = kSamplings<ToInks>,
    .samples = kSamplings<ToSamples>,
    .c2 = Join422,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <int kComponents = 3>
zepStatus Convert(FromMcu kernel, const int16_t* const* src, uint8_t* dst, int32_t step,
                  uint8_t alpha = 0) {
  if (auto bad = Checks().Planes(src, kComponents).Ptr(dst).Step(step).Failed()) return bad;
  kernel(src, dst, step, alpha);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.rgb_c3.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return Convert(kernels.rgb_c4.full, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.rgb_c3.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return Convert(kernels.rgb_c4.half_width, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.rgb_c3.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return Convert(kernels.rgb_c4.half, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.bgr_c3.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return Convert(kernels.bgr_c4.full, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.bgr_c3.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return Convert(kernels.bgr_c4.half_width, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.bgr_c3.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return Convert(kernels.bgr_c4.half, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert<4>(kernels.cmyk.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert<4>(kernels.cmyk.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                            uint8_t* pDst, int32_t dstStep) {
  return Convert<4>(kernels.cmyk.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                          uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.samples.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                          uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.samples.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                          uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.samples.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiJoin422LS_MCU_JPEG_16s8u_P3C2R(const int16_t* const pSrcMCU[3],
                                                      uint8_t* pDst, int32_t dstStep) {
  return Convert(kernels.c2, pSrcMCU, pDst, dstStep);
}
#endif  // HWY_ONCE
