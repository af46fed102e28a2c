// SPDX-License-Identifier: MIT
// L*a*b* samples (CIE 15) as sRGB.
#ifndef ZEPJP_CODECS_JPEG2000_LAB_H_
#define ZEPJP_CODECS_JPEG2000_LAB_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/image.h"

namespace zepcodec::jpeg2000 {

// L*a*b* to sRGB; colours outside its gamut are clipped.
class LabToRgb {
 public:
  // A sample is a code from 0 to 2^bits - 1, and its value (code - offset) * range / (2^bits - 1).
  LabToRgb(const LabRange& range, const std::array<int, 3>& bits, int white);

  // Codes, counted from the lowest possible sample.
  std::array<int, 3> Convert(const std::array<int32_t, 3>& lab) const;

 private:
  static constexpr size_t kCurveSteps = 1 << 14;

  struct Axis {
    double scale;
    double offset;
    double At(int32_t code) const { return (code - offset) * scale; }
  };
  int Curved(double light) const;

  std::array<Axis, 3> axes_;
  std::array<double, 3> white_;
  std::array<std::array<double, 3>, 3> matrix_;
  std::vector<int> curve_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_LAB_H_
