// SPDX-License-Identifier: MIT
// Makes bands of a picture, a number of rows of MCUs each, through windows of a row of MCUs.
#ifndef ZEPJP_CODECS_JPEG_BAND_WRITER_H_
#define ZEPJP_CODECS_JPEG_BAND_WRITER_H_

#include <algorithm>
#include <vector>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/picture_writer.h"
#include "codecs/jpeg/plane.h"
#include "codecs/support/picture.h"

namespace zepcodec::jpeg {

// Up-sampling needs the samples above and below a row. So a band does not write the last row of pixels
// of its last row of MCUs. The next band begins with that row, and for it decodes the row of MCUs
// above a second time.
class BandWriter {
 public:
  BandWriter(const Geometry& geometry, ColorModel model, Picture* image)
      : geometry_(geometry), planes_(geometry.components.size()), writer_(model, image) {}

  // False: no memory.
  [[nodiscard]] bool Init() {
    for (size_t i = 0; i < planes_.size(); ++i) {
      if (!planes_[i].AllocateWindow(geometry_, geometry_.components[i])) return false;
    }
    return writer_.Init(geometry_, planes_);
  }

  std::vector<Plane>* planes() { return &planes_; }

  // A band of the rows of MCUs first..end-1. make_row(row) fills the window with the samples of a row,
  // or returns false to end it all.
  template <class MakeRow>
  bool Write(int first, int end, const MakeRow& make_row) {
    const int above = std::max(first - 1, 0);
    for (Plane& plane : planes_) plane.MoveTo(above);
    int done = first == 0 ? 0 : first * geometry_.McuHeight() - 1;
    for (int row = above; row < end; ++row) {
      if (!make_row(row)) return false;
      const int bottom = (row + 1) * geometry_.McuHeight();
      const int last = row + 1 == geometry_.mcu_rows ? geometry_.height : bottom - 1;
      if (row >= first) {
        writer_.Write(done, last);
        done = last;
      }
      for (Plane& plane : planes_) plane.Slide();
    }
    return true;
  }

 private:
  const Geometry& geometry_;
  std::vector<Plane> planes_;
  PictureWriter writer_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BAND_WRITER_H_
