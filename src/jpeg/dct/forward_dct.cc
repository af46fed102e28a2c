// SPDX-License-Identifier: MIT
// Forward DCT with quantization (ITU-T T.81, A.3.3 and A.3.4).
//
// Samples of 8 bits: a column pass in 16-bit lanes in tangent form, a row pass in 32-bit dot
// products that removes the scale which the column pass leaves, and the quantization, all on
// registers. Samples of 12 bits: two products with the matrix of cosines in single precision.
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

// What the input of the column pass is: any values, or unsigned samples, for which no sum leaves 16
// bits and the level shift is a constant in the sum of all rows.
enum class Input { kValues, kSamples };

// v << kBits, saturated.
template <Input kInput, int kBits>
HWY_INLINE VRow Scale(VRow v) {
  if constexpr (kInput == Input::kSamples) return hn::ShiftLeft<kBits>(v);
  for (int i = 0; i < kBits; ++i) v = hn::SaturatedAdd(v, v);
  return v;
}

// tan(pi / 16), tan(2 pi / 16), tan(3 pi / 16) - 1 and cos(pi / 4) / 2 in units of 2^-16.
constexpr int16_t kTan1 = 13036, kTan2 = 27146, kTan3Less1 = -21746, kHalfCos4 = 23170;

HWY_INLINE VRow MulHigh(VRow v, int16_t factor) { return hn::MulHigh(v, hn::Set(DRow(), factor)); }
HWY_INLINE VRow TimesTan3(VRow v) { return hn::SaturatedAdd(MulHigh(v, kTan3Less1), v); }

// A product that was cut off below is half a unit too small in the mean; this makes up for it.
HWY_INLINE VRow Rounded(VRow v) { return hn::Or(v, hn::Set(DRow(), 1)); }

// Sums and differences of rows that mirror one another.
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
  // Without a product the scale comes last: two scaled sums that saturate would cancel.
  out.row[0] = Scale<kInput, 3>(hn::SaturatedAdd(p03, p12));
  if constexpr (kInput == Input::kSamples) {
    out.row[0] = hn::Sub(out.row[0], hn::Set(DRow(), 8 * 8 * 128));
  }
  out.row[4] = Scale<kInput, 3>(hn::SaturatedSub(p03, p12));
  out.row[2] = Rounded(hn::SaturatedAdd(m03, MulHigh(m12, kTan2)));
  out.row[6] = Rounded(hn::SaturatedSub(MulHigh(m03, kTan2), m12));
}

// Each row has the errors of three products, which are all truncated. Their signs make the errors
// cancel in the mean: it costs nothing, and the mean square error is less than with Rounded.
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

// (a0 b0 + a1 b1 + 2^19) >> 20 of dot products of pairs. From samples it fits in 32 bits. Values
// that saturate the columns lead up to 2^32: no single dot product leaves 32 bits (two factors are
// less than 2^16 together), and neither does half the sum, floor((x + y) / 2).
template <Input kInput>
HWY_INLINE V32 RoundedDots(V16 a0, V16 b0, V16 a1, V16 b1) {
  const D32 d;
  if constexpr (kInput == Input::kSamples) {
    return hn::ShiftRight<20>(DotAcc(DotAcc(hn::Set(d, 1 << 19), a0, b0), a1, b1));
  }
  const V32 x = DotAcc(hn::Zero(d), a0, b0), y = DotAcc(hn::Zero(d), a1, b1);
  const V32 half = hn::Add(hn::And(x, y), hn::ShiftRight<1>(hn::Xor(x, y)));
  return hn::ShiftRight<19>(hn::Add(half, hn::Set(d, 1 << 18)));
}

// Sums and differences of mirrored samples in pairs, (s0 s1)(d0 d1) and (s2 s3)(d2 d3), each twice:
// with the factors of the frequencies 0 to 3, then 4 to 7, they give a row in its order.
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

// p = q c, (p + 2^14 - 1 + bit 15 of p) >> 15, saturated, in 16-bit lanes. The fixed-point product
// is (c q' + 2^14) >> 15 for the signed q' of the same bits; it differs only for a tie that belongs
// down, p = 2^14 modulo 2^16. Where q is 2^15 or more, q' = q - 2^16 leaves 2 c to be added, once
// without and once with saturation: the first sum lies between 0 and c.
HWY_INLINE V16 Quantize(V16 c, const uint16_t* table) {
  const D16 d;
  const V16 q = hn::BitCast(d, hn::LoadU(hn::RebindToUnsigned<D16>(), table));
  const V16 tie = hn::VecFromMask(d, hn::Eq(hn::Mul(c, q), hn::Set(d, 0x4000)));
  const V16 rounded = hn::Add(hn::MulFixedPoint15(c, q), tie);
  const V16 rest = hn::And(c, hn::BroadcastSignBit(q));
  return hn::SaturatedAdd(hn::SaturatedAdd(rounded, rest), rest);
}

template <Input kInput>
HWY_INLINE void Transform(const Rows& x, int16_t* dst, const uint16_t* table) {
  Rows columns;
  const Mirrored mirrored = Mirror(x);
  EvenRows<kInput>(mirrored, columns);
  OddRows<kInput>(mirrored, columns);
#pragma GCC unroll 8
  for (int i = 0; i < kVectors; ++i) {
    const V16 coefficients = RowPass<kInput>(JoinRows(columns.row + i * kRowsInVector), i);
    const int first = 8 * kRowsInVector * i;
    hn::StoreU(Quantize(coefficients, table + first), D16(), dst + first);
  }
}

void ForwardValues(const int16_t* src, int16_t* dst, const uint16_t* table) {
  Rows x;
  for (int i = 0; i < 8; ++i) x.row[i] = hn::LoadU(DRow(), src + 8 * i);
  Transform<Input::kValues>(x, dst, table);
}

void ForwardSamples8(const uint8_t* src, int32_t step, int16_t* dst, const uint16_t* table) {
  Rows x;
  for (int i = 0; i < 8; ++i) {
    x.row[i] = hn::PromoteTo(DRow(), hn::LoadU(hn::FixedTag<uint8_t, 8>(), Row(src, step, i)));
  }
  Transform<Input::kSamples>(x, dst, table);
}

// Reciprocals q of as many lines as a vector of words holds, as q 2^-34 for each part of each line: under the
// exponent of 2^-11 the lowest bit of a mantissa stands for 2^-34. The results of the two passes are in units
// of 2^-3 2^-16, and q in units of 2^-15: the products are whole steps.
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

// The level shift is exact in the sum of a line.
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
