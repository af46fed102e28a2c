// SPDX-License-Identifier: MIT
// How the entropy coding of a frame's tiles is shared out, a row of macroblocks at a time.
//
// Tiles side by side are coded at the same time, in groups of columns. If these are fewer than the
// threads, so are some rows of tiles: lane (group, phase) has every phases-th row of tiles. The
// other stages follow row by row, so that only some rows of macroblocks are in memory.
#ifndef ZEPJP_CODECS_JPEGXR_TILE_LANES_H_
#define ZEPJP_CODECS_JPEGXR_TILE_LANES_H_

#include <cstddef>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"

namespace zepcodec::jpegxr {

// The tiles of a frame that meet an area: from the columns and rows of tiles `first` up to but
// excluding `end`.
struct TileRange {
  size_t first_column, end_column, first_row, end_row;
};
TileRange TilesOf(const FrameHeader& frame, const TileArea& area);

// Columns of tiles that are coded together.
struct TileGroup {
  size_t first_column, end_column;
};

class TileLanes {
 public:
  // The rows of macroblocks that are coded end with `end_row`.
  TileLanes(const FrameHeader& frame, const TileRange& tiles, size_t end_row, size_t threads);

  const std::vector<TileGroup>& groups() const { return groups_; }
  size_t phases() const { return rows_.size(); }
  // The rows of macroblocks of a phase in their order.
  const std::vector<uint32_t>& RowsOf(size_t phase) const { return rows_[phase]; }
  // How many of them are above `row`.
  size_t RowsAbove(size_t phase, size_t row) const;
  // Open tiles.
  size_t OpenTiles() const { return columns_ * phases(); }
  // The rows of macroblocks to keep in memory, a power of two.
  size_t kept_rows() const { return kept_rows_; }

 private:
  size_t columns_;
  std::vector<TileGroup> groups_;
  std::vector<std::vector<uint32_t>> rows_;
  size_t kept_rows_;
};

// The row of tiles that contains this row of macroblocks.
size_t TileRowOf(const FrameHeader& frame, size_t mb_row);

// The threads that a frame keeps busy.
size_t UsefulThreads(const FrameHeader& frame, size_t threads);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_TILE_LANES_H_
