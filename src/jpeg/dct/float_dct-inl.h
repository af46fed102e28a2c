// SPDX-License-Identifier: MIT
// The 8x8 DCT (ITU-T T.81, A.3.3) in single precision, for samples of 12 bits. Sums and products
// are rounded in a fixed order, so that every instruction set gives the same bits. Included once
// per instruction set.
//
// A pass transforms all columns at the same time by a flow graph of butterflies (x + y, x - y),
// three rotations and two products with cos(pi/4). The inverse pass is the transposed flow graph. A
// transform is a pass, a transposition, and another pass. One pass is 2 sqrt2 times the orthonormal
// transform, so two passes leave a factor of 8, which the callers remove with the final scale.
//
// Samples and their sums are exact; each product and each sum after it is rounded to 24 bits.

#if defined(ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_
#    undef ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_DCT_FLOAT_DCT_INL_H_
#  endif

#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using DWords = hn::FixedTag<int16_t, 8>;  // a row
using VWords = hn::VFromD<DWords>;
using DFloat = hn::CappedTag<float, 8>;  // a row, or half of it
using VFloat = hn::VFromD<DFloat>;

// Loops over parts are unrolled, because otherwise compilers keep the arrays of vectors in memory.
constexpr int kParts = static_cast<int>(8 / hn::MaxLanes(DFloat()));

// A block as columns side by side: rows 0 to 7 of each part of the columns.
struct FloatBlock {
  static constexpr int kPartCount = kParts;
  VFloat part[kParts][8];
};

// Interleaves the first half of the rows with the second half. Two calls transpose 4x4 floats in
// each 128-bit block.
template <int kRows, class V>
HWY_INLINE void Interleave(V (&rows)[kRows]) {
  const hn::DFromV<V> d;
  V in[kRows];
  for (int i = 0; i < kRows; ++i) in[i] = rows[i];
  for (int i = 0; i < kRows / 2; ++i) {
    rows[2 * i] = hn::InterleaveLower(d, in[i], in[i + kRows / 2]);
    rows[2 * i + 1] = hn::InterleaveUpper(d, in[i], in[i + kRows / 2]);
  }
}

// Both rows in one vector if it has room, else the first.
template <class D>
HWY_INLINE hn::VFromD<D> JoinLines(D d, VWords first, VWords second) {
  if constexpr (kParts == 1) {
    return hn::Combine(d, second, first);
  } else {
    (void)d, (void)second;
    return first;
  }
}

// The 4x4 quarter in rows 4i to 4i + 3 of one half of the columns. If a vector holds a whole row,
// the quarter in rows 0 to 3 and beside it the one in rows 4 to 7. (A template, so that only one of
// the two ways is compiled.)
template <class Block>
HWY_INLINE void GetQuarter(const Block& in, int half, int i, VFloat (&rows)[4]) {
  for (int y = 0; y < 4; ++y) {
    if constexpr (Block::kPartCount == 2) {
      rows[y] = in.part[half][4 * i + y];
    } else {
      const VFloat low = in.part[0][y];
      const VFloat high = in.part[0][4 + y];
      rows[y] = half == 0 ? hn::ConcatLowerLower(DFloat(), high, low)
                          : hn::ConcatUpperUpper(DFloat(), high, low);
    }
  }
}

HWY_INLINE FloatBlock Transposed(const FloatBlock& in) {
  FloatBlock out;
#  pragma GCC unroll 8
  for (int half = 0; half < 2; ++half) {
#  pragma GCC unroll 8
    for (int i = 0; i < kParts; ++i) {
      VFloat rows[4];
      GetQuarter(in, half, i, rows);
      Interleave(rows);
      Interleave(rows);
      for (int y = 0; y < 4; ++y) out.part[i][4 * half + y] = rows[y];
    }
  }
  return out;
}

// Words become floats in units of 2^-16: a word above 16 zero bits is its value times 2^16, which
// saves a sign extension.
constexpr int kWordShift = 16;

// Transposes rows of words and converts them to floats. A vector of words holds one row, or two
// rows that are four apart, so that each of its 128-bit blocks gives the same four lanes of a part.
HWY_INLINE FloatBlock TransposedFloats(const VWords (&rows)[8]) {
  const hn::Repartition<int16_t, DFloat> d;
  const hn::RebindToSigned<DFloat> d32;
  FloatBlock block;
#  pragma GCC unroll 8
  for (int i = 0; i < kParts; ++i) {
    hn::VFromD<decltype(d)> lines[4];
    for (int y = 0; y < 4; ++y) lines[y] = JoinLines(d, rows[4 * i + y], rows[(4 * i + y + 4) % 8]);
    Interleave(lines);
    Interleave(lines);
    const auto zero = hn::Zero(d);
    for (int k = 0; k < 4; ++k) {
      const auto even = hn::BitCast(d32, hn::InterleaveLower(d, zero, lines[k]));
      const auto odd = hn::BitCast(d32, hn::InterleaveUpper(d, zero, lines[k]));
      block.part[i][2 * k] = hn::ConvertTo(DFloat(), even);
      block.part[i][2 * k + 1] = hn::ConvertTo(DFloat(), odd);
    }
  }
  return block;
}

// v / 2^kShift + offset, rounded to the nearest integer, halves to even. In the sum of v and 1.5 *
// 2^(23 + kShift) the lowest bit of the mantissa is worth 2^kShift, so the addition rounds, and the
// bits of the sum minus those of the constant are the integer. |v| < 2^(22 + kShift).
template <int kShift>
HWY_INLINE auto NearestUnits(VFloat v, int32_t offset) {
  constexpr float kUnits = 1.5F * (1 << 23) * (1 << kShift);
  const auto units = hn::Set(DFloat(), kUnits);
  const hn::RebindToSigned<DFloat> d32;
  const auto zero = hn::Sub(hn::BitCast(d32, units), hn::Set(d32, offset));
  return hn::Sub(hn::BitCast(d32, hn::Add(v, units)), zero);
}

// Calls store(y, row) for each row of NearestUnits(), saturated to 16 bits.
template <int kShift, class Block, class Store>
HWY_INLINE void StoreWords(const Block& block, int32_t offset, const Store& store) {
  const auto units = [=](VFloat v) ZEP_ATTR { return NearestUnits<kShift>(v, offset); };
#  pragma GCC unroll 8
  for (int y = 0; y < 8; y += 3 - kParts) {
    if constexpr (kParts == 1) {
      const auto two =
          OrderHalves(PackBlocks(units(block.part[0][y]), units(block.part[0][y + 1])));
      store(y, hn::LowerHalf(DWords(), two));
      store(y + 1, hn::UpperHalf(DWords(), two));
    } else {
      store(y, PackBlocks(units(block.part[0][y]), units(block.part[1][y])));
    }
  }
}

// A rotation by k pi/16 combined with a reflection, which makes it its own inverse, times sqrt2.
// The factors are sqrt2 cos(k pi/16) and sqrt2 sin(k pi/16).
HWY_INLINE void Reflect(VFloat& x, VFloat& y, float cosine, float sine) {
  const VFloat c = hn::Set(DFloat(), cosine);
  const VFloat s = hn::Set(DFloat(), sine);
  const VFloat sum = hn::Add(hn::Mul(x, c), hn::Mul(y, s));
  y = hn::Sub(hn::Mul(x, s), hn::Mul(y, c));
  x = sum;
}
HWY_INLINE void Reflect1(VFloat& x, VFloat& y) { Reflect(x, y, 1.3870398F, 0.27589938F); }
HWY_INLINE void Reflect2(VFloat& x, VFloat& y) { Reflect(x, y, 1.306563F, 0.5411961F); }
HWY_INLINE void Reflect3(VFloat& x, VFloat& y) { Reflect(x, y, 1.1758756F, 0.78569496F); }

// x + y and x - y.
HWY_INLINE void Butterfly(VFloat& x, VFloat& y) {
  const VFloat sum = hn::Add(x, y);
  y = hn::Sub(x, y);
  x = sum;
}

HWY_INLINE VFloat TimesCos4(VFloat v) { return hn::Mul(v, hn::Set(DFloat(), 0.70710678F)); }

HWY_INLINE void ForwardPass(FloatBlock& block) {
#  pragma GCC unroll 8
  for (auto& v : block.part) {
    for (int i = 0; i < 4; ++i) Butterfly(v[i], v[7 - i]);
    Butterfly(v[0], v[3]);
    Butterfly(v[1], v[2]);
    Butterfly(v[0], v[1]);
    Reflect2(v[3], v[2]);
    Butterfly(v[6], v[5]);
    VFloat a = TimesCos4(v[6]);
    VFloat b = TimesCos4(v[5]);
    Butterfly(v[7], a);
    VFloat c = hn::Add(b, v[4]);
    VFloat e = hn::Sub(b, v[4]);
    Reflect1(v[7], c);
    Reflect3(a, e);
    const VFloat out[8] = {v[0], v[7], v[3], a, v[1], e, v[2], c};
    for (int i = 0; i < 8; ++i) v[i] = out[i];
  }
}

HWY_INLINE void InversePass(FloatBlock& block) {
#  pragma GCC unroll 8
  for (auto& v : block.part) {
    VFloat even[4] = {v[0], v[4], v[6], v[2]};
    Butterfly(even[0], even[1]);
    Reflect2(even[3], even[2]);
    Butterfly(even[0], even[3]);
    Butterfly(even[1], even[2]);
    Reflect1(v[1], v[7]);
    Reflect3(v[3], v[5]);
    Butterfly(v[1], v[3]);
    const VFloat sum = hn::Add(v[7], v[5]);
    const VFloat difference = hn::Sub(v[7], v[5]);
    VFloat p = TimesCos4(v[3]);
    VFloat m = TimesCos4(sum);
    Butterfly(p, m);
    VFloat odd[4] = {v[1], p, m, difference};
    for (int i = 0; i < 4; ++i) {
      Butterfly(even[i], odd[i]);
      v[i] = even[i];
      v[7 - i] = odd[i];
    }
  }
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
