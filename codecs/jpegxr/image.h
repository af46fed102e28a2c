// SPDX-License-Identifier: MIT
// A picture as JPEG XR sees it: grey or RGB, with or without opacity, of several kinds of samples.
#ifndef ZEPJP_CODECS_JPEGXR_IMAGE_H_
#define ZEPJP_CODECS_JPEGXR_IMAGE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zepcodec::jpegxr {

enum class SampleType { kU8, kU16, kS16, kS32, kF32 };

constexpr int BytesOf(SampleType type) {
  switch (type) {
    case SampleType::kU8: return 1;
    case SampleType::kU16:
    case SampleType::kS16: return 2;
    default: return 4;
  }
}

// Rows of interleaved samples without gaps: grey, grey and opacity, RGB, RGB and opacity.
struct Image {
  int width = 0;
  int height = 0;
  int channels = 1;
  SampleType type = SampleType::kU8;
  std::vector<uint8_t> bytes;

  int Colors() const { return channels < 3 ? 1 : 3; }
  bool HasAlpha() const { return channels % 2 == 0; }
  size_t Step() const {
    return static_cast<size_t>(width) * static_cast<size_t>(channels * BytesOf(type));
  }
  void Resize() { bytes.resize(Step() * static_cast<size_t>(height)); }
  uint8_t* Row(int y) { return bytes.data() + static_cast<size_t>(y) * Step(); }
  const uint8_t* Row(int y) const { return bytes.data() + static_cast<size_t>(y) * Step(); }
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_IMAGE_H_
