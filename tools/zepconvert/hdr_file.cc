// SPDX-License-Identifier: MIT
#include "tools/zepconvert/hdr_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

namespace zepconvert {
namespace {

// Infinity, which BC6H can have with a minus only, counts as the number that would follow.
double ValueOf(uint16_t half) {
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

// A row by channels, each in packets of at most 128 bytes. (A row that lies there pixel by pixel could be
// taken for this form.) Rows too short or too long for it have no other.
void AppendRow(const std::vector<std::array<uint8_t, 4>>& row, std::vector<uint8_t>* bytes) {
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

zepcodec::Status WriteHdr(const zepcodec::Picture& picture, zepcodec::ByteBuffer* file,
                          bool* has_negative) {
  const std::string head = "#?RADIANCE\nFORMAT=32-bit_rle_rgbe\n\n-Y " +
                           std::to_string(picture.height()) + " +X " +
                           std::to_string(picture.width()) + "\n";
  if (!file->Resize(0) ||
      !file->Append(reinterpret_cast<const uint8_t*>(head.data()), head.size())) {
    return zepcodec::Status::NoMemory();
  }
  *has_negative = false;
  std::vector<std::array<uint8_t, 4>> row(static_cast<size_t>(picture.width()));
  std::vector<uint8_t> bytes;
  const auto* half = reinterpret_cast<const uint16_t*>(picture.Row(0));
  for (int y = 0; y < picture.height(); ++y) {
    for (auto& pixel : row) {
      std::array<double, 3> rgb{};
      for (double& value : rgb) {
        value = ValueOf(*half++);
        *has_negative = *has_negative || value < 0;
        value = std::max(value, 0.0);
      }
      pixel = SharedExponent(rgb);
    }
    bytes.clear();
    AppendRow(row, &bytes);
    if (!file->Append(bytes.data(), bytes.size())) return zepcodec::Status::NoMemory();
  }
  return zepcodec::Status();
}

}  // namespace zepconvert
