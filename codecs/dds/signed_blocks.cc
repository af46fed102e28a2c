// SPDX-License-Identifier: MIT
// A block of a channel has two end points of -127 to 127 (-128 counts as -127) and 16 indices of 3
// bits. If the first end point is the larger one, six mixtures lie between them. Otherwise there are
// four mixtures, -127 and 127.
#include "codecs/dds/signed_blocks.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace zepcodec::dds {
namespace {

// The value sum / count of -127 to 127 as 0 to 255: (sum / count + 127) * 255 / 254, rounded.
uint8_t Shifted(int sum, int count) {
  return static_cast<uint8_t>(((sum + 127 * count) * 255 + 127 * count) / (254 * count));
}

std::array<uint8_t, 8> PaletteOf(int first, int second) {
  const bool has_six = first > second;
  first = std::max(first, -127);
  second = std::max(second, -127);
  std::array<uint8_t, 8> palette = {Shifted(first, 1), Shifted(second, 1)};
  const int steps = has_six ? 7 : 5;
  for (int i = 1; i < steps; ++i) {
    palette[static_cast<size_t>(i) + 1] = Shifted((steps - i) * first + i * second, steps);
  }
  if (!has_six) {
    palette[6] = 0;
    palette[7] = 255;
  }
  return palette;
}

void DecodeBlock(const uint8_t* block, int width, int height, size_t step, size_t row_bytes,
                 uint8_t* pixels) {
  const auto palette = PaletteOf(static_cast<int8_t>(block[0]), static_cast<int8_t>(block[1]));
  uint64_t indices = 0;
  for (int i = 7; i >= 2; --i) indices = indices << 8 | block[i];
  for (int y = 0; y < height; ++y, pixels += row_bytes) {
    uint64_t row = indices >> (12 * y);
    for (int x = 0; x < width; ++x, row >>= 3)
      pixels[static_cast<size_t>(x) * step] = palette[row & 7];
  }
}

}  // namespace

void DecodeSignedBlocks(const uint8_t* blocks, int channels, int width, int height,
                        uint8_t* pixels) {
  const auto step = static_cast<size_t>(channels);
  const size_t row_bytes = step * static_cast<size_t>(width);
  for (int y = 0; y < height; y += 4) {
    for (int x = 0; x < width; x += 4) {
      for (size_t c = 0; c < step; ++c, blocks += 8) {
        DecodeBlock(
            blocks, std::min(4, width - x), std::min(4, height - y), step, row_bytes,
            pixels + static_cast<size_t>(y) * row_bytes + static_cast<size_t>(x) * step + c);
      }
    }
  }
}

}  // namespace zepcodec::dds
