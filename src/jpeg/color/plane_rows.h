// SPDX-License-Identifier: MIT
// Runs row kernels over sets of planes. An interleaved image is a set of one plane.
#ifndef ZEPJP_SRC_JPEG_COLOR_PLANE_ROWS_H_
#define ZEPJP_SRC_JPEG_COLOR_PLANE_ROWS_H_

#include "frame/checks.h"
#include "frame/rows.h"

namespace zepjp {

// A row kernel converts `width` pixels; it gets a pointer for each plane.
using RowFunction = void (*)(const uint8_t* const* src, uint8_t* const* dst, size_t width);

// Row `y` of each of `kCount` planes.
template <int kCount, class T>
struct PlaneRows {
  PlaneRows(T* const* planes, int32_t step, int32_t y) {
    for (int i = 0; i < kCount; ++i) rows[i] = Row(planes[i], step, y);
  }
  T* rows[kCount];
};

template <int kSources, int kTargets>
void ConvertOneRow(RowFunction kernel, const uint8_t* const* src, int32_t src_step,
                   uint8_t* const* dst, int32_t dst_step, zepiSize roi, int32_t y) {
  const PlaneRows<kSources, const uint8_t> from(src, src_step, y);
  const PlaneRows<kTargets, uint8_t> to(dst, dst_step, y);
  kernel(from.rows, to.rows, static_cast<size_t>(roi.width));
}

// Converts all rows on the calling thread.
template <int kSources, int kTargets>
void ConvertSerial(RowFunction kernel, const uint8_t* const* src, int32_t src_step,
                   uint8_t* const* dst, int32_t dst_step, zepiSize roi) {
  for (int32_t y = 0; y < roi.height; ++y) {
    ConvertOneRow<kSources, kTargets>(kernel, src, src_step, dst, dst_step, roi, y);
  }
}

// Checks pointers, steps and sizes, then converts the rows in parallel. `unfit_size`: the caller
// has found the size invalid for a reason of its own.
template <int kSources, int kTargets>
zepStatus ConvertParallel(RowFunction kernel, const uint8_t* const* src, int32_t src_step,
                          uint8_t* const* dst, int32_t dst_step, zepiSize roi,
                          bool unfit_size = false) {
  if (auto bad = Checks()
                     .Planes(src, kSources)
                     .Planes(dst, kTargets)
                     .Step(src_step)
                     .Step(dst_step)
                     .Size(roi)
                     .Refuse(unfit_size, zepStatusBadSize)
                     .Failed()) {
    return bad;
  }
  ForRows(roi, [=](int32_t y) {
    ConvertOneRow<kSources, kTargets>(kernel, src, src_step, dst, dst_step, roi, y);
  });
  return zepStatusOk;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_COLOR_PLANE_ROWS_H_
