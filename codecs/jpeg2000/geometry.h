// SPDX-License-Identifier: MIT
// The division of a tile into components, resolutions, subbands, precincts and code-blocks (ITU-T
// T.800, B.3 to B.7).
#ifndef ZEPJP_CODECS_JPEG2000_GEOMETRY_H_
#define ZEPJP_CODECS_JPEG2000_GEOMETRY_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/codestream.h"

namespace zepcodec::jpeg2000 {

constexpr int64_t CeilDivide(int64_t value, int64_t divisor) {
  return (value + divisor - 1) / divisor;
}
constexpr int64_t CeilShift(int64_t value, int bits) {
  return (value + (int64_t{1} << bits) - 1) >> bits;
}

// From (x0, y0) up to but excluding (x1, y1).
struct Rect {
  int64_t x0 = 0, y0 = 0, x1 = 0, y1 = 0;

  int64_t width() const { return x1 - x0; }
  int64_t height() const { return y1 - y0; }
  bool empty() const { return x1 <= x0 || y1 <= y0; }
  int64_t Count() const { return empty() ? 0 : width() * height(); }
};

Rect Intersection(const Rect& a, const Rect& b);
constexpr Rect Moved(const Rect& area, int64_t x, int64_t y) {
  return {area.x0 + x, area.y0 + y, area.x1 + x, area.y1 + y};
}

// With the numbers that the library uses.
enum Orientation : int { kLL = 0, kLH = 1, kHL = 2, kHH = 3 };

struct Band {
  int orientation;
  int level;  // 1: of the first transform, the one of the picture itself
  Rect area;
  // Its place in the plane of its tile's component; the lower resolutions are in the upper left
  // corner.
  int64_t plane_x, plane_y;
};

// The subbands of a resolution, at most three, without heap memory.
class BandList {
 public:
  void Add(const Band& band) { bands_[count_++] = band; }
  size_t size() const { return count_; }
  const Band& operator[](size_t i) const { return bands_[i]; }
  const Band* begin() const { return bands_.data(); }
  const Band* end() const { return bands_.data() + count_; }

 private:
  std::array<Band, 3> bands_ = {};
  size_t count_ = 0;
};

// The code-blocks of one subband in one precinct, in rows.
struct BlockGrid {
  Rect clip;
  int64_t first_column = 0, first_row = 0;  // counted in blocks from the origin
  int across = 0, down = 0;
  int width_log2 = 0, height_log2 = 0;

  int64_t Count() const { return int64_t{across} * down; }
  Rect Area(int64_t block) const;
};

struct Resolution {
  Rect area;
  int precinct_width_log2, precinct_height_log2;
  int block_width_log2, block_height_log2;
  int64_t precincts_across, precincts_down;
  BandList bands;  // none where the resolution has no samples

  int64_t PrecinctCount() const { return precincts_across * precincts_down; }
  BlockGrid Blocks(const Band& band, int64_t precinct) const;
};

struct TileComponent {
  Rect area;
  int dx, dy;
  std::vector<Resolution> resolutions;  // 0 is the smallest

  int levels() const { return static_cast<int>(resolutions.size()) - 1; }
};

struct Tile {
  Rect area;
  std::vector<TileComponent> components;

  int64_t PrecinctCount() const;
};

// The area of a component for an area of the reference grid.
Rect ComponentArea(const Rect& area, int dx, int dy);
Rect TileArea(const SizeSegment& size, int tile);
// Precincts must be at least 2 wide and high, except at resolution 0.
Tile MakeTile(const SizeSegment& size, const Parameters& parameters, const Rect& area);
inline Tile MakeTile(const SizeSegment& size, const Parameters& parameters, int tile) {
  return MakeTile(size, parameters, TileArea(size, tile));
}

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_GEOMETRY_H_
