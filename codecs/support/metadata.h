// SPDX-License-Identifier: MIT
// What belongs to a picture besides its pixels, the same for every format.
#ifndef ZEPJP_CODECS_SUPPORT_METADATA_H_
#define ZEPJP_CODECS_SUPPORT_METADATA_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zepcodec {

// Pixels per inch or centimetre; of kShape only the ratio x : y counts.
struct Resolution {
  enum class Unit { kNone, kShape, kInch, kCentimetre };
  Unit unit = Unit::kNone;
  double x = 0;
  double y = 0;
};

struct Metadata {
  std::vector<uint8_t> exif;  // a TIFF structure
  std::vector<uint8_t> icc_profile;
  std::vector<uint8_t> xmp;
  int orientation = 0;  // 1 to 8 as EXIF counts it; 0: unknown
  Resolution resolution;
  std::vector<uint8_t> jpeg_segments;  // further ones of a JPEG file, with markers and lengths
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_METADATA_H_
