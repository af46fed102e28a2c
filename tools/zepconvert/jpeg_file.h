// SPDX-License-Identifier: MIT
// Pictures from and to JPEG files with lossy coding.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JPEG_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JPEG_FILE_H_

#include <string>

#include "codecs/jpeg/stage_clock.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Where a directory for scans is set, the picture after each scan of a progressive file goes there as a PNG file
// named after `name`.
zepcodec::Status ReadJpeg(const Settings& settings, const std::string& name,
                          const zepcodec::ByteBuffer& input, Picture* picture,
                          zepcodec::jpeg::StageTimes* times);

zepcodec::Status WriteJpeg(const Settings& settings, const Picture& picture,
                           zepcodec::ByteBuffer* output, zepcodec::jpeg::StageTimes* times);

// From file to file with the same coefficients; the picture gets the messages only.
zepcodec::Status TranscodeJpeg(const Settings& settings, const zepcodec::ByteBuffer& input,
                               Picture* picture, zepcodec::ByteBuffer* output);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JPEG_FILE_H_
