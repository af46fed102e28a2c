// SPDX-License-Identifier: MIT
// Passes along the columns of a region (ITU-T T.800, F.3 and F.4; the lifting is in columns-inl.h).
//
// A pass does not extend the region: it reads rows above and below, which the caller has filled.
// Columns are processed in blocks of 2048 bytes, so that the rows in use stay in the first-level
// cache.
#include <algorithm>

#include "jpeg2k/wavelet/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/wavelet/column_passes.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/wavelet/columns-inl.h"

namespace zepjp {
#ifndef ZEPJP_WAVELET_COLUMN_PASSES_KERNELS
#  define ZEPJP_WAVELET_COLUMN_PASSES_KERNELS
namespace {

struct Kernels {
  PassKernel<int16_t> forward53_16s, inverse53_16s;
  PassKernel<int32_t> forward53_32s, inverse53_32s;
  PassKernel<float> forward97_32f, inverse97_32f;
};

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

constexpr size_t kBlockBytes = 2048;

// Memory for intermediate rows outside the region, at most four in use on either side at a time.
template <class T>
class OutsideRows {
 public:
  static constexpr size_t kWidth = kBlockBytes / sizeof(T);
  T* At(int64_t p) { return rows_[p & 7]; }

 private:
  HWY_ALIGN T rows_[8][kWidth];
};

// The rows of a forward pass, from column `x` to the right.
template <class T>
class ForwardPassRows {
 public:
  ForwardPassRows(const SplitRegion<T>& region, OutsideRows<T>& outside, int64_t x)
      : region_(region), outside_(outside), x_(x) {}
  const T* In(int64_t p) const { return Row(region_.samples, region_.samples_step, p) + x_; }
  T* Out(int64_t p) {
    if (p < 0 || p >= 2 * int64_t{region_.size.height}) return outside_.At(p);
    return ((p + region_.phase) & 1) != 0 ? Row(region_.high, region_.high_step, p >> 1) + x_
                                          : Row(region_.low, region_.low_step, p >> 1) + x_;
  }
  void Done(int64_t) {}

 private:
  const SplitRegion<T>& region_;
  OutsideRows<T>& outside_;
  const int64_t x_;
};

template <class T>
class InversePassRows {
 public:
  InversePassRows(const SplitRegion<T>& region, OutsideRows<T>& outside, int64_t x)
      : region_(region), outside_(outside), x_(x) {}
  const T* In(int64_t p) const {
    return ((p + region_.phase) & 1) != 0 ? Row(region_.high, region_.high_step, p >> 1) + x_
                                          : Row(region_.low, region_.low_step, p >> 1) + x_;
  }
  T* Out(int64_t p) {
    if (p < 0 || p >= 2 * int64_t{region_.size.height}) return outside_.At(p);
    return Row(region_.samples, region_.samples_step, p) + x_;
  }
  void Enter(int64_t) {}

 private:
  const SplitRegion<T>& region_;
  OutsideRows<T>& outside_;
  const int64_t x_;
};

template <class Filter>
void ForwardColumns(const SplitRegion<typename Filter::Element>& region) {
  using T = typename Filter::Element;
  constexpr int64_t kReach = Filter::kSteps;
  OutsideRows<T> outside;
  const int64_t n = region.size.height, width = region.size.width, phase = region.phase;
  const Extent extent = {phase - kReach, 2 * n - 2 + phase + kReach, phase == 0};
  for (int64_t x = 0; x < width; x += outside.kWidth) {
    ForwardPassRows<T> rows(region, outside, x);
    const int64_t block = std::min<int64_t>(width - x, outside.kWidth);
    Columns<Filter, ForwardPassRows<T>>(rows, extent, static_cast<size_t>(block)).Forward();
  }
}

template <class Filter>
void InverseColumns(const SplitRegion<typename Filter::Element>& region) {
  using T = typename Filter::Element;
  constexpr int64_t kReach = Filter::kSteps;
  OutsideRows<T> outside;
  const int64_t n = region.size.height, width = region.size.width, phase = region.phase;
  const Extent extent = {1 - phase - kReach, 2 * n - 1 - phase + kReach, phase == 0};
  for (int64_t x = 0; x < width; x += outside.kWidth) {
    InversePassRows<T> rows(region, outside, x);
    const int64_t block = std::min<int64_t>(width - x, outside.kWidth);
    Columns<Filter, InversePassRows<T>>(rows, extent, static_cast<size_t>(block)).Inverse();
  }
}

constexpr Kernels kKernels = {
    .forward53_16s = ForwardColumns<Filter53<int16_t>>,
    .inverse53_16s = InverseColumns<Filter53<int16_t>>,
    .forward53_32s = ForwardColumns<Filter53<int32_t>>,
    .inverse53_32s = InverseColumns<Filter53<int32_t>>,
    .forward97_32f = ForwardColumns<Filter97<float>>,
    .inverse97_32f = InverseColumns<Filter97<float>>,
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

zepStatus ZEP_CALL zepiWTFwdCol_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                   int16_t* pDstLow, int32_t dstLowStep,
                                                   int16_t* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward53_16s, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvCol_B53_JPEG2K_16s_C1R(const int16_t* pSrcLow, int32_t srcLowStep,
                                                   const int16_t* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, int16_t* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse53_16s, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}

zepStatus ZEP_CALL zepiWTFwdCol_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                   int32_t* pDstLow, int32_t dstLowStep,
                                                   int32_t* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward53_32s, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvCol_B53_JPEG2K_32s_C1R(const int32_t* pSrcLow, int32_t srcLowStep,
                                                   const int32_t* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, int32_t* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse53_32s, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}

zepStatus ZEP_CALL zepiWTFwdCol_D97_JPEG2K_32f_C1R(const float* pSrc, int32_t srcStep,
                                                   float* pDstLow, int32_t dstLowStep,
                                                   float* pDstHigh, int32_t dstHighStep,
                                                   zepiSize dstRoiSize, int32_t phase) {
  return ForwardPass(kernels.forward97_32f, pSrc, srcStep, pDstLow, dstLowStep, pDstHigh,
                     dstHighStep, dstRoiSize, phase);
}

zepStatus ZEP_CALL zepiWTInvCol_D97_JPEG2K_32f_C1R(const float* pSrcLow, int32_t srcLowStep,
                                                   const float* pSrcHigh, int32_t srcHighStep,
                                                   zepiSize srcRoiSize, float* pDst,
                                                   int32_t dstStep, int32_t phase) {
  return InversePass(kernels.inverse97_32f, pSrcLow, srcLowStep, pSrcHigh, srcHighStep, srcRoiSize,
                     pDst, dstStep, phase);
}
#endif  // HWY_ONCE
