// SPDX-License-Identifier: MIT
// The level shift between samples of 8 bits and signed values (ITU-T T.81, A.3.1): v - 128 before
// the forward DCT, v + 128 saturated to 0..255 after the inverse DCT.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/color/level_shift.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

namespace zepjp {
#ifndef ZEPJP_LEVEL_SHIFT_KERNELS
#  define ZEPJP_LEVEL_SHIFT_KERNELS
namespace {

struct Kernels {
  void (*add128_row)(const uint8_t* src, uint8_t* dst, size_t width);
  void (*sub128_row)(const uint8_t* src, uint8_t* dst, size_t width);
};

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
constexpr size_t kStep = hn::MaxLanes(D8());

// Rows may have any alignment, so both samples and values are addressed in bytes.
HWY_INLINE hn::VFromD<D16> LoadValues(const uint8_t* from) {
  return hn::BitCast(D16(), hn::LoadU(D8(), from));
}
HWY_INLINE void StoreValues(hn::VFromD<D16> values, uint8_t* to) {
  hn::StoreU(hn::BitCast(D8(), values), D8(), to);
}

// A sum that saturates at 16 bits is above 255 anyway.
void Add128Row(const uint8_t* src, uint8_t* dst, size_t width) {
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    const auto offset = hn::Set(D16(), 128);
    const auto low = hn::SaturatedAdd(LoadValues(from[0] + 2 * x), offset);
    const auto high = hn::SaturatedAdd(LoadValues(from[0] + 2 * x + kStep), offset);
    hn::StoreU(OrderHalves(PackBlocks(low, high)), D8(), to[0] + x);
  };
  ForElements<kStep, Span<1, 2>, Span<1, 1>>(&src, &dst, 0, width, step);
}

void Sub128Row(const uint8_t* src, uint8_t* dst, size_t width) {
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    const hn::Half<D8> half;
    const auto offset = hn::Set(D16(), 128);
    const auto low = hn::PromoteTo(D16(), hn::LoadU(half, from[0] + x));
    const auto high = hn::PromoteTo(D16(), hn::LoadU(half, from[0] + x + kStep / 2));
    StoreValues(hn::Sub(low, offset), to[0] + 2 * x);
    StoreValues(hn::Sub(high, offset), to[0] + 2 * x + kStep);
  };
  ForElements<kStep, Span<1, 1>, Span<1, 2>>(&src, &dst, 0, width, step);
}

constexpr Kernels kKernels = {.add128_row = Add128Row, .sub128_row = Sub128Row};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <class Src, class Dst>
zepStatus Shift(void (*kernel)(const uint8_t*, uint8_t*, size_t), const Src* src, int32_t src_step,
                Dst* dst, int32_t dst_step, zepiSize roi) {
  if (auto bad = Checks().Ptr(src).Step(src_step).Ptr(dst).Step(dst_step).Size(roi).Failed()) {
    return bad;
  }
  const auto* const from = reinterpret_cast<const uint8_t*>(src);
  auto* const to = reinterpret_cast<uint8_t*>(dst);
  ForRows(roi, [=](int32_t y) {
    kernel(Row(from, src_step, y), Row(to, dst_step, y), static_cast<size_t>(roi.width));
  });
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiAdd128_JPEG_16s8u_C1R(const int16_t* pSrc, int32_t srcStep, uint8_t* pDst,
                                             int32_t dstStep, zepiSize roiSize) {
  return Shift(kernels.add128_row, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiSub128_JPEG_8u16s_C1R(const uint8_t* pSrc, int32_t srcStep, int16_t* pDst,
                                             int32_t dstStep, zepiSize roiSize) {
  return Shift(kernels.sub128_row, pSrc, srcStep, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
