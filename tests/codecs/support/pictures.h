// SPDX-License-Identifier: MIT
// Pictures for the tests of the codecs, and how far two of them are apart.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_PICTURES_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_PICTURES_H_

#include <cstdint>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/image.h"

namespace pictures {

using Bytes = std::vector<uint8_t>;

// Slow gradients, different in each channel: what every sampling keeps.
zepcodec::Image Smooth(int width, int height, zepcodec::PixelLayout layout);
// Gradients, discs and some noise, as in a photograph.
zepcodec::Image Detailed(int width, int height, zepcodec::PixelLayout layout, uint32_t seed = 1);

struct Difference {
  int most = 0;
  double mean = 0;
};

// Of all samples. Pictures of different size or layout differ by 255.
Difference Compare(const zepcodec::Image& a, const zepcodec::Image& b);
Difference Compare(const Bytes& a, const Bytes& b);
bool Same(const zepcodec::Image& a, const zepcodec::Image& b);

Bytes ToBytes(const zepcodec::ByteBuffer& buffer);
// The samples of a picture.
Bytes ToBytes(const zepcodec::Image& image);

}  // namespace pictures

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_PICTURES_H_
