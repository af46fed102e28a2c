// SPDX-License-Identifier: MIT
// Radiance pictures (.hdr): a byte each for red, green, blue and the exponent that they share.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_HDR_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_HDR_FILE_H_

#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepconvert {

// Negative values become 0; `has_negative` tells whether there were any.
zepcodec::Status WriteHdr(const zepcodec::Picture& picture, zepcodec::ByteBuffer* file,
                          bool* has_negative);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_HDR_FILE_H_
