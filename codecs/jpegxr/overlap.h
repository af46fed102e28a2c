// SPDX-License-Identifier: MIT
// Overlap filters over a plane, or over a hard tile, whose borders they do not cross.
//
// They work on squares of 4x4 values around the corners of four blocks, along the border of the
// plane on lines of four values across the border of two blocks, and in its corners on 2x2 values.
// The halved DC planes of chroma have 2x2 squares and pairs instead.
#ifndef ZEPJP_CODECS_JPEGXR_OVERLAP_H_
#define ZEPJP_CODECS_JPEGXR_OVERLAP_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/plane.h"

namespace zepcodec::jpegxr {

// Before the forward transform; after the inverse transform; after it in streams of sub-version 0.
enum class FilterKind { kPre, kPost, kOldPost };

struct OverlapFilter {
  FilterKind kind;
  // For the old filter, which corrects leaks of sums into differences below this; see
  // TakeBackLeak().
  int32_t leak_limit = 0;
};

// Filters across the border between the block rows `row` and row + 1. Row -1 and the last block row
// stand for the plane's upper and lower border.
void FilterRow(const OverlapFilter& filter, const Window& plane, ptrdiff_t row);

// The second stage of subsampled chroma, where a macroblock is two values wide. Filters the rows
// from `begin` (even) up to but excluding `end`, and across the border above them.
void FilterSmallRows(const OverlapFilter& filter, const Window& plane, size_t begin, size_t end);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_OVERLAP_H_
