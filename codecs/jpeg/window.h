// SPDX-License-Identifier: MIT
// The part of a picture that is decoded: a region, and the MCUs that it needs.
//
// The up-sampling filters look at the sample next to each side of a pixel's own. So the window
// holds the MCUs of the region and of one pixel more on each side. What the filters make of the
// window's own border, where they take the edge of the window for the edge of the picture, is
// outside the region.
#ifndef ZEPJP_CODECS_JPEG_WINDOW_H_
#define ZEPJP_CODECS_JPEG_WINDOW_H_

#include <cstdint>

#include "codecs/jpeg/geometry.h"
#include "codecs/support/region.h"

namespace zepcodec::jpeg {

// A rectangle of the MCUs of a scan.
struct McuWindow {
  int first_column;
  int end_column;
  int first_row;
  int end_row;

  // The same rectangle in smaller units: an MCU has `across` x `down` units.
  McuWindow In(int across, int down) const {
    return {first_column * across, end_column * across, first_row * down, end_row * down};
  }
  // Whether any of `count` MCUs in the order of the scan, from number `first` on, lies inside.
  bool Meets(int64_t first, int64_t count, int mcus_per_row) const;
};

struct Window {
  // `whole` is the picture's geometry, `its_region` lies inside the picture.
  Window(const Geometry& whole, const Region& its_region);

  // The rows of the picture that can be written once a row of MCUs is decoded. The last row of an
  // MCU waits for the row of MCUs below. The first row of the window's border is never complete.
  int FirstLine(int mcu_row) const;
  int EndLine(int mcu_row) const;

  // The rows of the region that the rows of MCUs first..end-1 complete; `y` counts from the
  // region's top.
  struct Lines {
    int y;
    int count;
  };
  Lines LinesOf(int first, int end) const;

  Region region;
  McuWindow mcus;
  // The window's columns as a picture of their own. Rows are those of the whole picture.
  Geometry geometry;
  int left;  // of the region, in pixels from the window's first column
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_WINDOW_H_
