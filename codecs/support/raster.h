// SPDX-License-Identifier: MIT
// A picture of any depth up to 16 bits: rows of interleaved samples, without gaps.
#ifndef ZEPJP_CODECS_SUPPORT_RASTER_H_
#define ZEPJP_CODECS_SUPPORT_RASTER_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "codecs/support/byte_buffer.h"

namespace zepcodec {

// Samples of up to 8 bits take one byte, others two in the machine's order.
class Raster {
 public:
  // The samples have no values yet. False: no memory.
  [[nodiscard]] bool Resize(int width, int height, int channels, int bits) {
    width_ = width;
    height_ = height;
    channels_ = channels;
    bits_ = bits;
    return samples_.Resize(Step() * static_cast<size_t>(height));
  }

  int width() const { return width_; }
  int height() const { return height_; }
  int channels() const { return channels_; }
  int bits() const { return bits_; }
  int MaxValue() const { return (1 << bits_) - 1; }
  size_t BytesPerSample() const { return bits_ > 8 ? 2 : 1; }
  size_t SamplesInRow() const {
    return static_cast<size_t>(width_) * static_cast<size_t>(channels_);
  }
  size_t SampleCount() const { return SamplesInRow() * static_cast<size_t>(height_); }
  // Bytes from one row to the next.
  size_t Step() const { return SamplesInRow() * BytesPerSample(); }
  size_t SizeInBytes() const { return Step() * static_cast<size_t>(height_); }
  uint8_t* Row(int y) { return samples_.data() + static_cast<size_t>(y) * Step(); }
  const uint8_t* Row(int y) const { return samples_.data() + static_cast<size_t>(y) * Step(); }

  // The index counts the samples of all rows.
  int Get(size_t index) const {
    if (bits_ <= 8) return samples_.data()[index];
    uint16_t value;
    std::memcpy(&value, samples_.data() + 2 * index, sizeof(value));
    return value;
  }
  void Set(size_t index, int value) {
    if (bits_ <= 8) {
      samples_.data()[index] = static_cast<uint8_t>(value);
      return;
    }
    const auto wide = static_cast<uint16_t>(value);
    std::memcpy(samples_.data() + 2 * index, &wide, sizeof(wide));
  }

 private:
  int width_ = 0;
  int height_ = 0;
  int channels_ = 0;
  int bits_ = 8;
  ByteBuffer samples_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_RASTER_H_
