// SPDX-License-Identifier: MIT
// Binary PGM (P5) and PPM (P6) files, and PAM (P7) files of the same and of opacity.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

struct PnmHeader {
  int channels = 0;      // 1 to 4; 2 and 4 with opacity
  bool is_cmyk = false;  // four inks, 0 none
  int64_t width = 0;
  int64_t height = 0;
  int64_t max_value = 0;  // 1..65535; samples above 255 take two bytes
  size_t size = 0;        // of the header
};

zepcodec::Status ReadPnmHeader(const uint8_t* data, size_t size, PnmHeader* header);

// Samples of 2^n - 1 values stay as they are; others are scaled to 8 bits or, above 255, to 16. CMYK of other depths
// than 8 becomes RGB.
zepcodec::Status ReadPnm(const uint8_t* data, size_t size, int64_t max_pixels, Picture* picture);

enum class PnmKind { kPgmOrPpm, kPpm, kPam };

// Grey pictures become P5 unless P6 is asked for, RGB ones P6; those with opacity and CMYK can
// be PAM only.
zepcodec::Status WritePnm(const zepcodec::Picture& image, PnmKind kind, zepcodec::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_
