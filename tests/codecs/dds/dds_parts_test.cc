// SPDX-License-Identifier: MIT
// DDS files in parts and on several threads: regions, rows, bytes on their way, cancellation.
#include <gtest/gtest.h>

#include <atomic>
#include <vector>

#include "codecs/dds/codec.h"
#include "harness/random.h"
#include "tests/codecs/support/parts.h"
#include "tests/codecs/support/pictures.h"
#include "tests/codecs/support/refused_threads.h"

namespace dds = zepcodec::dds;

namespace {

using dds::BlockFormat;
using pictures::Bytes;
using zepcodec::Picture;
using zepcodec::Region;
using zepcodec::Status;

constexpr BlockFormat kFormats[] = {BlockFormat::kBc1, BlockFormat::kBc2, BlockFormat::kBc3,
                                    BlockFormat::kBc4, BlockFormat::kBc5, BlockFormat::kBc7};

dds::EncodeOptions OptionsFor(BlockFormat format) {
  dds::EncodeOptions options;
  options.format = format;
  options.bc7_mode = 6;  // without a search
  return options;
}

std::vector<dds::EncodeOptions> AllOptions() {
  std::vector<dds::EncodeOptions> all;
  for (const BlockFormat format : kFormats) all.push_back(OptionsFor(format));
  all.push_back(OptionsFor(BlockFormat::kBc3));
  all.back().is_ycocg = true;
  return all;
}

Picture Original(const dds::EncodeOptions& options, int width = 45, int height = 70) {
  return pictures::Detailed(width, height, dds::LayoutOf(options.format, options.is_ycocg));
}

Bytes Encode(const Picture& picture, const dds::EncodeOptions& options) {
  zepcodec::PictureRows rows(picture);
  zepcodec::ByteBuffer file;
  EXPECT_EQ(dds::Encode(&rows, options, &file).text(), "");
  return pictures::ToBytes(file);
}

Picture Decode(const Bytes& file, const dds::DecodeOptions& options) {
  Picture picture;
  dds::Header header;
  EXPECT_EQ(dds::Decode(file.data(), file.size(), options, &picture, &header).text(), "");
  return picture;
}

Picture DecodeRows(const Bytes& file, dds::DecodeOptions options) {
  parts::Collector rows;
  options.rows = &rows;
  EXPECT_EQ(Decode(file, options).width(), 0);
  return rows.Joined();
}

TEST(DdsParts, ThreadsMakeNoDifference) {
  for (dds::EncodeOptions options : AllOptions()) {
    for (const bool has_mipmaps : {false, true}) {
      options.has_mipmaps = has_mipmaps;
      const Picture picture = Original(options, 61, harness::Exhaustive() ? 200 : 40);
      options.threads = 1;
      const Bytes file = Encode(picture, options);
      const Picture whole = Decode(file, {});
      for (const int threads : {2, 3, 16}) {
        options.threads = threads;
        EXPECT_EQ(Encode(picture, options), file);
        dds::DecodeOptions decoding;
        decoding.threads = threads;
        EXPECT_TRUE(pictures::Same(Decode(file, decoding), whole));
        EXPECT_TRUE(pictures::Same(DecodeRows(file, decoding), whole));
      }
    }
  }
}

TEST(DdsParts, RegionsArePartsOfThePicture) {
  for (const dds::EncodeOptions& options : AllOptions()) {
    const Bytes file = Encode(Original(options), options);
    const Picture whole = Decode(file, {});
    for (const Region& region : parts::Regions(45, 70)) {
      dds::DecodeOptions decoding;
      decoding.region = zepcodec::WantedRegion(region, {});
      const Picture part = parts::PartOf(whole, region);
      for (const int threads : {1, 3}) {
        decoding.threads = threads;
        EXPECT_TRUE(pictures::Same(Decode(file, decoding), part));
        EXPECT_TRUE(pictures::Same(DecodeRows(file, decoding), part));
      }
    }
  }
}

TEST(DdsParts, RegionsOfSmallerLevels) {
  dds::EncodeOptions options;
  options.has_mipmaps = true;
  const Bytes file = Encode(Original(options), options);
  dds::DecodeOptions decoding;
  decoding.level = 2;  // 11 x 17
  const Picture whole = Decode(file, decoding);
  const Region region = {3, 5, 7, 12};
  decoding.region = zepcodec::WantedRegion(region, {});
  EXPECT_TRUE(pictures::Same(Decode(file, decoding), parts::PartOf(whole, region)));
  decoding.region = zepcodec::WantedRegion({3, 5, 9, 12}, {});
  Picture picture;
  dds::Header header;
  EXPECT_FALSE(dds::Decode(file.data(), file.size(), decoding, &picture, &header).ok());
}

// Rows come from a callback and bytes go to a sink.
TEST(DdsParts, RowsInBytesOut) {
  for (dds::EncodeOptions options : AllOptions()) {
    for (const bool has_mipmaps : {false, true}) {
      const Picture picture = Original(options, 200, harness::Exhaustive() ? 1000 : 200);
      options.has_mipmaps = has_mipmaps;
      options.sink = nullptr;
      const Bytes file = Encode(picture, options);
      parts::Bytes sink;
      options.sink = &sink;
      for (options.threads = 1; options.threads <= 3; ++options.threads) {
        sink.taken.clear();
        parts::OwnRows rows(picture);
        zepcodec::ByteBuffer rest;
        ASSERT_EQ(dds::Encode(&rows, options, &rest).text(), "");
        EXPECT_LT(rest.size(), size_t{1} << 16);
        sink.Take(rest);
        EXPECT_EQ(sink.taken, file);
      }
    }
  }
}

TEST(DdsParts, FailuresOfTheCallerEndTheCall) {
  const dds::EncodeOptions options = OptionsFor(BlockFormat::kBc7);
  const Picture picture = Original(options, 33, 300);
  const Bytes file = Encode(picture, options);
  for (const int threads : {1, 3}) {
    dds::EncodeOptions encoding = options;
    encoding.threads = threads;
    parts::OwnRows rows(picture, 2);
    zepcodec::ByteBuffer bytes;
    EXPECT_EQ(dds::Encode(&rows, encoding, &bytes).kind(), Status::Kind::kCancelled);
    dds::DecodeOptions decoding;
    decoding.threads = threads;
    parts::Collector sink(1);
    decoding.rows = &sink;
    Picture none;
    dds::Header header;
    EXPECT_EQ(dds::Decode(file.data(), file.size(), decoding, &none, &header).kind(),
              Status::Kind::kCancelled);
  }
}

TEST(DdsParts, CanBeCancelled) {
  const dds::EncodeOptions options = OptionsFor(BlockFormat::kBc1);
  const Picture picture = Original(options, 33, 300);
  const Bytes file = Encode(picture, options);
  for (const int threads : {1, 3}) {
    for (int stop = 1; stop <= 3; ++stop) {
      std::atomic<int> calls{0};
      zepcodec::Progress progress([&](double) { return ++calls == stop; });
      dds::DecodeOptions decoding;
      decoding.threads = threads;
      decoding.progress = &progress;
      Picture none;
      dds::Header header;
      EXPECT_EQ(dds::Decode(file.data(), file.size(), decoding, &none, &header).kind(),
                Status::Kind::kCancelled);
      zepcodec::Progress again([&](double) { return --calls == 0; });
      dds::EncodeOptions encoding = options;
      encoding.threads = threads;
      encoding.progress = &again;
      zepcodec::PictureRows rows(picture);
      zepcodec::ByteBuffer bytes;
      EXPECT_EQ(dds::Encode(&rows, encoding, &bytes).kind(), Status::Kind::kCancelled);
    }
  }
}

TEST(DdsParts, RefusedThreads) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP();
  dds::EncodeOptions options = OptionsFor(BlockFormat::kBc3);
  const Picture picture = Original(options, 61, 300);
  const Bytes file = Encode(picture, options);
  const Picture whole = Decode(file, {});
  options.threads = 8;
  dds::DecodeOptions decoding;
  decoding.threads = 8;
  for (const int allowed : {0, 1, 3}) {
    const refused_threads::After refused(allowed);
    EXPECT_EQ(Encode(picture, options), file);
    EXPECT_TRUE(pictures::Same(Decode(file, decoding), whole));
  }
}

TEST(DdsParts, OneThreadStartsNone) {
  const dds::EncodeOptions options = OptionsFor(BlockFormat::kBc1);
  const Picture picture = Original(options);
  const refused_threads::After counted(100);
  const Bytes file = Encode(picture, options);
  Decode(file, {});
  EXPECT_EQ(refused_threads::Started(), 0);
}

}  // namespace
