// SPDX-License-Identifier: MIT
// Where the rows of a region go: into a picture, or band after band through a sink.
#ifndef ZEPJP_CODECS_JPEG_ROW_OUTPUT_H_
#define ZEPJP_CODECS_JPEG_ROW_OUTPUT_H_

#include <cstddef>
#include <cstdint>
#include <mutex>

#include "codecs/jpeg/picture_writer.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/picture.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

class RowOutput {
 public:
  // With a sink the picture stays without pixels. All must outlive the object.
  RowOutput(const Window& window, ColorModel model, Picture* picture, RowSink* sink)
      : window_(window), layout_(LayoutOf(model)), picture_(picture), sink_(sink) {}

  bool has_sink() const { return sink_ != nullptr; }
  const Window& window() const { return window_; }

  // False: no memory.
  [[nodiscard]] bool Init() {
    if (has_sink()) {
      *picture_ = Picture();
      return true;
    }
    return picture_->Resize(window_.region.width, window_.region.height, layout_);
  }

  // Where the rows are to be written that the rows of MCUs first..end-1 complete. For the sink
  // these are the rows of `band`. False: no memory.
  [[nodiscard]] bool Open(int first, int end, Picture* band, RowTarget* target) {
    const Window::Lines lines = window_.LinesOf(first, end);
    if (!has_sink()) {
      *target = {picture_, 0};
      Touch(lines);
      return true;
    }
    *target = {band, lines.y};
    return band->Resize(window_.region.width, lines.count, layout_);
  }

  // The rows are written. Bands come in their order. Rows that the sink has had already are left
  // out, so that a damaged file can be decoded anew.
  Status Close(const RowTarget& target) {
    const int end = target.y + target.picture->height();
    if (!has_sink() || end <= given_) return Status();
    given_ = end;
    return sink_->Take(*target.picture, target.y);
  }

 private:
  // The system clears a large page for each thread that is the first to touch it, even if several
  // threads are. So threads touch the pages of their rows in turn.
  void Touch(const Window::Lines& lines) {
    constexpr size_t kLargePage = size_t{1} << 21;
    if (picture_->SizeInBytes() < kLargePage || lines.count == 0) return;
    const std::lock_guard<std::mutex> lock(touching_);
    uint8_t* const rows = picture_->Row(lines.y);
    const size_t size = picture_->Stride() * static_cast<size_t>(lines.count);
    size_t at = 0;
    while (at < size) {
      *const_cast<volatile uint8_t*>(rows + at) = 0;
      at += kLargePage - reinterpret_cast<uintptr_t>(rows + at) % kLargePage;
    }
  }

  const Window& window_;
  PixelLayout layout_;
  Picture* picture_;
  RowSink* sink_;
  int given_ = 0;
  std::mutex touching_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_ROW_OUTPUT_H_
