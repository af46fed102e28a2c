// SPDX-License-Identifier: MIT
// Any bytes as a DDS file: each of its levels is decoded to a picture, or the file is an error.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "codecs/dds/codec.h"

namespace dds = zepcodec::dds;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data, data + size);
  zepcodec::Picture image;
  dds::Header header;
  int levels = 1;
  for (int level = 0; level < levels; ++level) {
    const zepcodec::Status status =
        dds::Decode(file.data(), file.size(), INT64_MAX, level, &image, &header);
    if (status.ok() != status.text().empty()) std::abort();
    if (!status.ok()) return 0;
    // The picture must not be larger than the file allows: 4x4 pixels of at most 4 bytes for 8
    // bytes, and of 6 bytes for 16.
    if (image.SizeInBytes() / 8 > file.size()) std::abort();
    levels = header.levels;
  }
  return 0;
}
