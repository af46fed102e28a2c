// SPDX-License-Identifier: MIT
// A picture in memory: rows of interleaved bytes, without gaps.
#ifndef ZEPJP_CODECS_SUPPORT_IMAGE_H_
#define ZEPJP_CODECS_SUPPORT_IMAGE_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_buffer.h"

namespace zepcodec {

// Alpha is 255 where a pixel is opaque, and the colours are not multiplied by it. CMYK holds the
// amount of ink: 0 none, 255 full.
enum class PixelLayout { kGrey, kGreyAlpha, kRgb, kRgba, kCmyk };

constexpr int ChannelCount(PixelLayout layout) {
  switch (layout) {
    case PixelLayout::kGrey: return 1;
    case PixelLayout::kGreyAlpha: return 2;
    case PixelLayout::kRgb: return 3;
    default: return 4;
  }
}

constexpr bool HasAlpha(PixelLayout layout) {
  return layout == PixelLayout::kGreyAlpha || layout == PixelLayout::kRgba;
}

class Image {
 public:
  // The samples have no values yet. False: no memory.
  [[nodiscard]] bool Resize(int width, int height, PixelLayout layout) {
    width_ = width;
    height_ = height;
    layout_ = layout;
    return samples_.Resize(Step() * static_cast<size_t>(height));
  }

  int width() const { return width_; }
  int height() const { return height_; }
  PixelLayout layout() const { return layout_; }
  int channels() const { return ChannelCount(layout_); }
  // Bytes from one row to the next.
  size_t Step() const { return static_cast<size_t>(width_) * static_cast<size_t>(channels()); }
  size_t SizeInBytes() const { return Step() * static_cast<size_t>(height_); }
  uint8_t* Row(int y) { return samples_.data() + static_cast<size_t>(y) * Step(); }
  const uint8_t* Row(int y) const { return samples_.data() + static_cast<size_t>(y) * Step(); }

 private:
  int width_ = 0;
  int height_ = 0;
  PixelLayout layout_ = PixelLayout::kGrey;
  ByteBuffer samples_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_IMAGE_H_
