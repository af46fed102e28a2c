// SPDX-License-Identifier: MIT
// The parts that the forward and the inverse fixed-point DCT share: 8x8 blocks of 16-bit values in
// registers, and the tables of their row passes. Included once per instruction set.
//
// Both transforms have a column pass in 16-bit lanes and a row pass in 32-bit dot products. The
// column pass is in tangent form: a rotation (x cos a + y sin a) becomes (x + y tan a), which needs
// one product less, and the factor cos a is left over. So the column pass lacks a scale that
// depends on the row of the coefficients: sqrt2 cos(pi/16) in rows 1 and 7, sqrt2 cos(2 pi/16) in
// rows 2 and 6, sqrt2 cos(3 pi/16) in rows 3 and 5, and 1 in rows 0 and 4. The factors of the row
// pass include that scale, with a table for each of the four groups of rows.

#ifndef ZEPJP_SRC_JPEG_DCT_BLOCK_CONSTANTS
#define ZEPJP_SRC_JPEG_DCT_BLOCK_CONSTANTS
#include <cstdint>

namespace zepjp {
namespace {

// round(2^14 s sqrt2 cos(k pi / 16)) for k = 1..7, and 2^14 s for k = 0, with the scale s of a
// group of rows: 1 (rows 0 and 4), sqrt2 cos(pi/16), sqrt2 cos(2 pi/16), sqrt2 cos(3 pi/16).
constexpr int16_t kCosines[4][8] = {
    {16384, 22725, 21407, 19266, 16384, 12873, 8867, 4520},
    {22725, 31521, 29692, 26722, 22725, 17855, 12299, 6270},
    {21407, 29692, 27969, 25172, 21407, 16819, 11585, 5906},
    {19266, 26722, 25172, 22654, 19266, 15137, 10426, 5315},
};
constexpr int kGroupOfRow[8] = {0, 1, 2, 3, 0, 3, 2, 1};

// sqrt2 C(u) cos((2 x + 1) u pi / 16), scaled for a row: the weight of frequency u in sample x.
constexpr int16_t Weight(int row, int x, int u) {
  const int angle = (2 * x + 1) * u % 32;  // in units of pi / 16
  const int folded = angle <= 16 ? angle : 32 - angle;
  const int16_t* cosines = kCosines[kGroupOfRow[row]];
  if (folded == 8) return 0;
  return folded < 8 ? cosines[folded] : static_cast<int16_t>(-cosines[16 - folded]);
}

// For each row, the factors of four dot products of pairs.
struct RowTable {
  alignas(64) int16_t factors[4][8][8];
};

// Even frequencies come from sums of mirrored samples, odd ones from their differences. Products 0
// and 1 give the frequencies 0 to 3, products 2 and 3 the frequencies 4 to 7; the first of each two
// has the factors of samples 0 and 1, the second those of samples 2 and 3.
constexpr RowTable MakeForwardTable() {
  RowTable table = {};
  for (int which = 0; which < 4; ++which) {
    for (int row = 0; row < 8; ++row) {
      for (int i = 0; i < 8; ++i) {
        table.factors[which][row][i] = Weight(row, which % 2 * 2 + i % 2, which / 2 * 4 + i / 2);
      }
    }
  }
  return table;
}

// Products 0 and 1, of the frequencies (0, 2) and (4, 6), give the even parts of the samples 0 to
// 3; products 2 and 3, of the frequencies (1, 3) and (5, 7), the odd parts.
constexpr RowTable MakeInverseTable() {
  RowTable table = {};
  for (int row = 0; row < 8; ++row) {
    for (int x = 0; x < 4; ++x) {
      for (int pair = 0; pair < 2; ++pair) {
        table.factors[0][row][2 * x + pair] = Weight(row, x, 2 * pair);
        table.factors[1][row][2 * x + pair] = Weight(row, x, 4 + 2 * pair);
        table.factors[2][row][2 * x + pair] = Weight(row, x, 1 + 2 * pair);
        table.factors[3][row][2 * x + pair] = Weight(row, x, 5 + 2 * pair);
      }
    }
  }
  return table;
}

constexpr RowTable kForwardTable = MakeForwardTable();
constexpr RowTable kInverseTable = MakeInverseTable();

}  // namespace
}  // namespace zepjp
#endif

#if defined(ZEPJP_SRC_JPEG_DCT_BLOCK_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEPJP_SRC_JPEG_DCT_BLOCK_INL_H_
#  undef ZEPJP_SRC_JPEG_DCT_BLOCK_INL_H_
#else
#  define ZEPJP_SRC_JPEG_DCT_BLOCK_INL_H_
#endif

#include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using DRow = hn::FixedTag<int16_t, 8>;  // one row
using VRow = hn::VFromD<DRow>;
using D16 = hn::CappedTag<int16_t, 16>;  // one row, or two (four were slower)
using D32 = hn::RepartitionToWide<D16>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;

constexpr int kRowsInVector = static_cast<int>(hn::MaxLanes(D16()) / 8);
constexpr int kVectors = 8 / kRowsInVector;

struct Rows {
  VRow row[8];
};

// The rows of a block in memory. Compilers turn a loop over the rows into a copy in the widest
// registers. Loads of single rows then wait for the stores of that copy.
HWY_INLINE Rows LoadRows(const int16_t* from) {
  const auto row = [=](int y) ZEP_ATTR { return hn::LoadU(DRow(), from + 8 * y); };
  return {{row(0), row(1), row(2), row(3), row(4), row(5), row(6), row(7)}};
}
HWY_INLINE void StoreRows(const Rows& rows, int16_t* to) {
  const auto row = [&](int y) ZEP_ATTR { hn::StoreU(rows.row[y], DRow(), to + 8 * y); };
  row(0), row(1), row(2), row(3), row(4), row(5), row(6), row(7);
}

// Joins successive rows in one register.
HWY_INLINE V16 JoinRows(const VRow* rows) {
#if HWY_TARGET <= HWY_AVX2 && HWY_ARCH_X86
  return hn::Combine(D16(), rows[1], rows[0]);
#else
  return rows[0];
#endif
}

HWY_INLINE void SplitRows(V16 joined, VRow* rows) {
#if HWY_TARGET <= HWY_AVX2 && HWY_ARCH_X86
  rows[0] = hn::LowerHalf(DRow(), joined);
  rows[1] = hn::UpperHalf(DRow(), joined);
#else
  rows[0] = joined;
#endif
}

// The factors of product `which` for the rows of vector `vector`.
HWY_INLINE V16 Factors(const RowTable& table, int which, int vector) {
  return hn::Load(D16(), &table.factors[which][vector * kRowsInVector][0]);
}

// A permutation of the eight lanes of each row.
struct LaneOrder {
  alignas(16) uint8_t bytes[16];
};
constexpr LaneOrder MakeLaneOrder(int a, int b, int c, int d, int e, int f, int g, int h) {
  const int lanes[8] = {a, b, c, d, e, f, g, h};
  LaneOrder order = {};
  for (int i = 0; i < 8; ++i) {
    order.bytes[2 * i] = static_cast<uint8_t>(2 * lanes[i]);
    order.bytes[2 * i + 1] = static_cast<uint8_t>(2 * lanes[i] + 1);
  }
  return order;
}
HWY_INLINE V16 Reorder(V16 rows, const LaneOrder& order) {
  const hn::Repartition<uint8_t, D16> d8;
  return hn::BitCast(D16(),
                     hn::TableLookupBytes(hn::BitCast(d8, rows), hn::LoadDup128(d8, order.bytes)));
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
