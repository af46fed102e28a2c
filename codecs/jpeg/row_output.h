// SPDX-License-Identifier: MIT
// Where the rows of a region go that rows of MCUs complete.
#ifndef ZEPJP_CODECS_JPEG_ROW_OUTPUT_H_
#define ZEPJP_CODECS_JPEG_ROW_OUTPUT_H_

#include <cstddef>
#include <cstdint>
#include <mutex>

#include "codecs/jpeg/band_output.h"
#include "codecs/jpeg/picture_writer.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/picture.h"
#include "codecs/support/row_sink.h"

namespace zepcodec::jpeg {

class RowOutput : public BandOutput {
 public:
  RowOutput(const Window& window, ColorModel model, Picture* picture, RowSink* sink)
      : BandOutput({window.region.width, window.region.height, LayoutOf(model), 8}, picture, sink),
        window_(window) {}

  const Window& window() const { return window_; }

  // Opens the band of the rows that the rows of MCUs first..end-1 complete. False: no memory.
  [[nodiscard]] bool OpenRows(int first, int end, Picture* band, RowTarget* target) {
    const Window::Lines lines = window_.LinesOf(first, end);
    if (!Open(lines.y, lines.count, band, target)) return false;
    if (!has_sink()) Touch(lines);
    return true;
  }

 private:
  // The system clears a large page for each thread that is the first to touch it, even if several
  // threads are. So threads touch the pages of their rows in turn.
  void Touch(const Window::Lines& lines) {
    constexpr size_t kLargePage = size_t{1} << 21;
    if (picture()->SizeInBytes() < kLargePage || lines.count == 0) return;
    const std::lock_guard<std::mutex> lock(touching_);
    uint8_t* const rows = picture()->Row(lines.y);
    const size_t size = picture()->Stride() * static_cast<size_t>(lines.count);
    size_t at = 0;
    while (at < size) {
      *const_cast<volatile uint8_t*>(rows + at) = 0;
      at += kLargePage - reinterpret_cast<uintptr_t>(rows + at) % kLargePage;
    }
  }

  const Window& window_;
  std::mutex touching_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_ROW_OUTPUT_H_
