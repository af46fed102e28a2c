// SPDX-License-Identifier: MIT
// The overlap operators (ITU-T T.832, 9.9.8). Included once per instruction set.
//
// A lapped transform works across the borders of blocks: before the forward transform of the
// blocks, the pre-filter makes values on the two sides of a border more alike, and after the
// inverse transform the post-filter takes that back, so that quantization leaves no edges there.
// Each filter is a chain of steps `x += f(others)` (lifting), with f rounded to an integer. The
// inverse is `x -= f(others)` in the reverse order, whatever f rounds to: both filters together
// are lossless.
//
//   Square       4x4 values around the corner of four blocks: 2x2 Hadamard operators on mirrored
//                values, a scaling of sums against differences, rotations of the differences
//   Line         the same in one dimension, on four values across a border of two blocks, where
//                these touch the border of the plane; also on the 2x2 values of a plane's corner
//   SmallSquare  2x2 values around a corner in the halved DC planes of chroma
//   Pair         two values across a border there, along the border of the plane
//
// A value is a register of 32-bit lanes, one for each square or line that is filtered at the same
// time, so an operator is arithmetic on registers without a shuffle. All sums wrap: files that
// are well formed stay far below 2^31, damaged ones may not. Shifts are arithmetic.

#if defined(ZEPJP_CODECS_JPEGXR_OVERLAP_OPERATORS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_CODECS_JPEGXR_OVERLAP_OPERATORS_INL_H_
#    undef ZEPJP_CODECS_JPEGXR_OVERLAP_OPERATORS_INL_H_
#  else
#    define ZEPJP_CODECS_JPEGXR_OVERLAP_OPERATORS_INL_H_
#  endif

#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepcodec::jpegxr::HWY_NAMESPACE {
namespace {

using namespace zepjp::HWY_NAMESPACE;  // simd/ops-inl.h

// A register with operators, so that the formulas below look like formulas.
template <class D>
struct Lanes {
  hn::VFromD<D> v;

  static HWY_INLINE Lanes Of(int32_t value) { return {hn::Set(D(), value)}; }
  friend HWY_INLINE Lanes operator+(Lanes a, Lanes b) { return {hn::Add(a.v, b.v)}; }
  friend HWY_INLINE Lanes operator-(Lanes a, Lanes b) { return {hn::Sub(a.v, b.v)}; }
  friend HWY_INLINE Lanes operator-(Lanes a) { return {hn::Neg(a.v)}; }
  friend HWY_INLINE Lanes operator+(Lanes a, int32_t b) { return a + Of(b); }
  HWY_INLINE Lanes& operator+=(Lanes b) { return *this = *this + b; }
  HWY_INLINE Lanes& operator-=(Lanes b) { return *this = *this - b; }
};

// x >> kBits, and 3 * x.
template <int kBits, class D>
HWY_INLINE Lanes<D> Shift(Lanes<D> x) {
  return {hn::ShiftRight<kBits>(x.v)};
}
template <class D>
HWY_INLINE Lanes<D> Thrice(Lanes<D> x) {
  return x + x + x;
}

// The 2x2 Hadamard operator, its own inverse.
template <class W>
HWY_INLINE void Hadamard(W& a, W& b, W& c, W& d) {
  a += d;
  b -= c;
  const W half = Shift<1>(a - b);
  const W new_c = half - d;
  d = half - c;
  c = new_c;
  a -= d;
  b += c;
}

// A rotation by an angle near pi/8: tan(pi/8) is 0.414, here 1/2.
template <class W>
HWY_INLINE void Rotate(W& a, W& b) {
  b -= Shift<1>(a + 1);
  a += Shift<1>(b + 1);
}
template <class W>
HWY_INLINE void RotateBack(W& a, W& b) {
  a -= Shift<1>(b + 1);
  b += Shift<1>(a + 1);
}

// The rotation in both directions, for the quarter of a square with the odd rows and columns.
template <class W>
HWY_INLINE void RotateTwice(W& a, W& b, W& c, W& d) {
  d += a;
  c -= b;
  const W half_d = Shift<1>(d);
  const W half_c = Shift<1>(c);
  a -= half_d;
  b += half_c;
  a += Shift<3>(Thrice(b) + 4);
  b -= Shift<2>(Thrice(a) + 2);
  a += Shift<3>(Thrice(b) + 6);
  b -= half_c;
  a += half_d;
  c += b;
  d -= a;
}
template <class W>
HWY_INLINE void RotateTwiceBack(W& a, W& b, W& c, W& d) {
  d += a;
  c -= b;
  const W half_d = Shift<1>(d);
  const W half_c = Shift<1>(c);
  a -= half_d;
  b += half_c;
  a -= Shift<3>(Thrice(b) + 6);
  b += Shift<2>(Thrice(a) + 2);
  a -= Shift<3>(Thrice(b) + 4);
  b -= half_c;
  a += half_d;
  c += b;
  d -= a;
}

// Multiplies a sum by a factor and divides a difference by the same one, so that the determinant
// is 1. The old filters lack the terms in 2^-7 and 2^-10.
template <class W>
HWY_INLINE void Scale(W& a, W& d) {
  d -= Shift<7>(a);
  d += Shift<10>(a);
  d -= Shift<4>(Thrice(a));
  a -= Shift<3>(Thrice(d));
  d = Shift<1>(a) - d;
  a -= d;
}
template <class W>
HWY_INLINE void OldScaleBack(W& a, W& d) {
  a += d;
  d = Shift<1>(a) - d;
  a += Shift<3>(Thrice(d));
  d += Shift<4>(Thrice(a));
}
template <class W>
HWY_INLINE void ScaleBack(W& a, W& d) {
  OldScaleBack(a, d);
  d += Shift<7>(a);
  d -= Shift<10>(a);
}

// The scaling of a line: it includes what HadamardScale does in two dimensions.
template <class W>
HWY_INLINE void ScaleLine(W& a, W& d) {
  d = -d;
  a -= d;
  d += Shift<1>(a);
  a -= Shift<3>(Thrice(d) + 4);
  Scale(a, d);
}
template <class W>
HWY_INLINE void ScaleLineBack(W& a, W& d) {
  ScaleBack(a, d);
  a += Shift<3>(Thrice(d) + 4);
  d -= Shift<1>(a);
  a += d;
  d = -d;
}
template <class W>
HWY_INLINE void OldScaleLineBack(W& a, W& d) {
  a += Shift<5>(Thrice(d) + 16);
  d += Shift<4>(Thrice(a) + 8);
  a += Shift<5>(Thrice(d) + 16);
}

// The Hadamard operator with a part of the scaling in it.
template <class W>
HWY_INLINE void HadamardScale(W& a, W& b, W& c, W& d) {
  a += d;
  b -= c;
  const W difference = Shift<1>(a - b) - d;
  d = c + Shift<1>(b);
  c = difference;
  b += difference;
  a -= Shift<3>(Thrice(d) + 4);
}
template <class W>
HWY_INLINE void HadamardScaleBack(W& a, W& b, W& c, W& d) {
  b -= c;
  a += Shift<3>(Thrice(d) + 4);
  const W sum = d - Shift<1>(b);
  const W difference = Shift<1>(a - b) - c;
  c = sum;
  d = difference;
  a -= difference;
  b += sum;
}

// The old scaling turns a part of the sum over four mirrored values, 595 / 2^17, into the
// difference between their diagonals. The encoder's filter counteracts that in high-pass
// coefficients; where these were quantized away, the decoder subtracts that part again, up to the
// difference that is present, unless the part reaches `limit`.
template <class D>
HWY_INLINE void TakeBackLeak(int32_t limit, Lanes<D>& a, Lanes<D>& b, Lanes<D>& c, Lanes<D>& d) {
  const auto zero = hn::Zero(D());
  const auto sum = Shift<1>(a + b + c + d).v;
  const auto leak =
      hn::ShiftRight<17>(hn::Add(hn::Mul(sum, hn::Set(D(), 595)), hn::Set(D(), 65536)));
  const auto present = Shift<1>(a - b - c + d).v;
  const auto both = hn::IfThenElse(hn::Gt(leak, zero), hn::Min(leak, hn::Max(present, zero)),
                                   hn::Max(leak, hn::Min(present, zero)));
  const auto is_small =
      hn::And(hn::Gt(leak, hn::Set(D(), -limit)), hn::Lt(leak, hn::Set(D(), limit)));
  const Lanes<D> half = {hn::IfThenElseZero(is_small, hn::ShiftRight<1>(both))};
  a -= half;
  b += half;
  c += half;
  d -= half;
}

// Calls f(a, b, c, d) for each four values of a square that mirror one another, a in its upper
// left quarter.
template <class W, class Function>
HWY_INLINE void ForMirrored(W (&x)[4][4], const Function& f) {
  f(x[0][0], x[0][3], x[3][0], x[3][3]);
  f(x[0][1], x[0][2], x[3][1], x[3][2]);
  f(x[1][0], x[1][3], x[2][0], x[2][3]);
  f(x[1][1], x[1][2], x[2][1], x[2][2]);
}

// Sums and differences of the values at equal distance from the middle of a line, or of the
// diagonals of a 2x2 square: a, b become sums, d, c half the differences.
template <class W>
HWY_INLINE void ToSums(W& a, W& b, W& c, W& d) {
  a += d;
  b += c;
  d -= Shift<1>(a + 1);
  c -= Shift<1>(b + 1);
}
template <class W>
HWY_INLINE void FromSums(W& a, W& b, W& c, W& d) {
  d += Shift<1>(a + 1);
  c += Shift<1>(b + 1);
  a -= d;
  b -= c;
}

// Before the forward transform.
struct PreFilter {
  static constexpr bool kHasCorners = true;

  template <class W>
  static HWY_INLINE void Square(W (&x)[4][4], int32_t) {
    ForMirrored(x, [](W& a, W& b, W& c, W& d) ZEP_ATTR { HadamardScale(a, b, c, d); });
    ForMirrored(x, [](W& a, W&, W&, W& d) ZEP_ATTR { Scale(a, d); });
    Rotate(x[3][1], x[3][0]);
    Rotate(x[2][1], x[2][0]);
    Rotate(x[1][3], x[0][3]);
    Rotate(x[1][2], x[0][2]);
    RotateTwice(x[2][2], x[2][3], x[3][2], x[3][3]);
    ForMirrored(x, [](W& a, W& b, W& c, W& d) ZEP_ATTR { Hadamard(a, b, c, d); });
  }
  template <class W>
  static HWY_INLINE void Line(W& a, W& b, W& c, W& d) {
    ToSums(a, b, c, d);
    Rotate(c, d);
    ScaleLine(a, d);
    ScaleLine(b, c);
    FromSums(a, b, c, d);
  }
  template <class W>
  static HWY_INLINE void Pair(W& a, W& b) {
    b -= Shift<2>(a + 2);
    a -= Shift<1>(b + 1);
    a -= Shift<5>(b);
    a -= Shift<9>(b);
    a -= Shift<13>(b);
    b -= Shift<2>(a + 2);
  }
  template <class W>
  static HWY_INLINE void SmallSquare(W& a, W& b, W& c, W& d) {
    ToSums(a, b, c, d);
    Pair(a, b);
    FromSums(a, b, c, d);
  }
};

// The reverse of the pre-filter on squares, with one of the scaling steps.
template <class W, class ScaleStep>
HWY_INLINE void SquareBack(W (&x)[4][4], const ScaleStep& scale_back) {
  ForMirrored(x, [](W& a, W& b, W& c, W& d) ZEP_ATTR { Hadamard(a, b, c, d); });
  RotateTwiceBack(x[2][2], x[2][3], x[3][2], x[3][3]);
  RotateBack(x[3][1], x[3][0]);
  RotateBack(x[2][1], x[2][0]);
  RotateBack(x[1][3], x[0][3]);
  RotateBack(x[1][2], x[0][2]);
  ForMirrored(x, scale_back);
  ForMirrored(x, [](W& a, W& b, W& c, W& d) ZEP_ATTR { HadamardScaleBack(a, b, c, d); });
}

// After the inverse transform.
struct PostFilter {
  static constexpr bool kHasCorners = true;

  template <class W>
  static HWY_INLINE void Square(W (&x)[4][4], int32_t) {
    SquareBack(x, [](W& a, W&, W&, W& d) ZEP_ATTR { ScaleBack(a, d); });
  }
  template <class W>
  static HWY_INLINE void Line(W& a, W& b, W& c, W& d) {
    ToSums(a, b, c, d);
    ScaleLineBack(a, d);
    ScaleLineBack(b, c);
    RotateBack(c, d);
    FromSums(a, b, c, d);
  }
  template <class W>
  static HWY_INLINE void Pair(W& a, W& b) {
    b += Shift<2>(a + 2);
    a += Shift<1>(b + 1);
    a += Shift<5>(b);
    a += Shift<9>(b);
    a += Shift<13>(b);
    b += Shift<2>(a + 2);
  }
  template <class W>
  static HWY_INLINE void SmallSquare(W& a, W& b, W& c, W& d) {
    ToSums(a, b, c, d);
    Pair(a, b);
    FromSums(a, b, c, d);
  }
};

// After the inverse transform in streams of sub-version 0. The scaling steps are shorter; a line
// scales by the square root of the present factor; the corners of the plane stay as they are.
struct OldPostFilter {
  static constexpr bool kHasCorners = false;

  template <class W>
  static HWY_INLINE void Square(W (&x)[4][4], int32_t leak_limit) {
    SquareBack(x, [](W& a, W&, W&, W& d) ZEP_ATTR { OldScaleBack(a, d); });
    ForMirrored(
        x, [leak_limit](W& a, W& b, W& c, W& d) ZEP_ATTR { TakeBackLeak(leak_limit, a, b, c, d); });
  }
  template <class W>
  static HWY_INLINE void Line(W& a, W& b, W& c, W& d) {
    ToSums(a, b, c, d);
    RotateBack(c, d);
    FromSums(a, b, c, d);
    OldScaleLineBack(a, d);
    OldScaleLineBack(b, c);
  }
  template <class W>
  static HWY_INLINE void Pair(W& a, W& b) {
    b += Shift<3>(a + 4);
    a += Shift<2>(b + 2);
    b += Shift<3>(a + 4);
  }
  template <class W>
  static HWY_INLINE void SmallSquare(W& a, W& b, W& c, W& d) {
    ToSums(a, b, c, d);
    b += Shift<2>(a + 2);
    a += Shift<1>(b + 1);
    b += Shift<2>(a + 2);
    FromSums(a, b, c, d);
  }
};

}  // namespace
}  // namespace zepcodec::jpegxr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
