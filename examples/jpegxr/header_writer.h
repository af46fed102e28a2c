// SPDX-License-Identifier: MIT
// Writes the headers of a codestream.
#ifndef ZEPJP_EXAMPLES_JPEGXR_HEADER_WRITER_H_
#define ZEPJP_EXAMPLES_JPEGXR_HEADER_WRITER_H_

#include <cstdint>
#include <vector>

#include "jpegxr/codestream.h"

namespace jpegxr {

// Everything before the tiles. `packet_sizes` of all packets in their order; without an index they are not
// used.
std::vector<uint8_t> MakeHeaders(const FrameHeader& frame,
                                 const std::vector<uint64_t>& packet_sizes);

}  // namespace jpegxr

#endif  // ZEPJP_EXAMPLES_JPEGXR_HEADER_WRITER_H_
