// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/geometry.h"

#include <algorithm>

namespace zepcodec::jpeg2000 {
namespace {

Rect Halved(const Rect& area, int times) {
  return {CeilShift(area.x0, times), CeilShift(area.y0, times), CeilShift(area.x1, times),
          CeilShift(area.y1, times)};
}

// Equation B-15: a subband samples every 2^level-th place; the high-pass ones start half that
// distance later.
Rect BandArea(const Rect& component, int level, int orientation) {
  const int64_t half = level > 0 ? int64_t{1} << (level - 1) : 0;
  const int64_t dx = orientation == kHL || orientation == kHH ? half : 0;
  const int64_t dy = orientation == kLH || orientation == kHH ? half : 0;
  return Halved({component.x0 - dx, component.y0 - dy, component.x1 - dx, component.y1 - dy},
                level);
}

BandList MakeBands(const Rect& component, const Rect& smaller, int level, bool lowest) {
  BandList bands;
  if (lowest) {
    bands.Add({kLL, level, BandArea(component, level, kLL), 0, 0});
    return bands;
  }
  for (const int orientation : {kHL, kLH, kHH}) {  // in the order of packets
    const bool right = orientation != kLH, below = orientation != kHL;
    bands.Add({orientation, level, BandArea(component, level, orientation),
               right ? smaller.width() : 0, below ? smaller.height() : 0});
  }
  return bands;
}

int64_t CountParts(int64_t begin, int64_t end, int log2) {
  return end > begin ? CeilShift(end, log2) - (begin >> log2) : 0;
}

Resolution MakeResolution(const Rect& component, const ComponentCoding& coding, int number) {
  const int times = coding.levels - number;
  const auto index = static_cast<size_t>(number);
  Resolution made{};
  made.area = Halved(component, times);
  made.precinct_width_log2 = coding.precinct_width_log2[index];
  made.precinct_height_log2 = coding.precinct_height_log2[index];
  const int halving = number > 0 ? 1 : 0;  // of a precinct in a subband
  made.block_width_log2 = std::min(coding.block_width_log2, made.precinct_width_log2 - halving);
  made.block_height_log2 = std::min(coding.block_height_log2, made.precinct_height_log2 - halving);
  if (made.area.empty()) return made;
  made.precincts_across = CountParts(made.area.x0, made.area.x1, made.precinct_width_log2);
  made.precincts_down = CountParts(made.area.y0, made.area.y1, made.precinct_height_log2);
  made.bands = MakeBands(component, Halved(component, times + 1), times + halving, number == 0);
  return made;
}

}  // namespace

Rect Intersection(const Rect& a, const Rect& b) {
  return {std::max(a.x0, b.x0), std::max(a.y0, b.y0), std::min(a.x1, b.x1), std::min(a.y1, b.y1)};
}

Rect BlockGrid::Area(int64_t block) const {
  const int64_t x = (first_column + block % across) << width_log2;
  const int64_t y = (first_row + block / across) << height_log2;
  return Intersection({x, y, x + (int64_t{1} << width_log2), y + (int64_t{1} << height_log2)},
                      clip);
}

BlockGrid Resolution::Blocks(const Band& band, int64_t precinct) const {
  const int halving = band.orientation == kLL ? 0 : 1;
  const int width = precinct_width_log2 - halving;
  const int height = precinct_height_log2 - halving;
  const int64_t x = (area.x0 >> precinct_width_log2) + precinct % precincts_across;
  const int64_t y = (area.y0 >> precinct_height_log2) + precinct / precincts_across;
  BlockGrid grid;
  grid.clip =
      Intersection({x << width, y << height, (x + 1) << width, (y + 1) << height}, band.area);
  grid.width_log2 = block_width_log2;
  grid.height_log2 = block_height_log2;
  if (grid.clip.empty()) return grid;
  grid.first_column = grid.clip.x0 >> block_width_log2;
  grid.first_row = grid.clip.y0 >> block_height_log2;
  grid.across = static_cast<int>(CountParts(grid.clip.x0, grid.clip.x1, block_width_log2));
  grid.down = static_cast<int>(CountParts(grid.clip.y0, grid.clip.y1, block_height_log2));
  return grid;
}

int64_t Tile::PrecinctCount() const {
  int64_t count = 0;
  for (const TileComponent& component : components) {
    for (const Resolution& resolution : component.resolutions) count += resolution.PrecinctCount();
  }
  return count;
}

Rect ComponentArea(const Rect& area, int dx, int dy) {
  return {CeilDivide(area.x0, dx), CeilDivide(area.y0, dy), CeilDivide(area.x1, dx),
          CeilDivide(area.y1, dy)};
}

Rect TileArea(const SizeSegment& size, int tile) {
  const int64_t x = size.tile_x0 + int64_t{size.tile_width} * (tile % size.TilesAcross());
  const int64_t y = size.tile_y0 + int64_t{size.tile_height} * (tile / size.TilesAcross());
  return Intersection({x, y, x + size.tile_width, y + size.tile_height},
                      {size.x0, size.y0, size.x1, size.y1});
}

Tile MakeTile(const SizeSegment& size, const Parameters& parameters, const Rect& area) {
  Tile made;
  made.area = area;
  for (size_t i = 0; i < size.components.size(); ++i) {
    const SizeSegment::ComponentSize& sizes = size.components[i];
    const ComponentCoding& coding = parameters.components[i].coding;
    TileComponent component{ComponentArea(made.area, sizes.dx, sizes.dy), sizes.dx, sizes.dy, {}};
    component.resolutions.reserve(static_cast<size_t>(coding.levels) + 1);
    for (int r = 0; r <= coding.levels; ++r) {
      component.resolutions.push_back(MakeResolution(component.area, coding, r));
    }
    made.components.push_back(std::move(component));
  }
  return made;
}

}  // namespace zepcodec::jpeg2000
