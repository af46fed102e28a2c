// SPDX-License-Identifier: MIT
// Quantization tables (ITU-T T.81, A.3.4 and B.2.4.1), and the quantization of blocks without a
// DCT.
//
//   quality        scale = 5000 / quality below 50, else 200 - 2 quality, in percent;
//                  step = (step * scale + 50) / 100, limited to 1..255
//   forward table  round(32768 / step), halves to even; 65535 for a step of 0
//   quantize       x = (((x << 3) * (q >> 1) >> 16) + 1) >> 1, wrapping in 16 bits
//   dequantize     the low 16 bits of x * step
#include <algorithm>

#include "frame/checks.h"
#include "jpeg/zigzag.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/dct/quantization.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_QUANTIZATION_KERNELS
#  define ZEPJP_QUANTIZATION_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  void (*quantize)(int16_t* block, const uint16_t* table);
  void (*dequantize)(int16_t* block, const uint16_t* table);
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D16 = hn::ScalableTag<int16_t>;
using DU16 = hn::ScalableTag<uint16_t>;
using V16 = hn::VFromD<D16>;

template <class Step>
HWY_INLINE void ForBlock(int16_t* block, const uint16_t* table, const Step& step) {
  for (size_t i = 0; i < 64; i += hn::MaxLanes(D16())) {
    const V16 value = hn::LoadU(D16(), block + i);
    hn::StoreU(step(value, hn::LoadU(DU16(), table + i)), D16(), block + i);
  }
}

// The product is at most 2^30 in magnitude (|x << 3| <= 2^15, q >> 1 < 2^15), so its high half plus
// 1 cannot wrap.
void Quantize(int16_t* block, const uint16_t* table) {
  ForBlock(block, table, [](V16 value, hn::VFromD<DU16> reciprocal) ZEP_ATTR {
    const V16 half = hn::BitCast(D16(), hn::ShiftRight<1>(reciprocal));
    const V16 high = hn::MulHigh(hn::ShiftLeft<3>(value), half);
    return hn::ShiftRight<1>(hn::Add(high, hn::Set(D16(), 1)));
  });
}

void Dequantize(int16_t* block, const uint16_t* table) {
  ForBlock(block, table, [](V16 value, hn::VFromD<DU16> step) ZEP_ATTR {
    return hn::Mul(value, hn::BitCast(D16(), step));
  });
}

constexpr Kernels kKernels = {.quantize = Quantize, .dequantize = Dequantize};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// Tables may have any alignment.
void StoreEntry(uint16_t* table, int index, uint16_t value) {
  __builtin_memcpy(reinterpret_cast<uint8_t*>(table) + 2 * index, &value, sizeof(value));
}

// 32768 / step in single precision, rounded to the nearest integer, halves to even.
uint16_t Reciprocal(uint8_t step) {
  const float quotient = 32768.0F / static_cast<float>(step);
  const auto whole = static_cast<uint16_t>(quotient);
  const float rest = quotient - static_cast<float>(whole);
  const bool up = rest > 0.5F || (rest == 0.5F && whole % 2 != 0);
  return static_cast<uint16_t>(whole + (up ? 1 : 0));
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiQuantFwdRawTableInit_JPEG_8u(uint8_t* pQuantRawTable,
                                                    int32_t qualityFactor) {
  if (auto bad = Checks().Ptr(pQuantRawTable).Refuse(qualityFactor < 1, zepStatusBadArg).Failed()) {
    return bad;
  }
  const int64_t quality = qualityFactor;
  const int64_t scale = quality < 50 ? 5000 / quality : 200 - 2 * quality;
  for (int i = 0; i < 64; ++i) {
    const int64_t step = (pQuantRawTable[i] * scale + 50) / 100;
    pQuantRawTable[i] = static_cast<uint8_t>(std::clamp<int64_t>(step, 1, 255));
  }
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiQuantFwdTableInit_JPEG_8u16u(const uint8_t* pQuantRawTable,
                                                    uint16_t* pQuantFwdTable) {
  if (auto bad = Checks().Ptr(pQuantRawTable).Ptr(pQuantFwdTable).Failed()) return bad;
  uint8_t raw[64];
  std::copy_n(pQuantRawTable, 64, raw);
  zepStatus status = zepStatusOk;
  for (int i = 0; i < 64; ++i) {
    const uint8_t step = raw[kZigzagOfNatural[i]];
    if (step == 0) status = zepStatusDivByZeroWarning;
    StoreEntry(pQuantFwdTable, i, step == 0 ? uint16_t{65535} : Reciprocal(step));
  }
  return status;
}

zepStatus ZEP_CALL zepiQuantInvTableInit_JPEG_8u16u(const uint8_t* pQuantRawTable,
                                                    uint16_t* pQuantInvTable) {
  if (auto bad = Checks().Ptr(pQuantInvTable).Ptr(pQuantRawTable).Failed()) return bad;
  uint8_t raw[64];
  std::copy_n(pQuantRawTable, 64, raw);
  for (int i = 0; i < 64; ++i) {
    StoreEntry(pQuantInvTable, i, raw[kZigzagOfNatural[i]]);
  }
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiQuantFwd8x8_JPEG_16s_C1I(int16_t* pSrcDst, const uint16_t* pQuantFwdTable) {
  if (auto bad = Checks().Ptr(pSrcDst).Ptr(pQuantFwdTable).Failed()) return bad;
  kernels.quantize(pSrcDst, pQuantFwdTable);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiQuantInv8x8_JPEG_16s_C1I(int16_t* pSrcDst, const uint16_t* pQuantInvTable) {
  if (auto bad = Checks().Ptr(pSrcDst).Ptr(pQuantInvTable).Failed()) return bad;
  kernels.dequantize(pSrcDst, pQuantInvTable);
  return zepStatusOk;
}
#endif  // HWY_ONCE
