// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/lab.h"

#include <algorithm>
#include <cmath>

namespace zepcodec::jpeg2000 {
namespace {

// CIE 15: the inverse of the cube root, which has a linear part near black.
double LabInverse(double t) {
  constexpr double kKnee = 6.0 / 29;
  return t > kKnee ? t * t * t : 3 * kKnee * kKnee * (t - 4.0 / 29);
}

}  // namespace

LabToRgb::LabToRgb(const LabRange& range, const std::array<int, 3>& bits, int white) {
  for (size_t i = 0; i < 3; ++i) {
    axes_[i] = {range.range[i] / ((1 << bits[i]) - 1), range.OffsetOf(i, bits[i])};
  }
  // From XYZ to linear sRGB: relative to D65, or to D50 with Bradford adaptation.
  if (range.is_d65) {
    white_ = {0.95047, 1, 1.08883};
    matrix_ = {{{3.2404542, -1.5371385, -0.4985314},
                {-0.9692660, 1.8760108, 0.0415560},
                {0.0556434, -0.2040259, 1.0572252}}};
  } else {
    white_ = {0.96422, 1, 0.82521};
    matrix_ = {{{3.1338561, -1.6168667, -0.4906146},
                {-0.9787684, 1.9161415, 0.0334540},
                {0.0719453, -0.2289914, 1.4052427}}};
  }
  for (size_t i = 0; i <= kCurveSteps; ++i) {
    const double light = static_cast<double>(i) / kCurveSteps;
    const double curved =
        light < 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
    curve_.push_back(static_cast<int>(std::lround(std::clamp(white * curved, 0.0, 1.0 * white))));
  }
}

std::array<int, 3> LabToRgb::Convert(const std::array<int32_t, 3>& lab) const {
  const double y = (axes_[0].At(lab[0]) + 16) / 116;
  const double x = y + axes_[1].At(lab[1]) / 500;
  const double z = y - axes_[2].At(lab[2]) / 200;
  const double xyz[3] = {white_[0] * LabInverse(x), white_[1] * LabInverse(y),
                         white_[2] * LabInverse(z)};
  std::array<int, 3> rgb{};
  for (size_t c = 0; c < 3; ++c) {
    rgb[c] = Curved(matrix_[c][0] * xyz[0] + matrix_[c][1] * xyz[1] + matrix_[c][2] * xyz[2]);
  }
  return rgb;
}

int LabToRgb::Curved(double light) const {
  return curve_[static_cast<size_t>(std::lround(std::clamp(light, 0.0, 1.0) * kCurveSteps))];
}

}  // namespace zepcodec::jpeg2000
