// SPDX-License-Identifier: MIT
// Truncates the code-blocks for each layer: at the same slope of distortion over length everywhere,
// chosen so that the layer has its number of bytes.
#ifndef ZEPJP_CODECS_JPEG2000_RATE_CONTROL_H_
#define ZEPJP_CODECS_JPEG2000_RATE_CONTROL_H_

#include <cstddef>
#include <deque>
#include <vector>

#include "codecs/jpeg2000/tile_encoder.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg2000 {

// `layer_bytes`: the size of the file up to and including each layer, 0 for no limit; `other_bytes`
// of these are outside of packets.
// `slope`: that of the first step that the last layer lacks; 0 if it has all.
Status CutLayers(const std::vector<size_t>& layer_bytes, size_t other_bytes, ThreadPool* pool,
                 std::deque<TileEncoder>* tiles, double* slope);

// Gives all passes of a tile to its only layer.
void TakeAllPasses(TileEncoder* tile);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_RATE_CONTROL_H_
