// SPDX-License-Identifier: MIT
#include "tests/codecs/support/pictures.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>

namespace pictures {
namespace {

template <class Function>
zepcodec::Picture Make(int width, int height, zepcodec::PixelLayout layout, Function sample) {
  zepcodec::Picture image;
  if (!image.Resize(width, height, layout)) std::abort();
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < image.channels(); ++c) {
        const double value = std::clamp(sample(x, y, c), 0.0, 255.0);
        image.Row(y)[x * image.channels() + c] = static_cast<uint8_t>(std::lround(value));
      }
    }
  }
  return image;
}

}  // namespace

zepcodec::Picture Smooth(int width, int height, zepcodec::PixelLayout layout) {
  return Make(width, height, layout, [](int x, int y, int c) {
    return 128 + 60 * std::sin(0.05 * x + 1.3 * c) + 50 * std::cos(0.04 * y - 0.9 * c);
  });
}

zepcodec::Picture Detailed(int width, int height, zepcodec::PixelLayout layout, uint32_t seed) {
  std::mt19937 random(seed);
  return Make(width, height, layout, [&](int x, int y, int c) {
    const double wave = 128 + 70 * std::sin(0.06 * x + c) + 50 * std::cos(0.11 * y + 0.7 * c);
    const double dx = x % 41 - 20;
    const double dy = y % 37 - 18;
    const double disc = dx * dx + dy * dy < 120 ? 60.0 * (c - 1) + 30 : 0.0;
    const double noise = static_cast<double>(random() % 17) - 8;
    return wave + disc + noise;
  });
}

Difference Compare(const Bytes& a, const Bytes& b) {
  if (a.size() != b.size() || a.empty()) return {255, 255};
  Difference difference;
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) {
    const int distance = std::abs(a[i] - b[i]);
    difference.most = std::max(difference.most, distance);
    sum += distance;
  }
  difference.mean = sum / static_cast<double>(a.size());
  return difference;
}

Difference Compare(const zepcodec::Picture& a, const zepcodec::Picture& b) {
  if (a.width() != b.width() || a.height() != b.height() || a.layout() != b.layout()) {
    return {255, 255};
  }
  return Compare(ToBytes(a), ToBytes(b));
}

bool Same(const zepcodec::Picture& a, const zepcodec::Picture& b) {
  return a.type() == b.type() && a.bits() == b.bits() && Compare(a, b).most == 0;
}

Bytes ToBytes(const zepcodec::ByteBuffer& buffer) {
  return Bytes(buffer.data(), buffer.data() + buffer.size());
}

Bytes ToBytes(const zepcodec::Picture& image) {
  return Bytes(image.Row(0), image.Row(0) + image.SizeInBytes());
}

zepcodec::Picture Noisy(int width, int height, int channels, int bits, uint32_t seed) {
  std::mt19937 random(seed);
  zepcodec::Picture picture;
  EXPECT_TRUE(picture.Resize(width, height,
                             zepcodec::LayoutOfComponents(static_cast<size_t>(channels)), bits));
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

zepcodec::Picture CopyOf(const zepcodec::Picture& picture) {
  zepcodec::Picture copy;
  EXPECT_TRUE(copy.ResizeLike(picture, picture.width(), picture.height()));
  std::copy(picture.Row(0), picture.Row(0) + picture.SizeInBytes(), copy.Row(0));
  return copy;
}

}  // namespace pictures
