// SPDX-License-Identifier: MIT
// One level of the wavelet transform of a whole tile (ITU-T T.800, F.3 and F.4). Forward: columns,
// then rows; inverse: rows, then columns. Lines are mirrored about their ends.
//
// In place: the columns are lifted in place, in blocks so narrow that the rows in use stay in the
// first-level cache. That leaves low and high rows in turns, but the result has the low rows on
// top. So each row is then transformed from its old place to its new one, along the cycles of that
// permutation; only one row at a time needs memory outside the tile.
//
// To planes: each row is transformed as soon as the column steps have finished it, from a ring of a
// few rows. From planes: each row is transformed to its place in the tile just before the column
// steps read it there.
#include <algorithm>

#include "jpeg2k/wavelet/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/wavelet/whole_tile.cc"
#include "hwy/foreach_target.h"
#include "jpeg2k/wavelet/rows-inl.h"

namespace zepjp {
#ifndef ZEPJP_WAVELET_WHOLE_TILE_KERNELS
#  define ZEPJP_WAVELET_WHOLE_TILE_KERNELS
namespace {

// A tile in place.
template <class T>
struct Tile {
  T* data;
  int32_t step;
  zepiRect rect;
};

// Four planes: the quadrants of a transformed tile, cut at half its width and height, rounded up.
template <class T>
struct Subbands {
  T* const* plane;
  const int32_t* step;
};

// `buffer` has room for one row (in place), or for the rows of the tile and one more (with planes).
template <class T>
struct TileKernels {
  void (*forward)(const Tile<T>& tile, uint8_t* buffer);
  void (*inverse)(const Tile<T>& tile, uint8_t* buffer);
  void (*to_planes)(const Tile<T>& tile, const Subbands<T>& planes, uint8_t* buffer);
  void (*from_planes)(const Tile<T>& tile, const Subbands<T>& planes, uint8_t* buffer);
};

struct Kernels {
  TileKernels<int16_t> b53_16s;
  TileKernels<int32_t> b53_32s;
  TileKernels<int16_t> d97_16s;
  TileKernels<int32_t> d97_32s;
  // For processors of the low-power line, which have small caches: the same arithmetic in another
  // order of rows and blocks.
  void (*low_power_inverse)(const Tile<int16_t>& tile, uint8_t* buffer);
  void (*low_power_from_planes)(const Tile<int16_t>& tile, const Subbands<int16_t>& planes,
                                uint8_t* buffer);
};

// The step of rows of `width` elements in the buffer, rounded up to a multiple of 32 bytes.
template <class T>
int32_t BufferStep(int32_t width) {
  return static_cast<int32_t>((int64_t{width} * static_cast<int64_t>(sizeof(T)) + 31) &
                              ~int64_t{31});
}

// The split of `count` positions into low and high ones; the first position is high if phase is 1.
struct Split {
  int64_t count;
  int phase;

  int64_t LowCount() const { return (count + 1 - phase) / 2; }
  // The place of position p after the split, with the low ones before the high ones; Position() is
  // the inverse.
  int64_t Place(int64_t p) const { return ((p + phase) & 1) != 0 ? LowCount() + (p >> 1) : p >> 1; }
  int64_t Position(int64_t place) const {
    return place < LowCount() ? 2 * place + phase : 2 * (place - LowCount()) + 1 - phase;
  }
};

inline Split ColumnSplit(const zepiRect& rect) { return {rect.height, rect.y & 1}; }
inline Split RowSplit(const zepiRect& rect) { return {rect.width, rect.x & 1}; }

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

inline Extent ColumnExtent(const zepiRect& rect) {
  return {0, int64_t{rect.height} - 1, (rect.y & 1) == 0};
}

// Permutes `count` items in place, cycle by cycle: item source(i) moves to place i. Calls
// move(from, to) for each item; the place -1 stands for a spare place, which holds the first item
// of the cycle meanwhile.
template <class Source, class Move>
void Permute(int64_t count, const Source& source, const Move& move) {
  for (int64_t first = 0; first < count; ++first) {
    int64_t i = source(first);
    while (i > first) i = source(i);
    if (i < first) continue;  // the cycle was done at its smallest item
    move(first, -1);
    for (i = first; source(i) != first; i = source(i)) move(source(i), i);
    move(-1, i);
  }
}

// The rows of a tile whose columns are transformed in place, from column x to the right.
template <class T>
class RowsInPlace {
 public:
  RowsInPlace(const Tile<T>& tile, int64_t x) : tile_(tile), x_(x) {}
  T* In(int64_t p) const { return Row(tile_.data, tile_.step, p) + x_; }
  T* Out(int64_t p) const { return In(p); }
  void Enter(int64_t) {}
  void Done(int64_t) {}

 private:
  const Tile<T>& tile_;
  const int64_t x_;
};

constexpr int64_t kBlockBytes = 2048;
constexpr int64_t kLowPowerBlockBytes = 512;

template <class Filter, class T>
void ForwardColumns(const Tile<T>& tile) {
  constexpr int64_t kBlock = kBlockBytes / sizeof(T);
  for (int64_t x = 0; x < tile.rect.width; x += kBlock) {
    RowsInPlace<T> rows(tile, x);
    const auto width = static_cast<size_t>(std::min<int64_t>(tile.rect.width - x, kBlock));
    Columns<Filter, RowsInPlace<T>>(rows, ColumnExtent(tile.rect), width).Forward();
  }
}

template <class Filter, int64_t kBytes, class T>
void InverseColumns(const Tile<T>& tile) {
  constexpr int64_t kBlock = kBytes / sizeof(T);
  for (int64_t x = 0; x < tile.rect.width; x += kBlock) {
    RowsInPlace<T> rows(tile, x);
    const auto width = static_cast<size_t>(std::min<int64_t>(tile.rect.width - x, kBlock));
    Columns<Filter, RowsInPlace<T>>(rows, ColumnExtent(tile.rect), width).Inverse();
  }
}

// Memory for one row: a part of the work buffer, or for tiles of up to two columns, whose work
// buffer may be empty, a few bytes here.
template <class T>
class SpareRow {
 public:
  SpareRow(uint8_t* place, int64_t width)
      : row_(reinterpret_cast<T*>(width <= kSmall ? small_ : place)) {}
  SpareRow(const SpareRow&) = delete;
  SpareRow& operator=(const SpareRow&) = delete;
  T* get() const { return row_; }

 private:
  static constexpr int64_t kSmall = 2;
  uint8_t small_[kSmall * sizeof(T)];
  T* const row_;
};

// Moves the rows of a tile: row source(i) is transformed to row i. transform(from, to) never gets
// the same row twice.
template <class T, class Source, class Transform>
void MoveRows(const Tile<T>& tile, uint8_t* buffer, const Source& source,
              const Transform& transform) {
  const SpareRow<T> saved(buffer, tile.rect.width);
  Permute(tile.rect.height, source, [&](int64_t from, int64_t to) ZEP_ATTR {
    T* const src = from < 0 ? saved.get() : Row(tile.data, tile.step, from);
    if (to < 0) {
      CopyBytes(src, saved.get(), static_cast<size_t>(tile.rect.width) * sizeof(T));
    } else {
      transform(src, Row(tile.data, tile.step, to));
    }
  });
}

template <class Filter, class T>
void Forward(const Tile<T>& tile, uint8_t* buffer) {
  ForwardColumns<Filter>(tile);
  const Split down = ColumnSplit(tile.rect), across = RowSplit(tile.rect);
  MoveRows(
      tile, buffer, [&](int64_t place) ZEP_ATTR { return down.Position(place); },
      [&](const T* from, T* to) ZEP_ATTR {
        ForwardTileRow<Filter>(from, across.count, across.phase, to, to + across.LowCount());
      });
}

template <class Filter, int64_t kBytes, class T>
void Inverse(const Tile<T>& tile, uint8_t* buffer) {
  const Split down = ColumnSplit(tile.rect), across = RowSplit(tile.rect);
  MoveRows(
      tile, buffer, [&](int64_t position) ZEP_ATTR { return down.Place(position); },
      [&](const T* from, T* to) ZEP_ATTR {
        InverseTileRow<Filter>(from, from + across.LowCount(), across.count, across.phase, to);
      });
  InverseColumns<Filter, kBytes>(tile);
}

// The rows of the quadrants in planes. With an odd origin and an odd width a row has one low
// coefficient less than the left planes are wide, so the first high coefficient is their last
// element. Such rows are put together in a spare row.
template <class Filter>
class SubbandRows {
 public:
  using T = typename Filter::Element;

  SubbandRows(const Subbands<T>& planes, const zepiRect& rect, uint8_t* spare)
      : planes_(planes),
        down_(ColumnSplit(rect)),
        across_(RowSplit(rect)),
        left_width_((int64_t{rect.width} + 1) >> 1),
        top_height_((int64_t{rect.height} + 1) >> 1),
        spare_(spare, rect.width) {}

  // Transforms row p of the tile, whose columns are finished, to the planes.
  void Forward(const T* src, int64_t p) {
    T* const left = At(0, p);
    T* const right = At(2, p);
    const int64_t low_count = across_.LowCount();
    if (low_count == left_width_) {
      return ForwardTileRow<Filter>(src, across_.count, across_.phase, left, right);
    }
    T* const row = spare_.get();
    ForwardTileRow<Filter>(src, across_.count, across_.phase, row, row + low_count);
    Copy(row, left, left_width_);
    Copy(row + left_width_, right, across_.count - left_width_);
  }

  void Inverse(int64_t p, T* dst) {
    const T* const left = At(0, p);
    const T* const right = At(2, p);
    const int64_t low_count = across_.LowCount();
    if (low_count == left_width_) {
      return InverseTileRow<Filter>(left, right, across_.count, across_.phase, dst);
    }
    T* const row = spare_.get();
    Copy(left, row, left_width_);
    Copy(right, row + left_width_, across_.count - left_width_);
    InverseTileRow<Filter>(row, row + low_count, across_.count, across_.phase, dst);
  }

 private:
  T* At(int plane, int64_t p) const {
    const int64_t place = down_.Place(p);
    return place < top_height_
               ? Row(planes_.plane[plane], planes_.step[plane], place)
               : Row(planes_.plane[plane + 1], planes_.step[plane + 1], place - top_height_);
  }
  static void Copy(const T* from, T* to, int64_t count) {
    CopyBytes(from, to, static_cast<size_t>(count) * sizeof(T));
  }

  const Subbands<T> planes_;
  const Split down_, across_;
  const int64_t left_width_, top_height_;
  const SpareRow<T> spare_;
};

// Rows for the column steps: read from the source, changed in a ring of rows, transformed to the
// planes when they are finished.
template <class Filter>
class RowsToPlanes {
 public:
  using T = typename Filter::Element;

  RowsToPlanes(const Tile<T>& tile, const Subbands<T>& planes, uint8_t* buffer)
      : tile_(tile),
        ring_(reinterpret_cast<T*>(buffer)),
        ring_step_(BufferStep<T>(tile.rect.width)),
        planes_(planes, tile.rect, Row(buffer, ring_step_, tile.rect.height)) {}

  const T* In(int64_t p) const { return Row(tile_.data, tile_.step, p); }
  T* Out(int64_t p) const { return Row(ring_, ring_step_, p & (kRing - 1)); }
  void Done(int64_t p) { planes_.Forward(Out(p), p); }

 private:
  static constexpr int64_t kRing =
      2 * Filter::kSteps;  // more rows than are in use at a time; a power of two

  const Tile<T>& tile_;
  T* const ring_;
  const int32_t ring_step_;
  SubbandRows<Filter> planes_;
};

// Rows for the column steps: transformed from the planes to the tile, and changed there.
template <class Filter>
class RowsFromPlanes {
 public:
  using T = typename Filter::Element;

  RowsFromPlanes(const Tile<T>& tile, const Subbands<T>& planes, uint8_t* buffer)
      : tile_(tile), planes_(planes, tile.rect, buffer) {}

  T* In(int64_t p) const { return Row(tile_.data, tile_.step, p); }
  T* Out(int64_t p) const { return In(p); }
  void Enter(int64_t p) { planes_.Inverse(p, In(p)); }

 private:
  const Tile<T>& tile_;
  SubbandRows<Filter> planes_;
};

template <class Filter, class T>
void ToPlanes(const Tile<T>& tile, const Subbands<T>& planes, uint8_t* buffer) {
  RowsToPlanes<Filter> rows(tile, planes, buffer);
  Columns<Filter, RowsToPlanes<Filter>>(rows, ColumnExtent(tile.rect),
                                        static_cast<size_t>(tile.rect.width))
      .Forward();
}

template <class Filter, class T>
void FromPlanes(const Tile<T>& tile, const Subbands<T>& planes, uint8_t* buffer) {
  RowsFromPlanes<Filter> rows(tile, planes, buffer);
  Columns<Filter, RowsFromPlanes<Filter>>(rows, ColumnExtent(tile.rect),
                                          static_cast<size_t>(tile.rect.width))
      .Inverse();
}

// All rows first, then the columns in narrow blocks.
template <class Filter, class T>
void LowPowerFromPlanes(const Tile<T>& tile, const Subbands<T>& planes, uint8_t* buffer) {
  RowsFromPlanes<Filter> rows(tile, planes, buffer);
  for (int64_t p = 0; p < tile.rect.height; ++p) rows.Enter(p);
  InverseColumns<Filter, kLowPowerBlockBytes>(tile);
}

template <class Filter>
constexpr TileKernels<typename Filter::Element> KernelsOf() {
  using T = typename Filter::Element;
  return {
      .forward = Forward<Filter, T>,
      .inverse = Inverse<Filter, kBlockBytes, T>,
      .to_planes = ToPlanes<Filter, T>,
      .from_planes = FromPlanes<Filter, T>,
  };
}

constexpr Kernels kKernels = {
    .b53_16s = KernelsOf<Filter53<int16_t>>(),
    .b53_32s = KernelsOf<Filter53<int32_t>>(),
    .d97_16s = KernelsOf<Filter97<int16_t>>(),
    .d97_32s = KernelsOf<Filter97<int32_t>>(),
    .low_power_inverse = Inverse<Filter97<int16_t>, kLowPowerBlockBytes, int16_t>,
    .low_power_from_planes = LowPowerFromPlanes<Filter97<int16_t>, int16_t>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() {
  kernels = *ZEP_CHOOSE(kKernels);
  if (EnabledAtLoad().variant == Variant::kS8) {
    kernels.d97_16s.inverse = kernels.low_power_inverse;
    kernels.d97_16s.from_planes = kernels.low_power_from_planes;
  }
}

template <class T>
zepStatus InPlace(void (*kernel)(const Tile<T>&, uint8_t*), T* data, int32_t step,
                  const zepiRect* rect, uint8_t* buffer) {
  if (auto bad = Checks().Ptr(data).Step(step).Ptr(rect).Ptr(buffer).Failed()) return bad;
  if (rect->width > 0 && rect->height > 0) kernel({data, step, *rect}, buffer);
  return zepStatusOk;
}

// The checks after those of the pointers, whose order differs between the two directions.
template <class T>
zepStatus CheckTile(Checks pointers, int32_t step, T* const* planes, const int32_t* steps,
                    const zepiRect* rect) {
  return pointers.Step(step)
      .Planes(planes, 4)
      .Steps(steps, 4)
      .Refuse([=] { return rect->width < 1 || rect->height < 1; }, zepStatusBadSize)
      .Failed();
}

template <class T>
zepStatus SplitTile(void (*kernel)(const Tile<T>&, const Subbands<T>&, uint8_t*), const T* src,
                    int32_t src_step, const zepiRect* rect, T* const* planes, const int32_t* steps,
                    uint8_t* buffer) {
  const Checks pointers = Checks().Ptr(src).Ptr(planes).Ptr(steps).Ptr(rect).Ptr(buffer);
  if (auto bad = CheckTile(pointers, src_step, planes, steps, rect)) return bad;
  kernel({const_cast<T*>(src), src_step, *rect}, {planes, steps}, buffer);
  return zepStatusOk;
}

template <class T>
zepStatus JoinTile(void (*kernel)(const Tile<T>&, const Subbands<T>&, uint8_t*),
                   const T* const* planes, const int32_t* steps, T* dst, int32_t dst_step,
                   const zepiRect* rect, uint8_t* buffer) {
  const Checks pointers = Checks().Ptr(planes).Ptr(dst).Ptr(steps).Ptr(rect).Ptr(buffer);
  if (auto bad = CheckTile(pointers, dst_step, planes, steps, rect)) return bad;
  kernel({dst, dst_step, *rect}, {const_cast<T* const*>(planes), steps}, buffer);
  return zepStatusOk;
}

// The parts of a work buffer: one extended line if the tile has min_length rows or columns, and
// with planes a copy of the tile.
struct BufferNeed {
  int32_t element_bytes;
  int32_t extension_bytes;
  int32_t min_length;
  bool with_planes;
};

zepStatus BufferSize(const BufferNeed& need, const zepiRect* rect, int32_t* size) {
  if (auto bad = Checks().Ptr(rect).Ptr(size).Failed()) return bad;
  const int64_t width = rect->width, height = rect->height;
  int64_t bytes = 0;
  if (width >= need.min_length || height >= need.min_length) {
    bytes = need.element_bytes * (width > height ? width : height) + need.extension_bytes;
  }
  if (need.with_planes && width > 0 && height > 0) {
    const int64_t row_bytes = (width * need.element_bytes + 31) & ~int64_t{31};
    if (row_bytes > INT32_MAX / height) return zepStatusBadSize;
    bytes += row_bytes * height;
  }
  if (bytes > INT32_MAX) return zepStatusBadSize;
  *size = static_cast<int32_t>(bytes);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.b53_16s.forward, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.b53_16s.inverse, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                const zepiRect* pTileRect, int16_t* const pDst[4],
                                                const int32_t dstStep[4], uint8_t* pBuffer) {
  return SplitTile(kernels.b53_16s.to_planes, pSrc, srcStep, pTileRect, pDst, dstStep, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_16s_C1R(const int16_t* const pSrc[4],
                                                const int32_t srcStep[4], int16_t* pDst,
                                                int32_t dstStep, const zepiRect* pTileRect,
                                                uint8_t* pBuffer) {
  return JoinTile(kernels.b53_16s.from_planes, pSrc, srcStep, pDst, dstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_16s_C1IR(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({2, 8, 3, false}, pTileRect, pSize);
}

zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_16s_C1R(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({2, 8, 3, true}, pTileRect, pSize);
}

zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.b53_32s.forward, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.b53_32s.inverse, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTFwd_B53_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                const zepiRect* pTileRect, int32_t* const pDst[4],
                                                const int32_t dstStep[4], uint8_t* pBuffer) {
  return SplitTile(kernels.b53_32s.to_planes, pSrc, srcStep, pTileRect, pDst, dstStep, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_B53_JPEG2K_32s_C1R(const int32_t* const pSrc[4],
                                                const int32_t srcStep[4], int32_t* pDst,
                                                int32_t dstStep, const zepiRect* pTileRect,
                                                uint8_t* pBuffer) {
  return JoinTile(kernels.b53_32s.from_planes, pSrc, srcStep, pDst, dstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_32s_C1IR(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({4, 16, 3, false}, pTileRect, pSize);
}

zepStatus ZEP_CALL zepiWTGetBufSize_B53_JPEG2K_32s_C1R(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({4, 16, 3, true}, pTileRect, pSize);
}

zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.d97_16s.forward, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_16s_C1IR(int16_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.d97_16s.inverse, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_16s_C1R(const int16_t* pSrc, int32_t srcStep,
                                                const zepiRect* pTileRect, int16_t* const pDst[4],
                                                const int32_t dstStep[4], uint8_t* pBuffer) {
  return SplitTile(kernels.d97_16s.to_planes, pSrc, srcStep, pTileRect, pDst, dstStep, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_16s_C1R(const int16_t* const pSrc[4],
                                                const int32_t srcStep[4], int16_t* pDst,
                                                int32_t dstStep, const zepiRect* pTileRect,
                                                uint8_t* pBuffer) {
  return JoinTile(kernels.d97_16s.from_planes, pSrc, srcStep, pDst, dstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_16s_C1IR(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({2, 16, 2, false}, pTileRect, pSize);
}

zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_16s_C1R(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({2, 16, 2, true}, pTileRect, pSize);
}

zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.d97_32s.forward, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_32s_C1IR(int32_t* pSrcDst, int32_t srcDstStep,
                                                 const zepiRect* pTileRect, uint8_t* pBuffer) {
  return InPlace(kernels.d97_32s.inverse, pSrcDst, srcDstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTFwd_D97_JPEG2K_32s_C1R(const int32_t* pSrc, int32_t srcStep,
                                                const zepiRect* pTileRect, int32_t* const pDst[4],
                                                const int32_t dstStep[4], uint8_t* pBuffer) {
  return SplitTile(kernels.d97_32s.to_planes, pSrc, srcStep, pTileRect, pDst, dstStep, pBuffer);
}

zepStatus ZEP_CALL zepiWTInv_D97_JPEG2K_32s_C1R(const int32_t* const pSrc[4],
                                                const int32_t srcStep[4], int32_t* pDst,
                                                int32_t dstStep, const zepiRect* pTileRect,
                                                uint8_t* pBuffer) {
  return JoinTile(kernels.d97_32s.from_planes, pSrc, srcStep, pDst, dstStep, pTileRect, pBuffer);
}

zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_32s_C1IR(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({4, 32, 2, false}, pTileRect, pSize);
}

zepStatus ZEP_CALL zepiWTGetBufSize_D97_JPEG2K_32s_C1R(const zepiRect* pTileRect, int32_t* pSize) {
  return BufferSize({4, 32, 2, true}, pTileRect, pSize);
}
#endif  // HWY_ONCE
