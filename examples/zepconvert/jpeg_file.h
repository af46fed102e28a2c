// SPDX-License-Identifier: MIT
// Pictures from and to JPEG files with lossy coding.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_JPEG_FILE_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_JPEG_FILE_H_

#include <string>

#include "common/byte_buffer.h"
#include "common/status.h"
#include "jpeg/stage_clock.h"
#include "zepconvert/picture.h"
#include "zepconvert/settings.h"

namespace zepconvert {

// Where a directory for scans is set, the picture after each scan of a progressive file goes there as a PNG file
// named after `name`.
common::Status ReadJpeg(const Settings& settings, const std::string& name,
                        const common::ByteBuffer& input, Picture* picture, jpeg::StageTimes* times);

common::Status WriteJpeg(const Settings& settings, const Picture& picture,
                         common::ByteBuffer* output, jpeg::StageTimes* times);

// From file to file with the same coefficients; the picture gets the messages only.
common::Status TranscodeJpeg(const Settings& settings, const common::ByteBuffer& input,
                             Picture* picture, common::ByteBuffer* output);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_JPEG_FILE_H_
