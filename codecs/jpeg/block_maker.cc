// SPDX-License-Identifier: MIT
#include "codecs/jpeg/block_maker.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "zepjp.h"

namespace zepcodec::jpeg {
namespace {

// Samples of 8 bits for the transform of 12 bits: 128 becomes the 2048 of its level shift.
class DeepRow {
 public:
  static constexpr int kMostBlocks = 16;

  // Two blocks at a time, which fill a vector, and the last one of an odd number on its own.
  DeepRow(const uint8_t* samples, int step, int blocks) {
    const int paired = 8 * (blocks - blocks % 2);
    for (int y = 0; y < 8; ++y, samples += step) {
      for (int x = 0; x < paired; x += 16) Widen<16>(samples + x, words_[y] + x);
      if (paired < 8 * blocks) Widen<8>(samples + paired, words_[y] + paired);
    }
  }

  const uint16_t* Block(int x) const { return words_[0] + 8 * x; }
  static constexpr int32_t Step() { return sizeof(words_[0]); }

 private:
  template <int kCount>
  static void Widen(const uint8_t* from, uint16_t* to) {
    for (int i = 0; i < kCount; ++i) to[i] = static_cast<uint16_t>(from[i] + 1920);
  }

  alignas(64) uint16_t words_[8][8 * kMostBlocks];
};

// Goes through the blocks of a row in the order of the MCUs.
struct RowOfBlocks {
  const BlockPlaces& places;
  int across;  // blocks in an MCU
  int y;

  int16_t* At(int x) const { return places.At(x / across, x % across, y); }
};

void MakeFast(const uint8_t* samples, int step, const uint16_t* steps, int count,
              const RowOfBlocks& row) {
  for (int x = 0; x < count; ++x) {
    zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples + 8 * x, step, row.At(x), steps);
  }
}

void MakePrecise(const uint8_t* samples, int step, const uint16_t* steps, int count,
                 const RowOfBlocks& row) {
  for (int first = 0; first < count; first += DeepRow::kMostBlocks) {
    const int end = std::min(first + DeepRow::kMostBlocks, count);
    const DeepRow deep(samples + 8 * first, step, end - first);
    for (int x = first; x < end; ++x) {
      zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(deep.Block(x - first), DeepRow::Step(), row.At(x),
                                           steps);
    }
  }
}

// The first block of an MCU never lies beyond its row, nor the first row beyond the component.
void CopyDc(const BlockPlaces& places, int mcu, int x, int y, int across) {
  const int16_t* before = x > 0 ? places.At(mcu, x - 1, y) : places.At(mcu, across - 1, y - 1);
  int16_t* block = places.At(mcu, x, y);
  std::memset(block, 0, 64 * sizeof(*block));
  block[0] = before[0];
}

}  // namespace

// The fast transform rounds to integers before it quantizes. Up to this quality photographs lose
// nothing: the larger error is balanced by smaller files, since halves of an even step, which are
// frequent among integers, become 0 (docs/jpeg-codec.md).
constexpr int kBestFastQuality = 40;

bool IsPrecise(const EncodeOptions& options) {
  if (options.forward_dct != ForwardDct::kAutomatic) {
    return options.forward_dct == ForwardDct::kPrecise;
  }
  return options.quality > kBestFastQuality;
}

BlockMaker::BlockMaker(const Geometry& geometry, std::vector<const uint16_t*> steps,
                       bool is_precise)
    : geometry_(geometry), steps_(std::move(steps)), is_precise_(is_precise) {}

void BlockMaker::Make(const StripMaker& strip, int mcu_row, size_t component, int first_mcu,
                      int mcus, const BlockPlaces& places) const {
  const ComponentGeometry& place = geometry_.components[component];
  const int first = first_mcu * place.h;
  const int all = mcus * place.h;
  const int step = strip.step();
  for (int y = 0; y < place.v; ++y) {
    const bool is_beyond = mcu_row * place.v + y >= place.block_rows;
    const int count = is_beyond ? 0 : std::min(all, place.blocks_per_row - first);
    const uint8_t* samples = strip.Samples(component) + y * 8 * step + first * 8;
    const auto make = is_precise_ ? MakePrecise : MakeFast;
    make(samples, step, steps_[component], count, {places, place.h, y});
    for (int x = count; x < all; ++x) CopyDc(places, x / place.h, x % place.h, y, place.h);
  }
}

}  // namespace zepcodec::jpeg
