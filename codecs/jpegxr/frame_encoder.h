// SPDX-License-Identifier: MIT
// Encodes pixels to the packets of a frame.
#ifndef ZEPJP_CODECS_JPEGXR_FRAME_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_FRAME_ENCODER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpegxr/codestream.h"
#include "codecs/support/progress.h"
#include "codecs/support/row_source.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpegxr {

// The packets of each tile.
using Packets = std::vector<std::vector<std::vector<uint8_t>>>;

// `trim` refinement bits are left out. `progress` may be null.
Status EncodeFrame(RowSource* rows, const FrameHeader& frame, uint32_t trim, ThreadPool* pool,
                   Progress* progress, Packets* tiles);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_FRAME_ENCODER_H_
