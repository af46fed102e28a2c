// SPDX-License-Identifier: MIT
// Fractions, which files use for resolutions.
#ifndef ZEPJP_CODECS_SUPPORT_FRACTION_H_
#define ZEPJP_CODECS_SUPPORT_FRACTION_H_

#include <cmath>
#include <cstdint>

namespace zepcodec {

struct Fraction {
  uint32_t over;
  uint32_t under;
};

// The last convergent of the continued fraction of a number in 0..most whose parts do not exceed
// `most`.
inline Fraction ToFraction(double number, uint32_t most) {
  constexpr double kExact = 1e-12;  // a smaller remainder is a rounding error
  uint64_t over = 1, under = 0, last_over = 0, last_under = 1;
  double rest = number;
  while (true) {
    const double whole = std::floor(rest);
    if (whole > most) break;
    const uint64_t next_over = static_cast<uint64_t>(whole) * over + last_over;
    const uint64_t next_under = static_cast<uint64_t>(whole) * under + last_under;
    if (next_over > most || next_under > most) break;
    last_over = over;
    last_under = under;
    over = next_over;
    under = next_under;
    if (rest - whole < kExact) break;
    rest = 1 / (rest - whole);
  }
  return {static_cast<uint32_t>(over), static_cast<uint32_t>(under)};
}

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_FRACTION_H_
