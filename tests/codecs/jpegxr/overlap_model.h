// SPDX-License-Identifier: MIT
// The overlap filters (ITU-T T.832, 9.9.8), one value at a time: the operators, each beside its
// inverse, and over whole planes. The model for codecs/jpegxr/overlap.cc.
#ifndef ZEPJP_TESTS_CODECS_JPEGXR_OVERLAP_MODEL_H_
#define ZEPJP_TESTS_CODECS_JPEGXR_OVERLAP_MODEL_H_

#include <algorithm>
#include <cstdint>

#include "codecs/jpegxr/plane.h"
#include "codecs/jpegxr/wrapping.h"

namespace overlap_model {

using W = zepcodec::jpegxr::Wrapping;

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

// Multiplies a sum and divides a difference by the same factor. The old filters lack the terms in
// 2^-7 and 2^-10.
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

// Square: 4x4 values around the corner of four blocks. Line: four values across the border of two
// blocks, where these touch the border of the plane; also the 2x2 values of the plane's corners.
// Pair and SmallSquare: the same in the halved DC planes of chroma.
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

// 595 / 2^17 of the sum, up to the difference between the diagonals, is taken out of that
// difference, if it is smaller than the limit.
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

// Streams of sub-version 0 have older filters. Their scaling steps are shorter; a line scales by
// the square root of the present factor; the corners of the plane stay as they are.
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

// Before the forward transform, as encoders of such streams filtered: the codec has no need of it.
struct OldPreFilter {
  static constexpr bool kHasCorners = false;
  static void ScaleEdge(W& a, W& d) {
    a -= (d * 3 + 16) >> 5;
    d -= (a * 3 + 8) >> 4;
    a -= (d * 3 + 16) >> 5;
  }
  static void Scale(W& a, W& d) {
    d -= (a * 3) >> 4;
    a -= (d * 3) >> 3;
    d = (a >> 1) - d;
    a -= d;
  }
  static void Line(W& a, W& b, W& c, W& d) {
    ScaleEdge(b, c);
    ScaleEdge(a, d);
    a += d;
    b += c;
    d -= (a + 1) >> 1;
    c -= (b + 1) >> 1;
    Rotate(c, d);
    d += (a + 1) >> 1;
    c += (b + 1) >> 1;
    a -= d;
    b -= c;
  }
  static void Square(W (&x)[4][4], int32_t) {
    for (int r = 0; r < 2; ++r) {
      for (int c = 0; c < 2; ++c) HadamardScale(x[r][c], x[r][3 - c], x[3 - r][c], x[3 - r][3 - c]);
    }
    for (int r = 0; r < 2; ++r) {
      for (int c = 0; c < 2; ++c) OldPreFilter::Scale(x[r][c], x[3 - r][3 - c]);
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
  static void Pair(W& a, W& b) {
    b -= (a + 4) >> 3;
    a -= (b + 2) >> 2;
    b -= (a + 4) >> 3;
  }
};

using zepcodec::jpegxr::Window;

template <class Filter>
void FilterLine(int32_t* a, int32_t* b, int32_t* c, int32_t* d) {
  W x[4] = {*a, *b, *c, *d};
  Filter::Line(x[0], x[1], x[2], x[3]);
  *a = x[0].value;
  *b = x[1].value;
  *c = x[2].value;
  *d = x[3].value;
}

template <class Filter>
void FilterSquare(const Window& plane, size_t y, size_t x, int32_t leak_limit) {
  W v[4][4];
  for (size_t i = 0; i < 16; ++i) v[i / 4][i % 4] = plane.Row(y + i / 4)[x + i % 4];
  Filter::Square(v, leak_limit);
  for (size_t i = 0; i < 16; ++i) plane.Row(y + i / 4)[x + i % 4] = v[i / 4][i % 4].value;
}

// A plane of whole blocks: lines along its borders, squares inside, and its corners.
template <class Filter>
void FilterPlane(const Window& plane, int32_t leak_limit) {
  const size_t width = plane.width, height = plane.height;
  for (const size_t y : {size_t{0}, size_t{1}, height - 2, height - 1}) {
    int32_t* const row = plane.Row(y);
    for (size_t x = 2; x + 4 < width; x += 4) {
      FilterLine<Filter>(row + x, row + x + 1, row + x + 2, row + x + 3);
    }
  }
  for (size_t y = 2; y + 4 < height; y += 4) {
    for (const size_t x : {size_t{0}, size_t{1}, width - 2, width - 1}) {
      FilterLine<Filter>(plane.Row(y) + x, plane.Row(y + 1) + x, plane.Row(y + 2) + x,
                         plane.Row(y + 3) + x);
    }
    for (size_t x = 2; x + 4 < width; x += 4) FilterSquare<Filter>(plane, y, x, leak_limit);
  }
  if (!Filter::kHasCorners) return;
  for (const size_t y : {size_t{0}, height - 2}) {
    for (const size_t x : {size_t{0}, width - 2}) {
      FilterLine<Filter>(plane.Row(y) + x, plane.Row(y) + x + 1, plane.Row(y + 1) + x,
                         plane.Row(y + 1) + x + 1);
    }
  }
}

template <class Filter>
void FilterPair(int32_t* a, int32_t* b) {
  W x = *a, y = *b;
  Filter::Pair(x, y);
  *a = x.value;
  *b = y.value;
}

// A row at the border of a halved DC plane. Corners keep their differences from the values beside
// them.
template <class Filter>
void FilterSmallBorder(int32_t* row, size_t width) {
  const W left = W(row[0]) - row[1], right = W(row[width - 1]) - row[width - 2];
  for (size_t x = 1; x + 2 < width; x += 2) FilterPair<Filter>(row + x, row + x + 1);
  if (!Filter::kHasCorners) return;
  row[0] = (left + row[1]).value;
  row[width - 1] = (right + row[width - 2]).value;
}

// A halved DC plane at least 4 wide.
template <class Filter>
void FilterSmallPlane(const Window& plane) {
  FilterSmallBorder<Filter>(plane.Row(0), plane.width);
  FilterSmallBorder<Filter>(plane.Row(plane.height - 1), plane.width);
  for (size_t y = 1; y + 2 < plane.height; y += 2) {
    int32_t* const rows[2] = {plane.Row(y), plane.Row(y + 1)};
    for (const size_t x : {size_t{0}, plane.width - 1}) {
      FilterPair<Filter>(rows[0] + x, rows[1] + x);
    }
    for (size_t x = 1; x + 2 < plane.width; x += 2) {
      W v[4] = {rows[0][x], rows[0][x + 1], rows[1][x], rows[1][x + 1]};
      Filter::SmallSquare(v[0], v[1], v[2], v[3]);
      for (size_t i = 0; i < 4; ++i) rows[i / 2][x + i % 2] = v[i].value;
    }
  }
}

}  // namespace overlap_model

#endif  // ZEPJP_TESTS_CODECS_JPEGXR_OVERLAP_MODEL_H_
