// SPDX-License-Identifier: MIT
// PNG files, by libpng.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_PNG_FILE_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_PNG_FILE_H_

#include <cstddef>
#include <cstdint>

#include "jpeg/byte_buffer.h"
#include "jpeg/status.h"
#include "zepconvert/picture.h"

namespace zepconvert {

// Samples of 16 bits are reduced to 8, palettes expanded, transparent pixels laid over white. EXIF
// data, a colour profile and the resolution are kept.
jpeg::Status ReadPng(const uint8_t* data, size_t size, int64_t max_pixels, Picture* picture);

// The image must be grey or RGB. EXIF data, colour profile and resolution are written; other
// segments have no place in a PNG file.
jpeg::Status WritePng(const jpeg::Image& image, const jpeg::Metadata& metadata,
                      jpeg::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_PNG_FILE_H_
