// SPDX-License-Identifier: MIT
#include "tools/zepconvert/hdr_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "tools/zepconvert/light.h"

namespace zepconvert {
namespace {

// What the format can hold: NaN is 0, infinity the largest number.
double Limited(double light) {
  constexpr double kMost = 1e38;
  return light > 0 ? std::min(light, kMost) : 0;
}

std::array<uint8_t, 4> SharedExponent(const std::array<double, 3>& rgb) {
  const double most = *std::max_element(rgb.begin(), rgb.end());
  if (most < 1e-32) return {};
  int exponent = 0;
  const double scale = std::frexp(most, &exponent) * 256 / most;
  return {static_cast<uint8_t>(rgb[0] * scale), static_cast<uint8_t>(rgb[1] * scale),
          static_cast<uint8_t>(rgb[2] * scale), static_cast<uint8_t>(exponent + 128)};
}

// A row channel by channel, each in packets of at most 128 bytes. Plain pixels could be taken for
// this form, so they are written only for rows that are too short or too long for it.
void AppendRow(const std::vector<std::array<uint8_t, 4>>& row, Bytes* bytes) {
  constexpr size_t kShortest = 8, kLongest = 32767, kPacket = 128;
  if (row.size() < kShortest || row.size() > kLongest) {
    for (const auto& pixel : row) bytes->insert(bytes->end(), pixel.begin(), pixel.end());
    return;
  }
  bytes->push_back(2);
  bytes->push_back(2);
  bytes->push_back(static_cast<uint8_t>(row.size() >> 8));
  bytes->push_back(static_cast<uint8_t>(row.size()));
  for (size_t channel = 0; channel < 4; ++channel) {
    for (size_t x = 0; x < row.size(); x += kPacket) {
      const size_t count = std::min(kPacket, row.size() - x);
      bytes->push_back(static_cast<uint8_t>(count));
      for (size_t i = 0; i < count; ++i) bytes->push_back(row[x + i][channel]);
    }
  }
}

}  // namespace

Bytes WriteHdr(const Image& image, std::vector<std::string>* notes) {
  const std::string head = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " +
                           std::to_string(image.height()) + " +X " + std::to_string(image.width()) +
                           "\n";
  Bytes file(head.begin(), head.end());
  bool has_negative = false;
  std::vector<std::array<uint8_t, 4>> row(static_cast<size_t>(image.width()));
  const Form form = image.form();
  const bool is_grey = IsGrey(form.layout);
  const size_t sample_bytes = BytesOf(form.sample);
  for (int y = 0; y < image.height(); ++y) {
    const uint8_t* sample = image.Row(y);
    for (auto& pixel : row) {
      std::array<double, 3> rgb{};
      for (size_t c = 0; c < rgb.size(); ++c) {
        const double light = LightOf(sample + (is_grey ? 0 : c * sample_bytes), form.sample);
        has_negative = has_negative || light < 0;
        rgb[c] = Limited(light);
      }
      sample += sample_bytes * static_cast<size_t>(image.channels());
      pixel = SharedExponent(rgb);
    }
    AppendRow(row, &file);
  }
  if (has_negative) notes->emplace_back("negative values became 0");
  return file;
}

}  // namespace zepconvert
