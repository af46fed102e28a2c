// SPDX-License-Identifier: MIT
// The bands of a picture whose rows are made from top to bottom.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_ROW_BANDS_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_ROW_BANDS_H_

#include <algorithm>

#include "codecs/jpeg/band_output.h"
#include "codecs/support/picture.h"
#include "codecs/support/region.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg::lossless {

// Opens the band of the region's rows among first..end-1. False: no memory.
[[nodiscard]] inline bool OpenBand(const Region& region, int first, int end, BandOutput* output,
                                   Picture* band, RowTarget* target) {
  const int top = std::clamp(first - region.y, 0, region.height);
  const int bottom = std::clamp(end - region.y, 0, region.height);
  return output->Open(top, bottom - top, band, target);
}

class RowBands {
 public:
  // A band has `rows_in_band` rows. The output must outlive the object.
  RowBands(const Region& region, int rows_in_band, BandOutput* output)
      : region_(region), rows_in_band_(rows_in_band), output_(*output) {}

  // Row y comes next: its band is opened, and the one above is complete.
  Status MoveTo(int y) {
    if (y < end_) return Status();
    if (Status status = Finish(); !status.ok()) return status;
    const int first = y - y % rows_in_band_;
    end_ = first + rows_in_band_;
    is_open_ = OpenBand(region_, first, end_, &output_, &rows_, &target_);
    return is_open_ ? Status() : Status::NoMemory();
  }
  const RowTarget& target() const { return target_; }

  // The last band is complete.
  Status Finish() {
    if (!is_open_) return Status();
    is_open_ = false;
    return output_.Close(target_);
  }

 private:
  const Region region_;
  const int rows_in_band_;
  BandOutput& output_;
  Picture rows_;
  RowTarget target_{};
  int end_ = 0;
  bool is_open_ = false;
};

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_ROW_BANDS_H_
