// SPDX-License-Identifier: MIT
#include "tools/zepconvert/hdr_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

namespace zepconvert {
namespace {

// Infinity and NaN count as the numbers that would follow the largest one.
double ValueOf(const uint8_t* sample) {
  uint16_t half;
  std::memcpy(&half, sample, sizeof(half));
  const int exponent = half >> 10 & 31, fraction = half & 1023;
  const double magnitude =
      exponent == 0 ? std::ldexp(fraction, -24) : std::ldexp(fraction + 1024, exponent - 25);
  return (half & 0x8000) != 0 ? -magnitude : magnitude;
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
  for (int y = 0; y < image.height(); ++y) {
    const uint8_t* half = image.Row(y);
    for (auto& pixel : row) {
      std::array<double, 3> rgb{};
      for (double& value : rgb) {
        value = ValueOf(half);
        half += sizeof(uint16_t);
        has_negative = has_negative || value < 0;
        value = std::max(value, 0.0);
      }
      pixel = SharedExponent(rgb);
    }
    AppendRow(row, &file);
  }
  if (has_negative) notes->emplace_back("negative values became 0");
  return file;
}

}  // namespace zepconvert
