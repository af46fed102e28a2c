// SPDX-License-Identifier: MIT
// Any bytes as a JPEG XR file: the result is a picture of the size in its header, or an error. A
// region is a part of the picture, and rows are its rows.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/decoder.h"
#include "parts.h"

namespace jpegxr = zepcodec::jpegxr;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data, data + size);
  jpegxr::DecodeOptions options;
  options.threads = size % 8 == 7 ? 2 : 1;
  options.max_pixels = 1 << 16;  // larger pictures cost time and find nothing new
  zepcodec::Picture image;
  jpegxr::FileInfo info;
  const zepcodec::Status status = jpegxr::Decode(file.data(), file.size(), options, &image, &info);
  fuzz::Require(status.ok() == status.text().empty());
  if (!status.ok()) return 0;
  fuzz::Require(info.frame.width == static_cast<uint32_t>(image.width()));
  fuzz::Require(info.frame.height == static_cast<uint32_t>(image.height()));
  fuzz::RequireParts(size, image, options, [&](const auto& part, zepcodec::Picture* picture) {
    jpegxr::FileInfo again;
    return jpegxr::Decode(file.data(), file.size(), part, picture, &again);
  });
  return 0;
}
