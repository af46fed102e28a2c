// SPDX-License-Identifier: MIT
// Samples or coefficients of a component, and windows into them.
#ifndef ZEPJP_CODECS_JPEGXR_PLANE_H_
#define ZEPJP_CODECS_JPEGXR_PLANE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <new>

#include "codecs/support/byte_buffer.h"

namespace zepcodec::jpegxr {

// A rectangle of values in some plane.
struct Window {
  int32_t* data = nullptr;
  size_t stride = 0;  // values from one row to the next
  size_t width = 0;
  size_t height = 0;
  size_t row_mask = SIZE_MAX;  // for a plane that keeps only some rows
  size_t first_row = 0;        // in the plane

  int32_t* Row(size_t y) const { return data + ((first_row + y) & row_mask) * stride; }
  int32_t StepInBytes() const { return static_cast<int32_t>(stride * sizeof(int32_t)); }
  Window Part(size_t x, size_t y, size_t part_width, size_t part_height) const {
    return {data + x, stride, part_width, part_height, row_mask, first_row + y};
  }
};

// Rows lie an odd number of cache lines apart, so that the rows of a macroblock fall into different
// cache sets. With `kept_rows`, a power of two, memory is a ring: each row replaces the one that
// many rows above it.
class Plane {
 public:
  // The values are not set. Throws std::bad_alloc.
  void Resize(size_t width, size_t height, size_t kept_rows = SIZE_MAX) {
    width_ = width;
    height_ = height;
    stride_ = StrideOf(width);
    row_mask_ = kept_rows < height ? kept_rows - 1 : SIZE_MAX;
    const uint64_t bytes = MemoryOf(width, height, kept_rows);
    if (bytes > PTRDIFF_MAX || !values_.Resize(static_cast<size_t>(bytes))) throw std::bad_alloc();
  }
  static uint64_t MemoryOf(size_t width, size_t height, size_t kept_rows) {
    return uint64_t{StrideOf(width)} * std::min(height, kept_rows) * sizeof(int32_t) + kLine;
  }
  size_t width() const { return width_; }
  size_t height() const { return height_; }
  Window All() {
    const auto start = reinterpret_cast<uintptr_t>(values_.data());
    const size_t to_line = (kLine - start % kLine) % kLine;
    return {reinterpret_cast<int32_t*>(values_.data() + to_line), stride_, width_, height_,
            row_mask_};
  }

 private:
  static constexpr size_t kLine = 64;  // bytes of a cache line

  static size_t StrideOf(size_t width) {
    constexpr size_t kValues = kLine / sizeof(int32_t);
    const size_t lines = (width + kValues - 1) / kValues;
    return kValues * (lines + (lines % 2 == 0 ? 1 : 0));
  }

  size_t width_ = 0;
  size_t height_ = 0;
  size_t stride_ = 0;
  size_t row_mask_ = SIZE_MAX;
  ByteBuffer values_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PLANE_H_
