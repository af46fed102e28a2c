// SPDX-License-Identifier: MIT
// JPEG 2000 files, by the example codec.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JP2_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JP2_FILE_H_

#include <cstdint>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// What the decoder takes besides the file; 0 where it would refuse the file.
int64_t EstimateJp2Memory(const Settings& settings, const zepcodec::ByteBuffer& input);

// Grey, RGB, YCbCr, CIELab and inks, with opacity. Samples are brought to 8 bits, coarser
// components to the grid of the picture by repeating. A colour profile is kept. What has no place
// gets a note.
zepcodec::Status ReadJp2(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture);

// The image must not be CMYK. Without boxes, for .j2k files, opacity and profile have no place.
zepcodec::Status WriteJp2(const Settings& settings, bool has_boxes, const Picture& picture,
                          zepcodec::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JP2_FILE_H_
