// SPDX-License-Identifier: MIT
// Makes bands of a picture, a number of rows of MCUs each, through windows of a row of MCUs.
#ifndef ZEPJP_CODECS_JPEG_BAND_WRITER_H_
#define ZEPJP_CODECS_JPEG_BAND_WRITER_H_

#include <cstddef>
#include <vector>

#include "codecs/jpeg/picture_writer.h"
#include "codecs/jpeg/plane.h"
#include "codecs/jpeg/window.h"
#include "codecs/support/byte_buffer.h"

namespace zepcodec::jpeg {

// Up-sampling needs the samples above and below a row. So a band does not write the last row of pixels
// of its last row of MCUs. The next band begins with that row. It needs the last samples of the row
// of MCUs above: from the band above if that is made, else it decodes that row a second time.
class BandWriter {
 public:
  // The window must outlive the writer.
  BandWriter(const Window& window, ColorModel model)
      : window_(window), planes_(window.geometry.components.size()), writer_(model, window) {}

  // False: no memory.
  [[nodiscard]] bool Init() {
    for (size_t i = 0; i < planes_.size(); ++i) {
      const Geometry& geometry = window_.geometry;
      if (!planes_[i].AllocateWindow(geometry, geometry.components[i])) return false;
    }
    return writer_.Init(planes_);
  }

  std::vector<Plane>* planes() { return &planes_; }

  // To be called before a row of MCUs is decoded that is not the one after the last.
  void MoveTo(int row) {
    for (Plane& plane : planes_) plane.MoveTo(row);
  }
  // The planes hold the samples of a row of MCUs, and the last samples of the row above: writes the
  // rows of pixels that are complete with it. Then the planes are ready for the next row of MCUs.
  void Write(int row, const RowTarget& target) {
    writer_.Write(window_.FirstLine(row), window_.EndLine(row), target);
    Slide();
  }

  // The last samples of a band, for the band below.
  using Edge = std::vector<ByteBuffer>;  // a row of each component
  // False: no memory.
  [[nodiscard]] bool CopyEdge(Edge* edge) const {
    edge->resize(planes_.size());
    for (size_t i = 0; i < planes_.size(); ++i) {
      ByteBuffer& row = (*edge)[i];
      const auto size = static_cast<size_t>(planes_[i].step());
      if (!row.Resize(0) || !row.Append(planes_[i].RowAbove(), size)) return false;
    }
    return true;
  }

  // A band of the rows of MCUs first..end-1. make_row(row) fills the planes with the samples of a
  // row. `edge`: of the band above, or null.
  template <class MakeRow>
  void WriteBand(int first, int end, const Edge* edge, const RowTarget& target,
                 const MakeRow& make_row) {
    if (edge != nullptr) {
      MoveTo(first);
      for (size_t i = 0; i < planes_.size(); ++i) planes_[i].SetRowAbove((*edge)[i].data());
    } else if (first > window_.mcus.first_row) {
      MoveTo(first - 1);
      make_row(first - 1);
      Slide();
    } else {
      MoveTo(first);
    }
    for (int row = first; row < end; ++row) {
      make_row(row);
      Write(row, target);
    }
  }

 private:
  void Slide() {
    for (Plane& plane : planes_) plane.Slide();
  }

  const Window& window_;
  std::vector<Plane> planes_;
  PictureWriter writer_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BAND_WRITER_H_
