// SPDX-License-Identifier: MIT
// Where the samples of each component lie, at full scale and in reduced previews.
#ifndef ZEPJP_CODECS_JPEG_GEOMETRY_H_
#define ZEPJP_CODECS_JPEG_GEOMETRY_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/markers/frame.h"

namespace zepcodec::jpeg {

struct ComponentGeometry {
  int h;  // sampling factors
  int v;
  int block_size;  // of the decoded block, in samples: 8, 4, 2 or 1
  int width;       // samples that belong to the picture
  int height;
  int blocks_per_row;  // blocks that hold such samples; a scan of this component alone has no more
  int block_rows;
};

// A preview at 1/2, 1/4 or 1/8 makes 4x4, 2x2 or 1x1 samples from each block. A component that is
// coded at a lower resolution gets larger blocks, up to the picture's resolution, so that it needs
// less up-sampling or none.
struct Geometry {
  Geometry(const Frame& frame, int scale);

  int width;  // of the picture at this scale
  int height;
  int max_h;
  int max_v;
  int unit;  // block size of a component of full resolution
  int mcus_per_row;
  int mcu_rows;
  int step;  // bytes from row to row of every plane
  std::vector<ComponentGeometry> components;

  // Rows of the picture that an MCU spans.
  int McuHeight() const { return max_v * unit; }
  int McuWidth() const { return max_h * unit; }
  // From the MCUs of a row.
  void SetStep();
};

// Threads work on bands of this many rows of MCUs. Decoding a band takes one row more, and encoding
// a band converts one row more, so bands have more than a few rows.
constexpr int kRowsInABand = 12;

constexpr int DivideUp(int64_t value, int64_t divisor) {
  return static_cast<int>((value + divisor - 1) / divisor);
}

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_GEOMETRY_H_
