// SPDX-License-Identifier: MIT
// Differences of MCUs, one sample of each component, to the rows of a picture.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_ROW_ASSEMBLER_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_ROW_ASSEMBLER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "codecs/jpeg/band_output.h"
#include "codecs/jpeg/lossless/difference_part.h"
#include "codecs/jpeg/lossless/prediction.h"
#include "codecs/jpeg/lossless/rows.h"
#include "codecs/support/region.h"

namespace zepcodec::jpeg::lossless {

// What a thread needs to know to make rows.
struct RowPlace {
  size_t width;
  size_t components;  // of the scan, which are adjacent channels
  int channel;        // of the first one
  Prediction prediction;
  Region region;  // the part of the picture that is wanted
};

class RowAssembler {
 public:
  explicit RowAssembler(const RowPlace& place) : place_(place) {
    for (size_t c = 0; c < place.components; ++c) {
      rows_[c].resize(place.width);
      above_[c].resize(place.width);
    }
  }

  // The next rows go to this band of the region.
  void SetTarget(const RowTarget& target) { target_ = target; }
  // An interval begins with row `y`.
  void Start(int y) {
    y_ = y;
    x_ = 0;
    is_first_ = true;
  }
  int y() const { return y_; }

  // The next row, to be filled with differences.
  int16_t* Differences(size_t component) { return rows_[component].data(); }
  // It is filled.
  void EndRow() {
    const Row* rows[kMostComponents] = {};
    for (size_t c = 0; c < place_.components; ++c) {
      if (is_first_) {
        AddFirstRow(place_.prediction, &rows_[c]);
      } else {
        AddRow(place_.prediction, above_[c], &rows_[c]);
      }
      rows[c] = &rows_[c];
    }
    if (y_ >= place_.region.y && y_ < place_.region.y + place_.region.height) {
      JoinRows(rows, static_cast<int>(place_.components), place_.prediction.point_transform,
               place_.channel, place_.region.x, y_ - place_.region.y - target_.y, target_.picture);
    }
    std::swap(rows_, above_);
    is_first_ = false;
    ++y_;
  }

  // Takes the next MCUs of the interval, from number `done` of the run on, up to the end of a row.
  // Returns how many.
  size_t Take(const McuRun& run, size_t done) {
    const size_t count = std::min(run.count - done, place_.width - x_);
    for (size_t c = 0; c < place_.components; ++c) {
      std::copy_n(run.planes[c] + done, count, rows_[c].data() + x_);
    }
    x_ += count;
    if (x_ == place_.width) {
      EndRow();
      x_ = 0;
    }
    return count;
  }

 private:
  const RowPlace place_;
  RowTarget target_{};
  Row rows_[kMostComponents];
  Row above_[kMostComponents];
  size_t x_ = 0;
  int y_ = 0;
  bool is_first_ = true;
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_ROW_ASSEMBLER_H_
