// SPDX-License-Identifier: MIT
// A tile from its packets to samples.
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

// Components that are decoded together: the first three, which can have a transform, are among
// them. Others wait, so that not all are in memory twice.
constexpr size_t kComponentsAtOnce = 4;

// What became of a tile.
struct TileReport {
  Messages messages;
  int layers_found = 0;  // fewer than announced, but whole ones; 0: see the messages
  int64_t work = 0;      // in the units of Budget
};

// Writes the tile's samples into the picture. Its components have their sizes; those without
// samples get them here, which must not happen in more than one tile. What is damaged gets
// messages; an error is a lack of memory.
Status DecodeTile(const MarkerReader& reader, int number, const Wanted& wanted, size_t threads,
                  TileReport* report, Image* image);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_DECODER_H_
