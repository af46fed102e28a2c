// SPDX-License-Identifier: MIT
// Any bytes as a JPEG file, at every scale: the result is a picture or an error. The first byte
// selects the scale, or the components alone, or samples of 12 bits.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "codecs/jpeg/decoder.h"

namespace jpeg = zepcodec::jpeg;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 1) return 0;
  const int choice = data[0] % 5;
  // A copy of the exact size lets the sanitizer detect reads beyond the end.
  const std::vector<uint8_t> file(data + 1, data + size);
  jpeg::DecodeOptions options;
  options.max_pixels = 1 << 20;  // larger pictures cost time and find nothing new
  jpeg::FileInfo info;
  zepcodec::Status status;
  if (choice == 4) {
    std::vector<jpeg::ComponentSamples> components;
    status = jpeg::DecodeComponents(file.data(), file.size(), options, &components, &info);
    if (status.ok() && components.empty()) std::abort();
  } else {
    zepcodec::Picture image;
    options.scale = 1 << choice;
    status = jpeg::Decode(file.data(), file.size(), options, &image, &info);
    if (status.ok() && image.SizeInBytes() == 0) std::abort();
  }
  if (status.ok() == !status.text().empty()) std::abort();
  return 0;
}
