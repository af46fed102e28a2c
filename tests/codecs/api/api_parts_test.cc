// SPDX-License-Identifier: MIT
// A part of a picture equals that part of the whole picture, for every way of coding, every number
// of threads, and of damaged files.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "harness/random.h"
#include "tests/codecs/api/api_ways.h"

namespace {

using namespace api_pictures;

constexpr int32_t kThreads[] = {1, 2, 3, 7, 16};

// One inside a picture of this size.
zepcRect AnyRegion(int32_t width, int32_t height, std::mt19937* random) {
  const auto up_to = [&](int32_t most) {
    return std::uniform_int_distribution<int32_t>(0, most)(*random);
  };
  zepcRect region;
  region.x = up_to(width - 1);
  region.y = up_to(height - 1);
  region.width = 1 + up_to(width - 1 - region.x);
  region.height = 1 + up_to(height - 1 - region.y);
  return region;
}

// The whole, corners and lines, and some at random; in a sample, one fixed and one at random.
std::vector<zepcRect> Regions(int32_t width, int32_t height, std::mt19937* random) {
  std::vector<zepcRect> regions = {{0, 0, width, height},
                                   {0, 0, 1, 1},
                                   {width - 1, height - 1, 1, 1},
                                   {width / 2, 0, 1, height},
                                   {0, height / 2, width, 1}};
  regions = harness::AllOrOne(regions, *random);
  const int others = harness::Exhaustive() ? 3 : 1;
  for (int i = 0; i < others; ++i) regions.push_back(AnyRegion(width, height, random));
  return regions;
}

void ExpectParts(const Bytes& file, zepcDecodeOptions options) {
  static std::mt19937 random(16);
  static size_t turn = 0;
  const Image whole = DecodeToImage(file, &options);
  for (const zepcRect& region : Regions(whole.width, whole.height, &random)) {
    options.region = region;
    options.threads = kThreads[turn++ % std::size(kThreads)];
    ASSERT_TRUE(Same(Part(whole, region), DecodeToImage(file, &options)))
        << region.width << " x " << region.height << " + " << region.x << " + " << region.y << ", "
        << options.threads << " threads";
  }
}

TEST(ApiParts, AreThoseOfTheWholePicture) {
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    ExpectParts(FileOf(way), Sized<zepcDecodeOptions>());
  }
}

TEST(ApiParts, OfReducedPictures) {
  for (const Way& way : Ways()) {
    const bool is_jpeg = way.format == zepcFormatJpeg && way.shape.bits == 8;
    const bool is_jpeg2000 = way.format == zepcFormatJ2k || way.format == zepcFormatJp2;
    if (!is_jpeg && !is_jpeg2000) continue;
    SCOPED_TRACE(way.name);
    const Bytes file = FileOf(way);
    auto options = Sized<zepcDecodeOptions>();
    const int32_t most = std::min(Probe(file).levels, 3);
    for (options.reduce = 1; options.reduce <= most; ++options.reduce) ExpectParts(file, options);
  }
}

TEST(ApiParts, OfLevelsAndLayers) {
  for (const Way& way : Ways()) {
    const zepcInfo info = Probe(FileOf(way));
    SCOPED_TRACE(way.name);
    auto options = Sized<zepcDecodeOptions>();
    if (way.format == zepcFormatDds) {
      for (options.level = 1; options.level <= info.levels; ++options.level) {
        ExpectParts(FileOf(way), options);
      }
    } else if (info.layers > 1) {
      options.layers = info.layers / 2;
      options.keeps_damaged = 1;  // incomplete scans count as damage
      ExpectParts(FileOf(way), options);
    }
  }
}

TEST(ApiParts, OfPicturesThatAreTurnedUpright) {
  for (const zepcFormat format :
       {zepcFormatJpeg, zepcFormatLosslessJpeg, zepcFormatJp2, zepcFormatJpegXr, zepcFormatTiff}) {
    for (uint8_t orientation = 1; orientation <= 8; ++orientation) {
      SCOPED_TRACE(format);
      const Bytes exif = Exif(orientation);
      auto metadata = Sized<zepcMetadata>();
      metadata.exif = exif.data();
      metadata.exif_size = exif.size();
      zepcEncodeOptions encode = OptionsFor(format);
      encode.metadata = &metadata;
      auto options = Sized<zepcDecodeOptions>();
      options.applies_orientation = 1;
      ExpectParts(Encode(Make(83, 54, {}), encode), options);
    }
  }
}

TEST(ApiParts, OutsideArePartsThatDoNotExist) {
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    const Bytes file = FileOf(way);
    for (const zepcRect& region :
         {zepcRect{0, 0, kWayWidth + 1, 1}, zepcRect{kWayWidth, 0, 1, 1},
          zepcRect{0, kWayHeight, 1, 1}, zepcRect{1, 1, INT32_MAX, INT32_MAX},
          zepcRect{INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}, zepcRect{0, 0, 1, 0}}) {
      auto options = Sized<zepcDecodeOptions>();
      options.region = region;
      zepcPicture* picture = nullptr;
      EXPECT_EQ(zepcDecode(file.data(), file.size(), &options, &picture), zepcStatusBadArgument);
      EXPECT_EQ(picture, nullptr);
    }
  }
}

struct Outcome {
  zepcStatus status = zepcStatusOk;
  Image image;
  std::vector<std::string> messages;
};

bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.messages == b.messages &&
         (a.status < 0 || Same(a.image, b.image));
}

Outcome TryDecode(const Bytes& file, zepcDecodeOptions options) {
  Outcome outcome;
  zepcPicture* made = nullptr;
  outcome.status = zepcDecode(file.data(), file.size(), &options, &made);
  if (outcome.status < 0) {
    outcome.messages.emplace_back(zepcLastError());
    return outcome;
  }
  const Picture picture(made);
  outcome.image = CopyOf(picture.get());
  auto message = Sized<zepcMessage>();
  for (int32_t i = 0; zepcPictureMessage(picture.get(), i, &message) == zepcStatusOk; ++i) {
    outcome.messages.emplace_back(message.text);
  }
  return outcome;
}

// Cut off, or with some bytes changed after the headers.
Bytes Damaged(Bytes file, std::mt19937* random) {
  const auto any = [&](size_t from, size_t to) {
    return std::uniform_int_distribution<size_t>(from, to - 1)(*random);
  };
  if (any(0, 4) == 0) {
    file.resize(any(file.size() / 4, file.size()));
    return file;
  }
  const size_t changes = 1 + any(0, 4);
  for (size_t i = 0; i < changes; ++i) {
    file[any(file.size() / 4, file.size())] = static_cast<uint8_t>(any(0, 256));
  }
  return file;
}

TEST(ApiParts, DamageIsTheSameForAllNumbersOfThreads) {
  std::mt19937 random(17);
  const int rounds = harness::Exhaustive() ? 5 : 2;
  for (const Way& way : Ways()) {
    SCOPED_TRACE(way.name);
    const Bytes file = FileOf(way);
    for (int i = 0; i < rounds; ++i) {
      const Bytes damaged = Damaged(file, &random);
      auto options = Sized<zepcDecodeOptions>();
      options.keeps_damaged = 1;
      options.threads = 1;
      const Outcome wanted = TryDecode(damaged, options);
      for (const int32_t threads : harness::AllOrOne({2, 5}, random)) {
        options.threads = threads;
        ASSERT_TRUE(wanted == TryDecode(damaged, options)) << i << ", " << threads << " threads";
      }
      // Damage outside of a part may not be seen.
      if (wanted.status < 0) continue;
      options.region = AnyRegion(wanted.image.width, wanted.image.height, &random);
      const Outcome part = TryDecode(damaged, options);
      ASSERT_GE(part.status, 0) << zepcLastError();
      ASSERT_TRUE(Same(Part(wanted.image, options.region), part.image)) << i;
    }
  }
}

}  // namespace
