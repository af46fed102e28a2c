// SPDX-License-Identifier: MIT
// Pixels to the blocks of one MCU (ITU-T T.81, A.2 and A.3.1; ITU-T T.871): RGB is converted to
// YCbCr or CMYK to YCCK, or nothing is converted; chroma is reduced to the size of the sampling;
// 128 is subtracted from each sample.
//
// Everything happens in one pass over registers. A vector holds kCells cells of 16 pixels, one for
// each 128-bit block. A cell is two runs of eight pixels: two rows of an MCU that is 8 pixels wide
// (444), or the two halves of a row of one that is 16 wide (422, 411). A run becomes a row of a
// block.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/mcu/pixels_to_mcu.cc"
#include "hwy/foreach_target.h"
#include "jpeg/color/rgb_to_ycbcr-inl.h"

#ifndef ZEPJP_PIXELS_TO_MCU_KERNELS
#  define ZEPJP_PIXELS_TO_MCU_KERNELS
namespace zepjp {
namespace {

using ToMcu = void (*)(const uint8_t* src, ptrdiff_t step, int16_t* const* dst);

// A kernel for each sampling.
struct ToMcuSamplings {
  ToMcu full, half_width, half;  // 444, 422, 411
};

struct Kernels {
  ToMcuSamplings rgb_c3, rgb_c4, bgr_c3, bgr_c4, cmyk, samples;
  ToMcu c2;
};

// The rules for single pixels, and for chroma from groups of pixels.
struct RgbRules {
  static constexpr Rule kPixels = k15Bits, kGroups = k14Bits;
};
struct BgrRules {
  static constexpr Rule kPixels = Reversed(k15Bits), kGroups = Reversed(k14Bits);
};
struct InkRules {
  static constexpr Rule kPixels = Inverted(k14Bits), kGroups = Inverted(k14Bits);
};

constexpr Rule Minus128(Rule rule) {
  for (Component* c : {&rule.y, &rule.cb, &rule.cr}) c->round -= 128 << rule.shift;
  return rule;
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

constexpr size_t kCells = kPixels / 16;

// Interleaved pixels as cells: the four quarters are the halves of the two runs.
template <int kChannels>
struct Cells : Interleaved<kChannels> {
  using typename Interleaved<kChannels>::Raw;

  static HWY_INLINE Raw LoadCells(const uint8_t* first, const uint8_t* second,
                                  ptrdiff_t cell_step) {
    constexpr ptrdiff_t kUpper = kChannels == 3 ? 8 : 16;
    const D8 d8;
    return {{LoadBlocks(d8, first, cell_step), LoadBlocks(d8, first + kUpper, cell_step),
             LoadBlocks(d8, second, cell_step), LoadBlocks(d8, second + kUpper, cell_step)}};
  }
  // One channel of run kRun of each cell, in 16-bit lanes.
  template <int kChannel, int kRun>
  static HWY_INLINE V16 Channel(const Raw& raw) {
    using Self = Cells<kChannels>;
    static constexpr VectorBytes kLower =
        MakePairIndices(kChannels, Self::Shift(2 * kRun), kChannel, -1);
    static constexpr VectorBytes kUpper =
        MakePairIndices(kChannels, Self::Shift(2 * kRun + 1), kChannel, -1);
    return PackBlocks(hn::BitCast(D32(), Shuffle(raw.quarters[2 * kRun], kLower)),
                      hn::BitCast(D32(), Shuffle(raw.quarters[2 * kRun + 1], kUpper)));
  }
};

HWY_INLINE V16 Minus128(V16 samples) { return hn::Sub(samples, hn::Set(D16(), 128)); }

// Conversions have Full(): component kComponent of run kRun of each cell; and Reduced(): component
// kComponent of groups of 2 x kRows pixels.
template <int kChannelsOf, class Rules>
struct Converted {
  static constexpr int kChannels = kChannelsOf;
  static constexpr bool kHasFourth = false;
  using Pixels = Cells<kChannels>;
  using Raw = typename Pixels::Raw;

  template <int kComponent>
  static constexpr Component Of(const Rule& rule) {
    return kComponent == 0 ? rule.y : kComponent == 1 ? rule.cb : rule.cr;
  }
  // Results are never below -128, but may be 128.
  static HWY_INLINE V16 Limited(V16 samples) { return hn::Min(samples, hn::Set(D16(), 127)); }

  template <int kComponent, int kRun>
  static HWY_INLINE V16 Full(const Raw& raw) {
    static constexpr Rule kRule = Minus128(Rules::kPixels);
    static constexpr Component kWeights = Of<kComponent>(kRule);
    const Pairs p = Pixels::MakePairs(raw);
    return Limited(
        PackBlocks(Dot<kRule.shift>(p.first[2 * kRun], p.second[2 * kRun], kWeights),
                   Dot<kRule.shift>(p.first[2 * kRun + 1], p.second[2 * kRun + 1], kWeights)));
  }
  template <int kComponent, int kRows>
  static HWY_INLINE V16 Reduced(const Raw (&raw)[kRows]) {
    static constexpr Rule kRule = Minus128(Summed(Rules::kGroups, kRows));
    static constexpr Component kWeights = Of<kComponent>(kRule);
    return Limited(ConvertGroups<kRule.shift>(SumGroups<Pixels, kRows>(raw), kWeights));
  }
};

// YCCK from CMYK: the fourth channel is only shifted.
struct ConvertedInks : Converted<4, InkRules> {
  static constexpr bool kHasFourth = true;
  template <int kRun>
  static HWY_INLINE V16 Fourth(const Raw& raw) {
    return Minus128(Pixels::Channel<3, kRun>(raw));
  }
};

// Samples without conversion, reduced by rounded means.
struct Unconverted {
  static constexpr int kChannels = 3;
  static constexpr bool kHasFourth = false;
  using Pixels = Cells<kChannels>;
  using Raw = Pixels::Raw;

  template <int kComponent, int kRun>
  static HWY_INLINE V16 Full(const Raw& raw) {
    return Minus128(Pixels::Channel<kComponent, kRun>(raw));
  }
  template <int kComponent, int kRun, int kRows>
  static HWY_INLINE V32 Sums(const Raw (&raw)[kRows]) {
    V16 column = Pixels::Channel<kComponent, kRun>(raw[0]);
    if constexpr (kRows == 2) column = hn::Add(column, Pixels::Channel<kComponent, kRun>(raw[1]));
    return DotAcc(hn::Set(D32(), kRows - 256 * kRows), column, hn::Set(D16(), 1));
  }
  template <int kComponent, int kRows>
  static HWY_INLINE V16 Reduced(const Raw (&raw)[kRows]) {
    const V16 sums = PackBlocks(Sums<kComponent, 0, kRows>(raw), Sums<kComponent, 1, kRows>(raw));
    return hn::ShiftRight<kRows>(sums);
  }
};

// Stores kCells rows of a block, or twice that number: rows of both vectors in turn.
HWY_INLINE void StoreRows(V16 rows, uint8_t* to) { hn::StoreU(hn::BitCast(D8(), rows), D8(), to); }
HWY_INLINE void StoreRows(const V16 (&rows)[1], uint8_t* to) { StoreRows(rows[0], to); }
HWY_INLINE void StoreRows(const V16 (&rows)[2], uint8_t* to) {
  StoreBlocksInTurn(hn::BitCast(D8(), rows[0]), hn::BitCast(D8(), rows[1]), D8(), to);
}

constexpr size_t kRowBytes = 16, kBlockBytes = 128;

// Rows of two blocks that are neighbours.
template <int kRows>
HWY_INLINE void StoreBothRuns(const V16 (&left)[kRows], const V16 (&right)[kRows], int16_t* blocks,
                              size_t offset) {
  uint8_t* to = reinterpret_cast<uint8_t*>(blocks) + offset;
  StoreRows(left, to);
  StoreRows(right, to + kBlockBytes);
}

template <class Conversion>
void ToMcu444(const uint8_t* src, ptrdiff_t step, int16_t* const* dst) {
  for (size_t y = 0; y < 8; y += 2 * kCells) {
    const uint8_t* first = src + static_cast<ptrdiff_t>(y) * step;
    const auto raw =
        Conversion::Pixels::LoadCells(first, first + static_cast<ptrdiff_t>(kCells) * step, step);
    const auto store = [=](int component, V16 lower, V16 upper) ZEP_ATTR {
      uint8_t* to = reinterpret_cast<uint8_t*>(dst[component]) + y * kRowBytes;
      StoreRows(lower, to);
      StoreRows(upper, to + kCells * kRowBytes);
    };
    store(0, Conversion::template Full<0, 0>(raw), Conversion::template Full<0, 1>(raw));
    store(1, Conversion::template Full<1, 0>(raw), Conversion::template Full<1, 1>(raw));
    store(2, Conversion::template Full<2, 0>(raw), Conversion::template Full<2, 1>(raw));
    if constexpr (Conversion::kHasFourth) {
      store(3, Conversion::template Fourth<0>(raw), Conversion::template Fourth<1>(raw));
    }
  }
}

// 422 with kRows = 1, 411 with 2. A step covers kCells rows of chroma, each from kRows rows of
// pixels.
template <class Conversion, int kRows>
void ToReducedMcu(const uint8_t* src, ptrdiff_t step, int16_t* const* dst) {
  constexpr ptrdiff_t kRun = 8 * Conversion::kChannels;
  for (size_t y = 0; y < 8; y += kCells) {
    typename Conversion::Raw raw[kRows];
    const size_t top = kRows * y;
    for (int row = 0; row < kRows; ++row) {
      const uint8_t* from = src + (static_cast<ptrdiff_t>(top) + row) * step;
      raw[row] = Conversion::Pixels::LoadCells(from, from + kRun, kRows * step);
    }
    const size_t offset = top / 8 * 2 * kBlockBytes + top % 8 * kRowBytes;
    V16 left[kRows], right[kRows];
    for (int row = 0; row < kRows; ++row) {
      left[row] = Conversion::template Full<0, 0>(raw[row]);
      right[row] = Conversion::template Full<0, 1>(raw[row]);
    }
    StoreBothRuns(left, right, dst[0], offset);
    if constexpr (Conversion::kHasFourth) {
      for (int row = 0; row < kRows; ++row) {
        left[row] = Conversion::template Fourth<0>(raw[row]);
        right[row] = Conversion::template Fourth<1>(raw[row]);
      }
      StoreBothRuns(left, right, dst[3], offset);
    }
    const auto store = [=](int component, V16 rows) ZEP_ATTR {
      StoreRows(rows, reinterpret_cast<uint8_t*>(dst[component]) + y * kRowBytes);
    };
    store(1, Conversion::template Reduced<1, kRows>(raw));
    store(2, Conversion::template Reduced<2, kRows>(raw));
  }
}

// Y0 Cb Y1 Cr: the even bytes are Y, the odd ones Cb and Cr in turns.
void Split422(const uint8_t* src, ptrdiff_t step, int16_t* const* dst) {
  const D16 d16;
  const D32 d32;
  const auto words = [=](const uint8_t* from)
                         ZEP_ATTR { return hn::BitCast(d16, LoadBlocks(D8(), from, step)); };
  const auto even = [=](V16 v) ZEP_ATTR { return hn::And(v, hn::Set(d16, 255)); };
  const auto even_words = [=](V16 v) ZEP_ATTR {
    return hn::And(hn::BitCast(d32, v), hn::Set(d32, 0xFFFF));
  };
  const auto odd_bytes = [](V16 v) ZEP_ATTR {
    return hn::BitCast(D16(), hn::ShiftRight<8>(hn::BitCast(hn::ScalableTag<uint16_t>(), v)));
  };
  for (size_t y = 0; y < 8; y += kCells) {
    const uint8_t* from = src + static_cast<ptrdiff_t>(y) * step;
    const V16 left = words(from), right = words(from + 16);
    uint8_t* to = reinterpret_cast<uint8_t*>(dst[0]) + y * kRowBytes;
    StoreRows(Minus128(even(left)), to);
    StoreRows(Minus128(even(right)), to + kBlockBytes);
    const V16 left_chroma = odd_bytes(left), right_chroma = odd_bytes(right);
    const V16 cb = PackBlocks(even_words(left_chroma), even_words(right_chroma));
    const V16 cr = PackBlocks(hn::ShiftRight<16>(hn::BitCast(d32, left_chroma)),
                              hn::ShiftRight<16>(hn::BitCast(d32, right_chroma)));
    StoreRows(Minus128(cb), reinterpret_cast<uint8_t*>(dst[1]) + y * kRowBytes);
    StoreRows(Minus128(cr), reinterpret_cast<uint8_t*>(dst[2]) + y * kRowBytes);
  }
}

template <class Conversion>
constexpr ToMcuSamplings kSamplings = {
    .full = ToMcu444<Conversion>,
    .half_width = ToReducedMcu<Conversion, 1>,
    .half = ToReducedMcu<Conversion, 2>,
};

constexpr Kernels kKernels = {
    .rgb_c3 = kSamplings<Converted<3, RgbRules>>,
    .rgb_c4 = kSamplings<Converted<4, RgbRules>>,
    .bgr_c3 = kSamplings<Converted<3, BgrRules>>,
    .bgr_c4 = kSamplings<Converted<4, BgrRules>>,
    .cmyk = kSamplings<ConvertedInks>,
    .samples = kSamplings<Unconverted>,
    .c2 = Split422,
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
zepStatus Convert(ToMcu kernel, const uint8_t* src, int32_t step, int16_t* const* dst) {
  if (auto bad = Checks().Ptr(src).Planes(dst, kComponents).Step(step).Failed()) return bad;
  kernel(src, step, dst);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.rgb_c3.full, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.rgb_c4.full, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.rgb_c3.half_width, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.rgb_c4.half_width, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.rgb_c3.half, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.rgb_c4.half, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.bgr_c3.full, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.bgr_c4.full, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.bgr_c3.half_width, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.bgr_c4.half_width, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.bgr_c3.half, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.bgr_c4.half, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[4]) {
  return Convert<4>(kernels.cmyk.full, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[4]) {
  return Convert<4>(kernels.cmyk.half_width, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[4]) {
  return Convert<4>(kernels.cmyk.half, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.samples.full, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.samples.half_width, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* pSrc, int32_t srcStep,
                                                            int16_t* const pDstMCU[3]) {
  return Convert(kernels.samples.half, pSrc, srcStep, pDstMCU);
}

zepStatus ZEP_CALL zepiSplit422LS_MCU_JPEG_8u16s_C2P3R(const uint8_t* pSrc, int32_t srcStep,
                                                       int16_t* const pDstMCU[3]) {
  return Convert(kernels.c2, pSrc, srcStep, pDstMCU);
}
#endif  // HWY_ONCE
