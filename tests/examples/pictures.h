// SPDX-License-Identifier: MIT
// Pictures for the tests of the examples, and how far two of them are apart.
#ifndef ZEPJP_TESTS_EXAMPLES_PICTURES_H_
#define ZEPJP_TESTS_EXAMPLES_PICTURES_H_

#include <cstdint>
#include <vector>

#include "common/byte_buffer.h"
#include "common/image.h"

namespace pictures {

using Bytes = std::vector<uint8_t>;

// Slow gradients, different in each channel: what every sampling keeps.
common::Image Smooth(int width, int height, common::PixelLayout layout);
// Gradients, discs and some noise, as in a photograph.
common::Image Detailed(int width, int height, common::PixelLayout layout, uint32_t seed = 1);

struct Difference {
  int most = 0;
  double mean = 0;
};

// Of all samples. Pictures of different size or layout differ by 255.
Difference Compare(const common::Image& a, const common::Image& b);
Difference Compare(const Bytes& a, const Bytes& b);
bool Same(const common::Image& a, const common::Image& b);

Bytes ToBytes(const common::ByteBuffer& buffer);
// The samples of a picture.
Bytes ToBytes(const common::Image& image);

}  // namespace pictures

#endif  // ZEPJP_TESTS_EXAMPLES_PICTURES_H_
