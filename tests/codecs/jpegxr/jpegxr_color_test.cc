// SPDX-License-Identifier: MIT
// Rows of RGB pixels against the formulas, one pixel at a time, at the edge of memory.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "codecs/jpegxr/rgb_rows.h"
#include "codecs/jpegxr/wrapping.h"
#include "tests/harness/guarded.h"
#include "tests/harness/random.h"

namespace {

using W = zepcodec::jpegxr::Wrapping;
using harness::Edge;
using harness::Guarded;

constexpr size_t kWidest = 200;

struct Components {
  int32_t y, u, v;
};

Components Split(const uint8_t* pixel, int shift, int32_t offset) {
  const int32_t r = pixel[0] << shift, g = pixel[1] << shift, b = pixel[2] << shift;
  const int32_t t = r + ((b - r + 1) >> 1) - g;
  return {g + (t >> 1) - offset, -t, b - r};
}

void Join(Components from, int shift, int32_t offset, uint8_t* pixel) {
  const W t = -W(from.u);
  const W g = W(from.y) + offset - (t >> 1);
  const W r = t + g - ((W(from.v) + 1) >> 1);
  const W samples[3] = {r, g, r + from.v};
  for (int i = 0; i < 3; ++i) {
    pixel[i] = static_cast<uint8_t>(std::clamp((samples[i] >> shift).value, 0, 255));
  }
}

// Planes of exactly `width` components, and their values.
struct Planes {
  explicit Planes(size_t width, Edge edge) : y(width, edge), u(width, edge), v(width, edge) {}
  Guarded<int32_t> y, u, v;
};

void ExpectSplit(const uint8_t* values, size_t width, int shift, Edge edge) {
  Guarded<uint8_t> pixels(3 * width, edge);
  std::memcpy(pixels.data(), values, 3 * width);
  Planes planes(width, edge);
  zepcodec::jpegxr::SplitRgbRow(pixels.data(), width, shift, 128 << shift,
                                {planes.y.data(), planes.u.data(), planes.v.data()});
  for (size_t x = 0; x < width; ++x) {
    const Components expected = Split(values + 3 * x, shift, 128 << shift);
    ASSERT_EQ(planes.y.data()[x], expected.y) << x << " of " << width;
    ASSERT_EQ(planes.u.data()[x], expected.u) << x << " of " << width;
    ASSERT_EQ(planes.v.data()[x], expected.v) << x << " of " << width;
  }
}

void ExpectJoin(const int32_t* values, size_t width, int shift, Edge edge) {
  Planes planes(width, edge);
  std::memcpy(planes.y.data(), values, width * sizeof(int32_t));
  std::memcpy(planes.u.data(), values + kWidest, width * sizeof(int32_t));
  std::memcpy(planes.v.data(), values + 2 * kWidest, width * sizeof(int32_t));
  Guarded<uint8_t> pixels(3 * width, edge);
  const int32_t offset = (128 << shift) + shift;
  zepcodec::jpegxr::JoinRgbRow({planes.y.data(), planes.u.data(), planes.v.data()}, width, shift,
                               offset, pixels.data());
  for (size_t x = 0; x < width; ++x) {
    uint8_t expected[3];
    Join({values[x], values[x + kWidest], values[x + 2 * kWidest]}, shift, offset, expected);
    for (size_t i = 0; i < 3; ++i) {
      ASSERT_EQ(pixels.data()[3 * x + i], expected[i]) << x << " of " << width;
    }
  }
}

TEST(JpegXrColor, RgbRowsAreSplitByTheFormula) {
  harness::Random random(harness::Seed());
  uint8_t values[3 * kWidest];
  for (const harness::Pattern pattern : harness::kPatterns) {
    harness::FillPattern(values, std::size(values), pattern, random);
    for (size_t width = 1; width <= kWidest; ++width) {
      const Edge edge = width % 2 == 0 ? Edge::kStart : Edge::kEnd;
      for (const int shift : {0, 3}) ExpectSplit(values, width, shift, edge);
    }
  }
}

TEST(JpegXrColor, RgbRowsAreJoinedByTheFormula) {
  harness::Random random(harness::Seed());
  int32_t values[3 * kWidest];
  for (const harness::Pattern pattern : harness::kPatterns) {
    for (const int bits : {12, 32}) {
      harness::FillPattern(values, std::size(values), pattern, random);
      for (int32_t& value : values) value >>= 32 - bits;
      for (size_t width = 1; width <= kWidest; ++width) {
        const Edge edge = width % 2 == 0 ? Edge::kStart : Edge::kEnd;
        for (const int shift : {0, 3}) ExpectJoin(values, width, shift, edge);
      }
    }
  }
}

}  // namespace
