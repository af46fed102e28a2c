// SPDX-License-Identifier: MIT
// Where the layers cut the code-blocks: the same slope of distortion over length everywhere, as steep as
// the bytes of the layer ask for.
#ifndef ZEPJP_CODECS_JPEG2000_RATE_CONTROL_H_
#define ZEPJP_CODECS_JPEG2000_RATE_CONTROL_H_

#include <cstddef>
#include <deque>
#include <vector>

#include "codecs/jpeg2000/tile_encoder.h"

namespace zepcodec::jpeg2000 {

// `layer_bytes`: all bytes of the file up to and with each layer, 0 for no limit; `other_bytes` of them do
// not belong to packets.
void CutLayers(const std::vector<size_t>& layer_bytes, size_t other_bytes,
               std::deque<TileEncoder>* tiles);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_RATE_CONTROL_H_
