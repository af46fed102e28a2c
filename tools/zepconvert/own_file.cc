// SPDX-License-Identifier: MIT
#include "tools/zepconvert/own_file.h"

#include "tools/zepconvert/png_file.h"
#include "tools/zepconvert/pnm_file.h"
#ifdef ZEPCONVERT_HAS_TIFF
#  include "tools/zepconvert/tiff_file.h"
#endif

namespace zepconvert {

Picture ReadOwnFile(Format format, ByteView input, int64_t max_pixels) {
#ifdef ZEPCONVERT_HAS_TIFF
  if (format == Format::kOtherTiff) return ReadTiff(input, max_pixels);
#endif
  return format == Format::kPng ? ReadPng(input, max_pixels) : ReadPnm(input, max_pixels);
}

Dimensions ReadOwnSize(Format format, ByteView input, [[maybe_unused]] int64_t max_pixels) {
#ifdef ZEPCONVERT_HAS_TIFF
  if (format == Format::kOtherTiff) return ReadTiffSize(input, max_pixels);
#endif
  return format == Format::kPng ? ReadPngSize(input) : ReadPnmSize(input);
}

}  // namespace zepconvert
