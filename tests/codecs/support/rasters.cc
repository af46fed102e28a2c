// SPDX-License-Identifier: MIT
#include "tests/codecs/support/rasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace rasters {

zepcodec::Raster Noisy(int width, int height, int channels, int bits, uint32_t seed) {
  std::mt19937 random(seed);
  zepcodec::Raster picture;
  EXPECT_TRUE(picture.Resize(width, height, channels, bits));
  const int most = picture.MaxValue();
  size_t index = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < channels; ++c, ++index) {
        const auto noise = static_cast<int>(random() % 7) - 3;
        int value = (x + c * y) * most / (width + c * height) + noise;
        const uint32_t surprise = random() % 64;
        if (surprise == 0) value = static_cast<int>(random() & 0xFFFF) & most;
        if (surprise == 1) value = 0;
        if (surprise == 2) value = most;
        picture.Set(index, std::clamp(value, 0, most));
      }
    }
  }
  return picture;
}

bool Same(const zepcodec::Raster& a, const zepcodec::Raster& b) {
  if (a.width() != b.width() || a.height() != b.height() || a.channels() != b.channels() ||
      a.bits() != b.bits()) {
    return false;
  }
  return std::equal(a.Row(0), a.Row(0) + a.SizeInBytes(), b.Row(0));
}

}  // namespace rasters
