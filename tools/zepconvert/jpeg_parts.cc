// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jpeg_parts.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "codecs/support/convert.h"

namespace jpeg = zepcodec::jpeg;

namespace zepconvert {

zepcodec::Status DeepInksToRgb(Picture* picture) {
  if (picture->image.layout() != zepcodec::PixelLayout::kCmyk) return zepcodec::Status();
  zepcodec::Picture rgb;
  zepcodec::Status status =
      Convert(picture->image, zepcodec::PixelLayout::kRgb, picture->image.bits(), {}, &rgb);
  picture->image = std::move(rgb);
  picture->notes.emplace_back("CMYK was converted to RGB without its profile");
  jpeg::RemoveIccProfile(&picture->metadata);
  return status;
}

void DropIncompleteProfile(Picture* picture) {
  if (!jpeg::HasIccProfile(picture->metadata)) return;
  // A profile begins with its length (ICC.1, 7.2.2).
  const std::vector<uint8_t> profile = jpeg::FindIccProfile(picture->metadata);
  uint64_t length = 0;
  for (size_t i = 0; i < 4 && i < profile.size(); ++i) length = length << 8 | profile[i];
  if (profile.size() >= 128 && length <= profile.size()) return;
  jpeg::RemoveIccProfile(&picture->metadata);
  picture->notes.emplace_back("the colour profile is not complete and was dropped");
}

}  // namespace zepconvert
