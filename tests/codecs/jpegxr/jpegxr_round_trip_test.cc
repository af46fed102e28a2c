// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>

#include "codecs/jpegxr/float_code.h"
#include "tests/codecs/jpegxr/jpegxr_files.h"
#include "tests/codecs/jpegxr/overlap_model.h"
#include "tests/codecs/support/pictures.h"

namespace jpegxr = zepcodec::jpegxr;

namespace {

using jpegxr::Bands;
using jpegxr::ColorFormat;
using jpegxr::EncodeOptions;
using jpegxr::Overlap;
using jpegxr_files::Encode;
using jpegxr_files::MakeImage;
using overlap_model::W;
using zepcodec::Picture;
using zepcodec::SampleType;

constexpr Overlap kOverlaps[] = {Overlap::kNone, Overlap::kFirst, Overlap::kBoth};

Picture Decode(const std::vector<uint8_t>& file, int threads = 1) {
  jpegxr::DecodeOptions options;
  options.threads = threads;
  Picture image;
  jpegxr::FileInfo info;
  const zepcodec::Status status = jpegxr::Decode(file.data(), file.size(), options, &image, &info);
  EXPECT_TRUE(status.ok()) << status.text();
  EXPECT_TRUE(info.messages.empty());
  return image;
}

void ExpectExact(const Picture& image, const EncodeOptions& options) {
  const Picture decoded = Decode(Encode(image, options));
  EXPECT_EQ(decoded.width(), image.width());
  EXPECT_EQ(decoded.height(), image.height());
  EXPECT_EQ(decoded.channels(), image.channels());
  EXPECT_EQ(decoded.type(), image.type());
  EXPECT_TRUE(pictures::Same(decoded, image))
      << image.width() << "x" << image.height() << " channels " << image.channels() << " type "
      << static_cast<int>(image.type()) << " overlap " << static_cast<int>(options.overlap);
}

TEST(JpegXrRoundTrip, LosslessIsExact) {
  for (const int channels : {1, 3}) {
    for (const Overlap overlap : kOverlaps) {
      EncodeOptions options;
      options.overlap = overlap;
      for (const auto& [width, height] :
           {std::pair{1, 1}, {5, 40}, {16, 16}, {33, 17}, {130, 90}}) {
        for (const SampleType type : {SampleType::kU8, SampleType::kU16, SampleType::kS16,
                                      SampleType::kS32, SampleType::kF16}) {
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
    Picture image = MakeImage(64, 64, 3, type, 4);
    for (size_t i = 0; i < image.SizeInBytes(); ++i) image.Row(0)[i] = i / 6 % 3 == 0 ? 0xFF : 0;
    for (const Overlap overlap : kOverlaps) {
      EncodeOptions options;
      options.overlap = overlap;
      ExpectExact(image, options);
    }
  }
}

double Psnr(const Picture& a, const Picture& b) {
  double sum = 0;
  for (size_t i = 0; i < a.SizeInBytes(); ++i) {
    sum += (a.Get(i) - b.Get(i)) * (a.Get(i) - b.Get(i));
  }
  return 10 * std::log10(255.0 * 255.0 * static_cast<double>(a.SizeInBytes()) / sum);
}

// Better quality: larger files and less noise; fewer bands: smaller files.
TEST(JpegXrRoundTrip, QualityAndBandsInOrder) {
  const Picture image = MakeImage(200, 150, 3, SampleType::kU8, 5);
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
  const Picture image = MakeImage(128, 128, 1, SampleType::kU16, 6);
  EncodeOptions options;
  size_t before = Encode(image, options).size();
  for (const int trim : {2, 4, 15}) {
    options.trim = trim;
    const std::vector<uint8_t> file = Encode(image, options);
    EXPECT_LT(file.size(), before);
    before = file.size();
    EXPECT_FALSE(pictures::Same(Decode(file), image));
  }
}

TEST(JpegXrRoundTrip, ThreadsChangeNothing) {
  const Picture image = MakeImage(300, 200, 3, SampleType::kU8, 7);
  for (const Overlap overlap : kOverlaps) {
    for (const int tile : {0, 64}) {
      EncodeOptions options;
      options.lossless = false;
      options.overlap = overlap;
      options.color = ColorFormat::k420;
      options.tile_width = options.tile_height = tile;
      options.threads = 1;
      const std::vector<uint8_t> file = Encode(image, options);
      const Picture decoded = Decode(file);
      for (const int threads : {2, 3, 7}) {
        options.threads = threads;
        EXPECT_TRUE(Encode(image, options) == file) << threads;
        EXPECT_TRUE(pictures::Same(Decode(file, threads), decoded)) << threads;
      }
    }
  }
}

TEST(JpegXrRoundTrip, OldOperatorsAreUndone) {
  std::mt19937 random(11);
  for (int round = 0; round < 2000; ++round) {
    W before[4][4], x[4][4];
    for (auto& row : before) {
      for (W& value : row) value = static_cast<int32_t>(random()) >> (round % 30);
    }
    const auto expect_undone = [&] { EXPECT_EQ(std::memcmp(before, x, sizeof(x)), 0) << round; };
    std::memcpy(x, before, sizeof(x));
    overlap_model::OldPreFilter::Square(x, 0);
    overlap_model::OldPostFilter::Square(x, 0);
    expect_undone();
    overlap_model::OldPreFilter::Line(x[0][0], x[0][1], x[0][2], x[0][3]);
    overlap_model::OldPostFilter::Line(x[0][0], x[0][1], x[0][2], x[0][3]);
    expect_undone();
    overlap_model::OldPreFilter::Pair(x[0][0], x[0][1]);
    overlap_model::OldPostFilter::Pair(x[0][0], x[0][1]);
    expect_undone();
  }
}

// Samples that were filtered before they were coded without overlap: a stream of sub-version 0.
TEST(JpegXrRoundTrip, OldOverlapIsUndone) {
  const Picture image = MakeImage(96, 64, 1, SampleType::kS16, 12);
  std::vector<int16_t> samples(96 * 64);
  std::memcpy(samples.data(), image.Row(0), image.SizeInBytes());
  for (int16_t& sample : samples) sample = static_cast<int16_t>(sample / 4);
  Picture filtered = pictures::CopyOf(image);
  Picture expected = pictures::CopyOf(image);
  std::memcpy(expected.Row(0), samples.data(), image.SizeInBytes());
  std::vector<int32_t> plane(samples.begin(), samples.end());
  overlap_model::FilterPlane<overlap_model::OldPreFilter>({plane.data(), 96, 96, 64}, 0);
  std::transform(plane.begin(), plane.end(), samples.begin(),
                 [](int32_t value) { return static_cast<int16_t>(value); });
  std::memcpy(filtered.Row(0), samples.data(), image.SizeInBytes());
  EncodeOptions options;
  options.overlap = Overlap::kNone;
  std::vector<uint8_t> file = Encode(filtered, options);
  const size_t versions = jpegxr_files::CodestreamOf(file) + 8;
  file[versions] &= 0xF0;
  file[versions + 1] |= 1;
  for (const int threads : {1, 3}) EXPECT_TRUE(pictures::Same(Decode(file, threads), expected));
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
  const Picture image = MakeImage(60, 50, 1, SampleType::kF32, 8);
  const Picture decoded = Decode(Encode(image, EncodeOptions()));
  for (size_t i = 0; i < image.SizeInBytes(); i += 4) {
    float before, after;
    std::memcpy(&before, image.Row(0) + i, 4);
    std::memcpy(&after, decoded.Row(0) + i, 4);
    ASSERT_NEAR(before, after, std::max(std::fabs(before) / 8192, 1e-5f)) << i;
  }
}

TEST(JpegXrRoundTrip, WideIntegersLoseWhatIsShifted) {
  const Picture image = MakeImage(40, 40, 3, SampleType::kU16, 9);
  EncodeOptions options;
  options.shift = 4;
  const Picture decoded = Decode(Encode(image, options));
  for (size_t i = 0; i < image.SizeInBytes(); i += 2) {
    ASSERT_EQ(decoded.Row(0)[i], image.Row(0)[i] & 0xF0);
    ASSERT_EQ(decoded.Row(0)[i + 1], image.Row(0)[i + 1]);
  }
}

TEST(JpegXrRoundTrip, BadOptionsAreRefused) {
  const Picture image = MakeImage(20, 20, 3, SampleType::kU8, 10);
  zepcodec::ByteBuffer file;
  const auto fails = [&](auto change) {
    EncodeOptions options;
    change(&options);
    zepcodec::PictureRows rows(image);
    return !jpegxr::Encode(&rows, options, &file).ok();
  };
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->quality = 0; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->quantizer = 256; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->tile_width = 24; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->trim = 16; }));
  EXPECT_TRUE(fails([](EncodeOptions* o) { o->shift = 8; }));
  for (const auto layout : {zepcodec::PixelLayout::kRgba, zepcodec::PixelLayout::kCmyk}) {
    Picture wrong;
    ASSERT_TRUE(wrong.Resize(20, 20, layout));
    zepcodec::PictureRows rows(wrong);
    EXPECT_FALSE(jpegxr::Encode(&rows, EncodeOptions(), &file).ok());
  }
}

}  // namespace
