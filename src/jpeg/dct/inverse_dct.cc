// SPDX-License-Identifier: MIT
// Inverse DCT with dequantization (ITU-T T.81, A.3.3 and A.3.4).
//
//   f(x,y) = 1/4 sum C(u) C(v) F(u,v) cos((2x+1) u pi / 16) cos((2y+1) v pi / 16)
//   F = coefficient * step, its low 16 bits
//
// Samples of 8 bits: the row pass, in 32-bit dot products, keeps 6 fractional bits of a sample and
// applies the scale that the column pass needs (block-inl.h). The column pass works in 16-bit lanes
// in tangent form with rounding fixed-point products. Its sums saturate at about 512, where a
// sample is out of range whatever terms follow. Coefficients of 0 contribute exactly 0, so the
// transforms of corners give the same samples as the full one.
//
// Samples of 12 bits: the flow graph of float_dct-inl.h in single precision.
#include <algorithm>

#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg/dct/inverse_dct.cc"
#include "hwy/foreach_target.h"
#include "jpeg/dct/block-inl.h"
#include "jpeg/dct/float_dct-inl.h"

#ifndef ZEPJP_INVERSE_DCT_KERNELS
#  define ZEPJP_INVERSE_DCT_KERNELS
namespace zepjp {
namespace {

using ToSamples8 = void (*)(const int16_t* src, uint8_t* dst, int32_t step, const uint16_t* table);

struct Kernels {
  void (*values)(const int16_t* src, int16_t* dst, const uint16_t* table);
  ToSamples8 samples8, from_2x2, from_4x4, to_4x4, to_2x2;
  void (*samples12)(const int16_t* src, uint16_t* dst, int32_t step, const uint16_t* table);
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

constexpr int kRowShift = 11, kColumnShift = 6;
constexpr int kHalf = 1 << (kColumnShift - 1);

// The row pass adds the rounding of the column pass and the level shift to the first row, which
// goes into all results of the column pass. Rounding ties up, which is one value in 64, would leave
// a bias; so a little less is added. The difference is smaller than the rounding of the row pass
// itself, so that exact values stay exact.
constexpr int32_t kTies = 860;
constexpr int32_t kNoShift = (kHalf << kRowShift) - kTies;
constexpr int32_t kLevelShift = (((128 << kColumnShift) + kHalf) << kRowShift) - kTies;

// Added to the sums of row pass `vector`.
template <int32_t kFirstRow>
HWY_INLINE V32 RowRounding(int vector) {
  constexpr int32_t kOther = 1 << (kRowShift - 1), kFirst = kOther + kFirstRow;
  alignas(32) static constexpr int32_t kSums[8] = {kFirst, kFirst, kFirst, kFirst,
                                                   kOther, kOther, kOther, kOther};
  return vector == 0 ? hn::Load(D32(), kSums) : hn::Set(D32(), kOther);
}

// Transforms rows of coefficients. Only the first kCorner of each row may be nonzero.
template <int kCorner>
HWY_INLINE V16 RowPass(V16 rows, int vector, V32 rounding) {
  static constexpr LaneOrder k02 = MakeLaneOrder(0, 2, 0, 2, 0, 2, 0, 2);
  static constexpr LaneOrder k46 = MakeLaneOrder(4, 6, 4, 6, 4, 6, 4, 6);
  static constexpr LaneOrder k13 = MakeLaneOrder(1, 3, 1, 3, 1, 3, 1, 3);
  static constexpr LaneOrder k57 = MakeLaneOrder(5, 7, 5, 7, 5, 7, 5, 7);
  static constexpr LaneOrder kMirror = MakeLaneOrder(0, 1, 2, 3, 7, 6, 5, 4);
  const auto dot = [&](V32 sum, const LaneOrder& order, int which) ZEP_ATTR {
    return DotAcc(sum, Reorder(rows, order), Factors(kInverseTable, which, vector));
  };
  V32 even = dot(rounding, k02, 0);
  V32 odd = dot(hn::Zero(D32()), k13, 2);
  if constexpr (kCorner > 4) {
    even = dot(even, k46, 1);
    odd = dot(odd, k57, 3);
  }
  return Reorder(PackBlocks(hn::ShiftRight<kRowShift>(hn::Add(even, odd)),
                            hn::ShiftRight<kRowShift>(hn::Sub(even, odd))),
                 kMirror);
}

// tan(pi / 16), tan(2 pi / 16), tan(3 pi / 16) and cos(pi / 4) in units of 2^-15.
constexpr int16_t kTan1 = 6518, kTan2 = 13573, kTan3 = 21895, kCos4 = 23170;

HWY_INLINE VRow Times(VRow v, int16_t factor) {
  return hn::MulFixedPoint15(v, hn::Set(DRow(), factor));
}

struct Quarter {
  VRow row[4];
};

// The contribution of the even rows to rows 0 to 3 of the result, and mirrored to rows 7 to 4.
template <int kCorner>
HWY_INLINE Quarter EvenPart(const Rows& x) {
  if constexpr (kCorner == 2) return {{x.row[0], x.row[0], x.row[0], x.row[0]}};
  VRow p04 = x.row[0], m04 = x.row[0];
  VRow p26 = x.row[2], m26 = Times(x.row[2], kTan2);
  if constexpr (kCorner > 4) {
    p04 = hn::SaturatedAdd(x.row[0], x.row[4]);
    m04 = hn::SaturatedSub(x.row[0], x.row[4]);
    p26 = hn::SaturatedAdd(p26, Times(x.row[6], kTan2));
    m26 = hn::SaturatedSub(m26, x.row[6]);
  }
  return {{hn::SaturatedAdd(p04, p26), hn::SaturatedAdd(m04, m26), hn::SaturatedSub(m04, m26),
           hn::SaturatedSub(p04, p26)}};
}

template <int kCorner>
HWY_INLINE Quarter OddPart(const Rows& x) {
  VRow p17 = x.row[1], m17 = Times(x.row[1], kTan1);
  VRow p35 = hn::Zero(DRow()), m35 = hn::Zero(DRow());
  if constexpr (kCorner > 2) {
    p35 = x.row[3];
    m35 = Times(x.row[3], kTan3);
  }
  if constexpr (kCorner > 4) {
    p17 = hn::SaturatedAdd(p17, Times(x.row[7], kTan1));
    m17 = hn::SaturatedSub(m17, x.row[7]);
    p35 = hn::SaturatedAdd(p35, Times(x.row[5], kTan3));
    m35 = hn::SaturatedSub(m35, x.row[5]);
  }
  const VRow a = hn::SaturatedSub(p17, p35);
  const VRow b = hn::SaturatedAdd(m17, m35);
  return {{hn::SaturatedAdd(p17, p35), Times(hn::SaturatedAdd(a, b), kCos4),
           Times(hn::SaturatedSub(a, b), kCos4), hn::SaturatedSub(m17, m35)}};
}

template <int kCorner>
HWY_INLINE Rows ColumnPass(const Rows& x) {
  const Quarter even = EvenPart<kCorner>(x);
  const Quarter odd = OddPart<kCorner>(x);
  Rows out;
  for (int i = 0; i < 4; ++i) {
    out.row[i] = hn::ShiftRight<kColumnShift>(hn::SaturatedAdd(even.row[i], odd.row[i]));
    out.row[7 - i] = hn::ShiftRight<kColumnShift>(hn::SaturatedSub(even.row[i], odd.row[i]));
  }
  return out;
}

// The row pass of a corner reads the frequencies 0 to 3. For a corner of 2x2 the last two become 0.
template <int kCorner>
HWY_INLINE V16 Corner(V16 rows) {
  if constexpr (kCorner != 2) return rows;
  const hn::Repartition<uint64_t, D16> d64;
  return hn::And(rows, hn::BitCast(D16(), hn::Set(d64, 0xFFFFFFFFU)));
}

// Dequantization and both passes; kFirstRow as in RowRounding.
template <int kCorner, int32_t kFirstRow>
HWY_INLINE Rows Transform(const int16_t* src, const uint16_t* table) {
  constexpr int kUsed = (kCorner + kRowsInVector - 1) / kRowsInVector;  // vectors
  Rows x;
  for (int i = 0; i < kUsed; ++i) {
    const int first = 8 * kRowsInVector * i;
    const V16 coefficients =
        hn::Mul(hn::LoadU(D16(), src + first),
                hn::LoadU(D16(), reinterpret_cast<const int16_t*>(table) + first));
    SplitRows(RowPass<kCorner>(Corner<kCorner>(coefficients), i, RowRounding<kFirstRow>(i)),
              x.row + i * kRowsInVector);
  }
  return ColumnPass<kCorner>(x);
}

template <int kCorner>
void InverseSamples8(const int16_t* src, uint8_t* dst, int32_t step, const uint16_t* table) {
  const Rows samples = Transform<kCorner, kLevelShift>(src, table);
  const hn::FixedTag<uint8_t, 8> d8;
  for (int i = 0; i < 8; i += 2) {
    const auto two_rows = PackBlocks(samples.row[i], samples.row[i + 1]);
    hn::StoreU(hn::LowerHalf(d8, two_rows), d8, Row(dst, step, i));
    hn::StoreU(hn::UpperHalf(d8, two_rows), d8, Row(dst, step, i + 1));
  }
}

void InverseValues(const int16_t* src, int16_t* dst, const uint16_t* table) {
  StoreRows(Transform<8, kNoShift>(src, table), dst);
}

void InverseSamples12(const int16_t* src, uint16_t* dst, int32_t step, const uint16_t* table) {
  VWords rows[8];
  for (int y = 0; y < 8; ++y) {
    rows[y] = hn::Mul(hn::LoadU(DWords(), src + 8 * y),
                      hn::LoadU(DWords(), reinterpret_cast<const int16_t*>(table) + 8 * y));
  }
  FloatBlock block = TransposedFloats(rows);
  InversePass(block);
  block = Transposed(block);
  InversePass(block);
  StoreWords<3 + kWordShift>(block, 2048, [=](int y, VWords row) ZEP_ATTR {
    const VWords samples = hn::Min(hn::Max(row, hn::Zero(DWords())), hn::Set(DWords(), 4095));
    hn::StoreU(samples, DWords(), reinterpret_cast<int16_t*>(Row(dst, step, y)));
  });
}

// The factors of the 4-point transform, 1/2 C(u) cos((2x + 1) u pi / 8) in units of 2^-15, for the
// samples 0 to 3: by the frequencies (0, 1), then (2, 3).
constexpr int kSmallShift = 15, kSmallFraction = 5;
constexpr int16_t kE = 11585, kC = 15137, kS = 6270;  // C(0) / 2, cos(pi/8) / 2, sin(pi/8) / 2
alignas(16) constexpr int16_t kSmall01[8] = {kE, kC, kE, kS, kE, -kS, kE, -kC};
alignas(16) constexpr int16_t kSmall23[8] = {kE, kS, -kE, -kC, -kE, kC, kE, -kS};

using D4 = hn::FixedTag<int32_t, 4>;
using V4 = hn::VFromD<D4>;

template <int kShift>
HWY_INLINE V4 SmallDot(VRow low, VRow high, VRow low_factors, VRow high_factors, int32_t offset) {
  const V4 sum = DotAcc(hn::Set(D4(), offset + (1 << (kShift - 1))), low, low_factors);
  return hn::ShiftRight<kShift>(DotAcc(sum, high, high_factors));
}

// The row pass of the first four coefficients of row `y`.
HWY_INLINE V4 SmallRow(const int16_t* src, const uint16_t* table, int y) {
  const hn::FixedTag<int16_t, 4> d;
  const auto row = hn::Mul(hn::LoadU(d, src + 8 * y),
                           hn::LoadU(d, reinterpret_cast<const int16_t*>(table) + 8 * y));
  const V4 pairs = hn::BitCast(D4(), hn::Combine(DRow(), row, row));
  return SmallDot<kSmallShift - kSmallFraction>(
      hn::BitCast(DRow(), hn::Broadcast<0>(pairs)), hn::BitCast(DRow(), hn::Broadcast<1>(pairs)),
      hn::Load(DRow(), kSmall01), hn::Load(DRow(), kSmall23), 0);
}

void InverseTo4x4(const int16_t* src, uint8_t* dst, int32_t step, const uint16_t* table) {
  const VRow rows01 = PackBlocks(SmallRow(src, table, 0), SmallRow(src, table, 1));
  const VRow rows23 = PackBlocks(SmallRow(src, table, 2), SmallRow(src, table, 3));
  static constexpr LaneOrder kPairs = MakeLaneOrder(0, 4, 1, 5, 2, 6, 3, 7);
  const auto column_pairs = [](VRow rows) ZEP_ATTR {
    const hn::FixedTag<uint8_t, 16> d8;
    return hn::BitCast(DRow(),
                       hn::TableLookupBytes(hn::BitCast(d8, rows), hn::Load(d8, kPairs.bytes)));
  };
  const VRow low = column_pairs(rows01);
  const VRow high = column_pairs(rows23);
  const V4 factors01 = hn::BitCast(D4(), hn::Load(DRow(), kSmall01));
  const V4 factors23 = hn::BitCast(D4(), hn::Load(DRow(), kSmall23));
  const auto row = [&](V4 f01, V4 f23) ZEP_ATTR {
    constexpr int kShift = kSmallShift + kSmallFraction;
    return SmallDot<kShift>(low, high, hn::BitCast(DRow(), f01), hn::BitCast(DRow(), f23),
                            128 << kShift);
  };
  const VRow top = PackBlocks(row(hn::Broadcast<0>(factors01), hn::Broadcast<0>(factors23)),
                              row(hn::Broadcast<1>(factors01), hn::Broadcast<1>(factors23)));
  const VRow bottom = PackBlocks(row(hn::Broadcast<2>(factors01), hn::Broadcast<2>(factors23)),
                                 row(hn::Broadcast<3>(factors01), hn::Broadcast<3>(factors23)));
  HWY_ALIGN uint8_t samples[16];
  hn::Store(PackBlocks(top, bottom), hn::FixedTag<uint8_t, 16>(), samples);
  for (int y = 0; y < 4; ++y) CopyBytes(samples + 4 * y, Row(dst, step, y), 4);
}

// The 2-point transform: (F00 +- F01 +- F10 +- F11) / 8.
void InverseTo2x2(const int16_t* src, uint8_t* dst, int32_t step, const uint16_t* table) {
  alignas(16) static constexpr int16_t kTop[8] = {1, 1, 1, -1, 1, 1, 1, -1};
  alignas(16) static constexpr int16_t kBottom[8] = {1, 1, 1, -1, -1, -1, -1, 1};
  const hn::FixedTag<int16_t, 2> d;
  const auto pair = [&](int row) ZEP_ATTR {
    const auto values = hn::Mul(hn::LoadU(d, src + 8 * row),
                                hn::LoadU(d, reinterpret_cast<const int16_t*>(table) + 8 * row));
    return hn::BitCast(DRow(),
                       hn::Set(D4(), hn::GetLane(hn::BitCast(hn::FixedTag<int32_t, 1>(), values))));
  };
  const V4 offset = hn::Set(D4(), 8 * 128 + 4);
  const V4 sum =
      DotAcc(DotAcc(offset, pair(0), hn::Load(DRow(), kTop)), pair(1), hn::Load(DRow(), kBottom));
  const V4 samples = hn::ShiftRight<3>(sum);
  const VRow words = PackBlocks(samples, samples);
  const auto bytes = hn::BitCast(hn::FixedTag<uint32_t, 4>(), PackBlocks(words, words));
  const uint32_t four = hn::GetLane(bytes);
  CopyBytes(&four, dst, 2);
  CopyBytes(reinterpret_cast<const uint8_t*>(&four) + 2, Row(dst, step, 1), 2);
}

constexpr Kernels kKernels = {
    .values = InverseValues,
    .samples8 = InverseSamples8<8>,
    .from_2x2 = InverseSamples8<2>,
    .from_4x4 = InverseSamples8<4>,
    .to_4x4 = InverseTo4x4,
    .to_2x2 = InverseTo2x2,
    .samples12 = InverseSamples12,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

// Entries of a block or table of any alignment.
template <class T>
int32_t Entry(const T* values, int index) {
  T value;
  __builtin_memcpy(&value, reinterpret_cast<const uint8_t*>(values) + 2 * index, sizeof(value));
  return value;
}

// All samples are the low 16 bits, as a signed value, of (coefficient * step >> 3) + 128,
// saturated.
void FromDc(const int16_t* src, uint8_t* dst, int32_t step, const uint16_t* table) {
  const int32_t product = Entry(src, 0) * Entry(table, 0);
  const auto value = static_cast<int16_t>(static_cast<uint16_t>((product >> 3) + 128));
  const uint64_t sample = static_cast<uint64_t>(std::clamp<int32_t>(value, 0, 255));
  const uint64_t samples = sample * 0x0101010101010101U;
  for (int y = 0; y < 8; ++y) __builtin_memcpy(Row(dst, step, y), &samples, 8);
}

zepStatus ToSamples(ToSamples8 kernel, const int16_t* src, uint8_t* dst, int32_t step,
                    const uint16_t* table) {
  if (auto bad = Checks().Ptr(src).Ptr(dst).Step(step).Ptr(table).Failed()) return bad;
  kernel(src, dst, step, table);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* pSrc, int16_t* pDst,
                                                  const uint16_t* pQuantInvTable) {
  if (auto bad = Checks().Ptr(pSrc).Ptr(pDst).Ptr(pQuantInvTable).Failed()) return bad;
  kernels.values(pSrc, pDst, pQuantInvTable);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8_JPEG_16s_C1I(int16_t* pSrcDst,
                                                   const uint16_t* pQuantInvTable) {
  if (auto bad = Checks().Ptr(pSrcDst).Ptr(pQuantInvTable).Failed()) return bad;
  kernels.values(pSrcDst, pSrcDst, pQuantInvTable);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                       int32_t dstStep,
                                                       const uint16_t* pQuantInvTable) {
  return ToSamples(kernels.samples8, pSrc, pDst, dstStep, pQuantInvTable);
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* pSrc, uint16_t* pDst,
                                                        int32_t dstStep,
                                                        const uint16_t* pQuantInvTable) {
  if (auto bad = Checks().Ptr(pSrc).Ptr(pDst).Step(dstStep).Ptr(pQuantInvTable).Failed()) {
    return bad;
  }
  kernels.samples12(pSrc, pDst, dstStep, pQuantInvTable);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                           int32_t dstStep,
                                                           const uint16_t* pQuantInvTable) {
  return ToSamples(FromDc, pSrc, pDst, dstStep, pQuantInvTable);
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                           int32_t dstStep,
                                                           const uint16_t* pQuantInvTable) {
  return ToSamples(kernels.from_2x2, pSrc, pDst, dstStep, pQuantInvTable);
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                           int32_t dstStep,
                                                           const uint16_t* pQuantInvTable) {
  return ToSamples(kernels.from_4x4, pSrc, pDst, dstStep, pQuantInvTable);
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                            int32_t dstStep,
                                                            const uint16_t* pQuantInvTable) {
  return ToSamples(kernels.to_4x4, pSrc, pDst, dstStep, pQuantInvTable);
}

zepStatus ZEP_CALL zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* pSrc, uint8_t* pDst,
                                                            int32_t dstStep,
                                                            const uint16_t* pQuantInvTable) {
  return ToSamples(kernels.to_2x2, pSrc, pDst, dstStep, pQuantInvTable);
}
#endif  // HWY_ONCE
