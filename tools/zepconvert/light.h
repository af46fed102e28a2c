// SPDX-License-Identifier: MIT
// Values of samples that are linear light.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_LIGHT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_LIGHT_H_

#include <cmath>
#include <cstdint>
#include <cstring>

#include "zepcodec.h"

namespace zepconvert {

// Infinity and NaN count as the numbers that would follow the largest one.
inline float FloatOfHalf(uint16_t half) {
  const int exponent = half >> 10 & 31, fraction = half & 1023;
  const double magnitude =
      exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(fraction + 1024, exponent - 25);
  return static_cast<float>((half & 0x8000) != 0 ? -magnitude : magnitude);
}

template <class Sample>
Sample LoadSample(const uint8_t* from) {
  Sample sample;
  std::memcpy(&sample, from, sizeof(sample));
  return sample;
}

// The amount of light of a sample in fixed point or of a float.
inline double LightOf(const uint8_t* sample, zepcSample type) {
  switch (type) {
    case zepcSampleS16: return std::ldexp(LoadSample<int16_t>(sample), -13);
    case zepcSampleS32: return std::ldexp(LoadSample<int32_t>(sample), -24);
    case zepcSampleF16: return FloatOfHalf(LoadSample<uint16_t>(sample));
    default: return LoadSample<float>(sample);
  }
}

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_LIGHT_H_
