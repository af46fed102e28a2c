// SPDX-License-Identifier: MIT
// What all example codecs share, under the names that this one has for it.
#ifndef ZEPJP_EXAMPLES_JPEG2000_COMMON_H_
#define ZEPJP_EXAMPLES_JPEG2000_COMMON_H_

#include "common/byte_buffer.h"
#include "common/status.h"

namespace jpeg2000 {

using common::ByteBuffer;
using common::Status;

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_COMMON_H_
