// SPDX-License-Identifier: MIT
// A picture in memory: rows of interleaved samples without gaps.
#ifndef ZEPJP_CODECS_SUPPORT_PICTURE_H_
#define ZEPJP_CODECS_SUPPORT_PICTURE_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/metadata.h"

namespace zepcodec {

// Opacity comes last; full is the largest value, and the colours are not multiplied by it. CMYK
// holds the amount of ink: 0 none, the largest value full.
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

constexpr int ColorCount(PixelLayout layout) {
  return ChannelCount(layout) - (HasAlpha(layout) ? 1 : 0);
}

constexpr bool IsGrey(PixelLayout layout) { return ColorCount(layout) == 1; }

// Grey, grey with opacity, RGB, RGB with opacity.
constexpr PixelLayout LayoutWithChannels(int channels) {
  return static_cast<PixelLayout>(channels - 1);
}

// The same for components without opacity: four are inks.
constexpr PixelLayout LayoutOfComponents(size_t count) {
  return count == 4 ? PixelLayout::kCmyk : LayoutWithChannels(static_cast<int>(count));
}

// How a sample is stored, in the machine's byte order: unsigned integers of up to 8 and 16 bits,
// signed integers in fixed point (1 is 2^13 in 16 bits, 2^24 in 32), IEEE 754 floats.
enum class SampleType { kU8, kU16, kS16, kS32, kF16, kF32 };

constexpr int BytesOf(SampleType type) {
  switch (type) {
    case SampleType::kU8: return 1;
    case SampleType::kS32:
    case SampleType::kF32: return 4;
    default: return 2;
  }
}

constexpr SampleType UnsignedOf(int bits) { return bits > 8 ? SampleType::kU16 : SampleType::kU8; }

class Picture {
 public:
  // The samples have no values yet. False: no memory.
  [[nodiscard]] bool Resize(int width, int height, PixelLayout layout, int bits = 8) {
    return Resize(width, height, layout, UnsignedOf(bits), bits);
  }
  [[nodiscard]] bool Resize(int width, int height, PixelLayout layout, SampleType type) {
    return Resize(width, height, layout, type, 8 * BytesOf(type));
  }
  [[nodiscard]] bool Resize(int width, int height, PixelLayout layout, SampleType type, int bits) {
    if (!Describe(width, height, layout, type, bits) || !samples_.Resize(SizeInBytes())) {
      return false;
    }
    first_ = samples_.data();
    return true;
  }
  // Of the other picture's layout and samples.
  [[nodiscard]] bool ResizeLike(const Picture& other, int width, int height) {
    return Resize(width, height, other.layout_, other.type_, other.bits_);
  }

  // The caller's samples without a copy, which must stay as they are: the picture is to be read
  // only. False: no memory has room for them.
  [[nodiscard]] bool Borrow(const uint8_t* samples, int width, int height, PixelLayout layout,
                            SampleType type, int bits) {
    first_ = samples;
    return Describe(width, height, layout, type, bits);
  }
  // The same with the other picture's layout and kind of samples.
  [[nodiscard]] bool BorrowLike(const Picture& other, const uint8_t* samples, int width,
                                int height) {
    return Borrow(samples, width, height, other.layout_, other.type_, other.bits_);
  }

  int width() const { return width_; }
  int height() const { return height_; }
  PixelLayout layout() const { return layout_; }
  int channels() const { return ChannelCount(layout_); }
  SampleType type() const { return type_; }
  // The significant bits of a sample: fewer than its bytes have where it is an unsigned integer.
  int bits() const { return bits_; }
  // The largest value of an unsigned sample.
  int MaxValue() const { return (1 << bits_) - 1; }
  size_t BytesPerSample() const { return static_cast<size_t>(BytesOf(type_)); }
  size_t SamplesInRow() const {
    return static_cast<size_t>(width_) * static_cast<size_t>(channels());
  }
  size_t SampleCount() const { return SamplesInRow() * static_cast<size_t>(height_); }
  // Bytes from one row to the next.
  size_t Stride() const { return SamplesInRow() * BytesPerSample(); }
  size_t SizeInBytes() const { return Stride() * static_cast<size_t>(height_); }
  uint8_t* Row(int y) { return samples_.data() + static_cast<size_t>(y) * Stride(); }
  const uint8_t* Row(int y) const { return first_ + static_cast<size_t>(y) * Stride(); }

  // Unsigned samples; the index counts those of all rows.
  int Get(size_t index) const {
    if (type_ == SampleType::kU8) return first_[index];
    uint16_t value;
    std::memcpy(&value, first_ + 2 * index, sizeof(value));
    return value;
  }
  void Set(size_t index, int value) {
    if (type_ == SampleType::kU8) {
      samples_.data()[index] = static_cast<uint8_t>(value);
      return;
    }
    const auto wide = static_cast<uint16_t>(value);
    std::memcpy(samples_.data() + 2 * index, &wide, sizeof(wide));
  }

  // Full opacity, and white: the largest value of an unsigned integer, else 1.
  void StoreOne(uint8_t* to) const {
    const int32_t fixed = type_ == SampleType::kS16 ? 1 << 13 : 1 << 24;
    const auto half = static_cast<uint16_t>(type_ == SampleType::kF16 ? 0x3C00 : fixed);
    const float single = 1;
    switch (type_) {
      case SampleType::kU8: *to = static_cast<uint8_t>(MaxValue()); return;
      case SampleType::kS32: std::memcpy(to, &fixed, sizeof(fixed)); return;
      case SampleType::kF32: std::memcpy(to, &single, sizeof(single)); return;
      case SampleType::kU16: {
        const auto most = static_cast<uint16_t>(MaxValue());
        std::memcpy(to, &most, sizeof(most));
        return;
      }
      case SampleType::kS16:
      case SampleType::kF16: std::memcpy(to, &half, sizeof(half)); return;
    }
  }

  Metadata& metadata() { return metadata_; }
  const Metadata& metadata() const { return metadata_; }

 private:
  bool Describe(int width, int height, PixelLayout layout, SampleType type, int bits) {
    width_ = width;
    height_ = height;
    layout_ = layout;
    type_ = type;
    bits_ = bits;
    // Less than half of all addresses; a row has less than 2^36 bytes.
    const uint64_t row_bytes =
        static_cast<uint64_t>(width) * static_cast<uint64_t>(channels()) * BytesPerSample();
    return height <= 0 || row_bytes <= PTRDIFF_MAX / static_cast<uint64_t>(height);
  }

  int width_ = 0;
  int height_ = 0;
  PixelLayout layout_ = PixelLayout::kGrey;
  SampleType type_ = SampleType::kU8;
  int bits_ = 8;
  ByteBuffer samples_;
  const uint8_t* first_ = nullptr;  // of `samples_`, or of the caller's samples
  Metadata metadata_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_PICTURE_H_
