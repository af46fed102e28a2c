// SPDX-License-Identifier: MIT
// Rows of interleaved samples to rows of one component and back.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_ROWS_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_ROWS_H_

#include <cstdint>
#include <vector>

#include "codecs/support/picture.h"

namespace zepcodec::jpeg::lossless {

constexpr int kMostComponents = 4;
constexpr int kMostSide = 65535;

using Row = std::vector<int16_t>;  // samples of 16 bits: their bits as they are

// The samples of channel c of row y, without their `shift` low bits.
void SplitRow(const Picture& picture, int y, int shift, Row* const rows[kMostComponents]);

// As many samples of `count` components as the picture is wide into as many channels of row y from `channel` on, shifted up again. What has more
// bits than the picture, which happens in damaged files only, becomes its largest value.
void JoinRows(const Row* const rows[kMostComponents], int count, int shift, int channel, int y,
              Picture* picture);

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_ROWS_H_
