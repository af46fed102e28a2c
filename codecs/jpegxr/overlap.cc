// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/overlap.h"

#include <algorithm>
#include <cstdint>

#include "codecs/jpegxr/overlap_operators.h"
#include "codecs/jpegxr/vector_loops.h"

namespace zepcodec::jpegxr {
namespace {

// As many squares at a time, each position of theirs in an array of its own, so that compilers make
// vectors of the loops over them.
constexpr size_t kChunk = 16;

template <class Filter>
inline __attribute__((always_inline)) void SquaresOf(int32_t* const (&rows)[4], size_t count,
                                                     int32_t leak_limit) {
  W values[4][4][kChunk];
  if (count < kChunk) std::fill_n(&values[0][0][0], 16 * kChunk, W(0));
  for (size_t r = 0; r < 4; ++r) {
    for (size_t i = 0; i < count; ++i) {
      for (size_t c = 0; c < 4; ++c) values[r][c][i] = rows[r][4 * i + c];
    }
  }
  for (size_t i = 0; i < kChunk; ++i) {
    W x[4][4];
    for (size_t r = 0; r < 4; ++r) {
      for (size_t c = 0; c < 4; ++c) x[r][c] = values[r][c][i];
    }
    Filter::Square(x, leak_limit);
    for (size_t r = 0; r < 4; ++r) {
      for (size_t c = 0; c < 4; ++c) values[r][c][i] = x[r][c];
    }
  }
  for (size_t r = 0; r < 4; ++r) {
    for (size_t i = 0; i < count; ++i) {
      for (size_t c = 0; c < 4; ++c) rows[r][4 * i + c] = values[r][c][i].value;
    }
  }
}

template <class Filter>
void FilterSquares(int32_t* const (&rows)[4], size_t count, int32_t leak_limit);

template <>
ZEPJP_VECTOR_LOOPS void FilterSquares<PreFilter>(int32_t* const (&rows)[4], size_t count,
                                                 int32_t leak_limit) {
  SquaresOf<PreFilter>(rows, count, leak_limit);
}
template <>
ZEPJP_VECTOR_LOOPS void FilterSquares<PostFilter>(int32_t* const (&rows)[4], size_t count,
                                                  int32_t leak_limit) {
  SquaresOf<PostFilter>(rows, count, leak_limit);
}
template <>
ZEPJP_VECTOR_LOOPS void FilterSquares<OldPostFilter>(int32_t* const (&rows)[4], size_t count,
                                                     int32_t leak_limit) {
  SquaresOf<OldPostFilter>(rows, count, leak_limit);
}

template <class Filter>
void FilterLine(int32_t* a, int32_t* b, int32_t* c, int32_t* d) {
  W x[4] = {*a, *b, *c, *d};
  Filter::Line(x[0], x[1], x[2], x[3]);
  *a = x[0].value;
  *b = x[1].value;
  *c = x[2].value;
  *d = x[3].value;
}

// Two rows at the upper or lower border, with their corners.
template <class Filter>
void FilterBorder(const Window& plane, size_t first_row) {
  int32_t* const row0 = plane.Row(first_row);
  int32_t* const row1 = plane.Row(first_row + 1);
  for (size_t x = 2; x + 4 < plane.width; x += 4) {
    for (int32_t* const row : {row0, row1}) {
      FilterLine<Filter>(row + x, row + x + 1, row + x + 2, row + x + 3);
    }
  }
  if (!Filter::kHasCorners) return;
  FilterLine<Filter>(row0, row0 + 1, row1, row1 + 1);
  int32_t* const right0 = row0 + plane.width - 2;
  int32_t* const right1 = row1 + plane.width - 2;
  FilterLine<Filter>(right0, right0 + 1, right1, right1 + 1);
}

template <class Filter>
void FilterRowBy(const Window& plane, ptrdiff_t row, int32_t leak_limit) {
  if (row < 0) return FilterBorder<Filter>(plane, 0);
  const auto y = static_cast<size_t>(4 * row + 2);
  if (y + 2 >= plane.height) return FilterBorder<Filter>(plane, y);
  int32_t* const rows[4] = {plane.Row(y), plane.Row(y + 1), plane.Row(y + 2), plane.Row(y + 3)};
  for (const size_t x : {size_t{0}, size_t{1}, plane.width - 2, plane.width - 1}) {
    FilterLine<Filter>(rows[0] + x, rows[1] + x, rows[2] + x, rows[3] + x);
  }
  const size_t squares = plane.width / 4 - 1;
  for (size_t i = 0; i < squares; i += kChunk) {
    int32_t* const part[4] = {rows[0] + 2 + 4 * i, rows[1] + 2 + 4 * i, rows[2] + 2 + 4 * i,
                              rows[3] + 2 + 4 * i};
    FilterSquares<Filter>(part, std::min(kChunk, squares - i), leak_limit);
  }
}

template <class Filter>
void FilterPair(int32_t* a, int32_t* b) {
  W x[2] = {*a, *b};
  Filter::Pair(x[0], x[1]);
  *a = x[0].value;
  *b = x[1].value;
}

// Across the border between rows y and y + 1.
template <class Filter>
void FilterSmallSquares(const Window& plane, size_t y) {
  int32_t* const row0 = plane.Row(y);
  int32_t* const row1 = plane.Row(y + 1);
  for (size_t x = 1; x + 2 < plane.width; x += 2) {
    W v[4] = {row0[x], row0[x + 1], row1[x], row1[x + 1]};
    Filter::SmallSquare(v[0], v[1], v[2], v[3]);
    row0[x] = v[0].value;
    row0[x + 1] = v[1].value;
    row1[x] = v[2].value;
    row1[x + 1] = v[3].value;
  }
  FilterPair<Filter>(row0, row1);
  FilterPair<Filter>(row0 + plane.width - 1, row1 + plane.width - 1);
}

template <class Filter>
void FilterPairs(int32_t* row, size_t width) {
  for (size_t x = 1; x + 2 < width; x += 2) FilterPair<Filter>(row + x, row + x + 1);
}

// A corner is held as its difference to the value beside it while that one is filtered.
template <class Filter>
void FilterSmallBorder(int32_t* row, size_t width) {
  if (!Filter::kHasCorners) return FilterPairs<Filter>(row, width);
  int32_t* const last = row + width - 1;
  const int32_t before_last = last[-1];
  row[0] = WrapSub(row[0], row[1]);
  *last = WrapSub(*last, before_last);
  FilterPairs<Filter>(row, width);
  const int32_t after_last = width == 2 ? before_last : last[-1];
  row[0] = WrapAdd(row[0], row[1]);
  *last = WrapAdd(*last, after_last);
}

template <class Filter>
void FilterSmallRowsBy(const Window& plane, size_t begin, size_t end) {
  if (begin == 0) FilterSmallBorder<Filter>(plane.Row(0), plane.width);
  for (size_t y = begin == 0 ? 1 : begin - 1; y + 1 < end; y += 2) {
    FilterSmallSquares<Filter>(plane, y);
  }
  if (end == plane.height) FilterSmallBorder<Filter>(plane.Row(end - 1), plane.width);
}

}  // namespace

void FilterRow(const OverlapFilter& filter, const Window& plane, ptrdiff_t row) {
  switch (filter.kind) {
    case FilterKind::kPre: return FilterRowBy<PreFilter>(plane, row, filter.leak_limit);
    case FilterKind::kPost: return FilterRowBy<PostFilter>(plane, row, filter.leak_limit);
    case FilterKind::kOldPost: return FilterRowBy<OldPostFilter>(plane, row, filter.leak_limit);
  }
}

void FilterPlane(const OverlapFilter& filter, const Window& plane) {
  for (ptrdiff_t row = -1; row < static_cast<ptrdiff_t>(plane.height / 4); ++row) {
    FilterRow(filter, plane, row);
  }
}

void FilterSmallRows(const OverlapFilter& filter, const Window& plane, size_t begin, size_t end) {
  switch (filter.kind) {
    case FilterKind::kPre: return FilterSmallRowsBy<PreFilter>(plane, begin, end);
    case FilterKind::kPost: return FilterSmallRowsBy<PostFilter>(plane, begin, end);
    case FilterKind::kOldPost: return FilterSmallRowsBy<OldPostFilter>(plane, begin, end);
  }
}

}  // namespace zepcodec::jpegxr
