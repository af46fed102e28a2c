// SPDX-License-Identifier: MIT
// Rows of interleaved samples to rows of one component and back.
#ifndef ZEPJP_EXAMPLES_LJPEG_ROWS_H_
#define ZEPJP_EXAMPLES_LJPEG_ROWS_H_

#include <cstdint>
#include <vector>

#include "common/raster.h"

namespace ljpeg {

constexpr int kMostComponents = 4;
constexpr int kMostSide = 65535;

using Row = std::vector<int16_t>;  // samples of 16 bits: their bits as they are

// The samples of channel c of row y, without their `shift` low bits.
void SplitRow(const common::Raster& picture, int y, int shift, Row* const rows[kMostComponents]);

// As many samples of `count` components as the picture is wide into as many channels of row y from `channel` on, shifted up again. What has more
// bits than the picture, which happens in damaged files only, becomes its largest value.
void JoinRows(const Row* const rows[kMostComponents], int count, int shift, int channel, int y,
              common::Raster* picture);

}  // namespace ljpeg

#endif  // ZEPJP_EXAMPLES_LJPEG_ROWS_H_
