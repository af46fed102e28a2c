// SPDX-License-Identifier: MIT
// The level shift between samples (unsigned 8 bits) and signed values: v - 128 on the way in,
// v + 128 saturated to 0..255 on the way out.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "jpeg/color/level_shift.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

namespace zepjp {
#ifndef ZEPJP_LEVEL_SHIFT_KERNELS
#  define ZEPJP_LEVEL_SHIFT_KERNELS
namespace {

struct Kernels {
  void (*add128_row)(const int16_t* src, uint8_t* dst, int32_t width);
  void (*sub128_row)(const uint8_t* src, int16_t* dst, int32_t width);
};

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

// v + 128 leaves 16 bits only where the saturated sum is above 255 anyway.
template <class D8>
HWY_INLINE void Add128(D8 d8, const int16_t* src, uint8_t* dst) {
  const hn::Repartition<int16_t, D8> d16;
  const auto offset = hn::Set(d16, 128);
  const auto low = hn::SaturatedAdd(hn::LoadU(d16, src), offset);
  const auto high = hn::SaturatedAdd(hn::LoadU(d16, src + hn::Lanes(d16)), offset);
  hn::StoreU(OrderHalves(PackBlocks(low, high)), d8, dst);
}

void Add128Row(const int16_t* src, uint8_t* dst, int32_t width) {
  const hn::ScalableTag<uint8_t> d8;
  ForVectors<hn::MaxLanes(d8)>(
      width, src, dst, [&](const int16_t* from, uint8_t* to) HWY_ATTR { Add128(d8, from, to); });
}

void Sub128Row(const uint8_t* src, int16_t* dst, int32_t width) {
  const hn::ScalableTag<int16_t> d16;
  const hn::Rebind<uint8_t, decltype(d16)> d8;
  const auto offset = hn::Set(d16, 128);
  ForVectors<hn::MaxLanes(d16)>(width, src, dst, [&](const uint8_t* from, int16_t* to) HWY_ATTR {
    hn::StoreU(hn::PromoteTo(d16, hn::LoadU(d8, from)) - offset, d16, to);
  });
}

constexpr Kernels kKernels = {Add128Row, Sub128Row};

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

using zepjp::Checks;
using zepjp::kernels;

zepStatus ZEP_CALL zepiAdd128_JPEG_16s8u_C1R(const int16_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                             int32_t dstStep, zepiSize roiSize) {
  if (auto bad = Checks().Ptr(pSrc).Step(srcStep).Ptr(pDst).Step(dstStep).Size(roiSize).Failed()) {
    return bad;
  }
  zepjp::ForRows(roiSize, [=](int32_t y) {
    kernels.add128_row(zepjp::Row(pSrc, srcStep, y), zepjp::Row(pDst, dstStep, y), roiSize.width);
  });
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiSub128_JPEG_8u16s_C1R(const uint8_t* pSrc, int32_t srcStep, int16_t* pDst,
                                             int32_t dstStep, zepiSize roiSize) {
  if (auto bad = Checks().Ptr(pSrc).Step(srcStep).Ptr(pDst).Step(dstStep).Size(roiSize).Failed()) {
    return bad;
  }
  zepjp::ForRows(roiSize, [=](int32_t y) {
    kernels.sub128_row(zepjp::Row(pSrc, srcStep, y), zepjp::Row(pDst, dstStep, y), roiSize.width);
  });
  return zepStatusOk;
}
#endif  // HWY_ONCE
