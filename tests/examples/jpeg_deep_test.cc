// SPDX-License-Identifier: MIT
// JPEG files of 12 bits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "jpeg/decoder.h"
#include "jpeg/encoder.h"
#include "jpeg/transcoder.h"

namespace {

using common::Raster;

Raster Waves(int width, int height, int channels) {
  Raster picture;
  EXPECT_TRUE(picture.Resize(width, height, channels, 12));
  for (size_t i = 0; i < picture.SampleCount(); ++i) {
    const size_t pixel = i / static_cast<size_t>(channels);
    const auto x = static_cast<double>(pixel % static_cast<size_t>(width));
    const auto y = static_cast<double>(pixel / static_cast<size_t>(width));
    const auto c = static_cast<double>(i % static_cast<size_t>(channels));
    picture.Set(i,
                static_cast<int>(2048 + 1500 * std::sin(x / 15 + c) + 500 * std::cos(y / 9 - c)));
  }
  return picture;
}

common::ByteBuffer Encode(const Raster& picture, const jpeg::EncodeOptions& options) {
  common::ByteBuffer file;
  const common::Status status = jpeg::EncodeDeep(picture, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return file;
}

Raster Decode(const common::ByteBuffer& file) {
  Raster picture;
  jpeg::FileInfo info;
  const common::Status status = jpeg::DecodeDeep(file.data(), file.size(), {}, &picture, &info);
  EXPECT_TRUE(status.ok()) << status.text();
  EXPECT_TRUE(info.messages.empty());
  return picture;
}

int MostDistance(const Raster& a, const Raster& b) {
  EXPECT_EQ(a.SampleCount(), b.SampleCount());
  int most = 0;
  for (size_t i = 0; i < a.SampleCount(); ++i) most = std::max(most, std::abs(a.Get(i) - b.Get(i)));
  return most;
}

TEST(JpegDeep, RoundTrip) {
  for (const int channels : {1, 3}) {
    for (const auto& [width, height] : {std::pair{1, 1}, {61, 37}, {64, 16}}) {
      const Raster picture = Waves(width, height, channels);
      jpeg::EncodeOptions options;
      options.quality = 100;
      EXPECT_LE(MostDistance(Decode(Encode(picture, options)), picture), channels == 1 ? 2 : 5);
      options.quality = 75;
      EXPECT_LE(MostDistance(Decode(Encode(picture, options)), picture), 80);
    }
  }
}

TEST(JpegDeep, ScansAndRestartsCarryTheSameCoefficients) {
  const Raster picture = Waves(61, 37, 3);
  const common::ByteBuffer file = Encode(picture, {});
  const Raster plain = Decode(file);
  jpeg::EncodeOptions options;
  options.progressive = true;
  options.restart_interval = 5;
  EXPECT_EQ(MostDistance(Decode(Encode(picture, options)), plain), 0);
  jpeg::TranscodeOptions transcode;
  transcode.progressive = true;
  common::ByteBuffer progressive, again;
  jpeg::FileInfo info;
  ASSERT_TRUE(jpeg::Transcode(file.data(), file.size(), transcode, &progressive, &info).ok());
  EXPECT_EQ(MostDistance(Decode(progressive), plain), 0);
  ASSERT_TRUE(jpeg::Transcode(progressive.data(), progressive.size(), {}, &again, &info).ok());
  EXPECT_EQ(std::string(again.data(), again.data() + again.size()),
            std::string(file.data(), file.data() + file.size()));
}

TEST(JpegDeep, DepthsAreNotMixedUp) {
  const common::ByteBuffer file = Encode(Waves(16, 16, 1), {});
  common::Image image;
  Raster picture;
  jpeg::FileInfo info;
  EXPECT_NE(jpeg::Decode(file.data(), file.size(), {}, &image, &info).text().find("12-bit"),
            std::string::npos);
  ASSERT_TRUE(image.Resize(16, 16, common::PixelLayout::kGrey));
  common::ByteBuffer shallow;
  ASSERT_TRUE(jpeg::Encode(image, {}, &shallow).ok());
  EXPECT_NE(
      jpeg::DecodeDeep(shallow.data(), shallow.size(), {}, &picture, &info).text().find("8-bit"),
      std::string::npos);
  ASSERT_TRUE(picture.Resize(8, 8, 1, 16));
  EXPECT_FALSE(jpeg::EncodeDeep(picture, {}, &shallow).ok());
  ASSERT_TRUE(picture.Resize(8, 8, 2, 12));
  EXPECT_FALSE(jpeg::EncodeDeep(picture, {}, &shallow).ok());
}

// A picture with a message, or an error.
TEST(JpegDeep, CutAnywhere) {
  const common::ByteBuffer file = Encode(Waves(61, 37, 3), {});
  for (size_t size = 0; size < file.size(); size += 7) {
    const std::vector<uint8_t> cut(file.data(), file.data() + size);
    Raster picture;
    jpeg::FileInfo info;
    const common::Status status = jpeg::DecodeDeep(cut.data(), cut.size(), {}, &picture, &info);
    EXPECT_TRUE(!status.ok() || !info.messages.empty());
  }
}

}  // namespace
