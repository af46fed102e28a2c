// SPDX-License-Identifier: MIT
// Lossless JPEG files, by the example codec.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_LJPEG_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_LJPEG_FILE_H_

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// One component is grey, three are RGB, four are CMYK, which becomes RGB unless it has 8 bits.
zepcodec::Status ReadLjpeg(const Settings& settings, const zepcodec::ByteBuffer& input,
                           Picture* picture);

// Grey, RGB, or CMYK of 8 bits.
zepcodec::Status WriteLjpeg(const Settings& settings, const Picture& picture,
                            zepcodec::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_LJPEG_FILE_H_
