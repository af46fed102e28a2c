// SPDX-License-Identifier: MIT
// Passes along the rows of a region (ITU-T T.800, F.3 and F.4; the lifting is in rows-inl.h). A
// pass does not extend the region: it reads columns left and right of it, which the caller has
// filled.
#include "jpeg2k/wavelet/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/wavelet/row_passes.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/wavelet/rows-inl.h"

namespace zepjp {
#ifndef ZEPJP_WAVELET_ROW_PASSES_KERNELS
#  define ZEPJP_WAVELET_ROW_PASSES_KERNELS
namespace {

struct Kernels {
  PassKernel<int16_t> forward53_16s, inverse53_16s;
  PassKernel<int32_t> forward53_32s, inverse53_32s;
  PassKernel<int16_t> forward97_16s, inverse97_16s;
  PassKernel<int32_t> forward97_32s, inverse97_32s;
  PassKernel<float> forward97_32f, inverse97_32f;
};

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

inline float ValueAt(const float* row, int64_t i) {
  float value;
  CopyBytes(row + i, &value, sizeof(value));
  return value;
}

// The sum of taps[i] * (x[p - i] + x[p + i]), from the centre outwards.
template <size_t kTaps>
float Convolve(const float* x, int64_t p, const float (&taps)[kTaps]) {
  float sum = taps[0] * ValueAt(x, p);
  for (size_t i = 1; i < kTaps; ++i) {
    const auto distance = static_cast<int64_t>(i);
    sum += taps[i] * (ValueAt(x, p - distance) + ValueAt(x, p + distance));
  }
  return sum;
}

// Computes the first and the last low and high coefficient of a row of n pairs with the taps of the
// convolutions that are equivalent to all lifting steps together.
void ConvolveEnds(const float* x, int64_t n, int phase, float* low, float* high) {
  constexpr float kLowTaps[] = {0.602949F, 0.26686412F, -0.078223266F, -0.01686412F, 0.026748758F};
  constexpr float kHighTaps[] = {1.115087F, -0.59127176F, -0.057543527F, 0.091271766F};
  for (const int64_t k : {int64_t{0}, n - 1}) {
    const float l = Convolve(x, 2 * k + phase, kLowTaps);
    const float h = Convolve(x, 2 * k + 1 - phase, kHighTaps);
    CopyBytes(&l, low + k, sizeof(l));
    CopyBytes(&h, high + k, sizeof(h));
  }
}

template <class Filter>
void ForwardRows(const SplitRegion<typename Filter::Element>& region) {
  using T = typename Filter::Element;
  constexpr int64_t kReach = Filter::kSteps;
  const int64_t n = region.size.width;
  const int phase = region.phase;
  const RowShape shape = {phase - kReach, 2 * n - 2 + phase + kReach, phase};
  for (int64_t y = 0; y < region.size.height; ++y) {
    const T* const src = Row(region.samples, region.samples_step, y);
    T* const low = Row(region.low, region.low_step, y);
    T* const high = Row(region.high, region.high_step, y);
    ForwardRow<T>(src, shape, low, n, high, n).template Run<Filter>();
    if constexpr (hwy::IsFloat<T>()) ConvolveEnds(src, n, phase, low, high);
  }
}

template <class Filter>
void InverseRows(const SplitRegion<typename Filter::Element>& region) {
  using T = typename Filter::Element;
  constexpr int64_t kReach = Filter::kSteps;
  const int64_t n = region.size.width;
  const int phase = region.phase;
  const RowShape shape = {1 - phase - kReach, 2 * n - 1 - phase + kReach, phase};
  for (int64_t y = 0; y < region.size.height; ++y) {
    const T* const low = Row(region.low, region.low_step, y);
    const T* const high = Row(region.high, region.high_step, y);
    T* const dst = Row(region.samples, region.samples_step, y);
    InverseRow<T>(low, high, shape, dst, 2 * n).template Run<Filter>();
  }
}

constexpr Kernels kKernels = {
    .forward53_16s = ForwardRows<Filter53<int16_t>>,
    .inverse53_16s = InverseRows<Filter53<int16_t>>,
    .forward53_32s = ForwardRows<Filter53<int32_t>>,
    .inverse53_32s = InverseRows<Filter53<int32_t>>,
    .forward97_16s = ForwardRows<Filter97<int16_t>>,
    .inverse97_16s = InverseRows<Filter97<int16_t>>,
    .forward97_32s = ForwardRows<Filter97<int32_t>>,
    .inverse97_32s = InverseRows<Filter97<int32_t>>,
    .forward97_32f = ForwardRows<Filter97<float>>,
    .inverse97_32f = InverseRows<Filter97<float>>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiWTFwdRow_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                   int16_t* pDstLow, int32_t dstLowStep,
                                                   int16_t* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward53_16s, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvRow_B53_JPEG2K_16s_C1R(const int16_t* pSrcLow, int32_t srcLowStep,
                                                   const int16_t* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, int16_t* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse53_16s, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}

zepStatus ZEP_CALL zepiWTFwdRow_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                   int32_t* pDstLow, int32_t dstLowStep,
                                                   int32_t* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward53_32s, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvRow_B53_JPEG2K_32s_C1R(const int32_t* pSrcLow, int32_t srcLowStep,
                                                   const int32_t* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, int32_t* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse53_32s, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}

zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                   int16_t* pDstLow, int32_t dstLowStep,
                                                   int16_t* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward97_16s, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_16s_C1R(const int16_t* pSrcLow, int32_t srcLowStep,
                                                   const int16_t* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, int16_t* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse97_16s, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}

zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                   int32_t* pDstLow, int32_t dstLowStep,
                                                   int32_t* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward97_32s, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_32s_C1R(const int32_t* pSrcLow, int32_t srcLowStep,
                                                   const int32_t* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, int32_t* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse97_32s, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}

zepStatus ZEP_CALL zepiWTFwdRow_D97_JPEG2K_32f_C1R(const float* pSrc, int32_t srcStep,
                                                   float* pDstLow, int32_t dstLowStep,
                                                   float* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward97_32f, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvRow_D97_JPEG2K_32f_C1R(const float* pSrcLow, int32_t srcLowStep,
                                                   const float* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, float* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse97_32f, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}
#endif  // HWY_ONCE
