// SPDX-License-Identifier: MIT
// Where the rows of a picture go: into memory, or band after band to a sink.
#ifndef ZEPJP_CODECS_JPEG_BAND_OUTPUT_H_
#define ZEPJP_CODECS_JPEG_BAND_OUTPUT_H_

#include "codecs/support/picture.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

// Rows for the decoder to fill: some of a region's, as wide as the region.
struct RowTarget {
  Picture* picture;
  int y;  // of its first row, from the top of the region
};

// The form of a region.
struct RowForm {
  int width;
  int height;
  PixelLayout layout;
  int bits;
};

class BandOutput {
 public:
  // With a sink the picture stays without pixels. All must outlive the object.
  BandOutput(const RowForm& form, Picture* picture, RowSink* sink)
      : form_(form), picture_(picture), sink_(sink) {}

  bool has_sink() const { return sink_ != nullptr; }
  // Without a sink, all rows of the region.
  Picture* picture() { return picture_; }

  // False: no memory.
  [[nodiscard]] bool Init() {
    if (has_sink()) {
      *picture_ = Picture();
      return true;
    }
    return picture_->Resize(form_.width, form_.height, form_.layout, form_.bits);
  }

  // Where `count` rows from `y` on are to be written. For the sink these are the rows of `band`.
  // False: no memory.
  [[nodiscard]] bool Open(int y, int count, Picture* band, RowTarget* target) {
    *target = {band, y};
    if (has_sink()) return band->Resize(form_.width, count, form_.layout, form_.bits);
    *target = {picture_, 0};
    return true;
  }

  // The rows are written. Bands come in their order. Bands that the sink has had already are left
  // out, so that a damaged file can be decoded anew.
  Status Close(const RowTarget& target) {
    const int end = target.y + target.picture->height();
    if (!has_sink() || end <= given_) return Status();
    given_ = end;
    return sink_->Take(*target.picture, target.y);
  }

 private:
  const RowForm form_;
  Picture* picture_;
  RowSink* sink_;
  int given_ = 0;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BAND_OUTPUT_H_
