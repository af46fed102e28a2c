// SPDX-License-Identifier: MIT
// JPEG XR files in parts and on several threads: regions, rows, bytes on their way, damage,
// cancellation.
#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <string>
#include <vector>

#include "harness/random.h"
#include "tests/codecs/jpegxr/jpegxr_files.h"
#include "tests/codecs/support/parts.h"
#include "tests/codecs/support/refused_threads.h"

namespace jpegxr = zepcodec::jpegxr;

namespace {

using jpegxr::ColorFormat;
using jpegxr::Overlap;
using pictures::Bytes;
using zepcodec::Picture;
using zepcodec::Region;
using zepcodec::SampleType;
using zepcodec::Status;

struct Outcome {
  Picture picture;
  std::vector<std::string> messages;

  bool operator==(const Outcome& other) const {
    return pictures::Same(picture, other.picture) && messages == other.messages;
  }
};

Outcome Decode(const Bytes& file, const jpegxr::DecodeOptions& options) {
  Outcome outcome;
  jpegxr::FileInfo info;
  const Status status = jpegxr::Decode(file.data(), file.size(), options, &outcome.picture, &info);
  if (!status.ok()) outcome.messages.push_back(status.text());
  for (const auto& message : info.messages.kept()) outcome.messages.push_back(message.ToString());
  return outcome;
}

Outcome DecodeRows(const Bytes& file, jpegxr::DecodeOptions options) {
  parts::Collector rows;
  options.rows = &rows;
  Outcome outcome = Decode(file, options);
  EXPECT_EQ(outcome.picture.width(), 0);
  outcome.picture = rows.Joined();
  return outcome;
}

jpegxr::DecodeOptions WithThreads(int threads) {
  jpegxr::DecodeOptions options;
  options.threads = threads;
  return options;
}

// All ways that differ in what depends on what; emulators and sanitizers take a sample.
std::vector<jpegxr::EncodeOptions> AllOptions() {
  std::vector<jpegxr::EncodeOptions> all;
  for (const Overlap overlap : {Overlap::kNone, Overlap::kFirst, Overlap::kBoth}) {
    for (const ColorFormat color : {ColorFormat::k444, ColorFormat::k422, ColorFormat::k420}) {
      for (const int tile : {0, 32, 96}) {
        for (const bool has_hard_tiles : {false, true}) {
          if (tile == 0 && has_hard_tiles) continue;
          jpegxr::EncodeOptions options;
          options.overlap = overlap;
          options.color = color;
          options.tile_width = tile;
          options.tile_height = 2 * tile / 3 / 16 * 16;
          options.has_hard_tiles = has_hard_tiles;
          options.is_frequency_order = all.size() % 3 == 0;
          options.lossless = all.size() % 2 == 0;
          all.push_back(options);
        }
      }
    }
  }
  if (harness::Exhaustive()) return all;
  std::vector<jpegxr::EncodeOptions> sample;
  for (size_t i = 0; i < all.size(); i += 7) sample.push_back(all[i]);
  return sample;
}

constexpr int kWidth = 205, kHeight = 178;

Picture Original(uint32_t seed = 1) {
  return jpegxr_files::MakeImage(kWidth, kHeight, 3, SampleType::kU8, seed);
}

TEST(JpegXrParts, ThreadsMakeNoDifference) {
  const Picture picture = Original();
  for (jpegxr::EncodeOptions options : AllOptions()) {
    options.threads = 1;
    const Bytes file = jpegxr_files::Encode(picture, options);
    const Outcome whole = Decode(file, WithThreads(1));
    EXPECT_TRUE(whole.messages.empty());
    EXPECT_TRUE(DecodeRows(file, WithThreads(1)) == whole);
    for (const int threads : {2, 3}) {
      options.threads = threads;
      EXPECT_TRUE(jpegxr_files::Encode(picture, options) == file) << threads;
      EXPECT_TRUE(Decode(file, WithThreads(threads)) == whole);
      EXPECT_TRUE(DecodeRows(file, WithThreads(threads)) == whole);
    }
  }
}

TEST(JpegXrParts, ManyThreads) {
  const int height = harness::Exhaustive() ? 960 : 480;
  const Picture picture = jpegxr_files::MakeImage(150, height, 3, SampleType::kU8, 2);
  for (const int tile : {0, 64, 320}) {
    jpegxr::EncodeOptions options;
    options.overlap = Overlap::kBoth;
    options.tile_width = tile;
    options.tile_height = tile / 2 / 16 * 16;
    options.threads = 1;
    const Bytes file = jpegxr_files::Encode(picture, options);
    for (const int threads : {2, 5, 16}) {
      options.threads = threads;
      EXPECT_TRUE(jpegxr_files::Encode(picture, options) == file) << threads;
      EXPECT_TRUE(pictures::Same(Decode(file, WithThreads(threads)).picture, picture));
    }
  }
}

TEST(JpegXrParts, RegionsArePartsOfThePicture) {
  const Picture picture = Original();
  for (const jpegxr::EncodeOptions& options : AllOptions()) {
    const Bytes file = jpegxr_files::Encode(picture, options);
    const Picture whole = Decode(file, WithThreads(1)).picture;
    int threads = 1;
    for (const Region& region : parts::Regions(kWidth, kHeight)) {
      const Picture part = parts::PartOf(whole, region);
      jpegxr::DecodeOptions decoding = WithThreads(threads);
      decoding.region = zepcodec::WantedRegion(region, {});
      EXPECT_TRUE(pictures::Same(Decode(file, decoding).picture, part))
          << region.x << " " << region.y << " " << region.width << " " << region.height;
      decoding.threads = threads = 4 - threads;
      EXPECT_TRUE(pictures::Same(DecodeRows(file, decoding).picture, part));
    }
  }
}

TEST(JpegXrParts, RegionsOfAllKindsOfFiles) {
  for (const Bytes& file : jpegxr_files::AllKinds()) {
    const Picture whole = Decode(file, WithThreads(1)).picture;
    ASSERT_EQ(whole.width(), 70);
    for (const Region& region : parts::Regions(70, 45)) {
      jpegxr::DecodeOptions decoding = WithThreads(1);
      decoding.region = zepcodec::WantedRegion(region, {});
      const Picture part = parts::PartOf(whole, region);
      EXPECT_TRUE(pictures::Same(Decode(file, decoding).picture, part));
      EXPECT_TRUE(pictures::Same(DecodeRows(file, decoding).picture, part));
    }
  }
}

// Damage in other tiles is not found.
TEST(JpegXrParts, OnlyTheTilesOfARegionAreDecoded) {
  jpegxr::EncodeOptions options;
  options.tile_width = options.tile_height = 64;
  Bytes file = jpegxr_files::Encode(Original(), options);
  file.resize(file.size() - 100);  // of the last tile
  jpegxr::DecodeOptions decoding;
  EXPECT_FALSE(Decode(file, decoding).messages.empty());
  decoding.region = zepcodec::WantedRegion({0, 0, 100, 100}, {});
  for (const std::string& message : Decode(file, decoding).messages) {
    EXPECT_EQ(message.find("tile"), std::string::npos) << message;
  }
}

TEST(JpegXrParts, DamageIsTheSameOnAllThreads) {
  std::mt19937 random(1);
  const Picture picture = Original(3);
  const std::vector<jpegxr::EncodeOptions> all = AllOptions();
  for (size_t i = 0; i < all.size(); i += 4) {
    const Bytes file = jpegxr_files::Encode(picture, all[i]);
    for (int round = 0; round < 4; ++round) {
      Bytes changed = file;
      for (int change = 0; change < 4; ++change) {
        changed[300 + random() % (file.size() - 300)] = static_cast<uint8_t>(random());
      }
      if (round == 3) changed.resize(changed.size() / 2);
      const Outcome want = Decode(changed, WithThreads(1));
      for (const int threads : {2, 3}) {
        EXPECT_TRUE(Decode(changed, WithThreads(threads)) == want);
      }
      if (want.picture.width() > 0) {
        EXPECT_TRUE(DecodeRows(changed, WithThreads(2)) == want);
      }
    }
  }
}

TEST(JpegXrParts, RowsInBytesOut) {
  const int height = harness::Exhaustive() ? 700 : 350;
  const Picture picture = jpegxr_files::MakeImage(200, height, 3, SampleType::kU8, 4);
  for (jpegxr::EncodeOptions options : AllOptions()) {
    options.lossless = true;
    options.threads = 1;
    const Bytes file = jpegxr_files::Encode(picture, options);
    parts::Bytes sink;
    options.sink = &sink;
    for (options.threads = 1; options.threads <= 3; options.threads += 2) {
      sink.taken.clear();
      parts::OwnRows rows(picture);
      zepcodec::ByteBuffer rest;
      ASSERT_EQ(jpegxr::Encode(&rows, options, &rest).text(), "");
      EXPECT_LT(rest.size(), file.size());
      sink.Take(rest);
      EXPECT_EQ(sink.taken, file);
    }
  }
}

TEST(JpegXrParts, FailuresOfTheCallerEndTheCall) {
  const Picture picture = Original();
  const Bytes file = jpegxr_files::Encode(picture, {});
  for (const int threads : {1, 3}) {
    jpegxr::EncodeOptions options;
    options.threads = threads;
    parts::OwnRows rows(picture, 3);
    zepcodec::ByteBuffer bytes;
    EXPECT_EQ(jpegxr::Encode(&rows, options, &bytes).kind(), Status::Kind::kCancelled);
    parts::Collector sink(3);
    jpegxr::DecodeOptions decoding = WithThreads(threads);
    decoding.rows = &sink;
    Picture none;
    jpegxr::FileInfo info;
    EXPECT_EQ(jpegxr::Decode(file.data(), file.size(), decoding, &none, &info).kind(),
              Status::Kind::kCancelled);
  }
}

TEST(JpegXrParts, CanBeCancelled) {
  const Picture picture = Original();
  jpegxr::EncodeOptions options;
  options.tile_width = 64;
  const Bytes file = jpegxr_files::Encode(picture, options);
  for (const int threads : {1, 3}) {
    for (const int stop : {1, 2, 5, 12}) {
      std::atomic<int> calls{0};
      zepcodec::Progress progress([&](double) { return ++calls == stop; });
      jpegxr::DecodeOptions decoding = WithThreads(threads);
      decoding.progress = &progress;
      Picture none;
      jpegxr::FileInfo info;
      EXPECT_EQ(jpegxr::Decode(file.data(), file.size(), decoding, &none, &info).kind(),
                Status::Kind::kCancelled);
      calls = 0;
      zepcodec::Progress again([&](double) { return ++calls == stop; });
      options.threads = threads;
      options.progress = &again;
      zepcodec::PictureRows rows(picture);
      zepcodec::ByteBuffer bytes;
      EXPECT_EQ(jpegxr::Encode(&rows, options, &bytes).kind(), Status::Kind::kCancelled);
    }
  }
}

TEST(JpegXrParts, RefusedThreads) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP();
  const Picture picture = Original();
  jpegxr::EncodeOptions options;
  options.tile_width = 64;
  options.threads = 1;
  const Bytes file = jpegxr_files::Encode(picture, options);
  options.threads = 8;
  for (const int allowed : {0, 1, 2}) {
    const refused_threads::After refused(allowed);
    EXPECT_TRUE(jpegxr_files::Encode(picture, options) == file) << allowed;
    EXPECT_TRUE(pictures::Same(Decode(file, WithThreads(8)).picture, picture));
  }
}

TEST(JpegXrParts, OneThreadStartsNone) {
  const refused_threads::After counted(100);
  jpegxr::EncodeOptions options;
  options.threads = 1;
  const Bytes file = jpegxr_files::Encode(Original(), options);
  Decode(file, WithThreads(1));
  EXPECT_EQ(refused_threads::Started(), 0);
}

}  // namespace
