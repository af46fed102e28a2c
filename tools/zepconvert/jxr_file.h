// SPDX-License-Identifier: MIT
// JPEG XR files, by the example codec.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JXR_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JXR_FILE_H_

#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Grey and RGB, with opacity. 16 bits are brought to 8; fixed-point numbers and floats are taken as linear light
// of which 1 is white.
zepcodec::Status ReadJxr(const Settings& settings, const zepcodec::ByteBuffer& input,
                         Picture* picture);

// Whether such a file will be the picture bit for bit.
bool IsLosslessJxr(const Settings& settings);

// The image must be grey or RGB, without opacity.
zepcodec::Status WriteJxr(const Settings& settings, const Picture& picture,
                          zepcodec::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JXR_FILE_H_
