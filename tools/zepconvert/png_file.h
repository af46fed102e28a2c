// SPDX-License-Identifier: MIT
// PNG files, by libpng.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_

#include <cstdint>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// Palettes are expanded; samples of less than 8 bits become 8. EXIF data, a colour profile, an XMP
// packet and the resolution are kept; other chunks are skipped. It takes the picture's memory and a
// few rows, and at most 8 MB for each of EXIF data, profile and XMP.
Picture ReadPng(ByteView input, int64_t max_pixels);

// What the header tells. 0 wide: it cannot be read.
Dimensions ReadPngSize(ByteView input);

// The image has unsigned samples of 8 or 16 bits and is not CMYK. A profile is written only where
// PngProfileFault() finds nothing.
Bytes WritePng(const Image& image, const Metadata& metadata);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNG_FILE_H_
