// SPDX-License-Identifier: MIT
// TIFF files in parts: regions, rows, bytes on their way, cancellation.
#include <gtest/gtest.h>

#include <vector>

#include "codecs/tiff/codec.h"
#include "tests/codecs/support/parts.h"
#include "tests/codecs/support/pictures.h"

namespace tiff = zepcodec::tiff;

namespace {

using pictures::Bytes;
using tiff::Compression;
using zepcodec::Picture;
using zepcodec::Region;
using zepcodec::Status;

struct Kind {
  int channels;
  int bits;
  tiff::EncodeOptions options;
};

std::vector<Kind> AllKinds() {
  std::vector<Kind> all;
  for (const Compression compression : {Compression::kNone, Compression::kPackBits}) {
    for (const int channels : {1, 3}) {
      tiff::EncodeOptions options;
      options.compression = compression;
      all.push_back({channels, 8, options});
      all.push_back({channels, 16, options});
      options.has_byte_planes = true;
      all.push_back({channels, 16, options});
    }
  }
  return all;
}

Picture Original(const Kind& kind, int width = 300, int height = 250) {
  return pictures::Noisy(width, height, kind.channels, kind.bits);
}

Bytes Encode(const Picture& picture, const tiff::EncodeOptions& options) {
  zepcodec::PictureRows rows(picture);
  zepcodec::ByteBuffer file;
  EXPECT_EQ(tiff::Encode(&rows, options, &file).text(), "");
  return pictures::ToBytes(file);
}

Picture Decode(const Bytes& file, const tiff::DecodeOptions& options) {
  Picture picture;
  tiff::FileInfo info;
  EXPECT_EQ(tiff::Decode(file.data(), file.size(), options, &picture, &info).text(), "");
  return picture;
}

Picture DecodeRows(const Bytes& file, tiff::DecodeOptions options) {
  parts::Collector rows;
  options.rows = &rows;
  EXPECT_EQ(Decode(file, options).width(), 0);
  EXPECT_LE(rows.largest(), 64);
  return rows.Joined();
}

TEST(TiffParts, RegionsArePartsOfThePicture) {
  for (const Kind& kind : AllKinds()) {
    const Picture picture = Original(kind);
    const Bytes file = Encode(picture, kind.options);
    for (const Region& region : parts::Regions(300, 250)) {
      tiff::DecodeOptions options;
      options.region = zepcodec::WantedRegion(region, {});
      const Picture part = parts::PartOf(picture, region);
      EXPECT_TRUE(pictures::Same(Decode(file, options), part));
      EXPECT_TRUE(pictures::Same(DecodeRows(file, options), part));
    }
  }
}

// Their rows are those of the picture, and little memory is needed.
TEST(TiffParts, OnlyTheStripsOfARegionAreRead) {
  tiff::EncodeOptions encoding;
  encoding.compression = Compression::kNone;
  const Picture picture = pictures::Noisy(1000, 500, 1, 8);
  const Bytes file = Encode(picture, encoding);
  for (const int y : {0, 400}) {
    tiff::DecodeOptions options;
    options.region = zepcodec::WantedRegion({10, y, 20, 30}, {});
    Picture part;
    tiff::FileInfo info;
    ASSERT_EQ(tiff::Decode(file.data(), file.size(), options, &part, &info).text(), "");
    EXPECT_TRUE(info.messages.empty());
    EXPECT_TRUE(pictures::Same(part, parts::PartOf(picture, {10, y, 20, 30})));
    EXPECT_LT(tiff::MemoryToDecode(info, options), 100'000);
  }
}

TEST(TiffParts, RowsInBytesOut) {
  for (Kind kind : AllKinds()) {
    const Picture picture = Original(kind);
    const Bytes file = Encode(picture, kind.options);
    parts::Bytes sink;
    kind.options.sink = &sink;
    parts::OwnRows rows(picture);
    zepcodec::ByteBuffer rest;
    ASSERT_EQ(tiff::Encode(&rows, kind.options, &rest).text(), "");
    if (kind.options.compression == Compression::kNone) {
      EXPECT_LT(rest.size(), size_t{1} << 17);
    }
    sink.Take(rest);
    EXPECT_EQ(sink.taken, file);
  }
}

TEST(TiffParts, FailuresOfTheCallerEndTheCall) {
  const Kind kind = AllKinds()[3];
  const Picture picture = Original(kind);
  const Bytes file = Encode(picture, kind.options);
  parts::OwnRows rows(picture, 2);
  zepcodec::ByteBuffer bytes;
  EXPECT_EQ(tiff::Encode(&rows, kind.options, &bytes).kind(), Status::Kind::kCancelled);
  parts::Collector sink(1);
  tiff::DecodeOptions options;
  options.rows = &sink;
  Picture none;
  tiff::FileInfo info;
  EXPECT_EQ(tiff::Decode(file.data(), file.size(), options, &none, &info).kind(),
            Status::Kind::kCancelled);
}

TEST(TiffParts, CanBeCancelled) {
  const Kind kind = AllKinds()[3];
  const Picture picture = Original(kind);
  const Bytes file = Encode(picture, kind.options);
  for (const int stop : {1, 2}) {
    int calls = 0;
    zepcodec::Progress progress([&](double) { return ++calls == stop; });
    tiff::DecodeOptions options;
    options.progress = &progress;
    Picture none;
    tiff::FileInfo info;
    EXPECT_EQ(tiff::Decode(file.data(), file.size(), options, &none, &info).kind(),
              Status::Kind::kCancelled);
  }
}

}  // namespace
