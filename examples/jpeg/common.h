// SPDX-License-Identifier: MIT
// What all example codecs share, under the names that this one has for it.
#ifndef ZEPJP_EXAMPLES_JPEG_COMMON_H_
#define ZEPJP_EXAMPLES_JPEG_COMMON_H_

#include "common/byte_buffer.h"
#include "common/image.h"
#include "common/status.h"

namespace jpeg {

using common::ByteBuffer;
using common::ChannelCount;
using common::HasAlpha;
using common::Image;
using common::PixelLayout;
using common::Status;

}  // namespace jpeg

#endif  // ZEPJP_EXAMPLES_JPEG_COMMON_H_
