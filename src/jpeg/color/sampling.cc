// SPDX-License-Identifier: MIT
// Halving and doubling of planes, as JPEG codecs do it with chroma.
//
//   down   (a + b + 1) >> 1 or (a + b + c + d + 2) >> 2, the rounded mean of 2x1 or 2x2 samples
//   up     (3 near + far + 2) >> 2 in a row; with two rows (9 a + 3 b + 3 c + d + 8) >> 4, rounded
//          once. This is the triangle filter, with weights 3/4 and 1/4 in each direction. At an
//          edge the near sample also serves as the missing far one.
//
// All sums fit 16-bit lanes: at most 16 * 255 + 8.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/color/sampling.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_SAMPLING_KERNELS
#  define ZEPJP_SAMPLING_KERNELS
namespace zepjp {
namespace {

// Makes one row from one or two source rows (up: the near row, then the far one). `width` is the
// smaller of the two widths.
using SamplingRow = void (*)(const uint8_t* const* src, uint8_t* dst, size_t width);

struct Kernels {
  SamplingRow down_h2v1, down_h2v2, up_h2v1, up_h2v2;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
using V8 = hn::VFromD<D8>;
using V16 = hn::VFromD<D16>;

constexpr size_t kSamples = hn::MaxLanes(D8());  // in a step, of the row of smaller width

// The rounded mean of 2 x kRows samples.
template <int kRows>
HWY_INLINE V16 Means(const uint8_t* const* src, size_t offset) {
  const D16 d16;
  V16 sum = PairDot<1, 1>(hn::LoadU(D8(), src[0] + offset));
  if constexpr (kRows == 2) sum = hn::Add(sum, PairDot<1, 1>(hn::LoadU(D8(), src[1] + offset)));
  return hn::ShiftRight<kRows>(hn::Add(sum, hn::Set(d16, kRows)));
}

template <int kRows>
void DownRow(const uint8_t* const* src, uint8_t* dst, size_t width) {
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    const V8 means = PackBlocks(Means<kRows>(from, 2 * x), Means<kRows>(from, 2 * x + kSamples));
    hn::StoreU(OrderHalves(means), D8(), to[0] + x);
  };
  ForElements<kSamples, Span<kRows, 2>, Span<1, 1>>(src, &dst, 0, width, step);
}

// 16-bit sums 3 near + far of the lower and upper 64-bit halves of each block.
struct Sums {
  V16 low, high;
};

HWY_INLINE Sums Weighted(V8 near, V8 far) {
  const D8 d8;
  return {PairDot<3, 1>(hn::InterleaveLower(d8, near, far)),
          PairDot<3, 1>(hn::InterleaveUpper(d8, near, far))};
}

// Stores even and odd results in turns: two for each source sample.
HWY_INLINE void StorePairs(V16 even_low, V16 odd_low, V16 even_high, V16 odd_high, uint8_t* to) {
  const D8 d8;
  const V8 low = hn::BitCast(d8, hn::Or(even_low, hn::ShiftLeft<8>(odd_low)));
  const V8 high = hn::BitCast(d8, hn::Or(even_high, hn::ShiftLeft<8>(odd_high)));
  StoreBlocksInTurn(low, high, d8, to);
}

// Both triangle filters process the gaps between neighbours. The gap after sample i gives the
// results 2i + 1, near sample i, and 2i + 2, near sample i + 1. The first and the last result are
// outside all gaps and computed on their own.

// src: the row, and the row from its second sample.
HWY_INLINE void UpGapsH2V1(const uint8_t* const* src, uint8_t* const* dst, size_t x) {
  const D8 d8;
  const V8 left = hn::LoadU(d8, src[0] + x);
  const V8 right = hn::LoadU(d8, src[1] + x);
  const Sums near_left = Weighted(left, right);
  const Sums near_right = Weighted(right, left);
  const auto round = [](V16 v)
                         ZEP_ATTR { return hn::ShiftRight<2>(hn::Add(v, hn::Set(D16(), 2))); };
  StorePairs(round(near_left.low), round(near_right.low), round(near_left.high),
             round(near_right.high), dst[0] + 2 * x);
}

void UpRowH2V1(const uint8_t* const* src, uint8_t* dst, size_t width) {
  const uint8_t* const row = src[0];
  const uint8_t* const sides[] = {row, row + 1};
  uint8_t* const gaps = dst + 1;
  ForElements<kSamples, Span<2, 1>, Span<1, 2>>(sides, &gaps, 0, width - 1, UpGapsH2V1);
  dst[0] = row[0];
  dst[2 * width - 1] = row[width - 1];
}

HWY_INLINE V16 Blend(V16 near, V16 far) {
  const V16 sum = hn::Add(hn::Add(near, hn::ShiftLeft<1>(near)), far);
  return hn::ShiftRight<4>(hn::Add(sum, hn::Set(D16(), 8)));
}

// src: the near and the far row, then both from their second samples.
HWY_INLINE void UpGapsH2V2(const uint8_t* const* src, uint8_t* const* dst, size_t x) {
  const D8 d8;
  const Sums left = Weighted(hn::LoadU(d8, src[0] + x), hn::LoadU(d8, src[1] + x));
  const Sums right = Weighted(hn::LoadU(d8, src[2] + x), hn::LoadU(d8, src[3] + x));
  StorePairs(Blend(left.low, right.low), Blend(right.low, left.low), Blend(left.high, right.high),
             Blend(right.high, left.high), dst[0] + 2 * x);
}

// A result at an edge: the near sample is also the far one in its row, 9 + 3 = 12 = 4 * 3.
HWY_INLINE uint8_t EdgeH2V2(const uint8_t* const* src, size_t x) {
  return static_cast<uint8_t>((4 * (3 * src[0][x] + src[1][x]) + 8) >> 4);
}

void UpRowH2V2(const uint8_t* const* src, uint8_t* dst, size_t width) {
  const uint8_t* const sides[] = {src[0], src[1], src[0] + 1, src[1] + 1};
  uint8_t* const gaps = dst + 1;
  ForElements<kSamples, Span<4, 1>, Span<1, 2>>(sides, &gaps, 0, width - 1, UpGapsH2V2);
  dst[0] = EdgeH2V2(src, 0);
  dst[2 * width - 1] = EdgeH2V2(src, width - 1);
}

constexpr Kernels kKernels = {
    .down_h2v1 = DownRow<1>,
    .down_h2v2 = DownRow<2>,
    .up_h2v1 = UpRowH2V1,
    .up_h2v2 = UpRowH2V2,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
#  include <algorithm>

namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// Whether the widths are in the ratio 2 : 1 and the heights in the ratio kRows : 1.
template <int kRows>
bool Fit(zepiSize large, zepiSize small) {
  return int64_t{small.width} * 2 == large.width && int64_t{small.height} * kRows == large.height;
}

Checks BufferChecks(const uint8_t* src, int32_t src_step, zepiSize src_size, const uint8_t* dst,
                    int32_t dst_step, zepiSize dst_size) {
  return Checks().Ptr(src).Step(src_step).Ptr(dst).Step(dst_step).Size(src_size).Size(dst_size);
}

template <int kRows>
zepStatus Down(SamplingRow kernel, const uint8_t* src, int32_t src_step, zepiSize src_size,
               uint8_t* dst, int32_t dst_step, zepiSize dst_size) {
  if (auto bad = BufferChecks(src, src_step, src_size, dst, dst_step, dst_size)
                     .Refuse(!Fit<kRows>(src_size, dst_size), zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  ForRows(dst_size, [=](int32_t y) {
    const uint8_t* const rows[] = {Row(src, src_step, kRows * y),
                                   Row(src, src_step, kRows * y + kRows - 1)};
    kernel(rows, Row(dst, dst_step, y), static_cast<size_t>(dst_size.width));
  });
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                  zepiSize srcSize, uint8_t* pDst, int32_t dstStep,
                                                  zepiSize dstSize) {
  return Down<1>(kernels.down_h2v1, pSrc, srcStep, srcSize, pDst, dstStep, dstSize);
}

zepStatus ZEP_CALL zepiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                  zepiSize srcSize, uint8_t* pDst, int32_t dstStep,
                                                  zepiSize dstSize) {
  return Down<2>(kernels.down_h2v2, pSrc, srcStep, srcSize, pDst, dstStep, dstSize);
}

zepStatus ZEP_CALL zepiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                zepiSize srcSize, uint8_t* pDst, int32_t dstStep,
                                                zepiSize dstSize) {
  if (auto bad = BufferChecks(pSrc, srcStep, srcSize, pDst, dstStep, dstSize)
                     .Refuse(!Fit<1>(dstSize, srcSize), zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  for (int32_t y = 0; y < srcSize.height; ++y) {
    const uint8_t* const row = Row(pSrc, srcStep, y);
    kernels.up_h2v1(&row, Row(pDst, dstStep, y), static_cast<size_t>(srcSize.width));
  }
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                zepiSize srcSize, uint8_t* pDst, int32_t dstStep,
                                                zepiSize dstSize) {
  if (auto bad = BufferChecks(pSrc, srcStep, srcSize, pDst, dstStep, dstSize)
                     .Refuse(!Fit<2>(dstSize, srcSize), zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  ForRows(dstSize, [=](int32_t y) {
    const int32_t near = y / 2;
    const int32_t far = std::clamp(y % 2 == 0 ? near - 1 : near + 1, 0, srcSize.height - 1);
    const uint8_t* const rows[] = {Row(pSrc, srcStep, near), Row(pSrc, srcStep, far)};
    kernels.up_h2v2(rows, Row(pDst, dstStep, y), static_cast<size_t>(srcSize.width));
  });
  return zepStatusOk;
}

namespace zepjp {
namespace {

// Halves a row of any width; the last sample of an odd row also serves as its missing neighbour.
template <int kRows>
zepStatus DownRow(SamplingRow kernel, const uint8_t* const (&src)[kRows], int32_t src_width,
                  uint8_t* dst) {
  Checks checks = Checks().Planes(src, kRows).Ptr(dst);
  if (auto bad = checks.Refuse(src_width < 1, zepStatusBadSize).Failed()) return bad;
  const auto pairs = static_cast<size_t>(src_width) / 2;
  if (pairs > 0) kernel(src, dst, pairs);
  if (src_width % 2 != 0) {
    const uint32_t sum = uint32_t{src[0][2 * pairs]} + src[kRows - 1][2 * pairs];
    dst[pairs] = static_cast<uint8_t>((sum + 1) >> 1);
  }
  return zepStatusOk;
}

template <int kRows>
zepStatus UpRow(SamplingRow kernel, const uint8_t* const (&src)[kRows], int32_t src_width,
                uint8_t* dst) {
  Checks checks = Checks().Planes(src, kRows).Ptr(dst);
  if (auto bad = checks.Refuse(src_width < 1, zepStatusBadSize).Failed()) return bad;
  kernel(src, dst, static_cast<size_t>(src_width));
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

zepStatus ZEP_CALL zepiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* pSrc, int32_t srcWidth,
                                                        uint8_t* pDst) {
  return DownRow<1>(kernels.down_h2v1, {pSrc}, srcWidth, pDst);
}

zepStatus ZEP_CALL zepiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* pSrc1, const uint8_t* pSrc2,
                                                        int32_t srcWidth, uint8_t* pDst) {
  return DownRow<2>(kernels.down_h2v2, {pSrc1, pSrc2}, srcWidth, pDst);
}

zepStatus ZEP_CALL zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* pSrc, int32_t srcWidth,
                                                           uint8_t* pDst) {
  return UpRow<1>(kernels.up_h2v1, {pSrc}, srcWidth, pDst);
}

zepStatus ZEP_CALL zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* pSrc1,
                                                           const uint8_t* pSrc2, int32_t srcWidth,
                                                           uint8_t* pDst) {
  return UpRow<2>(kernels.up_h2v2, {pSrc1, pSrc2}, srcWidth, pDst);
}
#endif  // HWY_ONCE
