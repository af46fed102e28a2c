// SPDX-License-Identifier: MIT
// A picture in memory: rows of interleaved bytes, without gaps.
#ifndef ZEPJP_EXAMPLES_JPEG_IMAGE_H_
#define ZEPJP_EXAMPLES_JPEG_IMAGE_H_

#include <cstddef>
#include <cstdint>

#include "jpeg/byte_buffer.h"

namespace jpeg {

// CMYK holds the amount of ink: 0 none, 255 full.
enum class PixelLayout { kGrey, kRgb, kCmyk };

constexpr int ChannelCount(PixelLayout layout) {
  return layout == PixelLayout::kGrey ? 1 : layout == PixelLayout::kRgb ? 3 : 4;
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

}  // namespace jpeg

#endif  // ZEPJP_EXAMPLES_JPEG_IMAGE_H_
