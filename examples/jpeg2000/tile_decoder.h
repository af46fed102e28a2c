// SPDX-License-Identifier: MIT
// A tile from its packets to samples.
#ifndef ZEPJP_EXAMPLES_JPEG2000_TILE_DECODER_H_
#define ZEPJP_EXAMPLES_JPEG2000_TILE_DECODER_H_

#include <cstddef>

#include "jpeg2000/common.h"
#include "jpeg2000/image.h"
#include "jpeg2000/marker_reader.h"
#include "jpeg2000/messages.h"
#include "jpeg2000/tile_packets.h"

namespace jpeg2000 {

// Writes the tile's samples into the picture, whose components have their sizes. What is damaged gets
// messages; an error is a lack of memory.
Status DecodeTile(const MarkerReader& reader, int number, const Wanted& wanted, size_t threads,
                  Messages* messages, Image* image);

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_TILE_DECODER_H_
