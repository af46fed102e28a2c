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

// Splits row y into its channels and drops the `shift` low bits of each sample.
void SplitRow(const Picture& picture, int y, int shift, Row* const rows[kMostComponents]);

// Stores a row of each of `count` components, from sample `left` on and shifted up again, in row y
// of the picture, from channel `channel` on. In damaged files a sample can have too many bits; it
// becomes the largest value.
void JoinRows(const Row* const rows[kMostComponents], int count, int shift, int channel, int left,
              int y, Picture* picture);

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_ROWS_H_
