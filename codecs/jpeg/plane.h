// SPDX-License-Identifier: MIT
// The samples of one component in a window: all of its rows, or those of one row of MCUs and the
// row above.
#ifndef ZEPJP_CODECS_JPEG_PLANE_H_
#define ZEPJP_CODECS_JPEG_PLANE_H_

#include <cstdint>
#include <cstring>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/byte_buffer.h"

namespace zepcodec::jpeg {

class Plane {
 public:
  // Allocates all rows of the window, filled with grey in case the component has no scan.
  [[nodiscard]] bool AllocateAll(const Window& window, const ComponentGeometry& place) {
    const McuWindow rows = window.mcus.In(1, place.v * place.block_size);
    if (!Allocate(window.geometry.step, rows.first_row, rows.end_row - rows.first_row)) {
      return false;
    }
    std::memset(samples_.data(), 128, samples_.size());
    return true;
  }

  // Allocates the first row of MCUs and the row above it.
  [[nodiscard]] bool AllocateWindow(const Geometry& geometry, const ComponentGeometry& place) {
    return Allocate(geometry.step, -1, place.v * place.block_size + 1);
  }

  // Moves the window to a row of MCUs. Its contents become invalid.
  void MoveTo(int mcu_row) { first_row_ = mcu_row * (rows_ - 1) - 1; }

  // Moves the window to the next row of MCUs; the last row of samples is kept above it.
  void Slide() {
    std::memcpy(Row(first_row_), Row(first_row_ + rows_ - 1), static_cast<size_t>(step_));
    first_row_ += rows_ - 1;
  }

  // The row above the window, after Slide().
  const uint8_t* RowAbove() const { return samples_.data(); }
  void SetRowAbove(const uint8_t* samples) {
    std::memcpy(samples_.data(), samples, static_cast<size_t>(step_));
  }

  uint8_t* Row(int y) {
    return samples_.data() + static_cast<size_t>(y - first_row_) * static_cast<size_t>(step_);
  }
  const uint8_t* Row(int y) const {
    return samples_.data() + static_cast<size_t>(y - first_row_) * static_cast<size_t>(step_);
  }
  int step() const { return step_; }

 private:
  bool Allocate(int step, int first_row, int rows) {
    step_ = step;
    first_row_ = first_row;
    rows_ = rows;
    return samples_.Resize(static_cast<size_t>(step) * static_cast<size_t>(rows));
  }

  ByteBuffer samples_;
  int step_ = 0;
  int first_row_ = 0;
  int rows_ = 0;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_PLANE_H_
