// SPDX-License-Identifier: MIT
// The memory that the decoder takes, estimated from the main header.
#ifndef ZEPJP_CODECS_JPEG2000_MEMORY_H_
#define ZEPJP_CODECS_JPEG2000_MEMORY_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/decoder.h"

namespace zepcodec::jpeg2000 {

// For a codestream of `bytes` bytes whose headers were checked. `channels_of_palette`: 0 without a
// palette.
int64_t MemoryOf(const SizeSegment& size, const Parameters& parameters, size_t bytes,
                 size_t channels_of_palette, const DecodeOptions& options);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_MEMORY_H_
