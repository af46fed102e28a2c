// SPDX-License-Identifier: MIT
// Quantizer steps (ITU-T T.832, 9.4) and the encoder's rounding.
#ifndef ZEPJP_CODECS_JPEGXR_QUANTIZER_H_
#define ZEPJP_CODECS_JPEGXR_QUANTIZER_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zepcodec::jpegxr {

enum class Band { kDc, kLp, kHp };

// The step of an index: steps grow linearly at first, then 16 to each octave. In scaled arithmetic
// the DC and LP steps of chroma are half as large, because the values are halved between the two
// stages.
inline int32_t QuantizerStep(int index, bool is_scaled, Band band, size_t component) {
  if (index == 0) return 1;
  const int mantissa = 16 + (index & 15);
  if (is_scaled) {
    const int shift = band == Band::kHp || component == 0 ? 1 : 0;
    return index < 16 ? index << shift : mantissa << ((index >> 4) - 1 + shift);
  }
  if (index < 32) return (index + 3) >> 2;
  if (index < 48) return (mantissa + 1) >> 1;
  return mantissa << ((index >> 4) - 3);
}

// Divides magnitudes by a step: floor((|c| + round) / step), with the sign of c.
class Quantizer {
 public:
  Quantizer() = default;
  // DC rounds to nearest. The other bands round 5/8 and above up, which gives more zeros.
  Quantizer(int32_t step, Band band)
      : step_(step),
        round_(band == Band::kDc ? step >> 1 : (3 * step + 1) >> 3),
        inverse_(1.0f / static_cast<float>(step)) {}

  int32_t step() const { return step_; }

  int32_t Apply(int32_t value) const {
    if (step_ == 1) return value;
    const uint32_t magnitude =
        value < 0 ? 0 - static_cast<uint32_t>(value) : static_cast<uint32_t>(value);
    const auto quotient = static_cast<int32_t>((int64_t{magnitude} + round_) / step_);
    return value < 0 ? -quotient : quotient;
  }

  // Replaces `count` values, a multiple of 4.
  void ApplyAll(size_t count, int32_t* values) const {
    if (step_ == 1) return;
    int32_t limit = 0;
    for (size_t i = 0; i < count; ++i) limit |= values[i] ^ (values[i] >> 31);
    if (limit >= kExact) {
      for (size_t i = 0; i < count; ++i) values[i] = Apply(values[i]);
      return;
    }
    // The added 1/2 keeps quotients away from whole numbers, so that the rounding of a float cannot
    // change the result.
    const float offset = static_cast<float>(round_) + 0.5f;
    for (size_t i = 0; i < count; ++i) {
      const int32_t sign = values[i] >> 31;
      const auto magnitude = static_cast<float>((values[i] ^ sign) - sign);
      const auto quotient = static_cast<int32_t>((magnitude + offset) * inverse_);
      values[i] = (quotient ^ sign) - sign;
    }
  }

 private:
  static constexpr int32_t kExact = 1 << 20;

  int32_t step_ = 1;
  int32_t round_ = 0;
  float inverse_ = 1;
};

// The bits that are set in any magnitude of a block.
inline uint32_t BlockMagnitudes(const int32_t* block) {
  using Row = int32_t __attribute__((vector_size(16)));
  Row bits = {0, 0, 0, 0};
  for (size_t r = 0; r < 4; ++r) {
    Row row;
    std::memcpy(&row, block + 4 * r, sizeof(row));
    const Row sign = row >> 31;
    bits |= (row ^ sign) - sign;
  }
  return static_cast<uint32_t>(bits[0] | bits[1] | bits[2] | bits[3]);
}

// The quantizer index for a quality of 1 to 100.
inline uint8_t IndexOfQuality(int quality) {
  const int index = 4 + (100 - quality) * 5 / 4;
  return static_cast<uint8_t>(index < 1 ? 1 : index > 255 ? 255 : index);
}

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_QUANTIZER_H_
