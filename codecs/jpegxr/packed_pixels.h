// SPDX-License-Identifier: MIT
// RGB pixels that share a word or an exponent (ITU-T T.832, 9.10). Each tag stores one decoded
// pixel as plain samples.
#ifndef ZEPJP_CODECS_JPEGXR_PACKED_PIXELS_H_
#define ZEPJP_CODECS_JPEGXR_PACKED_PIXELS_H_

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace zepcodec::jpegxr {

// 5 bits, as 8 bits: v * 255 / 31, rounded.
struct Rgb555 {
  static uint8_t Widen(int32_t code, int32_t most) {
    return static_cast<uint8_t>((std::clamp(code, 0, most) * 510 + most) / (2 * most));
  }
  static void Store(const int32_t (&rgb)[3], uint8_t* to) {
    for (int i = 0; i < 3; ++i) to[i] = Widen(rgb[i], 31);
  }
};

// Green has 6 bits. Red and blue have 5, which are coded times 2.
struct Rgb565 {
  static void Store(const int32_t (&rgb)[3], uint8_t* to) {
    to[0] = Rgb555::Widen(rgb[0] >> 1, 31);
    to[1] = Rgb555::Widen(rgb[1], 63);
    to[2] = Rgb555::Widen(rgb[2] >> 1, 31);
  }
};

struct Rgb101010 {
  static void Store(const int32_t (&rgb)[3], uint8_t* to) {
    for (int i = 0; i < 3; ++i) {
      const auto value = static_cast<uint16_t>(std::clamp(rgb[i], 0, 1023));
      std::memcpy(to + 2 * i, &value, sizeof(value));
    }
  }
};

// The first component is in the lowest bits of a word. That is blue, unless the header has the flag
// of the other order. JxrDecApp reads the words like this.
template <class T>
struct Reversed {
  static void Store(const int32_t (&rgb)[3], uint8_t* to) {
    T::Store({rgb[2], rgb[1], rgb[0]}, to);
  }
};

// Mantissas of 8 bits and an exponent in common: value = mantissa * 2^(exponent - 136). A sample is
// coded as a small float of its own: 7 bits of the mantissa below 8 bits of the exponent. The
// largest exponent becomes the common one, and the other mantissas are shifted down.
struct Rgbe {
  static constexpr int kBias = 128 + 8;

  struct Code {
    int32_t mantissa;
    int32_t exponent;
  };
  static Code Split(int32_t code) {
    if (code <= 0) return {0, 0};
    const int32_t exponent = code >> 7;
    return exponent > 1 ? Code{(code & 127) | 128, exponent} : Code{code, 1};
  }
  static void Store(const int32_t (&rgb)[3], uint8_t* to) {
    const Code codes[3] = {Split(rgb[0]), Split(rgb[1]), Split(rgb[2])};
    const int32_t most = std::max({codes[0].exponent, codes[1].exponent, codes[2].exponent});
    const float scale = std::ldexp(1.0F, std::min(most, 255) - kBias);
    for (int i = 0; i < 3; ++i) {
      const int32_t shift = std::min(most - codes[i].exponent, 8);
      const int32_t mantissa = codes[i].mantissa >> shift;
      const float value = static_cast<float>(mantissa) * scale;
      std::memcpy(to + 4 * i, &value, sizeof(value));
    }
  }
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PACKED_PIXELS_H_
