// SPDX-License-Identifier: MIT
// JPEG XR files, by the example codec.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_JXR_FILE_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_JXR_FILE_H_

#include "common/byte_buffer.h"
#include "common/image.h"
#include "common/status.h"
#include "zepconvert/picture.h"
#include "zepconvert/settings.h"

namespace zepconvert {

// Grey and RGB, with opacity. 16 bits are brought to 8; fixed-point numbers and floats are taken as linear light
// of which 1 is white.
common::Status ReadJxr(const Settings& settings, const common::ByteBuffer& input, Picture* picture);

// Whether such a file will be the picture bit for bit.
bool IsLosslessJxr(const Settings& settings);

// The image must be grey or RGB, without opacity.
common::Status WriteJxr(const Settings& settings, const Picture& picture, common::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_JXR_FILE_H_
