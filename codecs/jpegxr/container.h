// SPDX-License-Identifier: MIT
// The file around a codestream: a directory of entries as in TIFF (ITU-T T.832, Annex A).
#ifndef ZEPJP_CODECS_JPEGXR_CONTAINER_H_
#define ZEPJP_CODECS_JPEGXR_CONTAINER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/byte_sink.h"
#include "codecs/support/messages.h"
#include "codecs/support/metadata.h"
#include "codecs/support/parallel.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

struct Span {
  const uint8_t* data = nullptr;
  size_t size = 0;
  size_t offset = 0;  // in the file
};

struct Container {
  Span picture;
  Span alpha;  // empty: none of its own
  Metadata metadata;
  bool has_transform = false;  // the orientation is that of the container
};

// A codestream without a container is taken as it is. Damage that costs samples goes to `messages`,
// damage to metadata to `notes`.
Status ReadContainer(const uint8_t* data, size_t size, Messages* messages, Messages* notes,
                     Container* container);

// Takes the orientation from a codestream if the container has none.
void ApplyTransform(int transform, Container* container);

// Puts the codestream of a picture, with its metadata, into a file. The sink may be null.
Status WriteContainer(const Picture& image, const std::vector<uint8_t>& codestream_header,
                      const std::vector<Span>& packets, ByteSink* sink, ByteBuffer* file);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_CONTAINER_H_
