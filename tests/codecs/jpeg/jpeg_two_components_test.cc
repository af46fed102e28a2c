// SPDX-License-Identifier: MIT
// Files of two components, which libjpeg writes where it does not know their meaning: the first one
// is the picture.
#include <gtest/gtest.h>

#include <array>
#include <string>
#include <vector>

#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/jpeg/libjpeg_codec.h"
#include "tests/codecs/support/parts.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Decode;
using jpeg_files::Decoded;
using jpeg_files::DecodeGood;
using libjpeg_codec::Settings;
using zepcodec::Picture;
using zepcodec::PixelLayout;

struct Kind {
  std::array<int, 2> first;
  std::array<int, 2> second;
  bool progressive = false;
  bool several_scans = false;
  int restart_interval = 0;
};

// libjpeg reads no ratios such as 3:2.
bool IsWhole(int a, int b) { return a % b == 0 || b % a == 0; }

std::vector<Kind> Kinds() {
  std::vector<Kind> kinds;
  constexpr std::array<std::array<int, 2>, 7> kFactors = {
      {{1, 1}, {2, 1}, {1, 2}, {2, 2}, {4, 1}, {1, 4}, {3, 1}}};
  for (const auto& one : kFactors) {
    for (const auto& other : kFactors) {
      if (!IsWhole(one[0], other[0]) || !IsWhole(one[1], other[1])) continue;
      for (const int scans : {0, 1, 2}) {
        kinds.push_back({one, other, scans == 1, scans == 2, 0});
        kinds.push_back({one, other, scans == 1, scans == 2, 3});
      }
    }
  }
  return kinds;
}

Bytes MakeFile(const Kind& kind, int width = 131, int height = 67) {
  Settings settings;
  settings.sampling = kind.first;
  settings.chroma_sampling = kind.second;
  settings.progressive = kind.progressive;
  settings.several_scans = kind.several_scans;
  settings.restart_interval = kind.restart_interval;
  return libjpeg_codec::Compress(pictures::Detailed(width, height, PixelLayout::kGreyAlpha),
                                 settings);
}

Picture FirstChannel(const Picture& both) {
  Picture first;
  EXPECT_TRUE(first.Resize(both.width(), both.height(), PixelLayout::kGrey));
  for (size_t i = 0; i < first.SampleCount(); ++i) first.Set(i, both.Get(2 * i));
  return first;
}

TEST(JpegTwoComponents, TheFirstIsGrey) {
  for (const Kind& kind : Kinds()) {
    const Bytes file = MakeFile(kind);
    const Picture image = DecodeGood(file);
    ASSERT_EQ(image.layout(), PixelLayout::kGrey);
    const Picture both = libjpeg_codec::Decompress(file);
    ASSERT_EQ(both.channels(), 2);
    const pictures::Difference difference = pictures::Compare(image, FirstChannel(both));
    EXPECT_LE(difference.most, 4);
    EXPECT_LT(difference.mean, 0.3);
  }
}

TEST(JpegTwoComponents, BothAreDecodedOnTheirOwn) {
  for (const Kind& kind : Kinds()) {
    const Bytes file = MakeFile(kind);
    const libjpeg_codec::Components expected = libjpeg_codec::DecompressComponents(file);
    std::vector<jpeg::ComponentSamples> components;
    jpeg::FileInfo info;
    ASSERT_TRUE(jpeg::DecodeComponents(file.data(), file.size(), {}, &components, &info).ok());
    ASSERT_EQ(components.size(), 2U);
    for (size_t i = 0; i < 2; ++i) {
      EXPECT_EQ(components[i].width, expected.components[i].width);
      const Bytes& samples = expected.components[i].samples;
      EXPECT_LE(pictures::Compare(components[i].samples, samples).most, 1);
    }
  }
}

// Parts of the scan are small, so that several threads have work.
Picture DecodeWith(const Bytes& file, jpeg::DecodeOptions options) {
  parts::Collector rows;
  if (options.threads > 1) options.rows = &rows;
  options.part_blocks = 40;
  Decoded result;
  result.status = jpeg::Decode(file.data(), file.size(), options, &result.image, &result.info);
  EXPECT_TRUE(result.status.ok()) << result.status.text();
  EXPECT_EQ(result.AllMessages(), "");
  const bool has_rows = options.rows != nullptr && jpeg::GivesRows(result.info);
  return has_rows ? rows.Joined() : std::move(result.image);
}

TEST(JpegTwoComponents, RegionsRowsThreadsAndScales) {
  for (const bool progressive : {false, true}) {
    for (const auto& second : {std::array<int, 2>{1, 1}, {2, 2}}) {
      const Bytes file = MakeFile({{2, 1}, second, progressive, false, 0}, 200, 150);
      for (const int scale : {1, 2, 8}) {
        const Picture whole = DecodeGood(file, scale);
        ASSERT_EQ(whole.width(), (200 + scale - 1) / scale);
        for (const zepcodec::Region& region : parts::Regions(whole.width(), whole.height())) {
          for (const int threads : {1, 3}) {
            jpeg::DecodeOptions options;
            options.scale = scale;
            options.threads = threads;
            options.region = {region, zepcodec::Turn()};
            EXPECT_TRUE(pictures::Same(DecodeWith(file, options), parts::PartOf(whole, region)))
                << "scale " << scale << " threads " << threads;
          }
        }
      }
    }
  }
}

TEST(JpegTwoComponents, CoefficientsAreRefused) {
  const Bytes file = MakeFile({{1, 1}, {1, 1}});
  jpeg::Coefficients coefficients;
  jpeg::FileInfo info;
  EXPECT_FALSE(jpeg::DecodeCoefficients(file.data(), file.size(), {}, &coefficients, &info).ok());
}

}  // namespace
