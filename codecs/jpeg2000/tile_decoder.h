// SPDX-License-Identifier: MIT
// Decodes a tile from its packets to samples.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_DECODER_H_
#define ZEPJP_CODECS_JPEG2000_TILE_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/marker_reader.h"
#include "codecs/jpeg2000/tile_packets.h"
#include "codecs/jpeg2000/tile_samples.h"
#include "codecs/support/messages.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg2000 {

// The part of the picture that is wanted.
struct Wanted {
  int reduce = 0;           // resolutions to leave out
  int layers = 0;           // 0: all
  std::vector<Rect> areas;  // of the components, on their reduced grids
};

// The result of decoding a tile.
struct TileReport {
  Messages messages;
  int layers_found = 0;  // complete layers, if fewer than announced; 0: see the messages
  int64_t work = 0;      // in the units of Budget
};

// The area of a tile's component on the reduced grid.
Rect ReducedArea(const Rect& area, const SizeSegment::ComponentSize& component, int reduce);

// Decodes the wanted part of a tile. Damage goes to the messages; the only errors are a lack of
// memory and a stop by `progress`, which can be null.
Status DecodeTile(const MarkerReader& reader, int number, const Wanted& wanted, ThreadPool* pool,
                  Progress* progress, TileReport* report, TileSamples* samples);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_DECODER_H_
