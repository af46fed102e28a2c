// SPDX-License-Identifier: MIT
// JPEG files of 12 bits.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "codecs/jpeg/decoder.h"
#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/transcoder.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using zepcodec::Picture;

zepcodec::Picture Waves(int width, int height, int channels) {
  zepcodec::Picture picture;
  EXPECT_TRUE(picture.Resize(width, height, zepcodec::LayoutWithChannels(channels), 12));
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

zepcodec::ByteBuffer Encode(const zepcodec::Picture& picture, const jpeg::EncodeOptions& options) {
  zepcodec::ByteBuffer file;
  const zepcodec::Status status = jpeg::Encode(picture, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return file;
}

zepcodec::Picture Decode(const zepcodec::ByteBuffer& file) {
  zepcodec::Picture picture;
  jpeg::FileInfo info;
  const zepcodec::Status status = jpeg::Decode(file.data(), file.size(), {}, &picture, &info);
  EXPECT_TRUE(status.ok()) << status.text();
  EXPECT_TRUE(info.messages.empty());
  return picture;
}

int MostDistance(const zepcodec::Picture& a, const zepcodec::Picture& b) {
  EXPECT_EQ(a.SampleCount(), b.SampleCount());
  int most = 0;
  for (size_t i = 0; i < a.SampleCount(); ++i) most = std::max(most, std::abs(a.Get(i) - b.Get(i)));
  return most;
}

TEST(JpegDeep, RoundTrip) {
  for (const int channels : {1, 3}) {
    for (const auto& [width, height] : {std::pair{1, 1}, {61, 37}, {64, 16}}) {
      const zepcodec::Picture picture = Waves(width, height, channels);
      jpeg::EncodeOptions options;
      options.quality = 100;
      EXPECT_LE(MostDistance(Decode(Encode(picture, options)), picture), channels == 1 ? 2 : 5);
      options.quality = 75;
      EXPECT_LE(MostDistance(Decode(Encode(picture, options)), picture), 80);
    }
  }
}

TEST(JpegDeep, ScansAndRestartsCarryTheSameCoefficients) {
  const zepcodec::Picture picture = Waves(61, 37, 3);
  const zepcodec::ByteBuffer file = Encode(picture, {});
  const zepcodec::Picture plain = Decode(file);
  jpeg::EncodeOptions options;
  options.progressive = true;
  options.restart_interval = 5;
  EXPECT_EQ(MostDistance(Decode(Encode(picture, options)), plain), 0);
  jpeg::TranscodeOptions transcode;
  transcode.progressive = true;
  zepcodec::ByteBuffer progressive, again;
  jpeg::FileInfo info;
  ASSERT_TRUE(jpeg::Transcode(file.data(), file.size(), transcode, &progressive, &info).ok());
  EXPECT_EQ(MostDistance(Decode(progressive), plain), 0);
  ASSERT_TRUE(jpeg::Transcode(progressive.data(), progressive.size(), {}, &again, &info).ok());
  EXPECT_EQ(std::string(again.data(), again.data() + again.size()),
            std::string(file.data(), file.data() + file.size()));
}

TEST(JpegDeep, OtherDepthsAreRefused) {
  zepcodec::Picture picture;
  zepcodec::ByteBuffer file;
  for (const int bits : {1, 7, 9, 11, 13, 16}) {
    ASSERT_TRUE(picture.Resize(8, 8, zepcodec::PixelLayout::kGrey, bits));
    EXPECT_FALSE(jpeg::Encode(picture, {}, &file).ok()) << bits;
  }
  ASSERT_TRUE(picture.Resize(8, 8, zepcodec::PixelLayout::kGreyAlpha, 12));
  EXPECT_FALSE(jpeg::Encode(picture, {}, &file).ok());
}

size_t Find(const std::vector<uint8_t>& file, int marker) {
  for (size_t i = 0; i + 1 < file.size(); ++i) {
    if (file[i] == 0xFF && file[i + 1] == marker) return i;
  }
  ADD_FAILURE() << "no marker " << marker;
  return 0;
}

// Four components in a scan each, made of grey files, with an Adobe header or (negative) without.
std::vector<uint8_t> FourComponents(const std::vector<zepcodec::Picture>& components,
                                    int transform) {
  std::vector<uint8_t> file = {0xFF, 0xD8};
  if (transform >= 0) {
    file.insert(file.end(), {0xFF, 0xEE, 0, 14, 'A', 'd', 'o', 'b', 'e', 0, 100, 0, 0, 0, 0});
    file.push_back(static_cast<uint8_t>(transform));
  }
  for (size_t c = 0; c < components.size(); ++c) {
    jpeg::EncodeOptions options;
    options.quality = 100;
    const zepcodec::ByteBuffer buffer = Encode(components[c], options);
    const std::vector<uint8_t> grey(buffer.data(), buffer.data() + buffer.size());
    const auto at = [&](size_t offset) {
      return grey.begin() + static_cast<std::ptrdiff_t>(offset);
    };
    const size_t steps = Find(grey, 0xDB), frame = Find(grey, 0xC1), tables = Find(grey, 0xC4);
    if (c == 0) {
      file.insert(file.end(), at(steps), at(steps) + 2 + grey[steps + 2] * 256 + grey[steps + 3]);
      file.insert(file.end(), {0xFF, 0xC1, 0, 20});
      file.insert(file.end(), at(frame + 4), at(frame + 9));
      file.push_back(4);
      for (uint8_t id = 1; id <= 4; ++id) file.insert(file.end(), {id, 0x11, 0});
    }
    const size_t first = file.size();
    file.insert(file.end(), at(tables), grey.end() - 2);
    file[first + Find(grey, 0xDA) - tables + 5] = static_cast<uint8_t>(c + 1);
  }
  file.insert(file.end(), {0xFF, 0xD9});
  return file;
}

TEST(JpegDeep, FourComponentsAreInks) {
  std::vector<zepcodec::Picture> stored;
  for (int c = 0; c < 4; ++c) {
    stored.push_back(Waves(45, 29, 1));
    for (size_t i = 0; i < stored.back().SampleCount(); ++i) {
      stored.back().Set(i, (stored.back().Get(i) / (c + 1) + 900 * c) & 4095);
    }
  }
  // What stands in the file comes back from grey files.
  std::vector<zepcodec::Picture> components;
  jpeg::EncodeOptions best;
  best.quality = 100;
  for (const zepcodec::Picture& one : stored) components.push_back(Decode(Encode(one, best)));
  for (const int transform : {-1, 0, 2}) {
    const std::vector<uint8_t> file = FourComponents(stored, transform);
    zepcodec::Picture picture;
    jpeg::FileInfo info;
    ASSERT_EQ(jpeg::Decode(file.data(), file.size(), {}, &picture, &info).text(), "");
    EXPECT_TRUE(info.messages.empty());
    ASSERT_EQ(picture.channels(), 4);
    for (size_t i = 0; i < components[0].SampleCount(); ++i) {
      const double y = components[0].Get(i), cb = components[1].Get(i) - 2048,
                   cr = components[2].Get(i) - 2048;
      double inks[4] = {y + 1.402 * cr, y - 0.344136 * cb - 0.714136 * cr, y + 1.772 * cb,
                        4095.0 - components[3].Get(i)};
      for (size_t c = 0; c < 4; ++c) {
        if (transform < 2) inks[c] = 4095 - components[c].Get(i);
        ASSERT_NEAR(picture.Get(4 * i + c), std::clamp(inks[c], 0.0, 4095.0), 0.6) << i << " " << c;
      }
    }
  }
}

// A picture with a message, or an error.
TEST(JpegDeep, CutAnywhere) {
  const zepcodec::ByteBuffer file = Encode(Waves(61, 37, 3), {});
  for (size_t size = 0; size < file.size(); size += 7) {
    const std::vector<uint8_t> cut(file.data(), file.data() + size);
    zepcodec::Picture picture;
    jpeg::FileInfo info;
    const zepcodec::Status status = jpeg::Decode(cut.data(), cut.size(), {}, &picture, &info);
    EXPECT_TRUE(!status.ok() || !info.messages.empty());
  }
}

}  // namespace
