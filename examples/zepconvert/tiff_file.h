// SPDX-License-Identifier: MIT
// TIFF files, by the example codec.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_TIFF_FILE_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_TIFF_FILE_H_

#include "common/byte_buffer.h"
#include "common/status.h"
#include "zepconvert/picture.h"
#include "zepconvert/settings.h"

namespace zepconvert {

// The first picture of a file. Colour profile and resolution are kept.
common::Status ReadTiff(const Settings& settings, const common::ByteBuffer& input,
                        Picture* picture);

// Grey or RGB, of 8 or 16 bits.
common::Status WriteTiff(const Settings& settings, const Picture& picture,
                         common::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_TIFF_FILE_H_
