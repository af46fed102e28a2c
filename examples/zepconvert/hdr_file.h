// SPDX-License-Identifier: MIT
// Radiance pictures (.hdr): a byte each for red, green, blue and the exponent that they share.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_HDR_FILE_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_HDR_FILE_H_

#include "common/byte_buffer.h"
#include "common/status.h"
#include "dds/codec.h"

namespace zepconvert {

// Negative values become 0; `has_negative` tells whether there were any.
common::Status WriteHdr(const dds::HalfPicture& picture, common::ByteBuffer* file,
                        bool* has_negative);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_HDR_FILE_H_
