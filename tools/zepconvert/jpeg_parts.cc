// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jpeg_parts.h"

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace jpeg = zepcodec::jpeg;

namespace zepconvert {

zepcodec::Status DeepInksToRgb(bool is_inverted, Picture* picture) {
  const zepcodec::Raster& inks = picture->deep;
  zepcodec::Raster rgb;
  if (!rgb.Resize(inks.width(), inks.height(), 3, inks.bits())) return zepcodec::Status::NoMemory();
  const int64_t most = inks.MaxValue();
  const auto light = [&](size_t index) {
    return is_inverted ? inks.Get(index) : most - inks.Get(index);
  };
  for (size_t i = 0; i < rgb.SampleCount(); ++i) {
    const size_t pixel = 4 * (i / 3);
    const int64_t value = (light(pixel + i % 3) * light(pixel + 3) + most / 2) / most;
    rgb.Set(i, static_cast<int>(value));
  }
  picture->deep = std::move(rgb);
  picture->notes.emplace_back("CMYK was converted to RGB without its profile");
  jpeg::RemoveIccProfile(&picture->metadata);
  return zepcodec::Status();
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
