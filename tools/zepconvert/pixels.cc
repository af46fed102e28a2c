// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pixels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <limits>

namespace zepconvert {
namespace {

double Decibels(uint64_t sum_of_squares, uint64_t count) {
  if (sum_of_squares == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) /
                         static_cast<double>(sum_of_squares));
}

}  // namespace

Psnr Measure(const Image& a, const Image& b) {
  const auto channels = static_cast<size_t>(a.channels());
  std::array<uint64_t, 4> sums{};
  for (int y = 0; y < a.height(); ++y) {
    const uint8_t* const row_a = a.Row(y);
    const uint8_t* const row_b = b.Row(y);
    for (size_t i = 0; i < a.SamplesInRow(); ++i) {
      const int distance = row_a[i] - row_b[i];
      sums[i % channels] += static_cast<uint64_t>(distance * distance);
    }
  }
  const uint64_t pixels = static_cast<uint64_t>(a.width()) * static_cast<uint64_t>(a.height());
  Psnr psnr;
  uint64_t all = 0;
  for (size_t c = 0; c < channels; ++c) {
    psnr.channels.push_back(Decibels(sums[c], pixels));
    all += sums[c];
  }
  psnr.all = Decibels(all, pixels * channels);
  return psnr;
}

Image MakeErrorPicture(const Image& a, const Image& b) {
  const Form rgb = UnsignedForm(zepcLayoutRgb, 8);
  Image errors = Converted(a, rgb);
  const Image other = Converted(b, rgb);
  for (int y = 0; y < errors.height(); ++y) {
    uint8_t* const out = errors.Row(y);
    const uint8_t* const in = other.Row(y);
    for (size_t i = 0; i < errors.SamplesInRow(); ++i) {
      out[i] = static_cast<uint8_t>(std::min(kErrorScale * std::abs(out[i] - in[i]), 255));
    }
  }
  return errors;
}

}  // namespace zepconvert
