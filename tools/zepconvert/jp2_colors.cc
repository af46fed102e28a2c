// SPDX-License-Identifier: MIT
#include "tools/zepconvert/jp2_colors.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace jpeg2000 = zepcodec::jpeg2000;

namespace zepconvert {
namespace {

constexpr size_t kCurveSteps = 1 << 14;

// CIE 15: the inverse of the cube root with its straight part near black.
double LabInverse(double t) {
  constexpr double kKnee = 6.0 / 29;
  return t > kKnee ? t * t * t : 3 * kKnee * kKnee * (t - 4.0 / 29);
}

uint8_t Rounded(double value) {
  return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

// Calls change(pixel) for each.
template <class Change>
void ForPixels(zepcodec::Picture* image, const Change& change) {
  const auto channels = static_cast<size_t>(image->channels());
  uint8_t* pixel = image->Row(0);
  for (uint8_t* end = pixel + image->SizeInBytes(); pixel < end; pixel += channels) change(pixel);
}

}  // namespace

// A sample is a code from 0 to 2^bits - 1, and its value (code - offset) * range / (2^bits - 1).
LabToRgb::LabToRgb(const jpeg2000::LabRange& range, const std::array<int, 3>& bits) {
  for (size_t i = 0; i < 3; ++i) {
    axes_[i] = {range.range[i] / ((1 << bits[i]) - 1), range.OffsetOf(i, bits[i])};
  }
  // From XYZ relative to D65, or to D50 by way of Bradford's adaptation, to linear sRGB.
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
    curve_.push_back(Rounded(
        255 * (light < 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055)));
  }
}

uint8_t LabToRgb::Curved(double light) const {
  return curve_[static_cast<size_t>(std::lround(std::clamp(light, 0.0, 1.0) * kCurveSteps))];
}

void LabToRgb::Convert(const std::array<int32_t, 3>& lab, uint8_t* rgb) const {
  const double y = (axes_[0].At(lab[0]) + 16) / 116;
  const double x = y + axes_[1].At(lab[1]) / 500;
  const double z = y - axes_[2].At(lab[2]) / 200;
  const double xyz[3] = {white_[0] * LabInverse(x), white_[1] * LabInverse(y),
                         white_[2] * LabInverse(z)};
  for (size_t c = 0; c < 3; ++c) {
    rgb[c] = Curved(matrix_[c][0] * xyz[0] + matrix_[c][1] * xyz[1] + matrix_[c][2] * xyz[2]);
  }
}

void YccToRgb(zepcodec::Picture* image) {
  ForPixels(image, [](uint8_t* pixel) {
    const double y = pixel[0], cb = pixel[1] - 128, cr = pixel[2] - 128;
    pixel[0] = Rounded(y + 1.402 * cr);
    pixel[1] = Rounded(y - 0.344136 * cb - 0.714136 * cr);
    pixel[2] = Rounded(y + 1.772 * cb);
  });
}

void InvertColors(zepcodec::Picture* image) {
  const int colors = std::min(image->channels(), 3);
  ForPixels(image, [colors](uint8_t* pixel) {
    for (int c = 0; c < colors; ++c) pixel[c] = static_cast<uint8_t>(255 - pixel[c]);
  });
}

void DivideByAlpha(zepcodec::Picture* image) {
  const int colors = image->channels() - 1;
  ForPixels(image, [colors](uint8_t* pixel) {
    const int alpha = pixel[colors];
    for (int c = 0; c < colors && alpha > 0; ++c) {
      pixel[c] = static_cast<uint8_t>(std::min(255, (pixel[c] * 255 + alpha / 2) / alpha));
    }
  });
}

}  // namespace zepconvert
