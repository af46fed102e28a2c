// SPDX-License-Identifier: MIT
// Lossless JPEG files, by the example codec.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_LJPEG_FILE_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_LJPEG_FILE_H_

#include "common/byte_buffer.h"
#include "common/status.h"
#include "zepconvert/picture.h"
#include "zepconvert/settings.h"

namespace zepconvert {

// One component is grey, three are RGB, four are CMYK, which becomes RGB unless it has 8 bits.
common::Status ReadLjpeg(const Settings& settings, const common::ByteBuffer& input,
                         Picture* picture);

// Grey, RGB, or CMYK of 8 bits.
common::Status WriteLjpeg(const Settings& settings, const Picture& picture,
                          common::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_LJPEG_FILE_H_
