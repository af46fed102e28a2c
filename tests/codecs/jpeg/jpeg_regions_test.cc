// SPDX-License-Identifier: MIT
// Regions and rows: the same samples as in the whole picture, for files of all kinds, damaged ones
// too.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "codecs/support/progress.h"
#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/support/parts.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg = zepcodec::jpeg;

namespace {

using jpeg_files::Bytes;
using jpeg_files::Decoded;
using jpeg_files::Encode;
using zepcodec::Picture;
using zepcodec::PixelLayout;
using zepcodec::Region;
using zepcodec::Status;
using zepcodec::WantedRegion;

constexpr int kRounds = ZEPJP_EXHAUSTIVE == 0 ? 60 : 1000;

class Random {
 public:
  explicit Random(uint32_t seed) : generator_(seed) {}
  // 0..end-1
  int Below(int end) { return static_cast<int>(generator_() % static_cast<uint32_t>(end)); }
  bool OneIn(int count) { return Below(count) == 0; }
  Region RegionIn(int width, int height) {
    Region region;
    region.x = Below(width);
    region.y = Below(height);
    region.width = 1 + Below(width - region.x);
    region.height = 1 + Below(height - region.y);
    return region;
  }

 private:
  std::mt19937 generator_;
};

WantedRegion Wanted(const Region& region) { return {region, zepcodec::Turn()}; }

Decoded DecodeWith(const Bytes& file, const jpeg::DecodeOptions& options) {
  Decoded result;
  result.status = jpeg::Decode(file.data(), file.size(), options, &result.image, &result.info);
  return result;
}

// Any sampling factors of the components. The data is then that of another picture.
void SetFactors(Random* random, Bytes* file) {
  size_t frame = 0;
  while (!((*file)[frame] == 0xFF && (*file)[frame + 1] >= jpeg::kSof0 &&
           (*file)[frame + 1] <= jpeg::kSof2)) {
    ++frame;
  }
  const int components = (*file)[frame + 9];
  for (int left = 10; left > components;) {
    left = 0;
    for (int i = 0; i < components; ++i) {
      const int h = 1 + random->Below(4), v = 1 + random->Below(components == 1 ? 4 : 2);
      (*file)[frame + 11 + 3 * static_cast<size_t>(i)] = static_cast<uint8_t>(16 * h + v);
      left += h * v;
    }
    if (left <= 10) break;
    left = 10 + components;
  }
}

// The first two of three components. The data is then that of another picture.
void DropThird(Bytes* file) {
  for (size_t at = 0; at + 14 < file->size(); ++at) {
    const int marker = (*file)[at] == 0xFF ? (*file)[at + 1] : 0;
    const bool is_frame = marker >= jpeg::kSof0 && marker <= jpeg::kSof2;
    const bool is_scan = marker == jpeg::kSos && (*file)[at + 4] == 3;
    if (!is_frame && !is_scan) continue;
    const size_t count = is_frame ? at + 9 : at + 4;
    const size_t size = is_frame ? 3 : 2;
    (*file)[count] = 2;
    (*file)[at + 3] = static_cast<uint8_t>((*file)[at + 3] - size);
    *file = jpeg_files::Without(*file, count + 1 + 2 * size, size);
  }
}

void Spoil(Random* random, Bytes* file) {
  const size_t scan = jpeg_files::FindMarker(*file, jpeg::kSos) + 14;
  if (scan >= file->size()) return;
  const auto span = static_cast<int>(file->size() - scan);
  for (int count = random->Below(4); count >= 0; --count) {
    const size_t at = scan + static_cast<size_t>(random->Below(span));
    if (random->OneIn(3)) {
      *file = jpeg_files::Without(*file, at, std::min<size_t>(file->size() - at, 5));
      return;
    }
    (*file)[at] = static_cast<uint8_t>((*file)[at] ^ (1 << random->Below(8)));
  }
}

Bytes AnyFile(Random* random) {
  const int width = 1 + random->Below(200), height = 1 + random->Below(200);
  constexpr PixelLayout kLayouts[] = {PixelLayout::kGrey, PixelLayout::kRgb, PixelLayout::kRgb,
                                      PixelLayout::kCmyk};
  const PixelLayout layout = kLayouts[random->Below(4)];
  jpeg::EncodeOptions options;
  options.sampling = static_cast<jpeg::Sampling>(random->Below(3));
  options.quality = 30 + random->Below(65);
  constexpr int kIntervals[] = {0, 0, 1, 3, 7, 13, 26, 100};
  options.restart_interval = kIntervals[random->Below(8)];
  options.progressive = random->OneIn(4);
  if (random->OneIn(6) && layout == PixelLayout::kRgb) {
    EXPECT_TRUE(jpeg::ParseScript("0; 1,2;", &options.script).ok());
  }
  const bool is_deep = random->OneIn(8) && layout != PixelLayout::kCmyk;
  const int channels = zepcodec::ChannelCount(layout);
  Bytes file = Encode(is_deep ? pictures::Noisy(width, height, channels, 12)
                              : pictures::Detailed(width, height, layout),
                      options);
  if (random->OneIn(6) && layout == PixelLayout::kRgb) DropThird(&file);
  if (random->OneIn(3)) SetFactors(random, &file);
  if (random->OneIn(3)) Spoil(random, &file);
  return file;
}

// The rows of a decoder with a sink, or its picture.
Decoded DecodeRows(const Bytes& file, jpeg::DecodeOptions options, const Region& region) {
  parts::Collector rows;
  options.rows = &rows;
  Decoded result = DecodeWith(file, options);
  if (!result.status.ok() || !jpeg::GivesRows(result.info)) return result;
  EXPECT_EQ(rows.height(), region.height);
  EXPECT_EQ(result.image.width(), 0);
  result.image = rows.Joined();
  return result;
}

TEST(JpegRegions, EqualThePartOfTheWholePicture) {
  Random random(harness::Seed());
  int cleared = 0;
  for (int round = 0; round < kRounds; ++round) {
    const Bytes file = AnyFile(&random);
    jpeg::DecodeOptions options;
    options.scale = 1 << random.Below(4);
    options.part_blocks = 24;
    Decoded whole = DecodeWith(file, options);
    if (!whole.status.ok()) continue;
    const Region region = random.RegionIn(whole.image.width(), whole.image.height());
    SCOPED_TRACE(testing::Message()
                 << "round " << round << ": " << whole.image.width() << " x "
                 << whole.image.height() << ", from " << region.x << ", " << region.y << ": "
                 << region.width << " x " << region.height << ", scale " << options.scale);
    const bool is_sound = whole.info.messages.empty();
    const Decoded all_rows =
        DecodeRows(file, options, {0, 0, whole.image.width(), whole.image.height()});
    EXPECT_TRUE(pictures::Same(whole.image, all_rows.image));
    EXPECT_EQ(whole.AllMessages(), all_rows.AllMessages());
    ASSERT_TRUE(Cut(region, &whole.image).ok());
    options.region = Wanted(region);
    std::string messages;
    for (const int threads : {1, 2, 5}) {
      options.threads = threads;
      const Decoded part = DecodeWith(file, options);
      ASSERT_TRUE(part.status.ok());
      ASSERT_TRUE(pictures::Same(whole.image, part.image)) << threads;
      if (threads == 1) messages = part.AllMessages();
      EXPECT_EQ(part.AllMessages(), messages);
      const Decoded rows = DecodeRows(file, options, region);
      ASSERT_TRUE(rows.status.ok());
      ASSERT_TRUE(pictures::Same(whole.image, rows.image)) << threads;
      EXPECT_EQ(rows.AllMessages(), messages);
    }
    if (is_sound) {
      EXPECT_EQ(messages, "");
    }
    cleared += is_sound ? 1 : 0;
  }
  EXPECT_GT(cleared, kRounds / 4);
}

// With restart markers, damage above and beside the region goes unnoticed, and damage inside is
// told.
TEST(JpegRegions, IntervalsOutsideAreNotRead) {
  jpeg::EncodeOptions encode;
  encode.restart_interval = 4;
  const Bytes file = Encode(pictures::Detailed(512, 512, PixelLayout::kRgb), encode);
  const std::vector<size_t> markers = jpeg_files::RestartMarkers(file);
  ASSERT_EQ(markers.size(), 32u * 32 / 4 - 1);
  jpeg::DecodeOptions options;
  options.region =
      Wanted({200, 200, 40, 40});  // columns 12..15 of MCUs: the fourth interval of rows
  for (const int threads : {1, 2}) {
    options.threads = threads;
    options.part_blocks = 64;
    for (const size_t interval : {5u, 8u * 13 + 2, 8u * 13 + 3, 8u * 20 + 3}) {
      Bytes damaged = file;
      // No code has only ones.
      for (size_t i = 5; i < 11; i += 2) {
        damaged[markers[interval - 1] + i] = 0xFF;
        damaged[markers[interval - 1] + i + 1] = 0;
      }
      const Decoded part = DecodeWith(damaged, options);
      ASSERT_TRUE(part.status.ok());
      EXPECT_EQ(part.info.messages.empty(), interval != 8 * 13 + 3) << interval;
    }
  }
}

TEST(JpegRegions, OutsideThePictureAreErrors) {
  const Bytes file = Encode(pictures::Smooth(100, 50, PixelLayout::kRgb));
  for (const Region& region : {Region{0, 0, 101, 50}, Region{0, 0, 100, 51}, Region{-1, 0, 10, 10},
                               Region{99, 49, 2, 1}, Region{5, 5, 5, 0}}) {
    jpeg::DecodeOptions options;
    options.region = Wanted(region);
    EXPECT_EQ(DecodeWith(file, options).status.kind(), Status::Kind::kBadOption);
  }
}

// Rows that fail, and a caller that stops, at any moment.
TEST(JpegRows, EndWhereTheCallerWants) {
  Random random(harness::Seed());
  const Bytes file = Encode(pictures::Detailed(300, 700, PixelLayout::kRgb));
  for (int round = 0; round < kRounds / 4; ++round) {
    jpeg::DecodeOptions options;
    options.threads = 1 + random.Below(4);
    options.part_blocks = 64;
    parts::Collector rows(1 + random.Below(20));
    options.rows = &rows;
    const Decoded decoded = DecodeWith(file, options);
    EXPECT_TRUE(decoded.status.kind() == Status::Kind::kCancelled || rows.height() == 700);
    parts::Collector all;
    options.rows = &all;
    int calls = random.Below(12);
    zepcodec::Progress progress([&](double) { return calls-- <= 0; });
    options.progress = &progress;
    const Status status = DecodeWith(file, options).status;
    EXPECT_EQ(status.ok(), all.height() == 700);
    if (!status.ok()) {
      EXPECT_EQ(status.kind(), Status::Kind::kCancelled);
    }
  }
}

TEST(JpegRows, BecomeTheSameFiles) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds / 10; ++round) {
    constexpr PixelLayout kLayouts[] = {PixelLayout::kGrey, PixelLayout::kRgb, PixelLayout::kCmyk};
    const int width = 1 + random.Below(400), height = 1 + random.Below(900);
    const Picture picture = pictures::Detailed(width, height, kLayouts[random.Below(3)]);
    jpeg::EncodeOptions options;
    options.sampling = static_cast<jpeg::Sampling>(random.Below(3));
    constexpr int kIntervals[] = {0, 0, 1, 2, 17, 300, 4000};
    options.restart_interval = kIntervals[random.Below(7)];
    options.progressive = random.OneIn(8);
    options.optimizes = random.OneIn(8);
    const Bytes expected = Encode(picture, options);
    for (const int threads : {1, 2, 6}) {
      options.threads = threads;
      parts::OwnRows rows(picture);
      parts::Bytes written;
      options.sink = &written;
      zepcodec::ByteBuffer rest;
      ASSERT_TRUE(jpeg::Encode(&rows, options, &rest).ok());
      written.Take(rest);
      ASSERT_EQ(written.taken, expected) << width << " x " << height << ", " << threads;
    }
  }
}

TEST(JpegRows, ThatFailEndTheEncoder) {
  Random random(harness::Seed());
  const Picture picture = pictures::Noisy(700, 1200, 3, 8);
  for (int round = 0; round < kRounds / 40; ++round) {
    jpeg::EncodeOptions options;
    options.quality = 95;
    options.threads = 1 + random.Below(4);
    parts::OwnRows rows(picture, 1 + random.Below(5));
    zepcodec::ByteBuffer file;
    EXPECT_EQ(jpeg::Encode(&rows, options, &file).kind(), Status::Kind::kCancelled);
    parts::OwnRows again(picture);
    parts::Bytes written(random.Below(3));
    options.sink = &written;
    EXPECT_EQ(jpeg::Encode(&again, options, &file).kind(), Status::Kind::kWriteFailed);
    parts::OwnRows cancelled(picture);
    options.sink = nullptr;
    int calls = random.Below(5);
    zepcodec::Progress progress([&](double) { return calls-- <= 0; });
    options.progress = &progress;
    EXPECT_EQ(jpeg::Encode(&cancelled, options, &file).kind(), Status::Kind::kCancelled);
  }
}

}  // namespace
