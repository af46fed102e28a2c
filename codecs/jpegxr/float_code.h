// SPDX-License-Identifier: MIT
// Floats and the integers that are coded for them: a shorter float with `mantissa` bits and an
// exponent with the bias `bias`, read as an integer with a sign (ITU-T T.832, 9.10). The integers
// keep the order of the floats, so that quantizing them is a relative error.
#ifndef ZEPJP_CODECS_JPEGXR_FLOAT_CODE_H_
#define ZEPJP_CODECS_JPEGXR_FLOAT_CODE_H_

#include <cmath>
#include <cstdint>
#include <cstring>

namespace zepcodec::jpegxr {

inline float FloatOfCode(int32_t code, int mantissa, int bias) {
  const uint32_t bits = static_cast<uint32_t>(code);
  const uint32_t magnitude = code < 0 ? 0 - bits : bits;
  const uint32_t exponent = magnitude >> mantissa;
  const uint32_t one = uint32_t{1} << mantissa;
  const uint32_t fraction = (magnitude & (one - 1)) | (exponent > 0 ? one : 0);
  const int scale = static_cast<int>(exponent > 0 ? exponent : 1) - bias - mantissa;
  const float value = std::ldexp(static_cast<float>(fraction), scale);
  return code < 0 ? -value : value;
}

inline int32_t CodeOfFloat(float value, int mantissa, int bias) {
  uint32_t bits;
  std::memcpy(&bits, &value, sizeof(bits));
  if (value == 0) return 0;
  constexpr uint32_t kOne = 1U << 23;
  uint32_t fraction = bits & (kOne - 1);
  int exponent = static_cast<int>(bits >> 23 & 255);
  if (exponent == 0) {
    exponent = 1;
  } else {
    fraction |= kOne;
  }
  exponent += bias - 127;
  if (exponent < 1) {
    fraction = exponent < -30 ? 0 : fraction >> (1 - exponent);
    exponent = 1;
  }
  if (fraction < kOne) exponent = 0;
  fraction &= kOne - 1;
  const uint32_t round = mantissa < 23 ? 1U << (22 - mantissa) : 0;
  const uint32_t magnitude =
      (static_cast<uint32_t>(exponent) << mantissa) + ((fraction + round) >> (23 - mantissa));
  return static_cast<int32_t>(bits >> 31 != 0 ? 0 - magnitude : magnitude);
}

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_FLOAT_CODE_H_
