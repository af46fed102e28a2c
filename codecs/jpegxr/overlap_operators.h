// SPDX-License-Identifier: MIT
// The overlap operators (ITU-T T.832, 9.9.8): lapped transforms as lifting steps before the forward
// transform and behind the inverse one. Each operator and its inverse stand side by side.
#ifndef ZEPJP_CODECS_JPEGXR_OVERLAP_OPERATORS_H_
#define ZEPJP_CODECS_JPEGXR_OVERLAP_OPERATORS_H_

#include <algorithm>
#include <cstdint>

#include "codecs/jpegxr/wrapping.h"

namespace zepcodec::jpegxr {

using W = Wrapping;

// The 2x2 Hadamard operator, its own inverse.
inline void Hadamard(W& a, W& b, W& c, W& d) {
  a += d;
  b -= c;
  const W half = (a - b) >> 1;
  const W new_c = half - d;
  d = half - c;
  c = new_c;
  a -= d;
  b += c;
}

// A rotation by an angle near pi/8.
inline void Rotate(W& a, W& b) {
  b -= (a + 1) >> 1;
  a += (b + 1) >> 1;
}
inline void RotateBack(W& a, W& b) {
  a -= (b + 1) >> 1;
  b += (a + 1) >> 1;
}

// The rotation in both directions, of the quarter with the odd rows and columns.
inline void RotateTwice(W& a, W& b, W& c, W& d) {
  d += a;
  c -= b;
  const W half_d = d >> 1;
  const W half_c = c >> 1;
  a -= half_d;
  b += half_c;
  a += (b * 3 + 4) >> 3;
  b -= (a * 3 + 2) >> 2;
  a += (b * 3 + 6) >> 3;
  b -= half_c;
  a += half_d;
  c += b;
  d -= a;
}
inline void RotateTwiceBack(W& a, W& b, W& c, W& d) {
  d += a;
  c -= b;
  const W half_d = d >> 1;
  const W half_c = c >> 1;
  a -= half_d;
  b += half_c;
  a -= (b * 3 + 6) >> 3;
  b += (a * 3 + 2) >> 2;
  a -= (b * 3 + 4) >> 3;
  b -= half_c;
  a += half_d;
  c += b;
  d -= a;
}

// Multiplies a sum and divides a difference by the same factor. The old filters lack the terms in 2^-7 and 2^-10.
inline void Scale(W& a, W& d) {
  d -= a >> 7;
  d += a >> 10;
  d -= (a * 3) >> 4;
  a -= (d * 3) >> 3;
  d = (a >> 1) - d;
  a -= d;
}
inline void OldScaleBack(W& a, W& d) {
  a += d;
  d = (a >> 1) - d;
  a += (d * 3) >> 3;
  d += (a * 3) >> 4;
}
inline void ScaleBack(W& a, W& d) {
  OldScaleBack(a, d);
  d += a >> 7;
  d -= a >> 10;
}

// The same with what two dimensions do in HadamardScale.
inline void ScaleEdge(W& a, W& d) {
  d = -d;
  a -= d;
  d += a >> 1;
  a -= (d * 3 + 4) >> 3;
  Scale(a, d);
}
inline void ScaleEdgeBack(W& a, W& d) {
  ScaleBack(a, d);
  a += (d * 3 + 4) >> 3;
  d -= a >> 1;
  a += d;
  d = -d;
}

inline void OldScaleEdgeBack(W& a, W& d) {
  a += (d * 3 + 16) >> 5;
  d += (a * 3 + 8) >> 4;
  a += (d * 3 + 16) >> 5;
}

inline void HadamardScale(W& a, W& b, W& c, W& d) {
  a += d;
  b -= c;
  const W difference = ((a - b) >> 1) - d;
  d = c + (b >> 1);
  c = difference;
  b += difference;
  a -= (d * 3 + 4) >> 3;
}
inline void HadamardScaleBack(W& a, W& b, W& c, W& d) {
  b -= c;
  a += (d * 3 + 4) >> 3;
  const W sum = d - (b >> 1);
  const W difference = ((a - b) >> 1) - c;
  c = sum;
  d = difference;
  a -= difference;
  b += sum;
}

// A 2x2 square: an operator on the sums over its diagonals.
template <void (*kPair)(W&, W&)>
inline void AroundPair(W& a, W& b, W& c, W& d) {
  a += d;
  b += c;
  d -= (a + 1) >> 1;
  c -= (b + 1) >> 1;
  kPair(a, b);
  d += (a + 1) >> 1;
  c += (b + 1) >> 1;
  a -= d;
  b -= c;
}

// Square: 4x4 values around the corner of four blocks. Line: four values across the border of two, along the border
// of the plane. A corner of the plane is a line, too, in a
// square of 2x2. Pair and SmallSquare: the same in the halved DC planes of chroma.
struct PreFilter {
  static constexpr bool kHasCorners = true;
  static void Square(W (&x)[4][4], int32_t leak_limit);
  static void Line(W& a, W& b, W& c, W& d) {
    a += d;
    b += c;
    d -= (a + 1) >> 1;
    c -= (b + 1) >> 1;
    Rotate(c, d);
    ScaleEdge(a, d);
    ScaleEdge(b, c);
    d += (a + 1) >> 1;
    c += (b + 1) >> 1;
    a -= d;
    b -= c;
  }
  static void Pair(W& a, W& b) {
    b -= (a + 2) >> 2;
    a -= (b + 1) >> 1;
    a -= b >> 5;
    a -= b >> 9;
    a -= b >> 13;
    b -= (a + 2) >> 2;
  }
  static void SmallSquare(W& a, W& b, W& c, W& d) { AroundPair<Pair>(a, b, c, d); }
};

struct PostFilter {
  static constexpr bool kHasCorners = true;
  static void Square(W (&x)[4][4], int32_t leak_limit);
  static void Line(W& a, W& b, W& c, W& d) {
    a += d;
    b += c;
    d -= (a + 1) >> 1;
    c -= (b + 1) >> 1;
    ScaleEdgeBack(a, d);
    ScaleEdgeBack(b, c);
    RotateBack(c, d);
    d += (a + 1) >> 1;
    c += (b + 1) >> 1;
    a -= d;
    b -= c;
  }
  static void Pair(W& a, W& b) {
    b += (a + 2) >> 2;
    a += (b + 1) >> 1;
    a += b >> 5;
    a += b >> 9;
    a += b >> 13;
    b += (a + 2) >> 2;
  }
  static void SmallSquare(W& a, W& b, W& c, W& d) { AroundPair<Pair>(a, b, c, d); }
};

// The old scaling makes a flat area lean: of the sum over four mirrored values, 595 / 2^17 goes into the difference
// between their diagonals. The filter of the encoder counteracts that in high-pass coefficients; where these were
// quantized away, the decoder takes back what has leaked, but no more than what is there.
inline void TakeBackLeak(int32_t limit, W& a, W& b, W& c, W& d) {
  const int32_t leak = ((((a + b + c + d) >> 1) * 595 + 65536) >> 17).value;
  const int32_t present = ((a - b - c + d) >> 1).value;
  const int32_t both =
      leak > 0 ? std::min(leak, std::max(present, 0)) : std::max(leak, std::min(present, 0));
  const W half = -limit < leak && leak < limit ? both >> 1 : 0;
  a -= half;
  b += half;
  c += half;
  d -= half;
}

// Streams of sub-version 0 have older filters. Their scaling steps are shorter; along the border a line scales by the
// square root of what it does now; the corners of the plane stay as they are.
struct OldPostFilter {
  static constexpr bool kHasCorners = false;
  static void Square(W (&x)[4][4], int32_t leak_limit);
  static void Line(W& a, W& b, W& c, W& d) {
    a += d;
    b += c;
    d -= (a + 1) >> 1;
    c -= (b + 1) >> 1;
    RotateBack(c, d);
    d += (a + 1) >> 1;
    c += (b + 1) >> 1;
    a -= d;
    b -= c;
    OldScaleEdgeBack(a, d);
    OldScaleEdgeBack(b, c);
  }
  static void Pair(W& a, W& b) {
    b += (a + 4) >> 3;
    a += (b + 2) >> 2;
    b += (a + 4) >> 3;
  }
  static void SmallSquare(W& a, W& b, W& c, W& d) { AroundPair<WidePair>(a, b, c, d); }

 private:
  static void WidePair(W& a, W& b) {
    b += (a + 2) >> 2;
    a += (b + 1) >> 1;
    b += (a + 2) >> 2;
  }
};

inline void PreFilter::Square(W (&x)[4][4], int32_t) {
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) HadamardScale(x[r][c], x[r][3 - c], x[3 - r][c], x[3 - r][3 - c]);
  }
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) Scale(x[r][c], x[3 - r][3 - c]);
  }
  Rotate(x[3][1], x[3][0]);
  Rotate(x[2][1], x[2][0]);
  Rotate(x[1][3], x[0][3]);
  Rotate(x[1][2], x[0][2]);
  RotateTwice(x[2][2], x[2][3], x[3][2], x[3][3]);
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) Hadamard(x[r][c], x[r][3 - c], x[3 - r][c], x[3 - r][3 - c]);
  }
}

// The operator around a corner with one of the scaling steps.
template <void (*kScaleBack)(W&, W&)>
inline void SquareBack(W (&x)[4][4]) {
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) Hadamard(x[r][c], x[r][3 - c], x[3 - r][c], x[3 - r][3 - c]);
  }
  RotateTwiceBack(x[2][2], x[2][3], x[3][2], x[3][3]);
  RotateBack(x[3][1], x[3][0]);
  RotateBack(x[2][1], x[2][0]);
  RotateBack(x[1][3], x[0][3]);
  RotateBack(x[1][2], x[0][2]);
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) kScaleBack(x[r][c], x[3 - r][3 - c]);
  }
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) {
      HadamardScaleBack(x[r][c], x[r][3 - c], x[3 - r][c], x[3 - r][3 - c]);
    }
  }
}

inline void PostFilter::Square(W (&x)[4][4], int32_t) { SquareBack<ScaleBack>(x); }

inline void OldPostFilter::Square(W (&x)[4][4], int32_t leak_limit) {
  SquareBack<OldScaleBack>(x);
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) {
      TakeBackLeak(leak_limit, x[r][c], x[r][3 - c], x[3 - r][c], x[3 - r][3 - c]);
    }
  }
}

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_OVERLAP_OPERATORS_H_
