// SPDX-License-Identifier: MIT
// TIFF files, by the example codec.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TIFF_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TIFF_FILE_H_

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// The first picture of a file. Colour profile and resolution are kept.
zepcodec::Status ReadTiff(const Settings& settings, const zepcodec::ByteBuffer& input,
                          Picture* picture);

// Grey or RGB, of 8 or 16 bits.
zepcodec::Status WriteTiff(const Settings& settings, const Picture& picture,
                           zepcodec::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TIFF_FILE_H_
