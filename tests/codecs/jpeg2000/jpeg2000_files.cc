// SPDX-License-Identifier: MIT
#include "tests/codecs/jpeg2000/jpeg2000_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

namespace jpeg2000 = zepcodec::jpeg2000;

namespace jpeg2000_files {
namespace {

int CeilDivide(int value, int divisor) { return (value + divisor - 1) / divisor; }

int32_t SampleAt(int x, int y, int c, const jpeg2000::Component& form, uint32_t* state) {
  *state = *state * 1664525U + 1013904223U;
  const double range = std::ldexp(1.0, form.bits);
  const bool in_disc = (x % 41 - 20) * (x % 41 - 20) + (y % 37 - 18) * (y % 37 - 18) < 120;
  double value = 0.5 + 0.25 * std::sin(x / 11.0 + c) + 0.2 * std::cos(y / 13.0 + 2 * c);
  if (in_disc) value += 0.15 * (c - 1);
  value += (static_cast<double>(*state >> 24) / 255 - 0.5) / 32;
  const double highest = range - 1;
  const auto sample = static_cast<int32_t>(std::clamp(value * range, 0.0, highest));
  return form.is_signed ? sample - (1 << (form.bits - 1)) : sample;
}

}  // namespace

jpeg2000::Image MakePicture(const Shape& shape) {
  jpeg2000::Image image;
  image.x0 = shape.x0;
  image.y0 = shape.y0;
  image.x1 = shape.x0 + shape.width;
  image.y1 = shape.y0 + shape.height;
  image.color = shape.components < 3 ? jpeg2000::ColorSpace::kGrey : jpeg2000::ColorSpace::kRgb;
  if (shape.components == 2 || shape.components == 4) image.alpha = shape.components - 1;
  uint32_t state = 7;
  for (int c = 0; c < shape.components; ++c) {
    jpeg2000::Component made;
    const bool is_coarse = c == 1 || c == 2;
    made.dx = is_coarse ? shape.dx : 1;
    made.dy = is_coarse ? shape.dy : 1;
    made.width = CeilDivide(image.x1, made.dx) - CeilDivide(image.x0, made.dx);
    made.height = CeilDivide(image.y1, made.dy) - CeilDivide(image.y0, made.dy);
    made.bits = shape.bits;
    made.is_signed = shape.is_signed;
    for (int y = 0; y < made.height; ++y) {
      for (int x = 0; x < made.width; ++x) {
        made.samples.push_back(SampleAt(x * made.dx, y * made.dy, c, made, &state));
      }
    }
    image.components.push_back(std::move(made));
  }
  return image;
}

Bytes Encode(const jpeg2000::Image& image, const jpeg2000::EncodeOptions& options) {
  zepcodec::ByteBuffer file;
  const zepcodec::Status status = jpeg2000::Encode(image, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return {file.data(), file.data() + file.size()};
}

Decoded Decode(const Bytes& file, const jpeg2000::DecodeOptions& options) {
  Decoded decoded;
  decoded.status =
      jpeg2000::Decode(file.data(), file.size(), options, &decoded.image, &decoded.info);
  return decoded;
}

jpeg2000::Image DecodeGood(const Bytes& file, const jpeg2000::DecodeOptions& options) {
  Decoded decoded = Decode(file, options);
  EXPECT_TRUE(decoded.status.ok()) << decoded.status.text();
  EXPECT_TRUE(decoded.info.messages.empty()) << decoded.info.messages.kept()[0].ToString();
  return std::move(decoded.image);
}

std::string Difference(const jpeg2000::Image& a, const jpeg2000::Image& b) {
  if (a.components.size() != b.components.size()) return "number of components";
  for (size_t c = 0; c < a.components.size(); ++c) {
    const jpeg2000::Component& one = a.components[c];
    const jpeg2000::Component& other = b.components[c];
    if (one.width != other.width || one.height != other.height || one.bits != other.bits ||
        one.is_signed != other.is_signed || one.dx != other.dx || one.dy != other.dy) {
      return "form of component " + std::to_string(c);
    }
    const auto place = std::mismatch(one.samples.begin(), one.samples.end(), other.samples.begin());
    if (place.first != one.samples.end()) {
      return "component " + std::to_string(c) + " sample " +
             std::to_string(place.first - one.samples.begin()) + ": " +
             std::to_string(*place.first) + " and " + std::to_string(*place.second);
    }
  }
  return "";
}

double Psnr(const jpeg2000::Image& a, const jpeg2000::Image& b) {
  double total = 0;
  double count = 0;
  for (size_t c = 0; c < a.components.size(); ++c) {
    const auto& one = a.components[c].samples;
    const auto& other = b.components[c].samples;
    for (size_t i = 0; i < one.size() && i < other.size(); ++i) {
      const double difference = one[i] - other[i];
      total += difference * difference;
      ++count;
    }
  }
  const double peak = std::ldexp(1.0, a.components[0].bits) - 1;
  return total == 0 ? 200 : 10 * std::log10(peak * peak * count / total);
}

size_t Behind(const Bytes& file, int marker, size_t from) {
  for (size_t i = from; i + 1 < file.size(); ++i) {
    if ((file[i] << 8 | file[i + 1]) == marker) return i + 2;
  }
  return file.size();
}

}  // namespace jpeg2000_files
