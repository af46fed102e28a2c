// SPDX-License-Identifier: MIT
#include "tests/codecs/jpegxr/jpegxr_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>

namespace jpegxr = zepcodec::jpegxr;

namespace jpegxr_files {
namespace {

using zepcodec::SampleType;

template <class T>
void Put(T value, uint8_t* to) {
  std::memcpy(to, &value, sizeof(T));
}

// `value` from 0 to 1.
void PutSample(double value, SampleType type, uint8_t* to) {
  switch (type) {
    case SampleType::kU8: return Put(static_cast<uint8_t>(255 * value), to);
    case SampleType::kU16: return Put(static_cast<uint16_t>(65535 * value), to);
    case SampleType::kS16: return Put(static_cast<int16_t>(65535 * value - 32768), to);
    case SampleType::kS32: return Put(static_cast<int32_t>((value - 0.5) * (1 << 20)), to);
    case SampleType::kF16:  // 0.5 to 2, in steps that have no rounding
      return Put(static_cast<uint16_t>(0x3800 + 2047 * value), to);
    case SampleType::kF32: return Put(static_cast<float>(4 * value - 1), to);
  }
}

}  // namespace

zepcodec::Picture MakeImage(int width, int height, int channels, SampleType type, uint32_t seed) {
  zepcodec::Picture image;
  EXPECT_TRUE(image.Resize(width, height, zepcodec::LayoutWithChannels(channels), type));
  std::mt19937 random(seed);
  size_t at = 0;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (int c = 0; c < channels; ++c, at += static_cast<size_t>(BytesOf(type))) {
        const double shape = std::sin(x / (7.0 + c)) * std::cos(y / (11.0 - c)) * 0.4 + 0.5;
        const double noise = static_cast<double>(random() % 1000) / 10000 - 0.05;
        PutSample(shape + noise, type, image.Row(0) + at);
      }
    }
  }
  return image;
}

std::vector<uint8_t> Encode(const zepcodec::Picture& image, const jpegxr::EncodeOptions& options) {
  zepcodec::ByteBuffer file;
  zepcodec::PictureRows rows(image);
  const zepcodec::Status status = jpegxr::Encode(&rows, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return {file.data(), file.data() + file.size()};
}

size_t CodestreamOf(const std::vector<uint8_t>& file) {
  const char signature[] = "WMPHOTO";
  return static_cast<size_t>(
      std::search(file.begin(), file.end(), signature, signature + sizeof(signature)) -
      file.begin());
}

void SetSamples(uint8_t kind, std::vector<uint8_t>* file) {
  (*file)[CodestreamOf(*file) + 11] = kind;
}

std::vector<std::vector<uint8_t>> AllKinds() {
  std::vector<std::vector<uint8_t>> files;
  const auto add = [&](int channels, SampleType type, const jpegxr::EncodeOptions& options) {
    files.push_back(Encode(MakeImage(70, 45, channels, type, 1), options));
  };
  jpegxr::EncodeOptions options;
  add(1, SampleType::kU8, options);
  add(3, SampleType::kU16, options);
  add(1, SampleType::kF32, options);
  options.lossless = false;
  options.quantizer = 20;
  options.overlap = jpegxr::Overlap::kBoth;
  add(3, SampleType::kU8, options);
  options.color = jpegxr::ColorFormat::k420;
  options.is_frequency_order = true;
  options.tile_width = 32;
  options.tile_height = 32;
  add(3, SampleType::kU8, options);
  const std::vector<uint8_t> rgb = files.back();
  for (const uint8_t kind : {kRgb565, kRgb101010, kRgbe}) {
    files.push_back(rgb);
    SetSamples(kind, &files.back());
  }
  files.push_back(rgb);
  files.back()[CodestreamOf(files.back()) + 8] &= 0xF0;  // with the old overlap filters
  options.color = jpegxr::ColorFormat::k422;
  options.has_hard_tiles = true;
  options.trim = 1;
  options.is_frequency_order = false;
  add(3, SampleType::kU8, options);
  options.bands = jpegxr::Bands::kNoHighpass;
  add(1, SampleType::kS16, options);
  return files;
}

}  // namespace jpegxr_files
