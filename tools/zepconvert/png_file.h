// SPDX-License-Identifier: MIT
// PNG files, by libpng.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// Palettes are expanded; samples of less than 8 bits become 8. EXIF data, a colour profile and the resolution
// are kept; other chunks are skipped. It takes the picture's memory and a few rows, and at most 8 MB for
// each of EXIF data and profile.
zepcodec::Status ReadPng(const uint8_t* data, size_t size, int64_t max_pixels, Picture* picture);

// The image has 8 or 16 bits and is not CMYK. EXIF data, colour profile and resolution
// are written, a profile only where PngProfileFault() finds none; other segments have no place in a PNG file.
zepcodec::Status WritePng(const zepcodec::Picture& image,
                          const zepcodec::jpeg::SavedSegments& metadata,
                          zepcodec::ByteBuffer* file);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_
