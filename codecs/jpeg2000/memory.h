// SPDX-License-Identifier: MIT
// The memory that the decoder takes, estimated from the headers.
#ifndef ZEPJP_CODECS_JPEG2000_MEMORY_H_
#define ZEPJP_CODECS_JPEG2000_MEMORY_H_

#include <cstdint>

#include "codecs/jpeg2000/opened_file.h"

namespace zepcodec::jpeg2000 {

// What DecodePicture() takes, with the picture or the rows. The file's tile-parts were read.
Status MemoryOf(const OpenedFile& file, const DecodeOptions& options, int64_t* bytes);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_MEMORY_H_
