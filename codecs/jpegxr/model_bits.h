// SPDX-License-Identifier: MIT
// The number of low bits of a coefficient that are coded as plain refinement bits, without
// variable-length codes (ITU-T T.832, 8.12). It adapts after each macroblock: many coefficients
// above these bits raise it, few lower it; luma and chroma have a number each.
#ifndef ZEPJP_CODECS_JPEGXR_MODEL_BITS_H_
#define ZEPJP_CODECS_JPEGXR_MODEL_BITS_H_

#include <algorithm>
#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/jpegxr/quantizer.h"

namespace zepcodec::jpegxr {

class ModelBits {
 public:
  ModelBits(Band band, ColorFormat format) : band_(band), format_(format) { Reset(); }

  void Reset() {
    constexpr uint32_t kStart[] = {8, 4, 0};
    for (Channel& channel : channels_) channel = {0, kStart[static_cast<int>(band_)]};
  }

  uint32_t luma() const { return channels_[0].bits; }
  uint32_t chroma() const { return channels_[1].bits; }
  uint32_t Of(size_t component) const { return channels_[component == 0 ? 0 : 1].bits; }

  // Called after each macroblock with the numbers of coded coefficients.
  void Update(uint32_t luma_count, uint32_t chroma_count) {
    constexpr int64_t kLuma[] = {240, 12, 1};
    Step(int64_t{luma_count} * kLuma[static_cast<int>(band_)], &channels_[0]);
    if (format_ != ColorFormat::kGrey) Step(ChromaMeasure(chroma_count), &channels_[1]);
  }

 private:
  struct Channel {
    int64_t state;
    uint32_t bits;
  };

  int64_t ChromaMeasure(uint32_t count) const {
    constexpr int64_t k420[] = {120, 37, 2}, k422[] = {120, 18, 1}, k444[] = {120, 6, 8};
    const auto band = static_cast<int>(band_);
    if (format_ == ColorFormat::k420) return count * k420[band];
    if (format_ == ColorFormat::k422) return count * k422[band];
    return count * k444[band] >> (band_ == Band::kHp ? 4 : 0);
  }

  static void Step(int64_t measure, Channel* channel) {
    const int64_t distance = (measure - 70) >> 2;
    if (distance <= -8) {
      channel->state += std::max<int64_t>(distance + 4, -16);
      if (channel->state >= -8) return;
      if (channel->bits == 0) {
        channel->state = -8;
      } else {
        channel->state = 0;
        --channel->bits;
      }
    } else if (distance >= 8) {
      channel->state += std::min<int64_t>(distance - 4, 15);
      if (channel->state <= 8) return;
      if (channel->bits >= 15) {
        channel->state = 8;
      } else {
        channel->state = 0;
        ++channel->bits;
      }
    }
  }

  Band band_;
  ColorFormat format_;
  Channel channels_[2];
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_MODEL_BITS_H_
