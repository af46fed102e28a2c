// SPDX-License-Identifier: MIT
// Binary PGM (P5) and PPM (P6) files.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_PNM_FILE_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_PNM_FILE_H_

#include <cstddef>
#include <cstdint>

#include "common/byte_buffer.h"
#include "common/image.h"
#include "common/status.h"
#include "zepconvert/picture.h"

namespace zepconvert {

struct PnmHeader {
  int channels = 0;  // 1 or 3
  int64_t width = 0;
  int64_t height = 0;
  int64_t max_value = 0;  // 1..65535; samples above 255 take two bytes
  size_t size = 0;        // of the header
};

common::Status ReadPnmHeader(const uint8_t* data, size_t size, PnmHeader* header);

// Samples are scaled to 0..255.
common::Status ReadPnm(const uint8_t* data, size_t size, int64_t max_pixels, Picture* picture);

// Grey pictures become P5 unless `as_ppm`, RGB ones P6.
common::Status WritePnm(const common::Image& image, bool as_ppm, common::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_PNM_FILE_H_
