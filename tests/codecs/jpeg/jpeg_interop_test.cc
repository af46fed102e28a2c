// SPDX-License-Identifier: MIT
// The JPEG example against libjpeg: its files here, our files there.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/jpeg/libjpeg_codec.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Decode;
using jpeg_files::DecodeGood;
using libjpeg_codec::Settings;
using pictures::Compare;
using pictures::Difference;
using zepcodec::PixelLayout;

struct Size {
  int width;
  int height;
};

constexpr std::array<Size, 6> kSizes = {
    {{1, 1}, {17, 9}, {37, 29}, {64, 64}, {131, 67}, {300, 33}}};

// Sampling factors of the first component and of the next two.
constexpr std::array<std::array<std::array<int, 2>, 2>, 12> kFactors = {{
    {{{1, 1}, {1, 1}}},
    {{{2, 1}, {1, 1}}},
    {{{2, 2}, {1, 1}}},
    {{{1, 2}, {1, 1}}},
    {{{4, 1}, {1, 1}}},
    {{{4, 2}, {1, 1}}},
    {{{1, 4}, {1, 1}}},
    {{{2, 2}, {1, 2}}},
    {{{2, 2}, {2, 1}}},
    {{{2, 2}, {2, 2}}},
    {{{3, 1}, {1, 1}}},
    {{{1, 1}, {2, 2}}},
}};

void ExpectSameComponents(const Bytes& file, const std::string& what) {
  const libjpeg_codec::Components expected = libjpeg_codec::DecompressComponents(file);
  std::vector<jpeg::ComponentSamples> components;
  jpeg::FileInfo info;
  const zepcodec::Status status =
      jpeg::DecodeComponents(file.data(), file.size(), jpeg::DecodeOptions(), &components, &info);
  ASSERT_TRUE(status.ok()) << what << ": " << status.text();
  EXPECT_TRUE(info.messages.empty()) << what;
  ASSERT_EQ(components.size(), expected.components.size()) << what;
  for (size_t i = 0; i < components.size(); ++i) {
    EXPECT_EQ(components[i].width, expected.components[i].width) << what;
    EXPECT_EQ(components[i].height, expected.components[i].height) << what;
    EXPECT_LE(Compare(components[i].samples, expected.components[i].samples).most, 1)
        << what << " component " << i;
  }
}

// An MCU holds at most ten blocks; what would need more is coded in several scans.
bool NeedsSeveralScans(PixelLayout layout, const Settings& settings) {
  const int first = settings.sampling[0] * settings.sampling[1];
  const int chroma = settings.chroma_sampling[0] * settings.chroma_sampling[1];
  return (layout == PixelLayout::kCmyk ? 2 : 1) * first + 2 * chroma > 10;
}

// libjpeg repeats samples instead of filtering them where a component is at most two samples wide.
bool BothFilter(const Size& size) { return size.width > 4; }

void ExpectSamePicture(const Bytes& file, const std::string& what, int scale = 1) {
  const Difference difference =
      Compare(DecodeGood(file, scale), libjpeg_codec::Decompress(file, scale));
  EXPECT_LE(difference.most, 4) << what;
  EXPECT_LT(difference.mean, 0.3) << what;
}

std::string Name(const Size& size, const Settings& settings) {
  return std::to_string(size.width) + "x" + std::to_string(size.height) + " quality " +
         std::to_string(settings.quality) + " sampling " + std::to_string(settings.sampling[0]) +
         "x" + std::to_string(settings.sampling[1]) + ":" +
         std::to_string(settings.chroma_sampling[0]) + "x" +
         std::to_string(settings.chroma_sampling[1]);
}

class JpegInterop : public ::testing::TestWithParam<PixelLayout> {};

TEST_P(JpegInterop, TheirFilesDecodeHere) {
  harness::Random random(harness::Seed());
  for (const Size& size : kSizes) {
    const zepcodec::Picture image = pictures::Detailed(size.width, size.height, GetParam());
    for (const auto& factors : kFactors) {
      for (const int quality : harness::AllOrOne({20, 75, 90, 100}, random)) {
        Settings settings;
        settings.quality = quality;
        settings.sampling = factors[0];
        settings.chroma_sampling = factors[1];
        settings.several_scans = NeedsSeveralScans(GetParam(), settings);
        const Bytes file = libjpeg_codec::Compress(image, settings);
        ExpectSameComponents(file, Name(size, settings));
        if (BothFilter(size)) ExpectSamePicture(file, Name(size, settings));
      }
    }
  }
}

TEST_P(JpegInterop, TheirRestartIntervalsScansAndTables) {
  const Size size = {131, 67};
  const zepcodec::Picture image = pictures::Detailed(size.width, size.height, GetParam());
  for (const auto& factors : kFactors) {
    for (const int kind : {0, 1, 2, 3, 4, 5}) {
      Settings settings;
      settings.sampling = factors[0];
      settings.chroma_sampling = factors[1];
      settings.restart_interval = kind == 0 ? 1 : kind == 1 ? 7 : 0;
      settings.several_scans = kind == 2 || kind == 5 || NeedsSeveralScans(GetParam(), settings);
      settings.optimize = kind == 3;
      if (kind == 4) {
        settings.force_baseline = false;  // steps of 16 bits
        settings.quality = 3;
      }
      if (kind == 5) settings.restart_interval = 5;
      const Bytes file = libjpeg_codec::Compress(image, settings);
      const std::string name = Name(size, settings) + " kind " + std::to_string(kind);
      ExpectSameComponents(file, name);
      ExpectSamePicture(file, name);
    }
  }
}

TEST_P(JpegInterop, OurFilesDecodeThere) {
  for (const Size& size : kSizes) {
    const zepcodec::Picture image = pictures::Detailed(size.width, size.height, GetParam());
    for (int i = 0; i < 9; ++i) {
      jpeg::EncodeOptions options;
      options.sampling = static_cast<jpeg::Sampling>(i % 3);
      options.restart_interval = std::array<int, 3>{0, 1, 5}[static_cast<size_t>(i / 3)];
      options.quality = 60 + i * 5;
      const Bytes file = jpeg_files::Encode(image, options);
      const std::string name = std::to_string(size.width) + "x" + std::to_string(size.height) +
                               " case " + std::to_string(i);
      ExpectSameComponents(file, name);
      if (BothFilter(size)) ExpectSamePicture(file, name);
    }
  }
}

double MeanSquareError(const zepcodec::Picture& image, const Bytes& file) {
  const Bytes a = pictures::ToBytes(image);
  const Bytes b = pictures::ToBytes(DecodeGood(file));
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += (a[i] - b[i]) * (a[i] - b[i]);
  return sum / static_cast<double>(a.size());
}

// The precise transform rounds once, as there; the fast one twice, which shows where steps are
// even.
TEST_P(JpegInterop, OurFilesLoseNoMore) {
  const zepcodec::Picture image = pictures::Detailed(640, 480, GetParam());
  Settings theirs;
  theirs.quality = 90;
  const double expected = MeanSquareError(image, libjpeg_codec::Compress(image, theirs));
  jpeg::EncodeOptions options;
  options.quality = 90;
  EXPECT_LE(MeanSquareError(image, jpeg_files::Encode(image, options)), expected * 1.005);
  options.forward_dct = zepcodec::jpeg::ForwardDct::kFast;
  EXPECT_LE(MeanSquareError(image, jpeg_files::Encode(image, options)), expected * 1.03);
}

// For equal coefficients the coded bytes are the same.
TEST_P(JpegInterop, CodedBytesAreTheSame) {
  for (const Size& size : kSizes) {
    const zepcodec::Picture image = pictures::Detailed(size.width, size.height, GetParam());
    for (int i = 0; i < 12; ++i) {
      jpeg::EncodeOptions options;
      options.sampling = static_cast<jpeg::Sampling>(i % 3);
      options.restart_interval = i % 2 == 0 ? 0 : 4;
      options.quality = 30 + i * 6;
      const Bytes ours = jpeg_files::Encode(image, options);
      const Bytes theirs = libjpeg_codec::RecodeCoefficients(ours);
      const auto scan = [](const Bytes& file) {
        const size_t at = jpeg_files::FindMarker(file, jpeg::kSos);
        return Bytes(
            file.begin() + static_cast<std::ptrdiff_t>(at + jpeg_files::SegmentSize(file, at)),
            file.end());
      };
      EXPECT_EQ(scan(ours), scan(theirs)) << size.width << "x" << size.height << " case " << i;
    }
  }
}

// libjpeg's reduced transforms also look at higher frequencies, so this is not exact. At 1/8 it
// repeats colour samples where the example filters them: compared where neither needs to.
TEST_P(JpegInterop, PreviewsAreClose) {
  const zepcodec::Picture image = pictures::Smooth(203, 117, GetParam());
  for (const auto& factors : kFactors) {
    Settings settings;
    settings.sampling = factors[0];
    settings.chroma_sampling = factors[1];
    settings.several_scans = NeedsSeveralScans(GetParam(), settings);
    const Bytes file = libjpeg_codec::Compress(image, settings);
    const bool is_square = factors[0][0] * factors[1][1] == factors[0][1] * factors[1][0];
    for (const int scale : {2, 4, 8}) {
      if (scale == 8 && !is_square) continue;
      const zepcodec::Picture expected = libjpeg_codec::Decompress(file, scale);
      const Difference difference = Compare(DecodeGood(file, scale), expected);
      EXPECT_LE(difference.mean, 2.0) << Name({203, 117}, settings) << " scale " << scale;
      EXPECT_LE(difference.most, 12) << Name({203, 117}, settings) << " scale " << scale;
    }
  }
}

std::string LayoutName(const ::testing::TestParamInfo<PixelLayout>& info) {
  return info.param == PixelLayout::kGrey  ? "Grey"
         : info.param == PixelLayout::kRgb ? "Rgb"
                                           : "Cmyk";
}

INSTANTIATE_TEST_SUITE_P(Layouts, JpegInterop,
                         ::testing::Values(PixelLayout::kGrey, PixelLayout::kRgb,
                                           PixelLayout::kCmyk),
                         LayoutName);

TEST(JpegInteropColor, RgbAndCmykAsTheyAre) {
  Settings settings;
  settings.sampling = {1, 1};
  settings.as_rgb = true;
  const Bytes rgb =
      libjpeg_codec::Compress(pictures::Detailed(50, 40, PixelLayout::kRgb), settings);
  EXPECT_EQ(Decode(rgb).info.model, jpeg::ColorModel::kRgb);
  ExpectSamePicture(rgb, "RGB");
  settings.as_rgb = false;
  settings.as_cmyk = true;
  const Bytes cmyk =
      libjpeg_codec::Compress(pictures::Detailed(50, 40, PixelLayout::kCmyk), settings);
  EXPECT_EQ(Decode(cmyk).info.model, jpeg::ColorModel::kCmyk);
  ExpectSamePicture(cmyk, "CMYK");
}

// With and without the headers that tell about colours, and with any of their values: both decoders
// see the same.
TEST(JpegInteropColor, HeadersMeanTheSame) {
  const auto adobe = [](int transform) {
    return Bytes{0xFF, jpeg::kApp14,
                 0,    14,
                 'A',  'd',
                 'o',  'b',
                 'e',  0,
                 100,  0,
                 0,    0,
                 0,    static_cast<uint8_t>(transform)};
  };
  const Bytes jfif = {0xFF, jpeg::kApp0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0};
  for (const PixelLayout layout : {PixelLayout::kRgb, PixelLayout::kCmyk}) {
    Settings settings;
    settings.sampling = {1, 1};
    Bytes file = libjpeg_codec::Compress(pictures::Smooth(24, 16, layout), settings);
    const int header = layout == PixelLayout::kRgb ? jpeg::kApp0 : jpeg::kApp14;
    const size_t at = jpeg_files::FindMarker(file, header);
    file = jpeg_files::Without(file, at, jpeg_files::SegmentSize(file, at));
    for (const bool has_jfif : {false, true}) {
      for (const int transform : {-1, 0, 1, 2, 77}) {
        for (const char* names : {"\1\2\3\4", "RGBK", "rgbk", "CMYK"}) {
          Bytes changed = file;
          const size_t frame = jpeg_files::FindMarker(file, jpeg::kSof0);
          const size_t scan = jpeg_files::FindMarker(file, jpeg::kSos);
          for (size_t i = 0; i < file[frame + 9]; ++i) {
            changed[frame + 10 + 3 * i] = changed[scan + 5 + 2 * i] =
                static_cast<uint8_t>(names[i]);
          }
          if (transform >= 0) changed = jpeg_files::With(changed, 2, adobe(transform));
          if (has_jfif) changed = jpeg_files::With(changed, 2, jfif);
          const Difference difference =
              Compare(Decode(changed).image, libjpeg_codec::DecompressDamaged(changed));
          EXPECT_LE(difference.most, 4) << has_jfif << " " << transform << " " << names;
        }
      }
    }
  }
}

// Every bit of every restart marker wrong once, or every fifth in a sample: both decoders, compared
// with what they make of the whole file.
TEST(JpegInteropDamage, RestartMarkersCostLessThanThere) {
  const size_t step = harness::Exhaustive() ? 1 : 5;
  for (const bool progressive : {false, true}) {
    Settings settings;
    settings.restart_interval = 5;
    settings.progressive = progressive;
    const Bytes file =
        libjpeg_codec::Compress(pictures::Detailed(64, 112, PixelLayout::kRgb), settings);
    const zepcodec::Picture whole = DecodeGood(file);
    const zepcodec::Picture whole_there = libjpeg_codec::Decompress(file);
    double here = 0, there = 0;
    size_t next = 0, count = 0;
    const std::vector<size_t> markers = jpeg_files::RestartMarkers(file);
    for (const size_t marker : markers) {
      for (size_t bit = 0; bit < 16; ++bit) {
        if (next++ % step != 0) continue;
        ++count;
        Bytes changed = file;
        changed[marker + bit / 8] ^= static_cast<uint8_t>(1 << bit % 8);
        here += jpeg_files::LossOf(whole, Decode(changed).image);
        there += jpeg_files::LossOf(whole_there, libjpeg_codec::DecompressDamaged(changed));
      }
    }
    EXPECT_LT(here, 0.002 * static_cast<double>(count));
    EXPECT_LT(here, there / 20);
  }
}

}  // namespace
