// SPDX-License-Identifier: MIT
// Decodes a tile from its packets to samples.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_DECODER_H_
#define ZEPJP_CODECS_JPEG2000_TILE_DECODER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg2000/image.h"
#include "codecs/jpeg2000/marker_reader.h"
#include "codecs/jpeg2000/tile_packets.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// The number of components that are decoded together, at least the three that can have a component
// transform. Later ones are decoded after them, so that not all are in memory twice.
constexpr size_t kComponentsAtOnce = 4;

// The result of decoding a tile.
struct TileReport {
  Messages messages;
  int layers_found = 0;  // complete layers, if fewer than announced; 0: see the messages
  int64_t work = 0;      // in the units of Budget
};

// Writes the tile's samples into the picture, whose components have their sizes. A component
// without samples gets them here, which only one tile may do. Damage goes to the messages; the only
// error is a lack of memory.
Status DecodeTile(const MarkerReader& reader, int number, const Wanted& wanted, size_t threads,
                  TileReport* report, Image* image);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_DECODER_H_
