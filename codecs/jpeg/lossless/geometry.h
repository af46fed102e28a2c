// SPDX-License-Identifier: MIT
// Where the samples of a lossless scan lie.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_GEOMETRY_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_GEOMETRY_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/markers/frame.h"

namespace zepcodec::jpeg::lossless {

struct Sampling {
  int h = 1;
  int v = 1;
};

// An MCU is one sample of a single component, or h x v samples of each of several.
struct ScanGeometry {
  ScanGeometry(const Frame& frame, const Scan& scan);

  int64_t McuCount() const { return int64_t{mcus_per_row} * mcu_rows; }

  int mcus_per_row;
  int mcu_rows;
  int lines;                  // of the picture in a row of MCUs that hold all components
  std::vector<Sampling> mcu;  // of each part of the scan
};

// The picture's rows that a sink gets at a time: whole restart intervals, if they are whole rows.
int RowsInABand(const ScanGeometry& geometry, int restart_interval);

// Whether all components have the picture's resolution.
bool IsPlain(const Frame& frame);
// The number of samples of all components together.
int64_t SampleCount(const Frame& frame);

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_GEOMETRY_H_
