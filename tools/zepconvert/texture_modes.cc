// SPDX-License-Identifier: MIT
#include "tools/zepconvert/texture_modes.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace zepconvert {
namespace {

// A DDS file: 128 bytes of header, in which a code of four characters tells that 20 more follow.
// Those begin with the number of the format.
constexpr size_t kFourCharacters = 84, kFormat = 128, kBlocks = 148;
constexpr size_t kBlockBytes = 16;
constexpr uint32_t kBc7 = 98, kBc7Srgb = 99;

bool HasBc7(ByteView file) {
  if (file.size < kBlocks || std::memcmp(file.data, "DDS ", 4) != 0 ||
      std::memcmp(file.data + kFourCharacters, "DX10", 4) != 0) {
    return false;
  }
  uint32_t format = 0;
  for (size_t i = 4; i-- > 0;) format = format << 8 | file.data[kFormat + i];
  return format == kBc7 || format == kBc7Srgb;
}

size_t BlockCount(const Image& image) {
  return static_cast<size_t>((image.width() + 3) / 4) *
         static_cast<size_t>((image.height() + 3) / 4);
}

struct Sums {
  double blocks = 0, samples = 0, squares = 0;
};

void AddBlock(const Image& original, const Image& decoded, int x, int y, Sums* sums) {
  const int channels = original.channels();
  const int right = std::min(x + 4, original.width()), bottom = std::min(y + 4, original.height());
  sums->blocks += 1;
  for (int row = y; row < bottom; ++row) {
    for (int i = x * channels; i < right * channels; ++i) {
      const int difference = original.Row(row)[i] - decoded.Row(row)[i];
      sums->squares += difference * difference;
      sums->samples += 1;
    }
  }
}

}  // namespace

std::vector<ModeShare> ModesOfBc7(ByteView file, const Image& original, const Image& decoded) {
  const size_t blocks = BlockCount(original);
  if (!HasBc7(file) || (file.size - kBlocks) / kBlockBytes < blocks) return {};
  std::array<Sums, 9> sums{};
  const uint8_t* block = file.data + kBlocks;
  for (int y = 0; y < original.height(); y += 4) {
    for (int x = 0; x < original.width(); x += 4, block += kBlockBytes) {
      // The number of zeros below the lowest bit that is set; 8 where there is none.
      const int mode = __builtin_ctz(static_cast<unsigned>(block[0]) | 256U);
      AddBlock(original, decoded, x, y, &sums[static_cast<size_t>(mode)]);
    }
  }
  std::vector<ModeShare> modes;
  for (size_t mode = 0; mode < 8; ++mode) {
    const Sums& own = sums[mode];
    if (own.blocks == 0) continue;
    modes.push_back({static_cast<int>(mode), own.blocks / static_cast<double>(blocks),
                     10 * std::log10(255.0 * 255.0 * own.samples / own.squares)});
  }
  return modes;
}

}  // namespace zepconvert
