// SPDX-License-Identifier: MIT
// What all example codecs share, under the names that this one has for it.
#ifndef ZEPJP_EXAMPLES_JPEGXR_COMMON_H_
#define ZEPJP_EXAMPLES_JPEGXR_COMMON_H_

#include "common/byte_buffer.h"
#include "common/messages.h"
#include "common/parallel.h"
#include "common/status.h"

namespace jpegxr {

using common::ByteBuffer;
using common::Messages;
using common::RunParallel;
using common::Status;
using common::ThreadCount;

}  // namespace jpegxr

#endif  // ZEPJP_EXAMPLES_JPEGXR_COMMON_H_
