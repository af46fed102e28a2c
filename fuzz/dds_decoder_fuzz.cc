// SPDX-License-Identifier: MIT
// Any bytes as a DDS file: each of its levels is decoded to a picture, or the file is an error. A
// region is a part of the picture, and rows are its rows.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/dds/codec.h"
#include "parts.h"

namespace dds = zepcodec::dds;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data, data + size);
  dds::DecodeOptions options;
  options.max_pixels = INT64_MAX;
  zepcodec::Picture image;
  dds::Header header;
  int levels = 1;
  for (; options.level < levels; ++options.level) {
    const zepcodec::Status status = dds::Decode(file.data(), file.size(), options, &image, &header);
    fuzz::Require(status.ok() == status.text().empty());
    if (!status.ok()) return 0;
    // The picture must not be larger than the file allows: 4x4 pixels of at most 4 bytes for 8
    // bytes, and of 6 bytes for 16.
    fuzz::Require(image.SizeInBytes() / 8 <= file.size());
    levels = header.levels;
    fuzz::RequireParts(size, image, options, [&](const auto& part, zepcodec::Picture* picture) {
      return dds::Decode(file.data(), file.size(), part, picture, &header);
    });
  }
  return 0;
}
