// SPDX-License-Identifier: MIT
// Pixel x shows the sample floor(x w / W) of a component that is w samples wide in a picture of W.
// So a tile that starts with sample s of the component starts with pixel ceil(s W / w). All
// components must agree on that pixel.
#include "codecs/jpeg2000/tile_plan.h"

#include <algorithm>
#include <optional>

namespace zepcodec::jpeg2000 {
namespace {

// A component along one direction.
struct Axis {
  int64_t begin, length;  // of the samples on the reduced grid
  int step;
};

// The pixels at which tiles start, and the end of the last one.
std::optional<std::vector<int>> TileStarts(const std::vector<Axis>& components, int reduce,
                                           int64_t first_tile, int64_t tile_length, int tiles,
                                           int pixels) {
  std::vector<int> starts = {0};
  for (int i = 1; i < tiles; ++i) {
    const int64_t place = first_tile + i * tile_length;
    int64_t start = -1;
    for (const Axis& axis : components) {
      if (axis.length == 0) continue;
      const int64_t sample = CeilShift(CeilDivide(place, axis.step), reduce) - axis.begin;
      const int64_t own =
          CeilDivide(std::clamp<int64_t>(sample, 0, axis.length) * pixels, axis.length);
      if (start >= 0 && own != start) return std::nullopt;
      start = own;
    }
    starts.push_back(static_cast<int>(start));
  }
  starts.push_back(pixels);
  return starts;
}

}  // namespace

std::vector<std::vector<TilePart>> PlanTiles(const OpenedFile& file, int reduce, int width,
                                             int height, const Region& region) {
  const SizeSegment& size = file.size();
  std::vector<Axis> across, down;
  for (size_t c = 0; c < size.components.size(); ++c) {
    const Rect area = file.AreaOf(c, reduce);
    across.push_back({area.x0, area.width(), size.components[c].dx});
    down.push_back({area.y0, area.height(), size.components[c].dy});
  }
  const auto columns =
      TileStarts(across, reduce, size.tile_x0, size.tile_width, size.TilesAcross(), width);
  const auto rows =
      TileStarts(down, reduce, size.tile_y0, size.tile_height, size.TilesDown(), height);
  std::vector<std::vector<TilePart>> plan;
  if (!columns || !rows) return plan;
  for (int row = 0; row < size.TilesDown(); ++row) {
    const int top = std::max((*rows)[size_t(row)], region.y);
    const int bottom = std::min((*rows)[size_t(row) + 1], region.y + region.height);
    std::vector<TilePart> parts;
    for (int column = 0; column < size.TilesAcross(); ++column) {
      const int left = std::max((*columns)[size_t(column)], region.x);
      const int right = std::min((*columns)[size_t(column) + 1], region.x + region.width);
      if (left >= right || top >= bottom) continue;
      parts.push_back({row * size.TilesAcross() + column, {left, top, right - left, bottom - top}});
    }
    if (!parts.empty()) plan.push_back(std::move(parts));
  }
  return plan;
}

}  // namespace zepcodec::jpeg2000
