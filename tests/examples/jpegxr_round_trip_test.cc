// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "jpegxr/float_code.h"
#include "jpegxr_files.h"

namespace {

using jpegxr::Bands;
using jpegxr::ColorFormat;
using jpegxr::EncodeOptions;
using jpegxr::Image;
using jpegxr::Overlap;
using jpegxr::SampleType;
using jpegxr_files::Encode;
using jpegxr_files::MakeImage;

constexpr Overlap kOverlaps[] = {Overlap::kNone, Overlap::kFirst, Overlap::kBoth};

Image Decode(const std::vector<uint8_t>& file, int threads = 1) {
  jpegxr::DecodeOptions options;
  options.threads = threads;
  Image image;
  jpegxr::FileInfo info;
  const jpegxr::Status status = jpegxr::Decode(file.data(), file.size(), options, &image, &info);
  EXPECT_TRUE(status.ok()) << status.text();
  EXPECT_TRUE(info.messages.empty());
  return image;
}

void ExpectExact(const Image& image, const EncodeOptions& options) {
  const Image decoded = Decode(Encode(image, options));
  EXPECT_EQ(decoded.width, image.width);
  EXPECT_EQ(decoded.height, image.height);
  EXPECT_EQ(decoded.channels, image.channels);
  EXPECT_EQ(decoded.type, image.type);
  EXPECT_TRUE(decoded.bytes == image.bytes)
      << image.width << "x" << image.height << " channels " << image.channels << " type "
      << static_cast<int>(image.type) << " overlap " << static_cast<int>(options.overlap);
}

TEST(JpegXrRoundTrip, LosslessIsExact) {
  for (const int channels : {1, 3}) {
    for (const Overlap overlap : kOverlaps) {
      EncodeOptions options;
      options.overlap = overlap;
      for (const auto& [width, height] :
           {std::pair{1, 1}, {5, 40}, {16, 16}, {33, 17}, {130, 90}}) {
        for (const SampleType type :
             {SampleType::kU8, SampleType::kU16, SampleType::kS16, SampleType::kS32}) {
          ExpectExact(MakeImage(width, height, channels, type, 2), options);
        }
      }
    }
  }
}

TEST(JpegXrRoundTrip, LosslessInTilesAndBands) {
  for (const Overlap overlap : kOverlaps) {
    for (const bool is_hard : {false, true}) {
      for (const bool is_frequency_order : {false, true}) {
        EncodeOptions options;
        options.overlap = overlap;
        options.tile_width = 48;
        options.tile_height = 16;
        options.has_hard_tiles = is_hard;
        options.is_frequency_order = is_frequency_order;
        ExpectExact(MakeImage(150, 70, 3, SampleType::kU8, 3), options);
      }
    }
  }
}

TEST(JpegXrRoundTrip, ExtremeSamples) {
  for (const SampleType type : {SampleType::kU8, SampleType::kU16, SampleType::kS16}) {
    Image image = MakeImage(64, 64, 3, type, 4);
    for (size_t i = 0; i < image.bytes.size(); ++i) image.bytes[i] = i / 6 % 3 == 0 ? 0xFF : 0;
    for (const Overlap overlap : kOverlaps) {
      EncodeOptions options;
      options.overlap = overlap;
      ExpectExact(image, options);
    }
  }
}

double Psnr(const Image& a, const Image& b) {
  double sum = 0;
  for (size_t i = 0; i < a.bytes.size(); ++i) {
    sum += (a.bytes[i] - b.bytes[i]) * (a.bytes[i] - b.bytes[i]);
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.bytes.size()) / sum);
}

// Better quality: larger files and less noise; fewer bands: smaller files.
TEST(JpegXrRoundTrip, QualityAndBandsInOrder) {
  const Image image = MakeImage(200, 150, 3, SampleType::kU8, 5);
  for (const ColorFormat color : {ColorFormat::k420, ColorFormat::k422, ColorFormat::k444}) {
    EncodeOptions options;
    options.lossless = false;
    options.color = color;
    double best = 0;
    size_t largest = 0;
    for (const int quality : {5, 30, 60, 90}) {
      options.quality = quality;
      const std::vector<uint8_t> file = Encode(image, options);
      const double psnr = Psnr(image, Decode(file));
      EXPECT_GT(psnr, best) << quality;
      EXPECT_GT(file.size(), largest) << quality;
      best = psnr;
      largest = file.size();
    }
    EXPECT_GT(best, color == ColorFormat::k444 ? 40 : 25);
    for (const Bands bands : {Bands::kNoRefinement, Bands::kNoHighpass, Bands::kDcOnly}) {
      options.bands = bands;
      const std::vector<uint8_t> file = Encode(image, options);
      EXPECT_LT(file.size(), largest);
      EXPECT_GT(Psnr(image, Decode(file)), 10);
      largest = file.size();
    }
  }
}

TEST(JpegXrRoundTrip, TrimmedBitsCostSizeAndQuality) {
  const Image image = MakeImage(128, 128, 1, SampleType::kU16, 6);
  EncodeOptions options;
  size_t before = Encode(image, options).size();
  for (const int trim : {2, 4, 15}) {
    options.trim = trim;
    const std::vector<uint8_t> file = Encode(image, options);
    EXPECT_LT(file.size(), before);
    before = file.size();
    EXPECT_NE(Decode(file).bytes, image.bytes);
  }
}

TEST(JpegXrRoundTrip, ThreadsChangeNothing) {
  const Image image = MakeImage(300, 200, 3, SampleType::kU8, 7);
  for (const Overlap overlap : kOverlaps) {
    for (const int tile : {0, 64}) {
      EncodeOptions options;
      options.lossless = false;
      options.overlap = overlap;
      options.color = ColorFormat::k420;
      options.tile_width = options.tile_height = tile;
      options.threads = 1;
      const std::vector<uint8_t> file = Encode(image, options);
      const Image decoded = Decode(file);
      for (const int threads : {2, 3, 7}) {
        options.threads = threads;
        EXPECT_TRUE(Encode(image, options) == file) << threads;
        EXPECT_TRUE(Decode(file, threads).bytes == decoded.bytes) << threads;
      }
    }
  }
}

TEST(JpegXrRoundTrip, FloatsToTheirMantissa) {
  for (const float value : {0.0f, 1.0f, -1.0f, 0.3f, -123.456f, 1e-3f, 60000.0f, 1e-20f}) {
    for (const int mantissa : {8, 13, 23}) {
      const float again =
          jpegxr::FloatOfCode(jpegxr::CodeOfFloat(value, mantissa, 20), mantissa, 20);
      const float smallest = std::ldexp(1.0f, 1 - 20 - mantissa);
      EXPECT_NEAR(again, value, std::max(std::fabs(value) * std::ldexp(1.0f, -mantissa), smallest));
    }
  }
  const Image image = MakeImage(60, 50, 1, SampleType::kF32, 8);
  const Image decoded = Decode(Encode(image, EncodeOptions()));
  for (size_t i = 0; i < image.bytes.size(); i += 4) {
    float before, after;
    std::memcpy(&before, &image.bytes[i], 4);
    std::memcpy(&after, &decoded.bytes[i], 4);
    ASSERT_NEAR(before, after, std::max(std::fabs(before) / 8192, 1e-5f)) << i;
  }
}

TEST(JpegXrRoundTrip, WideIntegersLoseWhatIsShifted) {
  const Image image = MakeImage(40, 40, 3, SampleType::kU16, 9);
  EncodeOptions options;
  options.shift = 4;
  const Image decoded = Decode(Encode(image, options));
  for (size_t i = 0; i < image.bytes.size(); i += 2) {
    ASSERT_EQ(decoded.bytes[i], image.bytes[i] & 0xF0);
    ASSERT_EQ(decoded.bytes[i + 1], image.bytes[i + 1]);
  }
}

TEST(JpegXrRoundTrip, BadOptionsAreRefused) {
  const Image image = MakeImage(20, 20, 3, SampleType::kU8, 10);
  jpegxr::ByteBuffer file;
  const auto fails = [&](auto change) {
    EncodeOptions options;
    change(&options);
    return !jpegxr::Encode(image, options, &file).ok();
  };
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->quality = 0; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->quantizer = 256; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->tile_width = 24; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->trim = 16; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->shift = 8; }));
  Image wrong = image;
  wrong.channels = 4;
  wrong.Resize();
  EXPECT_FALSE(jpegxr::Encode(wrong, EncodeOptions(), &file).ok());
  wrong = image;
  wrong.bytes.pop_back();
  EXPECT_FALSE(jpegxr::Encode(wrong, EncodeOptions(), &file).ok());
}

}  // namespace
