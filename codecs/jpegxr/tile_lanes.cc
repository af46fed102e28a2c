// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/tile_lanes.h"

#include <algorithm>

namespace zepcodec::jpegxr {
namespace {

// The last of `starts` that is not beyond `place`.
size_t IndexOf(const std::vector<uint32_t>& starts, size_t place) {
  const auto above = std::upper_bound(starts.begin(), starts.end(), place);
  return static_cast<size_t>(above - starts.begin()) - 1;
}

// The most rows of macroblocks in `count` rows of tiles, one below the other.
size_t MostRows(const FrameHeader& frame, const TileRange& tiles, size_t count) {
  size_t most = 0;
  for (size_t row = tiles.first_row; row < tiles.end_row; ++row) {
    const size_t end = std::min(row + count, tiles.end_row);
    most = std::max<size_t>(most, frame.rows[end] - frame.rows[row]);
  }
  return most;
}

size_t PowerOfTwo(size_t least) {
  size_t power = 1;
  while (power < least) power *= 2;
  return power;
}

}  // namespace

TileRange TilesOf(const FrameHeader& frame, const TileArea& area) {
  return {IndexOf(frame.columns, area.x0), IndexOf(frame.columns, area.x1 - 1) + 1,
          IndexOf(frame.rows, area.y0), IndexOf(frame.rows, area.y1 - 1) + 1};
}

TileLanes::TileLanes(const FrameHeader& frame, const TileRange& tiles, size_t end_row,
                     size_t threads)
    : columns_(tiles.end_column - tiles.first_column) {
  const size_t groups = threads == 1 ? 1 : std::min(columns_, 2 * threads);
  for (size_t i = 0; i < groups; ++i) {
    groups_.push_back({tiles.first_column + columns_ * i / groups,
                       tiles.first_column + columns_ * (i + 1) / groups});
  }
  const size_t phases = std::min((threads + groups - 1) / groups, tiles.end_row - tiles.first_row);
  rows_.resize(phases);
  for (size_t i = tiles.first_row; i < tiles.end_row; ++i) {
    std::vector<uint32_t>& rows = rows_[(i - tiles.first_row) % phases];
    const size_t end = std::min<size_t>(frame.rows[i + 1], end_row);
    for (size_t row = frame.rows[i]; row < end; ++row) rows.push_back(static_cast<uint32_t>(row));
  }
  // The row that is coded, the one beside it that is transformed, and the end of the one beyond
  // that. Threads get some more, so that they seldom wait for one another.
  constexpr size_t kLeast = 4;
  constexpr size_t kSlack = 8;
  kept_rows_ = threads == 1  ? kLeast
               : phases == 1 ? kSlack
                             : PowerOfTwo(MostRows(frame, tiles, phases) + kSlack);
}

size_t TileLanes::RowsAbove(size_t phase, size_t row) const {
  const std::vector<uint32_t>& rows = rows_[phase];
  return static_cast<size_t>(std::lower_bound(rows.begin(), rows.end(), row) - rows.begin());
}

size_t TileRowOf(const FrameHeader& frame, size_t mb_row) { return IndexOf(frame.rows, mb_row); }

size_t UsefulThreads(const FrameHeader& frame, size_t threads) {
  constexpr size_t kLeast = 64;  // macroblocks for a thread
  const size_t most = size_t{frame.MbWidth()} * frame.MbHeight() / kLeast + 1;
  return std::min(threads, most);
}

}  // namespace zepcodec::jpegxr
