// SPDX-License-Identifier: MIT
// Reads the headers of a codestream.
#ifndef ZEPJP_CODECS_JPEGXR_HEADER_READER_H_
#define ZEPJP_CODECS_JPEGXR_HEADER_READER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/codestream.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/parallel.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

struct Headers {
  FrameHeader frame;
  std::vector<uint64_t> packet_offsets;  // from data_start; one packet at 0 without an index
  size_t data_start = 0;                 // in the codestream
};

// Reads everything before the tiles. `offset` is the position of the codestream in the file, for
// errors.
Status ReadHeaders(const uint8_t* data, size_t size, size_t offset, Headers* headers);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_HEADER_READER_H_
