// SPDX-License-Identifier: MIT
// The transforms along columns row by row (ITU-T T.800, F.3 and F.4): one call for each pair of
// rows, for callers that hold only a few rows of a picture at a time. A call runs all lifting steps
// that become possible with the two new rows (ForwardPair and InversePair in columns-inl.h).
#include "frame/checks.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/wavelet/column_lifting.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/wavelet/columns-inl.h"

namespace zepjp {
#ifndef ZEPJP_WAVELET_COLUMN_LIFTING_KERNELS
#  define ZEPJP_WAVELET_COLUMN_LIFTING_KERNELS
namespace {

// A kernel reads the rows `in` and writes the rows `out`; a row may be in both.
template <class T>
using LiftKernel53 = void (*)(const T* const (&in)[4], T* const (&out)[2], size_t width);
template <class T>
using LiftKernel97 = void (*)(const T* const (&in)[6], T* const (&out)[5], size_t width);

struct Kernels {
  LiftKernel53<int16_t> forward53_16s, inverse53_16s;
  LiftKernel53<int32_t> forward53_32s, inverse53_32s;
  LiftKernel97<int16_t> forward97_16s, inverse97_16s;
  LiftKernel97<int32_t> forward97_32s, inverse97_32s;
  LiftKernel97<float> forward97_32f, inverse97_32f;
};

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

template <class Step, class T, size_t kIn, size_t kOut>
void Lift(const T* const (&in)[kIn], T* const (&out)[kOut], size_t width) {
  ApplyToRows<Step>(in, out, width);
}

constexpr Kernels kKernels = {
    .forward53_16s = Lift<ForwardPair<Filter53<int16_t>>>,
    .inverse53_16s = Lift<InversePair<Filter53<int16_t>>>,
    .forward53_32s = Lift<ForwardPair<Filter53<int32_t>>>,
    .inverse53_32s = Lift<InversePair<Filter53<int32_t>>>,
    .forward97_16s = Lift<ForwardPair<Filter97<int16_t>>>,
    .inverse97_16s = Lift<InversePair<Filter97<int16_t>>>,
    .forward97_32s = Lift<ForwardPair<Filter97<int32_t>>>,
    .inverse97_32s = Lift<InversePair<Filter97<int32_t>>>,
    .forward97_32f = Lift<ForwardPair<Filter97<float>>>,
    .inverse97_32f = Lift<InversePair<Filter97<float>>>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// `rows` in the order of the arguments.
template <class T, size_t kRows>
zepStatus CheckRows(const T* const (&rows)[kRows], int32_t width) {
  Checks checks;
  for (const T* row : rows) checks.Ptr(row);
  return checks.Refuse(width < 1, zepStatusBadSize).Failed();
}

template <class T>
zepStatus ForwardLift53(LiftKernel53<T> kernel, const T* src0, const T* src1, const T* src2,
                        T* low0, const T* high0, T* high1, int32_t width) {
  if (auto bad = CheckRows<T>({src0, src1, src2, low0, high0, high1}, width)) return bad;
  kernel({src0, src1, src2, high0}, {low0, high1}, static_cast<size_t>(width));
  return zepStatusOk;
}

template <class T>
zepStatus InverseLift53(LiftKernel53<T> kernel, const T* low0, const T* high0, const T* high1,
                        const T* src0, T* dst1, T* dst2, int32_t width) {
  if (auto bad = CheckRows<T>({low0, high0, high1, src0, dst1, dst2}, width)) return bad;
  kernel({low0, high0, high1, src0}, {dst1, dst2}, static_cast<size_t>(width));
  return zepStatusOk;
}

template <class T>
zepStatus ForwardLift97(LiftKernel97<T> kernel, const T* src0, const T* src1, const T* src2,
                        T* low0, T* low1, T* high0, T* high1, T* high2, int32_t width) {
  if (auto bad = CheckRows<T>({src0, src1, src2, low0, low1, high0, high1, high2}, width)) {
    return bad;
  }
  kernel({src0, src1, src2, low0, high0, high1}, {low0, low1, high0, high1, high2},
         static_cast<size_t>(width));
  return zepStatusOk;
}

template <class T>
zepStatus InverseLift97(LiftKernel97<T> kernel, const T* low0, const T* high0, const T* src0,
                        T* dst1, T* dst2, T* dst3, T* dst4, T* dst5, int32_t width) {
  if (auto bad = CheckRows<T>({low0, high0, src0, dst1, dst2, dst3, dst4, dst5}, width)) return bad;
  kernel({low0, high0, src0, dst1, dst2, dst3}, {dst1, dst2, dst3, dst4, dst5},
         static_cast<size_t>(width));
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiWTFwdColLift_B53_JPEG2K_16s_C1(const int16_t* pSrc0, const int16_t* pSrc1,
                                                      const int16_t* pSrc2, int16_t* pDstLow0,
                                                      const int16_t* pSrcHigh0, int16_t* pDstHigh1,
                                                      int32_t width) {
  return ForwardLift53(kernels.forward53_16s, pSrc0, pSrc1, pSrc2, pDstLow0, pSrcHigh0, pDstHigh1,
                       width);
}

zepStatus ZEP_CALL zepiWTInvColLift_B53_JPEG2K_16s_C1(const int16_t* pSrcLow0,
                                                      const int16_t* pSrcHigh0,
                                                      const int16_t* pSrcHigh1,
                                                      const int16_t* pSrc0, int16_t* pDst1,
                                                      int16_t* pDst2, int32_t width) {
  return InverseLift53(kernels.inverse53_16s, pSrcLow0, pSrcHigh0, pSrcHigh1, pSrc0, pDst1, pDst2,
                       width);
}

zepStatus ZEP_CALL zepiWTFwdColLift_B53_JPEG2K_32s_C1(const int32_t* pSrc0, const int32_t* pSrc1,
                                                      const int32_t* pSrc2, int32_t* pDstLow0,
                                                      const int32_t* pSrcHigh0, int32_t* pDstHigh1,
                                                      int32_t width) {
  return ForwardLift53(kernels.forward53_32s, pSrc0, pSrc1, pSrc2, pDstLow0, pSrcHigh0, pDstHigh1,
                       width);
}

zepStatus ZEP_CALL zepiWTInvColLift_B53_JPEG2K_32s_C1(const int32_t* pSrcLow0,
                                                      const int32_t* pSrcHigh0,
                                                      const int32_t* pSrcHigh1,
                                                      const int32_t* pSrc0, int32_t* pDst1,
                                                      int32_t* pDst2, int32_t width) {
  return InverseLift53(kernels.inverse53_32s, pSrcLow0, pSrcHigh0, pSrcHigh1, pSrc0, pDst1, pDst2,
                       width);
}

zepStatus ZEP_CALL zepiWTFwdColLift_D97_JPEG2K_16s_C1(const int16_t* pSrc0, const int16_t* pSrc1,
                                                      const int16_t* pSrc2, int16_t* pSrcDstLow0,
                                                      int16_t* pDstLow1, int16_t* pSrcDstHigh0,
                                                      int16_t* pSrcDstHigh1, int16_t* pDstHigh2,
                                                      int32_t width) {
  return ForwardLift97(kernels.forward97_16s, pSrc0, pSrc1, pSrc2, pSrcDstLow0, pDstLow1,
                       pSrcDstHigh0, pSrcDstHigh1, pDstHigh2, width);
}

zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_16s_C1(
    const int16_t* pSrcLow0, const int16_t* pSrcHigh0, const int16_t* pSrc0, int16_t* pSrcDst1,
    int16_t* pSrcDst2, int16_t* pSrcDst3, int16_t* pDst4, int16_t* pDst5, int32_t width) {
  return InverseLift97(kernels.inverse97_16s, pSrcLow0, pSrcHigh0, pSrc0, pSrcDst1, pSrcDst2,
                       pSrcDst3, pDst4, pDst5, width);
}

zepStatus ZEP_CALL zepiWTFwdColLift_D97_JPEG2K_32s_C1(const int32_t* pSrc0, const int32_t* pSrc1,
                                                      const int32_t* pSrc2, int32_t* pSrcDstLow0,
                                                      int32_t* pDstLow1, int32_t* pSrcDstHigh0,
                                                      int32_t* pSrcDstHigh1, int32_t* pDstHigh2,
                                                      int32_t width) {
  return ForwardLift97(kernels.forward97_32s, pSrc0, pSrc1, pSrc2, pSrcDstLow0, pDstLow1,
                       pSrcDstHigh0, pSrcDstHigh1, pDstHigh2, width);
}

zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_32s_C1(
    const int32_t* pSrcLow0, const int32_t* pSrcHigh0, const int32_t* pSrc0, int32_t* pSrcDst1,
    int32_t* pSrcDst2, int32_t* pSrcDst3, int32_t* pDst4, int32_t* pDst5, int32_t width) {
  return InverseLift97(kernels.inverse97_32s, pSrcLow0, pSrcHigh0, pSrc0, pSrcDst1, pSrcDst2,
                       pSrcDst3, pDst4, pDst5, width);
}

zepStatus ZEP_CALL zepiWTFwdColLift_D97_JPEG2K_32f_C1(const float* pSrc0, const float* pSrc1,
                                                      const float* pSrc2, float* pSrcDstLow0,
                                                      float* pDstLow1, float* pSrcDstHigh0,
                                                      float* pSrcDstHigh1, float* pDstHigh2,
                                                      int32_t width) {
  return ForwardLift97(kernels.forward97_32f, pSrc0, pSrc1, pSrc2, pSrcDstLow0, pDstLow1,
                       pSrcDstHigh0, pSrcDstHigh1, pDstHigh2, width);
}

zepStatus ZEP_CALL zepiWTInvColLift_D97_JPEG2K_32f_C1(const float* pSrcLow0, const float* pSrcHigh0,
                                                      const float* pSrc0, float* pSrcDst1,
                                                      float* pSrcDst2, float* pSrcDst3,
                                                      float* pDst4, float* pDst5, int32_t width) {
  return InverseLift97(kernels.inverse97_32f, pSrcLow0, pSrcHigh0, pSrc0, pSrcDst1, pSrcDst2,
                       pSrcDst3, pDst4, pDst5, width);
}
#endif  // HWY_ONCE
