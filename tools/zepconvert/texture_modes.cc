// SPDX-License-Identifier: MIT
#include "tools/zepconvert/texture_modes.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "codecs/dds/header.h"

namespace dds = zepcodec::dds;

namespace zepconvert {
namespace {

struct Sums {
  double blocks = 0, samples = 0, squares = 0;
};

void AddBlock(const zepcodec::Picture& original, const zepcodec::Picture& decoded, int x, int y,
              Sums* sums) {
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

std::vector<ModeShare> ModesOfBc7(const zepcodec::ByteBuffer& file,
                                  const zepcodec::Picture& original,
                                  const zepcodec::Picture& decoded) {
  dds::Header header;
  if (!dds::ParseHeader(file.data(), file.size(), &header).ok() ||
      header.format != dds::BlockFormat::kBc7) {
    return {};
  }
  std::array<Sums, 9> sums{};
  double blocks = 0;
  const uint8_t* block = file.data() + header.data_offset;
  for (int y = 0; y < original.height(); y += 4) {
    for (int x = 0; x < original.width(); x += 4, block += 16, ++blocks) {
      const int mode = __builtin_ctz(static_cast<unsigned>(block[0]) | 256U);
      AddBlock(original, decoded, x, y, &sums[static_cast<size_t>(mode)]);
    }
  }
  std::vector<ModeShare> modes;
  for (size_t mode = 0; mode < 8; ++mode) {
    const Sums& own = sums[mode];
    if (own.blocks == 0) continue;
    modes.push_back({static_cast<int>(mode), own.blocks / blocks,
                     10 * std::log10(255.0 * 255.0 * own.samples / own.squares)});
  }
  return modes;
}

}  // namespace zepconvert
