// SPDX-License-Identifier: MIT
// Pictures for the tests of the codecs, and how far two of them are apart.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_PICTURES_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_PICTURES_H_

#include <cstdint>
#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"

namespace pictures {

using Bytes = std::vector<uint8_t>;

// Slow gradients, different in each channel: what every sampling keeps.
zepcodec::Picture Smooth(int width, int height, zepcodec::PixelLayout layout);
// Gradients, discs and some noise, as in a photograph.
zepcodec::Picture Detailed(int width, int height, zepcodec::PixelLayout layout, uint32_t seed = 1);
// Of any depth, its channels the components of a file (four are inks): gradients with some noise,
// now and then a sample of any value, the least and the largest among them.
zepcodec::Picture Noisy(int width, int height, int channels, int bits, uint32_t seed = 1);
zepcodec::Picture CopyOf(const zepcodec::Picture& picture);

struct Difference {
  int most = 0;
  double mean = 0;
};

// Of all samples. Pictures of different size or layout differ by 255.
Difference Compare(const zepcodec::Picture& a, const zepcodec::Picture& b);
Difference Compare(const Bytes& a, const Bytes& b);
bool Same(const zepcodec::Picture& a, const zepcodec::Picture& b);

Bytes ToBytes(const zepcodec::ByteBuffer& buffer);
// The samples of a picture.
Bytes ToBytes(const zepcodec::Picture& image);

}  // namespace pictures

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_PICTURES_H_
