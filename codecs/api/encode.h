// SPDX-License-Identifier: MIT
// What all functions that make files share.
#ifndef ZEPJP_CODECS_API_ENCODE_H_
#define ZEPJP_CODECS_API_ENCODE_H_

#include <cstddef>

#include "codecs/include/zepcodec.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/metadata.h"

namespace zepcodec::api {

// Null is no metadata.
zepcStatus CheckMetadata(const zepcMetadata* given);
Metadata MetadataOf(const zepcMetadata* given);

// Hands over the bytes, which zepcFree() frees.
zepcStatus HandOut(ByteBuffer* bytes, void** file, size_t* file_size);

}  // namespace zepcodec::api

#endif  // ZEPJP_CODECS_API_ENCODE_H_
