// SPDX-License-Identifier: MIT
// Pictures, rows and files of the JPEG 2000 codec are the same for each number of threads, on
// damaged files too, and where the system refuses threads or the caller stops the work.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/picture_decoder.h"
#include "codecs/support/progress.h"
#include "tests/codecs/jpeg2000/jpeg2000_random.h"
#include "tests/codecs/jpeg2000/jpeg2000_sample.h"
#include "tests/codecs/support/parts.h"
#include "tests/codecs/support/pictures.h"
#include "tests/codecs/support/refused_threads.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using jpeg2000::DecodeOptions;
using jpeg2000::EncodeOptions;
using jpeg2000_files::Bytes;
using jpeg2000_files::Encode;
using jpeg2000_files::kIsSample;
using jpeg2000_files::MakePicture;
using jpeg2000_random::Number;
using jpeg2000_random::Random;
using zepcodec::ByteBuffer;
using zepcodec::Picture;
using zepcodec::PixelLayout;
using zepcodec::Progress;
using zepcodec::Region;
using zepcodec::Status;
using zepcodec::WantedRegion;

std::vector<int> ThreadCounts() {
  return kIsSample ? std::vector<int>{1, 3} : std::vector<int>{1, 2, 3, 5, 16};
}

struct Result {
  Status status;
  Picture picture;
  std::string messages;
};

Result DecodePicture(const Bytes& file, const DecodeOptions& options) {
  Result result;
  jpeg2000::FileInfo info;
  result.status =
      jpeg2000::DecodePicture(file.data(), file.size(), options, &result.picture, &info);
  for (const auto& message : info.messages.kept()) result.messages += message.ToString() + "\n";
  for (const auto& note : info.notes.kept()) result.messages += note.ToString() + "\n";
  return result;
}

// The rows, or the picture where rows are not given.
Result DecodeRows(const Bytes& file, DecodeOptions options, int width, int height) {
  parts::Collector rows;
  options.rows = &rows;
  Result result = DecodePicture(file, options);
  if (rows.height() > 0) {
    EXPECT_EQ(result.picture.width(), 0);
    result.picture = rows.Joined();
    EXPECT_EQ(result.picture.width(), width);
    EXPECT_EQ(result.picture.height(), height);
  }
  return result;
}

// A picture as the components of the whole file make it.
Picture FromComponents(const Bytes& file, const DecodeOptions& options) {
  jpeg2000_files::Decoded decoded = jpeg2000_files::Decode(file, options);
  zepcodec::Messages notes;
  Picture picture;
  EXPECT_TRUE(jpeg2000::ToPicture(decoded.image, &notes, &picture).ok());
  return picture;
}

// Damages some bytes after the main header.
void Damage(Random* random, Bytes* file) {
  const auto first = static_cast<int>(jpeg2000_files::Behind(*file, 0xFF93));
  const auto last = static_cast<int>(file->size()) - 1;
  for (int i = Number(1, 4, random); i > 0 && first < last; --i) {
    (*file)[size_t(Number(first, last, random))] = static_cast<uint8_t>((*random)());
  }
}

void ExpectSameEverywhere(const Bytes& file, DecodeOptions options, Random* random) {
  const Picture expected = FromComponents(file, options);
  options.threads = 1;
  const Result one = DecodePicture(file, options);
  ASSERT_TRUE(one.status.ok()) << one.status.text();
  EXPECT_TRUE(pictures::Same(expected, one.picture));
  const Region region = jpeg2000_random::RandomRegion(expected.width(), expected.height(), random);
  for (const int threads : ThreadCounts()) {
    SCOPED_TRACE(std::to_string(threads) + " threads");
    options.threads = threads;
    options.region = {};
    const Result many = DecodePicture(file, options);
    EXPECT_TRUE(pictures::Same(expected, many.picture));
    EXPECT_EQ(one.messages, many.messages);
    const Result rows = DecodeRows(file, options, expected.width(), expected.height());
    EXPECT_TRUE(pictures::Same(expected, rows.picture));
    EXPECT_EQ(one.messages, rows.messages);
    options.region = WantedRegion(region, {});
    EXPECT_TRUE(
        pictures::Same(parts::PartOf(expected, region), DecodePicture(file, options).picture));
    const Result part = DecodeRows(file, options, region.width, region.height);
    EXPECT_TRUE(pictures::Same(parts::PartOf(expected, region), part.picture));
  }
}

TEST(Jpeg2000Threads, DecodeTheSame) {
  Random random(1);
  for (int i = 0; i < (kIsSample ? 6 : 30); ++i) {
    SCOPED_TRACE(i);
    jpeg2000_random::RandomFile made = jpeg2000_random::MakeRandomFile(&random);
    const auto& shape = made.shape;
    DecodeOptions options;
    options.reduce = Number(0, std::min(2, made.encode.levels), &random);
    options.layers = Number(0, 2, &random);
    if (std::min(shape.width, shape.height) < 12) options.reduce = 0;
    Bytes& file = made.bytes;
    ExpectSameEverywhere(file, options, &random);
    Damage(&random, &file);
    if (jpeg2000_files::Decode(file, options).status.ok()) {
      ExpectSameEverywhere(file, options, &random);
    }
  }
}

// A palette, and colours that are converted.
TEST(Jpeg2000Threads, ColorsAreTheSame) {
  Random random(2);
  for (const jpeg2000::ColorSpace color :
       {jpeg2000::ColorSpace::kYcc, jpeg2000::ColorSpace::kLab, jpeg2000::ColorSpace::kCmy}) {
    for (const int sampling : {1, 2}) {
      jpeg2000::Image image = MakePicture({150, 130, 3, 8, false, 0, 0, sampling, sampling});
      image.color = color;
      EncodeOptions encode;
      encode.tile_width = encode.tile_height = 32;
      ExpectSameEverywhere(Encode(image, encode), {}, &random);
    }
  }
}

// Opacity is none of the three.
TEST(Jpeg2000Threads, LabHasThreeColors) {
  jpeg2000::Image image = MakePicture({20, 20, 3, 8});
  image.color = jpeg2000::ColorSpace::kLab;
  image.alpha = 2;
  const Result result = DecodePicture(Encode(image, {}), {});
  EXPECT_EQ(result.status.text(), "a picture in CIELab with fewer than three components");
}

TEST(Jpeg2000Threads, EncodeTheSame) {
  for (const PixelLayout layout : {PixelLayout::kGrey, PixelLayout::kRgb, PixelLayout::kRgba}) {
    if (kIsSample && layout != PixelLayout::kRgba) continue;
    const Picture picture = pictures::Detailed(330, 300, layout);
    jpeg2000::Image image;
    ASSERT_TRUE(jpeg2000::FromPicture(picture, &image).ok());
    for (const int tile : {0, 96}) {
      for (const size_t layer : {size_t{0}, size_t{9000}}) {
        EncodeOptions options;
        options.tile_width = options.tile_height = tile;
        options.layer_bytes = {layer};
        options.reversible = layer == 0;
        options.threads = 1;
        const Bytes expected = Encode(image, options);
        for (const int threads : ThreadCounts()) {
          SCOPED_TRACE(std::to_string(threads) + " threads");
          options.threads = threads;
          EXPECT_EQ(expected, Encode(image, options));
          parts::OwnRows rows(picture);
          ByteBuffer file;
          ASSERT_TRUE(jpeg2000::EncodePicture(&rows, options, nullptr, &file).ok());
          EXPECT_EQ(expected, pictures::ToBytes(file));
          EXPECT_EQ(rows.largest(), tile == 0 || layer > 0 ? 300 : tile);
        }
      }
    }
  }
}

// The length of the last box is open if bytes left before it was known.
TEST(Jpeg2000Threads, FilesGoToASink) {
  const Picture picture = pictures::Detailed(350, 250, PixelLayout::kRgb);
  for (const int tile : {0, 96}) {
    for (const bool is_jp2 : {false, true}) {
      EncodeOptions options;
      options.is_jp2 = is_jp2;
      options.tile_width = options.tile_height = tile;
      parts::OwnRows rows(picture), rows_again(picture);
      ByteBuffer whole, rest;
      parts::Bytes sink;
      ASSERT_TRUE(jpeg2000::EncodePicture(&rows, options, nullptr, &whole).ok());
      ASSERT_TRUE(jpeg2000::EncodePicture(&rows_again, options, &sink, &rest).ok());
      EXPECT_EQ(sink.taken.empty(), tile == 0);
      Bytes expected = pictures::ToBytes(whole);
      if (is_jp2 && tile > 0) {
        const char name[] = {'j', 'p', '2', 'c'};
        const auto box = std::search(expected.begin(), expected.end(), name, name + 4);
        std::fill_n(box - 4, 4, uint8_t{0});
      }
      sink.Take(rest);
      EXPECT_EQ(expected, sink.taken);
      DecodeOptions decode;
      EXPECT_TRUE(pictures::Same(picture, DecodePicture(sink.taken, decode).picture));
    }
  }
}

TEST(Jpeg2000Threads, CanBeStopped) {
  const Picture picture = pictures::Detailed(400, 300, PixelLayout::kRgb);
  jpeg2000::Image image;
  ASSERT_TRUE(jpeg2000::FromPicture(picture, &image).ok());
  for (const int tile : {0, 64}) {
    EncodeOptions options;
    options.tile_width = options.tile_height = tile;
    const Bytes file = Encode(image, options);
    for (const int threads : {1, 3}) {
      for (const double end : {0.0, 0.4, 0.9}) {
        Progress decoding([=](double done) { return done > end; });
        DecodeOptions decode;
        decode.threads = threads;
        decode.progress = &decoding;
        EXPECT_EQ(DecodePicture(file, decode).status.kind(), Status::Kind::kCancelled);
        Progress encoding([=](double done) { return done > end; });
        options.threads = threads;
        options.progress = &encoding;
        ByteBuffer bytes;
        EXPECT_EQ(jpeg2000::Encode(image, options, &bytes).kind(), Status::Kind::kCancelled);
      }
      options.progress = nullptr;
      parts::Collector rows(0);
      DecodeOptions decode;
      decode.threads = threads;
      decode.rows = &rows;
      EXPECT_EQ(DecodePicture(file, decode).status.kind(), Status::Kind::kCancelled);
    }
  }
}

TEST(Jpeg2000Threads, RefusedThreads) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP();
  const Picture picture = pictures::Detailed(300, 200, PixelLayout::kRgb);
  jpeg2000::Image image;
  ASSERT_TRUE(jpeg2000::FromPicture(picture, &image).ok());
  for (const int tile : {0, 32}) {
    EncodeOptions options;
    options.tile_width = options.tile_height = tile;
    options.threads = 1;
    const Bytes expected = Encode(image, options);
    for (const int allowed : {0, 1, 3}) {
      const refused_threads::After after(allowed);
      options.threads = 8;
      EXPECT_EQ(expected, Encode(image, options));
      DecodeOptions decode;
      decode.threads = 8;
      EXPECT_TRUE(pictures::Same(picture, DecodePicture(expected, decode).picture));
    }
  }
}

TEST(Jpeg2000Threads, OneStartsNone) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP();
  const Bytes file = Encode(MakePicture({200, 200, 3, 8}), {});
  const refused_threads::After after(100);
  EncodeOptions encode;
  encode.threads = 1;
  Encode(MakePicture({200, 200, 3, 8}), encode);
  DecodeOptions decode;
  decode.threads = 1;
  EXPECT_TRUE(DecodePicture(file, decode).status.ok());
  EXPECT_EQ(refused_threads::Started(), 0);
}

}  // namespace
