// SPDX-License-Identifier: MIT
// Any bytes as a JPEG 2000 file: the result is a picture or an error. The first byte selects what
// to leave out.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "codecs/jpeg2000/decoder.h"

namespace jpeg2000 = zepcodec::jpeg2000;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data + 1, data + size);
  jpeg2000::DecodeOptions options;
  options.reduce = data[0] % 4;
  options.layers = data[0] / 4 % 3;
  options.threads = 1;
  options.max_pixels = 1 << 18;  // larger pictures cost time and find nothing new
  jpeg2000::Image image;
  jpeg2000::FileInfo info;
  const zepcodec::Status status =
      jpeg2000::Decode(file.data(), file.size(), options, &image, &info);
  if (status.ok() == !status.text().empty()) std::abort();
  int64_t memory = 0;
  const zepcodec::Status known =
      jpeg2000::EstimateMemory(file.data(), file.size(), options, &memory);
  if (status.ok() && (!known.ok() || memory <= 0)) std::abort();
  if (!status.ok()) return 0;
  for (const jpeg2000::Component& component : image.components) {
    const int32_t half = 1 << (component.bits - 1);
    const int32_t lowest = component.is_signed ? -half : 0;
    for (const int32_t sample : component.samples) {
      if (sample < lowest || sample >= lowest + 2 * half) std::abort();
    }
  }
  return 0;
}
