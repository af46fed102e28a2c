// SPDX-License-Identifier: MIT
// Splits a row of 16-bit samples into a row of high bytes and a row of low bytes, and joins them
// again. Byte planes compress better: high bytes of neighbouring samples are often equal.
//
// Processors with AVX-512 run the kernels for AVX2 too: longer vectors take more steps to put their
// halves in order.
#include <cstring>

#include "frame/checks.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS HWY_AVX3
#define HWY_TARGET_INCLUDE "tiff/byte_planes.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_BYTE_PLANES_KERNELS
#  define ZEPJP_BYTE_PLANES_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  void (*split)(const uint8_t* words, uint8_t* high, uint8_t* low, size_t width);
  void (*join)(const uint8_t* high, const uint8_t* low, uint8_t* words, size_t width);
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
constexpr size_t kSamples = hn::MaxLanes(D8());

// The low bytes of 16-bit lanes of two vectors.
HWY_INLINE V8 LowBytes(V16 a, V16 b) {
  const auto low = [](V16 v) ZEP_ATTR { return hn::And(v, hn::Set(D16(), 255)); };
  return OrderHalves(PackBlocks(low(a), low(b)));
}
HWY_INLINE V16 Swapped(V16 v) {
  const hn::ScalableTag<uint16_t> d;
  const auto bits = hn::BitCast(d, v);
  return hn::BitCast(D16(), hn::Or(hn::ShiftRight<8>(bits), hn::ShiftLeft<8>(bits)));
}

void Split(const uint8_t* words, uint8_t* high, uint8_t* low, size_t width) {
  uint8_t* const planes[] = {high, low};
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    const V16 first = hn::BitCast(D16(), hn::LoadU(D8(), from[0] + 2 * x));
    const V16 second = hn::BitCast(D16(), hn::LoadU(D8(), from[0] + 2 * x + kSamples));
    hn::StoreU(LowBytes(Swapped(first), Swapped(second)), D8(), to[0] + x);
    hn::StoreU(LowBytes(first, second), D8(), to[1] + x);
  };
  ForElements<kSamples, Span<1, 2>, Span<2, 1>>(&words, planes, 0, width, step);
}

void Join(const uint8_t* high, const uint8_t* low, uint8_t* words, size_t width) {
  const uint8_t* const planes[] = {high, low};
  const auto step = [](const uint8_t* const* from, uint8_t* const* to, size_t x) ZEP_ATTR {
    hn::StoreInterleaved2(hn::LoadU(D8(), from[1] + x), hn::LoadU(D8(), from[0] + x), D8(),
                          to[0] + 2 * x);
  };
  ForElements<kSamples, Span<2, 1>, Span<1, 2>>(planes, &words, 0, width, step);
}

constexpr Kernels kKernels = {.split = Split, .join = Join};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <class From, class To>
zepStatus CheckRow(const From* src, const To* dst, int32_t width) {
  return Checks().Ptr(src).Ptr(dst).Refuse(width < 1, zepStatusBadSize).Failed();
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiSplitRow_TIFF_16u8u_C1(const uint16_t* pSrc, uint8_t* pDst, int32_t width) {
  if (auto bad = CheckRow(pSrc, pDst, width)) return bad;
  const auto count = static_cast<size_t>(width);
  kernels.split(reinterpret_cast<const uint8_t*>(pSrc), pDst, pDst + count, count);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiJoinRow_TIFF_8u16u_C1(const uint8_t* pSrc, uint16_t* pDst, int32_t width) {
  if (auto bad = CheckRow(pSrc, pDst, width)) return bad;
  const auto count = static_cast<size_t>(width);
  kernels.join(pSrc, pSrc + count, reinterpret_cast<uint8_t*>(pDst), count);
  return zepStatusOk;
}
#endif  // HWY_ONCE
