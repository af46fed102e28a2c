// SPDX-License-Identifier: MIT
#include "codecs/jpeg/block_maker.h"

#include <cstring>
#include <utility>

#include "zepjp.h"

namespace zepcodec::jpeg {
namespace {

// Samples of 8 bits through the transform of 12 bits, which rounds only once: a sample of 128 becomes
// the 2048 of its level shift.
void PreciseTransform(const uint8_t* samples, int step, int16_t* block, const uint16_t* steps) {
  uint16_t words[64];
  for (int y = 0; y < 8; ++y) {
    for (int x = 0; x < 8; ++x) words[8 * y + x] = static_cast<uint16_t>(samples[x] + 1920);
    samples += step;
  }
  zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(words, 16, block, steps);
}

void FastTransform(const uint8_t* samples, int step, int16_t* block, const uint16_t* steps) {
  zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples, step, block, steps);
}

}  // namespace

BlockMaker::BlockMaker(const Geometry& geometry, std::vector<const uint16_t*> steps,
                       bool precise_dct)
    : geometry_(geometry),
      steps_(std::move(steps)),
      transform_(precise_dct ? PreciseTransform : FastTransform) {}

void BlockMaker::Make(const StripMaker& strip, int mcu_row, size_t component, int x, int y,
                      const int16_t* before, int16_t* block) const {
  const ComponentGeometry& place = geometry_.components[component];
  if (x < place.blocks_per_row && y < place.block_rows) {
    const int step = strip.step();
    const uint8_t* row = strip.Samples(component) + (y - mcu_row * place.v) * 8 * step;
    transform_(row + x * 8, step, block, steps_[component]);
  } else {
    std::memset(block, 0, 64 * sizeof(*block));
    block[0] = before[0];
  }
}

}  // namespace zepcodec::jpeg
