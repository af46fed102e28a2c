// SPDX-License-Identifier: MIT
// Overlap filters over a plane, or over a tile of one whose borders they do not cross.
//
// Between blocks of 4x4 they work on squares of 4x4 values around the corners of four blocks, along the
// plane's border on lines of four values across the border of two blocks, and in its corners on squares of
// 2x2. The halved DC planes of chroma have squares of 2x2 and pairs instead.
#ifndef ZEPJP_CODECS_JPEGXR_OVERLAP_H_
#define ZEPJP_CODECS_JPEGXR_OVERLAP_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/plane.h"

namespace zepcodec::jpegxr {

// Before the forward transform; after the inverse one; the latter for streams of sub-version 0.
enum class FilterKind { kPre, kPost, kOldPost };

struct OverlapFilter {
  FilterKind kind;
  // Of the old filter, which takes back what has leaked in magnitudes below this; see TakeBackLeak().
  int32_t leak_limit = 0;
};

// What crosses the border between block rows `row` and row + 1, for row + 1 < height / 4; and what lies inside
// the first or last row of blocks, for row = -1 and the last. All of it: FilterPlane.
void FilterRow(const OverlapFilter& filter, const Window& plane, ptrdiff_t row);
void FilterPlane(const OverlapFilter& filter, const Window& plane);

// The second stage of subsampled chroma, on two values across for each macroblock: between rows from `begin`, an even
// one, to before `end`, and between them and those before.
void FilterSmallRows(const OverlapFilter& filter, const Window& plane, size_t begin, size_t end);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_OVERLAP_H_
