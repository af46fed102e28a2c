// SPDX-License-Identifier: MIT
// Pictures and files for the tests of zepcodec.h, made through that header alone.
#ifndef ZEPJP_TESTS_CODECS_API_API_PICTURES_H_
#define ZEPJP_TESTS_CODECS_API_API_PICTURES_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "zepcodec.h"

namespace api_pictures {

using Bytes = std::vector<uint8_t>;

// All zeros but for its size.
template <class Struct>
Struct Sized() {
  Struct made = {};
  made.size = sizeof(Struct);
  return made;
}

size_t ChannelsOf(zepcLayout layout);
size_t BytesOf(zepcSample sample);
bool HasOpacity(zepcLayout layout);
bool IsBgr(zepcLayout layout);
bool IsInteger(zepcSample sample);

// Pixels of the tests' own; rows may have gaps.
struct Image {
  int32_t width = 0;
  int32_t height = 0;
  zepcLayout layout = zepcLayoutRgb;
  zepcSample sample = zepcSampleU8;
  int32_t bits = 8;
  size_t stride = 0;
  Bytes bytes;

  size_t row_bytes() const {
    return static_cast<size_t>(width) * ChannelsOf(layout) * BytesOf(sample);
  }
  uint8_t* At(int32_t x, int32_t y, size_t channel);
  const uint8_t* At(int32_t x, int32_t y, size_t channel) const;
  // Integers.
  int32_t Get(int32_t x, int32_t y, size_t channel) const;
  void Set(int32_t x, int32_t y, size_t channel, int32_t value);
  zepcPixels Pixels();
};

struct Shape {
  zepcLayout layout = zepcLayoutRgb;
  zepcSample sample = zepcSampleU8;
  int32_t bits = 8;
};

// Zeros; each row is followed by `gap` bytes of 0xA5.
Image Blank(int32_t width, int32_t height, const Shape& shape, size_t gap = 0);
// Gradients with some noise.
Image Make(int32_t width, int32_t height, const Shape& shape, size_t gap = 0);
// What a library's picture or rows hold.
Image CopyOf(const zepcPixels& pixels);
Image CopyOf(const zepcPicture* picture);
// All samples, whatever the strides; size, layout and depth too.
bool Same(const Image& a, const Image& b);
Image Part(const Image& from, const zepcRect& region);
// In dB, of integers.
double Psnr(const Image& a, const Image& b);

struct FreePicture {
  void operator()(zepcPicture* picture) const { zepcPictureFree(picture); }
};
using Picture = std::unique_ptr<zepcPicture, FreePicture>;

struct FreeCoefficients {
  void operator()(zepcCoefficients* coefficients) const { zepcJpegFreeCoefficients(coefficients); }
};
using Coefficients = std::unique_ptr<zepcCoefficients, FreeCoefficients>;

zepcEncodeOptions OptionsFor(zepcFormat format);
// Fails the test, and gives no bytes, where the status is not OK.
Bytes Encode(Image image, const zepcEncodeOptions& options);
Bytes Encode(Image image, zepcFormat format);
zepcStatus TryEncode(Image image, const zepcEncodeOptions& options, Bytes* file);
Picture Decode(const Bytes& file, const zepcDecodeOptions* options = nullptr);
Image DecodeToImage(const Bytes& file, const zepcDecodeOptions* options = nullptr);
zepcInfo Probe(const Bytes& file);

// EXIF data with this orientation.
Bytes Exif(uint8_t orientation, bool is_big_endian = false);
// An ICC profile whose header has the right length.
Bytes Icc(size_t size);

// A small file of each format, by the formats' numbers less 1.
const std::vector<Bytes>& Files();
const std::vector<zepcFormat>& Formats();

}  // namespace api_pictures

#endif  // ZEPJP_TESTS_CODECS_API_API_PICTURES_H_
