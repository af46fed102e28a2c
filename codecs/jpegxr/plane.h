// SPDX-License-Identifier: MIT
// Samples or coefficients of a component, and windows into them.
#ifndef ZEPJP_CODECS_JPEGXR_PLANE_H_
#define ZEPJP_CODECS_JPEGXR_PLANE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace zepcodec::jpegxr {

// A rectangle of values in some plane.
struct Window {
  int32_t* data = nullptr;
  size_t stride = 0;  // values from one row to the next
  size_t width = 0;
  size_t height = 0;
  size_t row_mask = SIZE_MAX;  // for a plane that keeps only some rows

  int32_t* Row(size_t y) const { return data + (y & row_mask) * stride; }
  int32_t StepInBytes() const { return static_cast<int32_t>(stride * sizeof(int32_t)); }
  Window Part(size_t x, size_t y, size_t part_width, size_t part_height) const {
    return {Row(y) + x, stride, part_width, part_height};
  }
};

// Zeroed memory, in large pages where the system has them: planes are touched once from end to end,
// and faults of small pages would take longer than some of the stages.
class ZeroedMemory {
 public:
  ZeroedMemory() = default;
  explicit ZeroedMemory(size_t bytes);  // throws std::bad_alloc
  ZeroedMemory(ZeroedMemory&& other) noexcept { *this = std::move(other); }
  ZeroedMemory& operator=(ZeroedMemory&& other) noexcept {
    std::swap(start_, other.start_);
    std::swap(bytes_, other.bytes_);
    return *this;
  }
  ~ZeroedMemory();
  void* get() const { return start_; }
  // The bytes after rounding to whole pages.
  static size_t WholePages(size_t bytes) {
    return bytes < kLargePage ? bytes : (bytes + kLargePage - 1) / kLargePage * kLargePage;
  }

 private:
  static constexpr size_t kLargePage = size_t{1} << 21;

  void* start_ = nullptr;
  size_t bytes_ = 0;
};

// The values are 0 at first. Rows lie an odd number of cache lines apart, so that the rows of a
// macroblock fall into different cache sets. With `kept_rows`, a power of two, memory is a ring:
// each row replaces the one that many rows above it.
class Plane {
 public:
  void Resize(size_t width, size_t height, size_t kept_rows = SIZE_MAX) {
    width_ = width;
    height_ = height;
    stride_ = StrideOf(width);
    row_mask_ = kept_rows < height ? kept_rows - 1 : SIZE_MAX;
    values_ = ZeroedMemory(RawBytes(width, height, kept_rows));
  }
  static size_t MemoryOf(size_t width, size_t height, size_t kept_rows) {
    return ZeroedMemory::WholePages(RawBytes(width, height, kept_rows));
  }
  size_t width() const { return width_; }
  size_t height() const { return height_; }
  Window All() {
    return {static_cast<int32_t*>(values_.get()), stride_, width_, height_, row_mask_};
  }

 private:
  static size_t StrideOf(size_t width) {
    constexpr size_t kLine = 64 / sizeof(int32_t);
    const size_t lines = (width + kLine - 1) / kLine;
    return kLine * (lines + (lines % 2 == 0 ? 1 : 0));
  }
  static size_t RawBytes(size_t width, size_t height, size_t kept_rows) {
    return StrideOf(width) * std::min(height, kept_rows) * sizeof(int32_t);
  }

  size_t width_ = 0;
  size_t height_ = 0;
  size_t stride_ = 0;
  size_t row_mask_ = SIZE_MAX;
  ZeroedMemory values_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PLANE_H_
