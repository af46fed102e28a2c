// SPDX-License-Identifier: MIT
// The blocks of one MCU to pixels: values plus 128, saturated to bytes; chroma replicated; conversion or none.
//
// Vectors hold cells of 16 pixels, as in pixels_to_mcu.cc: a V16 has a run of eight for each cell.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/color/mcu_to_pixels.cc"
#include "hwy/foreach_target.h"
#include "jpeg/color/ycbcr_to_rgb-inl.h"

#ifndef ZEPJP_MCU_TO_PIXELS_KERNELS
#  define ZEPJP_MCU_TO_PIXELS_KERNELS
namespace zepjp {
namespace {

using FromMcu = void (*)(const int16_t* const* src, uint8_t* dst, ptrdiff_t step, uint8_t alpha);

// For each sampling.
struct Samplings {
  FromMcu full, half_width, half;  // 444, 422, 411
};

struct Kernels {
  Samplings rgb_c3, rgb_c4, bgr_c3, bgr_c4, cmyk, samples;
  FromMcu c2;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

constexpr size_t kCells = kPixels / 16;
constexpr size_t kRowBytes = 16, kBlockBytes = 128;

// The values of kCells rows of a block, kStride rows apart, limited so that they are bytes minus 128.
template <int kStride = 1>
HWY_INLINE V16 LoadRows(const int16_t* block, size_t offset) {
  const D16 d16;
  const auto* from = reinterpret_cast<const uint8_t*>(block) + offset;
  const V8 bytes = kStride == 1 ? hn::LoadU(D8(), from) : LoadBlocks(D8(), from, 16 * kStride);
  return hn::Min(hn::Max(hn::BitCast(d16, bytes), hn::Set(d16, -128)), hn::Set(d16, 127));
}

HWY_INLINE V16 Plus128(V16 v) { return hn::Add(v, hn::Set(D16(), 128)); }

// A component of the two runs of each cell.
struct Runs {
  V16 lower, upper;

  HWY_INLINE V8 Bytes() const { return PackBlocks(Plus128(lower), Plus128(upper)); }
};
HWY_INLINE Runs Twice(V16 chroma) {
  return {hn::InterleaveLower(D16(), chroma, chroma), hn::InterleaveUpper(D16(), chroma, chroma)};
}

HWY_INLINE Rgb Convert(const Runs& y, const Runs& cb, const Runs& cr) {
  const auto doubled = [](V16 v) ZEP_ATTR { return hn::ShiftLeft<1>(v); };
  return Convert({Plus128(y.lower), doubled(cb.lower), doubled(cr.lower)},
                 {Plus128(y.upper), doubled(cb.upper), doubled(cr.upper)});
}

// What becomes of a cell's components: kPixels pixels of kChannels bytes at `to`.
struct ToRgb {
  static constexpr size_t kChannels = 3, kComponents = 3;
  static HWY_INLINE void Store(const Runs (&runs)[4], uint8_t, uint8_t* to) {
    const Rgb p = Convert(runs[0], runs[1], runs[2]);
    StoreTriples(p.r, p.g, p.b, D8(), to);
  }
};
struct ToBgr {
  static constexpr size_t kChannels = 3, kComponents = 3;
  static HWY_INLINE void Store(const Runs (&runs)[4], uint8_t, uint8_t* to) {
    const Rgb p = Convert(runs[0], runs[1], runs[2]);
    StoreTriples(p.b, p.g, p.r, D8(), to);
  }
};
struct ToRgbx {
  static constexpr size_t kChannels = 4, kComponents = 3;
  static HWY_INLINE void Store(const Runs (&runs)[4], uint8_t alpha, uint8_t* to) {
    const Rgb p = Convert(runs[0], runs[1], runs[2]);
    hn::StoreInterleaved4(p.r, p.g, p.b, hn::Set(D8(), alpha), D8(), to);
  }
};
struct ToBgrx {
  static constexpr size_t kChannels = 4, kComponents = 3;
  static HWY_INLINE void Store(const Runs (&runs)[4], uint8_t alpha, uint8_t* to) {
    const Rgb p = Convert(runs[0], runs[1], runs[2]);
    hn::StoreInterleaved4(p.b, p.g, p.r, hn::Set(D8(), alpha), D8(), to);
  }
};
struct ToInks {
  static constexpr size_t kChannels = 4, kComponents = 4;
  static HWY_INLINE void Store(const Runs (&runs)[4], uint8_t, uint8_t* to) {
    const Rgb p = Inks(Convert(runs[0], runs[1], runs[2]));
    hn::StoreInterleaved4(p.r, p.g, p.b, runs[3].Bytes(), D8(), to);
  }
};
struct ToSamples {
  static constexpr size_t kChannels = 3, kComponents = 3;
  static HWY_INLINE void Store(const Runs (&runs)[4], uint8_t, uint8_t* to) {
    StoreTriples(runs[0].Bytes(), runs[1].Bytes(), runs[2].Bytes(), D8(), to);
  }
};

// Rows of kBytes from where they lie one after another.
template <size_t kBytes>
HWY_INLINE void CopyRows(const uint8_t* rows, size_t gap, size_t count, uint8_t* to,
                         ptrdiff_t step) {
  for (size_t y = 0; y < count; ++y, rows += gap, to += step) CopyBytes(rows, to, kBytes);
}

template <class Target>
void FromMcu444(const int16_t* const* src, uint8_t* dst, ptrdiff_t step, uint8_t alpha) {
  HWY_ALIGN uint8_t cells[kPixels * Target::kChannels];
  for (size_t y = 0; y < 8; y += 2 * kCells) {
    Runs runs[4];
    for (size_t i = 0; i < Target::kComponents; ++i) {
      runs[i] = {LoadRows(src[i], y * kRowBytes), LoadRows(src[i], (y + kCells) * kRowBytes)};
    }
    Target::Store(runs, alpha, cells);
    uint8_t* to = dst + static_cast<ptrdiff_t>(y) * step;
    constexpr size_t kRun = 8 * Target::kChannels;
    CopyRows<kRun>(cells, 2 * kRun, kCells, to, step);
    CopyRows<kRun>(cells + kRun, 2 * kRun, kCells, to + static_cast<ptrdiff_t>(kCells) * step,
                   step);
  }
}

// 422 with kRows = 1, 411 with 2: see the other direction.
template <class Target, int kRows>
void FromReducedMcu(const int16_t* const* src, uint8_t* dst, ptrdiff_t step, uint8_t alpha) {
  HWY_ALIGN uint8_t cells[kPixels * Target::kChannels];
  for (size_t y = 0; y < 8; y += kCells) {
    Runs runs[4];
    runs[1] = Twice(LoadRows(src[1], y * kRowBytes));
    runs[2] = Twice(LoadRows(src[2], y * kRowBytes));
    const size_t top = kRows * y;
    for (size_t row = 0; row < kRows; ++row) {
      const size_t offset = top / 8 * 2 * kBlockBytes + (top % 8 + row) * kRowBytes;
      for (size_t i = 0; i < Target::kComponents; i += 3) {
        runs[i] = {LoadRows<kRows>(src[i], offset), LoadRows<kRows>(src[i], offset + kBlockBytes)};
      }
      Target::Store(runs, alpha, cells);
      uint8_t* to = dst + static_cast<ptrdiff_t>(top + row) * step;
      constexpr size_t kRow = 16 * Target::kChannels;
      CopyRows<kRow>(cells, kRow, kCells, to, kRows * step);
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
constexpr Samplings kSamplings = {FromMcu444<Target>, FromReducedMcu<Target, 1>,
                                  FromReducedMcu<Target, 2>};

constexpr Kernels kKernels = {
    kSamplings<ToRgb>,  kSamplings<ToRgbx>,    kSamplings<ToBgr>, kSamplings<ToBgrx>,
    kSamplings<ToInks>, kSamplings<ToSamples>, Join422,
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
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

using zepjp::kernels;

zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.rgb_c3.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return zepjp::Convert(kernels.rgb_c4.full, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.rgb_c3.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return zepjp::Convert(kernels.rgb_c4.half_width, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.rgb_c3.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return zepjp::Convert(kernels.rgb_c4.half, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.bgr_c3.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return zepjp::Convert(kernels.bgr_c4.full, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.bgr_c3.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return zepjp::Convert(kernels.bgr_c4.half_width, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.bgr_c3.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const pSrcMCU[3],
                                                            uint8_t* pDst, int32_t dstStep,
                                                            uint8_t alpha) {
  return zepjp::Convert(kernels.bgr_c4.half, pSrcMCU, pDst, dstStep, alpha);
}

zepStatus ZEP_CALL zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert<4>(kernels.cmyk.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert<4>(kernels.cmyk.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const pSrcMCU[4],
                                                            uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert<4>(kernels.cmyk.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                          uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.samples.full, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                          uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.samples.half_width, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const pSrcMCU[3],
                                                          uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.samples.half, pSrcMCU, pDst, dstStep);
}

zepStatus ZEP_CALL zepiJoin422LS_MCU_JPEG_16s8u_P3C2R(const int16_t* const pSrcMCU[3],
                                                      uint8_t* pDst, int32_t dstStep) {
  return zepjp::Convert(kernels.c2, pSrcMCU, pDst, dstStep);
}
#endif  // HWY_ONCE
