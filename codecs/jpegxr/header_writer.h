// SPDX-License-Identifier: MIT
// Writes the headers of a codestream.
#ifndef ZEPJP_CODECS_JPEGXR_HEADER_WRITER_H_
#define ZEPJP_CODECS_JPEGXR_HEADER_WRITER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpegxr/codestream.h"

namespace zepcodec::jpegxr {

// Makes everything before the tiles. `packet_sizes` has all packets in their order; it is only used
// for an index.
std::vector<uint8_t> MakeHeaders(const FrameHeader& frame,
                                 const std::vector<uint64_t>& packet_sizes);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_HEADER_WRITER_H_
