// SPDX-License-Identifier: MIT
// The file around a codestream: a directory of entries as in TIFF (ITU-T T.832, Annex A).
#ifndef ZEPJP_CODECS_JPEGXR_CONTAINER_H_
#define ZEPJP_CODECS_JPEGXR_CONTAINER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/parallel.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

struct Span {
  const uint8_t* data = nullptr;
  size_t size = 0;
};

struct Container {
  Span picture;
  Span alpha;  // empty: none of its own
};

// A codestream without a container is taken as it is. A size beyond the end of the file makes a message.
Status ReadContainer(const uint8_t* data, size_t size, Messages* messages, Container* container);

// Puts the codestream of a picture into a file.
Status WriteContainer(const Picture& image, const std::vector<uint8_t>& codestream_header,
                      const std::vector<Span>& packets, ByteBuffer* file);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_CONTAINER_H_
