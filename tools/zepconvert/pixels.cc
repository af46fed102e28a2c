// SPDX-License-Identifier: MIT
#include "tools/zepconvert/pixels.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "zepjp.h"

namespace zepconvert {
namespace {

using zepcodec::PixelLayout;

// A row as colours and alpha.
struct Row {
  explicit Row(size_t width) : rgb(3 * width), alpha(width, uint8_t{255}) {}

  std::vector<uint8_t> rgb;
  std::vector<uint8_t> alpha;
};

void ReadRow(const zepcodec::Image& image, int y, Row* row) {
  const uint8_t* in = image.Row(y);
  uint8_t* out = row->rgb.data();
  const auto channels = static_cast<size_t>(image.channels());
  const bool is_grey = channels <= 2;
  const bool is_cmyk = image.layout() == PixelLayout::kCmyk;
  for (uint8_t& alpha : row->alpha) {
    for (size_t c = 0; c < 3; ++c) {
      const int value = in[is_grey ? 0 : c];
      out[c] = static_cast<uint8_t>(is_cmyk ? ((255 - value) * (255 - in[3]) + 127) / 255 : value);
    }
    if (HasAlpha(image.layout())) alpha = in[channels - 1];
    in += channels;
    out += 3;
  }
}

void LayOverWhite(Row* row) {
  for (size_t i = 0; i < row->rgb.size(); ++i) {
    const int alpha = row->alpha[i / 3];
    row->rgb[i] = static_cast<uint8_t>((row->rgb[i] * alpha + 255 * (255 - alpha) + 127) / 255);
  }
}

void WriteRow(const Row& row, int y, zepcodec::Image* image) {
  uint8_t* out = image->Row(y);
  const auto channels = static_cast<size_t>(image->channels());
  if (channels <= 2) {
    std::vector<uint8_t> grey(row.alpha.size());
    const int width = image->width();
    zepiRGBToY_JPEG_8u_C3C1R(row.rgb.data(), 3 * width, grey.data(), width, {width, 1});
    for (size_t x = 0; x < grey.size(); ++x) out[channels * x] = grey[x];
  } else {
    for (size_t x = 0; x < row.alpha.size(); ++x)
      std::memcpy(out + channels * x, &row.rgb[3 * x], 3);
  }
  if (!HasAlpha(image->layout())) return;
  for (size_t x = 0; x < row.alpha.size(); ++x) out[channels * (x + 1) - 1] = row.alpha[x];
}

double Decibels(uint64_t sum_of_squares, size_t count) {
  if (sum_of_squares == 0) return std::numeric_limits<double>::infinity();
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(count) /
                         static_cast<double>(sum_of_squares));
}

}  // namespace

bool IsOpaque(const zepcodec::Image& image) {
  if (!HasAlpha(image.layout())) return true;
  const auto channels = static_cast<size_t>(image.channels());
  const uint8_t* samples = image.Row(0);
  for (size_t i = channels - 1; i < image.SizeInBytes(); i += channels) {
    if (samples[i] != 255) return false;
  }
  return true;
}

zepcodec::Status ChangeLayout(const zepcodec::Image& image, PixelLayout layout,
                              zepcodec::Image* changed) {
  if (!changed->Resize(image.width(), image.height(), layout)) return zepcodec::Status::NoMemory();
  if (layout == image.layout()) {
    std::memcpy(changed->Row(0), image.Row(0), image.SizeInBytes());
    return zepcodec::Status();
  }
  Row row(static_cast<size_t>(image.width()));
  for (int y = 0; y < image.height(); ++y) {
    ReadRow(image, y, &row);
    if (HasAlpha(image.layout()) && !HasAlpha(layout)) LayOverWhite(&row);
    WriteRow(row, y, changed);
  }
  return zepcodec::Status();
}

Psnr Measure(const zepcodec::Image& a, const zepcodec::Image& b) {
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

zepcodec::Status MakeErrorPicture(const zepcodec::Image& a, const zepcodec::Image& b,
                                  zepcodec::Image* errors) {
  zepcodec::Image other;
  zepcodec::Status status = ChangeLayout(a, PixelLayout::kRgb, errors);
  if (status.ok()) status = ChangeLayout(b, PixelLayout::kRgb, &other);
  if (!status.ok()) return status;
  uint8_t* out = errors->Row(0);
  const uint8_t* in = other.Row(0);
  for (size_t i = 0; i < other.SizeInBytes(); ++i) {
    out[i] = static_cast<uint8_t>(std::min(kErrorScale * std::abs(out[i] - in[i]), 255));
  }
  return status;
}

}  // namespace zepconvert
