// SPDX-License-Identifier: MIT
// Forward DCT with quantization (ITU-T T.81, A.3.3 and A.3.4).
//
//   F(u,v) = 1/4 C(u) C(v) sum f(x,y) cos((2x+1) u pi / 16) cos((2y+1) v pi / 16)
//   result = F q / 2^15, rounded to the nearest integer, halves to even; q is about 2^15 / step
//
// Samples of 8 bits: a column pass in 16-bit lanes in tangent form, a row pass in 32-bit dot
// products that also removes the scale which the column pass leaves (block-inl.h), and the
// quantization, all in registers. The column pass works on samples times 8. Without the level shift
// its sums of samples stay below 2^14; arbitrary 16-bit values saturate.
//
// Samples of 12 bits: the flow graph of float_dct-inl.h in single precision.
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/dct/forward_dct.cc"
#include "hwy/foreach_target.h"
#include "jpeg/dct/block-inl.h"
#include "jpeg/dct/float_dct-inl.h"

#ifndef ZEPJP_FORWARD_DCT_KERNELS
#  define ZEPJP_FORWARD_DCT_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  void (*values)(const int16_t* src, int16_t* dst, const uint16_t* table);
  void (*samples8)(const uint8_t* src, int32_t step, int16_t* dst, const uint16_t* table);
  void (*samples12)(const uint16_t* src, int32_t step, int16_t* dst, const uint16_t* table);
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// The input of the column pass: any 16-bit values, small ones (-256 to 255), or unsigned samples.
// Sums of samples and of small values fit 16 bits, and their dot products fit 32 bits. The level
// shift only changes the sum of all rows, by a constant.
enum class Input { kValues, kSmall, kSamples };

HWY_INLINE bool AreSmall(const Rows& x) {
  const DRow d;
  const VRow offset = hn::Set(d, 256);
  VRow all = hn::Zero(d);
  for (const VRow& row : x.row) all = hn::Or(all, hn::Add(row, offset));
  return hn::AllTrue(d, hn::Eq(hn::And(all, hn::Set(d, -512)), hn::Zero(d)));
}

// v << kBits, saturated.
template <Input kInput, int kBits>
HWY_INLINE VRow Scale(VRow v) {
  if constexpr (kInput != Input::kValues) return hn::ShiftLeft<kBits>(v);
  for (int i = 0; i < kBits; ++i) v = hn::SaturatedAdd(v, v);
  return v;
}

// tan(pi / 16), tan(2 pi / 16), tan(3 pi / 16) - 1 and cos(pi / 4) / 2 in units of 2^-16.
constexpr int16_t kTan1 = 13036, kTan2 = 27146, kTan3Less1 = -21746, kHalfCos4 = 23170;

HWY_INLINE VRow MulHigh(VRow v, int16_t factor) { return hn::MulHigh(v, hn::Set(DRow(), factor)); }
HWY_INLINE VRow TimesTan3(VRow v) { return hn::SaturatedAdd(MulHigh(v, kTan3Less1), v); }

// A truncated product is half a unit too small on average; setting the lowest bit compensates that.
HWY_INLINE VRow Rounded(VRow v) { return hn::Or(v, hn::Set(DRow(), 1)); }

// Sums and differences of mirrored rows.
struct Mirrored {
  VRow sum[4], difference[4];  // of rows 0 and 7, 1 and 6, 2 and 5, 3 and 4
};

HWY_INLINE Mirrored Mirror(const Rows& x) {
  Mirrored m;
  for (int i = 0; i < 4; ++i) {
    m.sum[i] = hn::SaturatedAdd(x.row[i], x.row[7 - i]);
    m.difference[i] = hn::SaturatedSub(x.row[i], x.row[7 - i]);
  }
  return m;
}

template <Input kInput>
HWY_INLINE void EvenRows(const Mirrored& m, Rows& out) {
  const VRow p03 = hn::SaturatedAdd(m.sum[0], m.sum[3]);
  const VRow p12 = hn::SaturatedAdd(m.sum[1], m.sum[2]);
  const VRow m03 = Scale<kInput, 3>(hn::SaturatedSub(m.sum[0], m.sum[3]));
  const VRow m12 = Scale<kInput, 3>(hn::SaturatedSub(m.sum[1], m.sum[2]));
  // Rows 0 and 4 have no product. They are scaled last, because two scaled sums that both saturated
  // would cancel.
  out.row[0] = Scale<kInput, 3>(hn::SaturatedAdd(p03, p12));
  if constexpr (kInput == Input::kSamples) {
    out.row[0] = hn::Sub(out.row[0], hn::Set(DRow(), 8 * 8 * 128));
  }
  out.row[4] = Scale<kInput, 3>(hn::SaturatedSub(p03, p12));
  out.row[2] = Rounded(hn::SaturatedAdd(m03, MulHigh(m12, kTan2)));
  out.row[6] = Rounded(hn::SaturatedSub(MulHigh(m03, kTan2), m12));
}

// Each row contains the errors of three truncated products. The signs of the terms are chosen so
// that these errors cancel on average; the mean square error is smaller than with Rounded.
template <Input kInput>
HWY_INLINE void OddRows(const Mirrored& m, Rows& out) {
  const VRow d07 = Scale<kInput, 3>(m.difference[0]);
  const VRow d16 = Scale<kInput, 4>(m.difference[1]);
  const VRow d25 = Scale<kInput, 4>(m.difference[2]);
  const VRow d34 = Scale<kInput, 3>(m.difference[3]);
  const VRow minus_p65 = MulHigh(hn::SaturatedAdd(d16, d25), -kHalfCos4);
  const VRow m65 = MulHigh(hn::SaturatedSub(d16, d25), kHalfCos4);
  const VRow p765 = hn::SaturatedSub(d07, minus_p65);
  const VRow m765 = hn::SaturatedAdd(d07, minus_p65);
  const VRow p465 = hn::SaturatedAdd(d34, m65);
  const VRow m465 = hn::SaturatedSub(d34, m65);
  out.row[1] = hn::SaturatedAdd(p765, MulHigh(p465, kTan1));
  out.row[7] = hn::SaturatedSub(MulHigh(p765, kTan1), p465);
  out.row[3] = hn::SaturatedSub(m765, TimesTan3(m465));
  out.row[5] = hn::SaturatedAdd(TimesTan3(m765), m465);
}

// (a0 b0 + a1 b1 + 2^19) >> 20, where a b is a dot product of pairs. For values that saturate the
// columns the sum may reach 2^32. But a single dot product fits 32 bits (two factors add up to less
// than 2^16), and so does half the sum, floor((x + y) / 2).
template <Input kInput>
HWY_INLINE V32 RoundedDots(V16 a0, V16 b0, V16 a1, V16 b1) {
  const D32 d;
  if constexpr (kInput != Input::kValues) {
    return hn::ShiftRight<20>(DotAcc(DotAcc(hn::Set(d, 1 << 19), a0, b0), a1, b1));
  }
  const V32 x = DotAcc(hn::Zero(d), a0, b0), y = DotAcc(hn::Zero(d), a1, b1);
  const V32 half = hn::Add(hn::And(x, y), hn::ShiftRight<1>(hn::Xor(x, y)));
  return hn::ShiftRight<19>(hn::Add(half, hn::Set(d, 1 << 18)));
}

// The row pass takes sums and differences of mirrored samples as pairs, (s0 s1)(d0 d1) and (s2
// s3)(d2 d3), each twice in a row: their dot products with the factors of the frequencies 0 to 3,
// then 4 to 7, are in the order of the row.
template <Input kInput>
HWY_INLINE V16 RowPass(V16 rows, int vector) {
  static constexpr LaneOrder kReverse = MakeLaneOrder(7, 6, 5, 4, 3, 2, 1, 0);
  const V16 mirrored = Reorder(rows, kReverse);
  const V32 sums = hn::BitCast(D32(), hn::SaturatedAdd(rows, mirrored));
  const V32 differences = hn::BitCast(D32(), hn::SaturatedSub(rows, mirrored));
  const hn::Repartition<int64_t, D16> d64;
  const auto pairs = hn::BitCast(d64, hn::InterleaveLower(D32(), sums, differences));
  const V16 pairs01 = hn::BitCast(D16(), hn::InterleaveLower(d64, pairs, pairs));
  const V16 pairs23 = hn::BitCast(D16(), hn::InterleaveUpper(d64, pairs, pairs));
  const auto dot = [&](int which) ZEP_ATTR {
    return RoundedDots<kInput>(pairs01, Factors(kForwardTable, which, vector), pairs23,
                               Factors(kForwardTable, which + 1, vector));
  };
  return PackBlocks(dot(0), dot(2));
}

// Quantizes in 16-bit lanes: (p + 2^14 - 1 + bit 15 of p) >> 15 for p = q c, saturated. The
// rounding fixed-point product is (c q' + 2^14) >> 15 with q' the signed value of q's bits. It
// differs only for ties that must be rounded down, where p = 2^14 modulo 2^16; `tie` is -1 there.
// If q is 2^15 or more (a step of 1), q' = q - 2^16, and 2c is missing. c is added twice: the first
// sum cannot overflow, because it lies between 0 and c, and the second one saturates.
template <bool kHasStepOne>
HWY_INLINE V16 Quantize(V16 c, const uint16_t* table) {
  const D16 d;
  const V16 q = hn::BitCast(d, hn::LoadU(hn::RebindToUnsigned<D16>(), table));
  const V16 tie = hn::VecFromMask(d, hn::Eq(hn::Mul(c, q), hn::Set(d, 0x4000)));
  const V16 rounded = hn::Add(hn::MulFixedPoint15(c, q), tie);
  if constexpr (!kHasStepOne) return rounded;
  const V16 rest = hn::And(c, hn::BroadcastSignBit(q));
  return hn::SaturatedAdd(hn::SaturatedAdd(rounded, rest), rest);
}

HWY_INLINE bool HasStepOne(const uint16_t* table) {
  const D16 d;
  V16 all = hn::Zero(d);
  for (int i = 0; i < 64; i += static_cast<int>(hn::MaxLanes(d))) {
    all = hn::Or(all, hn::LoadU(d, reinterpret_cast<const int16_t*>(table) + i));
  }
  return !hn::AllFalse(d, hn::Lt(all, hn::Zero(d)));
}

template <Input kInput, bool kHasStepOne>
HWY_INLINE void TransformAndQuantize(const Rows& x, int16_t* dst, const uint16_t* table) {
  Rows columns;
  const Mirrored mirrored = Mirror(x);
  EvenRows<kInput>(mirrored, columns);
  OddRows<kInput>(mirrored, columns);
#pragma GCC unroll 8
  for (int i = 0; i < kVectors; ++i) {
    const V16 coefficients = RowPass<kInput>(JoinRows(columns.row + i * kRowsInVector), i);
    const int first = 8 * kRowsInVector * i;
    hn::StoreU(Quantize<kHasStepOne>(coefficients, table + first), D16(), dst + first);
  }
}

template <Input kInput>
HWY_INLINE void Transform(const Rows& x, int16_t* dst, const uint16_t* table) {
  if (HasStepOne(table)) {
    TransformAndQuantize<kInput, true>(x, dst, table);
  } else {
    TransformAndQuantize<kInput, false>(x, dst, table);
  }
}

void ForwardValues(const int16_t* src, int16_t* dst, const uint16_t* table) {
  const Rows x = LoadRows(src);
  if (AreSmall(x)) {
    Transform<Input::kSmall>(x, dst, table);
  } else {
    TransformAndQuantize<Input::kValues, true>(x, dst, table);
  }
}

void ForwardSamples8(const uint8_t* src, int32_t step, int16_t* dst, const uint16_t* table) {
  Rows x;
  for (int i = 0; i < 8; ++i) {
    x.row[i] = hn::PromoteTo(DRow(), hn::LoadU(hn::FixedTag<uint8_t, 8>(), Row(src, step, i)));
  }
  Transform<Input::kSamples>(x, dst, table);
}

// The reciprocals q for the rows that a vector of words holds, as floats q 2^-34 for each part. The
// lowest bit of a mantissa with the exponent of 2^-11 is worth 2^-34, so q only has to be put
// there. The two passes leave units of 2^-3 * 2^-16, and q is in units of 2^-15: the products are
// in units of one step.
struct Reciprocals {
  VFloat part[2];
};
HWY_INLINE Reciprocals LoadReciprocals(const uint16_t* table) {
  const hn::Repartition<int16_t, DFloat> d;
  const auto q = OrderHalves(hn::LoadU(d, reinterpret_cast<const int16_t*>(table)));
  const auto exponent = hn::Set(d, 0x3A00);
  const VFloat offset = hn::Set(DFloat(), 1.0F / (1 << 11));
  const auto low = hn::BitCast(DFloat(), hn::InterleaveLower(d, q, exponent));
  const auto high = hn::BitCast(DFloat(), hn::InterleaveUpper(d, q, exponent));
  return {{hn::Sub(low, offset), hn::Sub(high, offset)}};
}

// The level shift is applied to the sum of each row, where it is exact.
void ForwardSamples12(const uint16_t* src, int32_t step, int16_t* dst, const uint16_t* table) {
  VWords rows[8];
  for (int y = 0; y < 8; ++y) {
    rows[y] = hn::LoadU(DWords(), reinterpret_cast<const int16_t*>(Row(src, step, y)));
  }
  FloatBlock block = TransposedFloats(rows);
  ForwardPass(block);
  const VFloat shift = hn::Set(DFloat(), 8 * 2048.0F * (1 << kWordShift));
  for (auto& v : block.part) v[0] = hn::Sub(v[0], shift);
  block = Transposed(block);
  ForwardPass(block);
  constexpr int kLines = 3 - kParts;  // in a vector of words
#pragma GCC unroll 8
  for (int y = 0; y < 8; y += kLines) {
    const Reciprocals q = LoadReciprocals(table + 8 * y);
    const auto low = Nearest(hn::Mul(block.part[0][y], q.part[0]));
    const auto high = Nearest(hn::Mul(block.part[kParts - 1][y + kLines - 1], q.part[1]));
    const auto words = OrderHalves(PackBlocks(low, high));
    hn::StoreU(words, hn::DFromV<decltype(words)>(), dst + 8 * y);
  }
}

constexpr Kernels kKernels = {
    .values = ForwardValues,
    .samples8 = ForwardSamples8,
    .samples12 = ForwardSamples12,
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

zepStatus ZEP_CALL zepiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                  const uint16_t* pQuantFwdTable) {
  if (auto bad = Checks().Ptr(pSrc).Ptr(pDst).Ptr(pQuantFwdTable).Failed()) return bad;
  kernels.values(pSrc, pDst, pQuantFwdTable);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDCTQuantFwd8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                   const uint16_t* pQuantFwdTable) {
  if (auto bad = Checks().Ptr(pSrcDst).Ptr(pQuantFwdTable).Failed()) return bad;
  kernels.values(pSrcDst, pSrcDst, pQuantFwdTable);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                       int16_t* pDst,
                                                       const uint16_t* pQuantFwdTable) {
  if (auto bad = Checks().Ptr(pSrc).Ptr(pDst).Step(srcStep).Ptr(pQuantFwdTable).Failed()) {
    return bad;
  }
  kernels.samples8(pSrc, srcStep, pDst, pQuantFwdTable);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* pSrc, int32_t srcStep,
                                                        int16_t* pDst,
                                                        const uint16_t* pQuantFwdTable) {
  if (auto bad = Checks().Ptr(pSrc).Ptr(pDst).Step(srcStep).Ptr(pQuantFwdTable).Failed()) {
    return bad;
  }
  kernels.samples12(pSrc, srcStep, pDst, pQuantFwdTable);
  return zepStatusOk;
}
#endif  // HWY_ONCE
