// SPDX-License-Identifier: MIT
// Where the overlap operators apply in a plane; overlap_operators-inl.h has the operators.
//
// Blocks are 4x4. A row of filters covers the two rows of values above a border of blocks and the
// two below: a line at the plane's left and right border for each of the two outermost columns,
// squares in between. The plane's upper and lower two rows have lines across the vertical borders
// of blocks, and its corners. Squares and lines do not touch one another, so they are
// independent, and a register holds one value of each of several neighbours.
#include "codecs/jpegxr/overlap.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "codecs/jpegxr/wrapping.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "codecs/jpegxr/overlap.cc"
#include "hwy/foreach_target.h"

#include "codecs/jpegxr/overlap_operators-inl.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_JPEGXR_OVERLAP_KERNELS
#  define ZEPJP_JPEGXR_OVERLAP_KERNELS
namespace zepcodec::jpegxr {
namespace {

// One kind of filter; the arguments are those of FilterRow and FilterSmallRows.
struct Functions {
  void (*row)(const Window& plane, ptrdiff_t row, int32_t leak_limit);
  void (*small_rows)(const Window& plane, size_t begin, size_t end);
};

struct Kernels {
  Functions filters[3];  // by FilterKind
};

}  // namespace
}  // namespace zepcodec::jpegxr
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepcodec::jpegxr::HWY_NAMESPACE {
namespace {

using D = hn::ScalableTag<int32_t>;
constexpr size_t kLanes = hn::MaxLanes(D());

// As many neighbours as there are lanes: squares of four rows, or lines in one row. Four registers
// of a row, transposed, are the first to fourth values of the neighbours.
template <class Filter, size_t kRows>
HWY_INLINE void FilterStep(int32_t* const (&rows)[kRows], int32_t leak_limit) {
  const D d;
  Lanes<D> x[kRows][4];
  for (size_t r = 0; r < kRows; ++r) {
    hn::VFromD<D> v[4];
    for (size_t i = 0; i < 4; ++i) v[i] = hn::LoadU(d, rows[r] + i * kLanes);
    Transpose32(d, v);
    for (size_t i = 0; i < 4; ++i) x[r][i].v = v[i];
  }
  if constexpr (kRows == 4) {
    Filter::Square(x, leak_limit);
  } else {
    Filter::Line(x[0][0], x[0][1], x[0][2], x[0][3]);
  }
  for (size_t r = 0; r < kRows; ++r) {
    hn::VFromD<D> v[4] = {x[r][0].v, x[r][1].v, x[r][2].v, x[r][3].v};
    Transpose32(d, v);
    for (size_t i = 0; i < 4; ++i) hn::StoreU(v[i], d, rows[r] + i * kLanes);
  }
}

// Any number of neighbours; those that do not fill a register go through a copy.
template <class Filter, size_t kRows>
void FilterNeighbours(int32_t* const (&rows)[kRows], size_t count, int32_t leak_limit) {
  size_t i = 0;
  for (; i + kLanes <= count; i += kLanes) {
    int32_t* at[kRows];
    for (size_t r = 0; r < kRows; ++r) at[r] = rows[r] + 4 * i;
    FilterStep<Filter>(at, leak_limit);
  }
  if (i == count) return;
  HWY_ALIGN int32_t copies[kRows][4 * kLanes] = {};
  int32_t* at[kRows];
  const size_t bytes = (count - i) * 4 * sizeof(int32_t);
  for (size_t r = 0; r < kRows; ++r) {
    at[r] = copies[r];
    std::memcpy(copies[r], rows[r] + 4 * i, bytes);
  }
  FilterStep<Filter>(at, leak_limit);
  for (size_t r = 0; r < kRows; ++r) std::memcpy(rows[r] + 4 * i, copies[r], bytes);
}

// Calls operate(a, b, c, d) on the kCount values from each of four places.
template <size_t kCount, class Operate>
HWY_INLINE void AtPlaces(int32_t* a, int32_t* b, int32_t* c, int32_t* d, const Operate& operate) {
  using Few = hn::CappedTag<int32_t, kCount>;
  const Few few;
  Lanes<Few> x[4] = {
      {hn::LoadU(few, a)}, {hn::LoadU(few, b)}, {hn::LoadU(few, c)}, {hn::LoadU(few, d)}};
  operate(x[0], x[1], x[2], x[3]);
  hn::StoreU(x[0].v, few, a);
  hn::StoreU(x[1].v, few, b);
  hn::StoreU(x[2].v, few, c);
  hn::StoreU(x[3].v, few, d);
}

template <class Filter, size_t kCount>
void FilterLines(int32_t* a, int32_t* b, int32_t* c, int32_t* d) {
  AtPlaces<kCount>(a, b, c, d,
                   [](auto& w, auto& x, auto& y, auto& z) ZEP_ATTR { Filter::Line(w, x, y, z); });
}

// Two rows at the upper or lower border, with their corners.
template <class Filter>
void FilterBorder(const Window& plane, size_t first_row) {
  int32_t* const rows[2] = {plane.Row(first_row), plane.Row(first_row + 1)};
  for (int32_t* const row : rows) {
    int32_t* const lines[1] = {row + 2};
    FilterNeighbours<Filter>(lines, plane.width / 4 - 1, 0);
  }
  if (!Filter::kHasCorners) return;
  for (const size_t x : {size_t{0}, plane.width - 2}) {
    FilterLines<Filter, 1>(rows[0] + x, rows[0] + x + 1, rows[1] + x, rows[1] + x + 1);
  }
}

template <class Filter>
void Row(const Window& plane, ptrdiff_t row, int32_t leak_limit) {
  if (row < 0) return FilterBorder<Filter>(plane, 0);
  const auto y = static_cast<size_t>(4 * row + 2);
  if (y + 2 >= plane.height) return FilterBorder<Filter>(plane, y);
  int32_t* const rows[4] = {plane.Row(y), plane.Row(y + 1), plane.Row(y + 2), plane.Row(y + 3)};
  for (const size_t x : {size_t{0}, plane.width - 2}) {
    FilterLines<Filter, 2>(rows[0] + x, rows[1] + x, rows[2] + x, rows[3] + x);
  }
  int32_t* const squares[4] = {rows[0] + 2, rows[1] + 2, rows[2] + 2, rows[3] + 2};
  FilterNeighbours<Filter>(squares, plane.width / 4 - 1, leak_limit);
}

template <class Filter>
void FilterPair(int32_t* a, int32_t* b) {
  using One = hn::CappedTag<int32_t, 1>;
  const One one;
  Lanes<One> x = {hn::LoadU(one, a)}, y = {hn::LoadU(one, b)};
  Filter::Pair(x, y);
  hn::StoreU(x.v, one, a);
  hn::StoreU(y.v, one, b);
}

// Across the border between rows y and y + 1.
template <class Filter>
void FilterSmallSquares(const Window& plane, size_t y) {
  int32_t* const row0 = plane.Row(y);
  int32_t* const row1 = plane.Row(y + 1);
  for (size_t x = 1; x + 2 < plane.width; x += 2) {
    AtPlaces<1>(row0 + x, row0 + x + 1, row1 + x, row1 + x + 1,
                [](auto& a, auto& b, auto& c, auto& d)
                    ZEP_ATTR { Filter::SmallSquare(a, b, c, d); });
  }
  FilterPair<Filter>(row0, row1);
  FilterPair<Filter>(row0 + plane.width - 1, row1 + plane.width - 1);
}

template <class Filter>
void FilterPairs(int32_t* row, size_t width) {
  for (size_t x = 1; x + 2 < width; x += 2) FilterPair<Filter>(row + x, row + x + 1);
}

// While the value beside a corner is filtered, the corner is kept as its difference from it.
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
void SmallRows(const Window& plane, size_t begin, size_t end) {
  if (begin == 0) FilterSmallBorder<Filter>(plane.Row(0), plane.width);
  for (size_t y = begin == 0 ? 1 : begin - 1; y + 1 < end; y += 2) {
    FilterSmallSquares<Filter>(plane, y);
  }
  if (end == plane.height) FilterSmallBorder<Filter>(plane.Row(end - 1), plane.width);
}

template <class Filter>
constexpr Functions kFunctions = {Row<Filter>, SmallRows<Filter>};

constexpr Kernels kKernels = {
    {kFunctions<PreFilter>, kFunctions<PostFilter>, kFunctions<OldPostFilter>}};

}  // namespace
}  // namespace zepcodec::jpegxr::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepcodec::jpegxr {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

const Functions& FunctionsOf(const OverlapFilter& filter) {
  return kernels.filters[static_cast<int>(filter.kind)];
}

}  // namespace

void FilterRow(const OverlapFilter& filter, const Window& plane, ptrdiff_t row) {
  FunctionsOf(filter).row(plane, row, filter.leak_limit);
}

void FilterSmallRows(const OverlapFilter& filter, const Window& plane, size_t begin, size_t end) {
  FunctionsOf(filter).small_rows(plane, begin, end);
}

}  // namespace zepcodec::jpegxr
#endif  // HWY_ONCE
