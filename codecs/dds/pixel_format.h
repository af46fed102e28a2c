// SPDX-License-Identifier: MIT
// Pixels of textures that are not compressed in blocks.
#ifndef ZEPJP_CODECS_DDS_PIXEL_FORMAT_H_
#define ZEPJP_CODECS_DDS_PIXEL_FORMAT_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "codecs/support/picture.h"

namespace zepcodec::dds {

// Red, green, blue and opacity; grey is red. 0: there is no such channel.
using Masks = std::array<uint32_t, 4>;

struct PixelFormat {
  int bytes = 0;  // of a stored pixel
  // Of a little-endian number of `bytes` bytes. All 0: whole samples of `type`, one after the other.
  Masks masks{};
  // Of the result. Missing colours are 0.
  PixelLayout layout = PixelLayout::kRgba;
  SampleType type = SampleType::kU8;
  int bits = 8;  // of unsigned samples
};

// False: pixels of this form are not supported.
bool MakeMaskedFormat(uint32_t bits_of_pixel, const Masks& masks, PixelFormat* format);
// By the number in the extended header.
bool FindDxgiPixels(uint32_t number, PixelFormat* format);
// By a number in place of four characters.
bool FindNumberedPixels(uint32_t number, PixelFormat* format);

// Makes rows of samples of stored pixels. Each thread has its own.
class PixelReader {
 public:
  explicit PixelReader(const PixelFormat& format);

  void Read(const uint8_t* stored, size_t pixels, uint8_t* samples) const;

 private:
  // A channel of a number: the bits of its mask, and their place.
  struct Channel {
    int shift = 0;
    uint32_t most = 0;  // 0: there is none
  };

  template <class Sample>
  void ReadMasked(const uint8_t* stored, size_t pixels, uint8_t* samples) const;
  void ReadWhole(const uint8_t* stored, size_t pixels, uint8_t* samples) const;
  uint32_t Scaled(size_t channel, uint32_t value) const;

  PixelFormat format_;
  std::array<Channel, 4> channels_;                // in the order of the layout
  std::array<std::array<uint8_t, 256>, 4> bytes_;  // of samples of 8 bits, by the stored value
};

// Divides colours by their opacity. RGBA of 8 or 16 bits.
void DivideByOpacity(Picture* image, int first_row, int rows);

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_PIXEL_FORMAT_H_
