// SPDX-License-Identifier: MIT
// The transforms of the first three components of a tile (ITU-T T.800, annex G): the reversible one
// (RCT) in integers, and the irreversible one (ICT) in floating point and in fixed point. The
// arithmetic is in reversible-inl.h, irreversible-inl.h and fixed_point-inl.h.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/components/component_transforms.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/components/fixed_point-inl.h"
#include "jpeg2k/components/interleaved-inl.h"
#include "jpeg2k/components/irreversible-inl.h"
#include "jpeg2k/components/layouts-inl.h"
#include "jpeg2k/components/reversible-inl.h"

namespace zepjp {
#ifndef ZEPJP_COMPONENT_TRANSFORMS_KERNELS
#  define ZEPJP_COMPONENT_TRANSFORMS_KERNELS
namespace {

// Transforms a row of `width` pixels: a pointer for each plane, or one for interleaved pixels.
using ComponentRow = void (*)(const uint8_t* const* src, uint8_t* const* dst, size_t width);

struct Reversible {
  ComponentRow forward_planes, inverse_planes, forward_pixels, inverse_pixels;
};

struct Kernels {
  Reversible rct16, rct32;
  ComponentRow ict_forward16, ict_inverse16, ict_forward32, ict_inverse32;
  ComponentRow ict_forward_float, ict_inverse_float;
  ComponentRow ict_forward_float_pixels, ict_inverse_float_pixels;
};

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

template <class Transform, class Source, class Target>
struct TransformStep {
  HWY_INLINE void operator()(const uint8_t* const* from, uint8_t* const* to, size_t x) const {
    Target::Store(Transform::Apply(Source::Load(from, x)), to, x);
  }
};

// Source and target may be the same rows: steps do not overlap, and the last one works on copies.
template <class Transform, class Source, class Target>
void TransformRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  constexpr size_t kStep = Source::kLanes;
  constexpr TransformStep<Transform, Source, Target> step;
  // Local copies of the pointers, which no store can change, so that they stay in registers.
  const uint8_t* from[Source::kPlanes];
  uint8_t* to[Target::kPlanes];
  for (int i = 0; i < Source::kPlanes; ++i) from[i] = src[i];
  for (int i = 0; i < Target::kPlanes; ++i) to[i] = dst[i];
  const size_t whole = width / kStep * kStep;
  for (size_t x = 0; x < whole; x += kStep) step(from, to, x);
  ForElements<kStep, Source, Target>(src, dst, whole, width, step);
}

template <class Transform, class D>
constexpr ComponentRow kPlanesRow = TransformRow<Transform, PlanarPixels<D>, PlanarPixels<D>>;
template <class Transform, class T>
constexpr ComponentRow kToPlanesRow =
    TransformRow<Transform, InterleavedPixels<DStores<T>>, PlanarPixels<DStores<T>>>;
template <class Transform, class T>
constexpr ComponentRow kToPixelsRow =
    TransformRow<Transform, PlanarPixels<DStores<T>>, InterleavedPixels<DStores<T>>>;

template <class T>
constexpr Reversible kReversible = {
    .forward_planes = kPlanesRow<RctForward, DStores<T>>,
    .inverse_planes = kPlanesRow<RctInverse, DStores<T>>,
    .forward_pixels = kToPlanesRow<RctForward, T>,
    .inverse_pixels = kToPixelsRow<RctInverse, T>,
};

constexpr Kernels kKernels = {
    .rct16 = kReversible<int16_t>,
    .rct32 = kReversible<int32_t>,
    .ict_forward16 = kPlanesRow<IctForward16, D16>,
    .ict_inverse16 = kPlanesRow<IctInverse16, D16>,
    .ict_forward32 = FixedPointRow<IctForward32>::Apply,
    .ict_inverse32 = FixedPointRow<IctInverse32>::Apply,
    .ict_forward_float = kPlanesRow<IctForwardFloat, DF>,
    .ict_inverse_float = kPlanesRow<IctInverseFloat, DF>,
    .ict_forward_float_pixels = kToPlanesRow<IctForwardFloat, float>,
    .ict_inverse_float_pixels = kToPixelsRow<IctInverseFloat, float>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <class T>
zepStatus InPlace(ComponentRow kernel, T* const* planes, int32_t step, zepiSize roi) {
  if (auto bad = Checks().Planes(planes, 3).Step(step).Size(roi).Failed()) return bad;
  for (int32_t y = 0; y < roi.height; ++y) {
    uint8_t* rows[3];
    for (int i = 0; i < 3; ++i) rows[i] = Row(reinterpret_cast<uint8_t*>(planes[i]), step, y);
    kernel(rows, rows, static_cast<size_t>(roi.width));
  }
  return zepStatusOk;
}

template <class T>
zepStatus ToPlanes(ComponentRow kernel, const T* src, int32_t src_step, T* const* dst,
                   int32_t dst_step, zepiSize roi) {
  if (auto bad =
          Checks().Ptr(src).Planes(dst, 3).Step(src_step).Step(dst_step).Size(roi).Failed()) {
    return bad;
  }
  for (int32_t y = 0; y < roi.height; ++y) {
    const uint8_t* const from = Row(reinterpret_cast<const uint8_t*>(src), src_step, y);
    uint8_t* to[3];
    for (int i = 0; i < 3; ++i) to[i] = Row(reinterpret_cast<uint8_t*>(dst[i]), dst_step, y);
    kernel(&from, to, static_cast<size_t>(roi.width));
  }
  return zepStatusOk;
}

template <class T>
zepStatus ToPixels(ComponentRow kernel, const T* const* src, int32_t src_step, T* dst,
                   int32_t dst_step, zepiSize roi) {
  if (auto bad =
          Checks().Planes(src, 3).Ptr(dst).Step(src_step).Step(dst_step).Size(roi).Failed()) {
    return bad;
  }
  for (int32_t y = 0; y < roi.height; ++y) {
    const uint8_t* from[3];
    for (int i = 0; i < 3; ++i) {
      from[i] = Row(reinterpret_cast<const uint8_t*>(src[i]), src_step, y);
    }
    uint8_t* const to = Row(reinterpret_cast<uint8_t*>(dst), dst_step, y);
    kernel(from, &to, static_cast<size_t>(roi.width));
  }
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct16.forward_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct16.inverse_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_C3P3R(const int16_t* pSrc, int32_t srcStep,
                                               int16_t* const pDst[3], int32_t dstStep,
                                               zepiSize roiSize) {
  return ToPlanes(kernels.rct16.forward_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3C3R(const int16_t* const pSrc[3], int32_t srcStep,
                                               int16_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ToPixels(kernels.rct16.inverse_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct32.forward_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct32.inverse_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_C3P3R(const int32_t* pSrc, int32_t srcStep,
                                               int32_t* const pDst[3], int32_t dstStep,
                                               zepiSize roiSize) {
  return ToPlanes(kernels.rct32.forward_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3C3R(const int32_t* const pSrc[3], int32_t srcStep,
                                               int32_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ToPixels(kernels.rct32.inverse_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_forward16, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_inverse16, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_forward32, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_inverse32, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_forward_float, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_inverse_float, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_C3P3R(const float* pSrc, int32_t srcStep,
                                               float* const pDst[3], int32_t dstStep,
                                               zepiSize roiSize) {
  return ToPlanes(kernels.ict_forward_float_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3C3R(const float* const pSrc[3], int32_t srcStep,
                                               float* pDst, int32_t dstStep, zepiSize roiSize) {
  return ToPixels(kernels.ict_inverse_float_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
