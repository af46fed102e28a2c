// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pixels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "codecs/support/convert.h"

namespace zepconvert {
namespace {

double Decibels(uint64_t sum_of_squares, size_t count) {
  if (sum_of_squares == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) /
                         static_cast<double>(sum_of_squares));
}

}  // namespace

Psnr Measure(const zepcodec::Picture& a, const zepcodec::Picture& b) {
  const auto channels = static_cast<size_t>(a.channels());
  const size_t count = a.SizeInBytes() / channels;
  Psnr psnr;
  uint64_t all = 0;
  for (size_t c = 0; c < channels; ++c) {
    uint64_t sum = 0;
    for (size_t i = c; i < a.SizeInBytes(); i += channels) {
      const int distance = a.Row(0)[i] - b.Row(0)[i];
      sum += static_cast<uint64_t>(distance * distance);
    }
    psnr.channels.push_back(Decibels(sum, count));
    all += sum;
  }
  psnr.all = Decibels(all, a.SizeInBytes());
  return psnr;
}

zepcodec::Status MakeErrorPicture(const zepcodec::Picture& a, const zepcodec::Picture& b,
                                  zepcodec::Picture* errors) {
  zepcodec::Picture other;
  zepcodec::Status status = Convert(a, zepcodec::PixelLayout::kRgb, 8, {}, errors);
  if (status.ok()) status = Convert(b, zepcodec::PixelLayout::kRgb, 8, {}, &other);
  if (!status.ok()) return status;
  uint8_t* out = errors->Row(0);
  const uint8_t* in = other.Row(0);
  for (size_t i = 0; i < other.SizeInBytes(); ++i) {
    out[i] = static_cast<uint8_t>(std::min(kErrorScale * std::abs(out[i] - in[i]), 255));
  }
  return status;
}

}  // namespace zepconvert
