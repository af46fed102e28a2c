// SPDX-License-Identifier: MIT
// Which part of a picture comes from which tile.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_PLAN_H_
#define ZEPJP_CODECS_JPEG2000_TILE_PLAN_H_

#include <vector>

#include "codecs/jpeg2000/opened_file.h"
#include "codecs/support/region.h"

namespace zepcodec::jpeg2000 {

// A part of a picture that one tile shows.
struct TilePart {
  int tile;
  Region region;  // in pixels of the whole picture; empty: the tile shows nothing
};

// The parts of a region, row of tiles by row of tiles; a row has no gaps. Empty if a pixel needs
// samples of several tiles, which happens where coarser components do not start with the picture.
std::vector<std::vector<TilePart>> PlanTiles(const OpenedFile& file, int reduce, int width,
                                             int height, const Region& region);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_PLAN_H_
