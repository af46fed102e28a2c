// SPDX-License-Identifier: MIT
// Lossless JPEG on several threads, and regions: the same files, samples and messages.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>
#include <string>
#include <utility>

#include "codecs/jpeg/lossless/codec.h"
#include "codecs/support/progress.h"
#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/support/pictures.h"
#include "tests/codecs/support/refused_threads.h"

namespace ljpeg = zepcodec::jpeg::lossless;

namespace {

using pictures::Bytes;
using zepcodec::Picture;
using zepcodec::Region;
using zepcodec::Status;

constexpr bool kIsSample = ZEPJP_EXHAUSTIVE == 0;

Bytes Encode(const Picture& picture, const ljpeg::EncodeOptions& options) {
  zepcodec::ByteBuffer file;
  const Status status = ljpeg::Encode(picture, options, &file);
  EXPECT_TRUE(status.ok()) << status.text();
  return pictures::ToBytes(file);
}

struct Decoded {
  Status status;
  Picture picture;
  std::string messages;
};

Decoded Decode(const Bytes& file, const ljpeg::DecodeOptions& options) {
  Decoded result;
  ljpeg::FileInfo info;
  result.status = ljpeg::Decode(file.data(), file.size(), options, &result.picture, &info);
  for (const zepcodec::Message& message : info.messages.kept()) {
    result.messages += message.ToString() + "\n";
  }
  return result;
}

// Parts of a few kilobytes, so that small pictures have several.
ljpeg::DecodeOptions OnThreads(int threads) {
  ljpeg::DecodeOptions options;
  options.threads = threads;
  options.part_bytes = 6000;
  return options;
}

// Puts the rows together again.
class Collect : public zepcodec::RowSink {
 public:
  Status Take(const Picture& rows, int y) override {
    EXPECT_EQ(y, height_);
    height_ = y + rows.height();
    bytes_.insert(bytes_.end(), rows.Row(0), rows.Row(0) + rows.SizeInBytes());
    EXPECT_TRUE(last_.ResizeLike(rows, rows.width(), 1));
    return Status();
  }
  Picture Whole() const {
    Picture picture;
    if (height_ == 0) return picture;
    EXPECT_TRUE(picture.ResizeLike(last_, last_.width(), height_));
    EXPECT_EQ(picture.SizeInBytes(), bytes_.size());
    if (picture.SizeInBytes() == bytes_.size()) {
      std::copy(bytes_.begin(), bytes_.end(), picture.Row(0));
    }
    return picture;
  }

 private:
  Bytes bytes_;
  Picture last_;
  int height_ = 0;
};

Decoded DecodeRows(const Bytes& file, ljpeg::DecodeOptions options) {
  Collect rows;
  options.rows = &rows;
  Decoded result = Decode(file, options);
  EXPECT_EQ(result.picture.width(), 0);
  result.picture = rows.Whole();
  return result;
}

void ExpectEqual(const Decoded& expected, const Decoded& decoded) {
  EXPECT_EQ(expected.status.text(), decoded.status.text());
  EXPECT_EQ(expected.messages, decoded.messages);
  if (expected.status.ok()) {
    EXPECT_TRUE(pictures::Same(expected.picture, decoded.picture));
  }
}

ljpeg::EncodeOptions AnyOptions(std::mt19937* random, int bits) {
  ljpeg::EncodeOptions options;
  const auto below = [&](unsigned end) { return static_cast<int>((*random)() % end); };
  options.predictor = 1 + below(7);
  options.point_transform = below(4) == 0 ? below(static_cast<unsigned>(bits)) : 0;
  constexpr int kRows[] = {0, 0, 1, 5, 40};
  options.restart_rows = kRows[below(5)];
  options.tables = static_cast<ljpeg::Tables>(below(3));
  return options;
}

Picture AnyPicture(std::mt19937* random) {
  const auto below = [&](unsigned end) { return static_cast<int>((*random)() % end); };
  constexpr int kChannels[] = {1, 3, 3, 4};
  constexpr int kBits[] = {8, 8, 12, 16};
  return pictures::Noisy(1 + below(600), 1 + below(500), kChannels[below(4)], kBits[below(4)]);
}

TEST(LjpegThreads, FilesPicturesAndRegionsAreTheSame) {
  std::mt19937 random(harness::Seed());
  for (int round = 0; round < (kIsSample ? 8 : 40); ++round) {
    const Picture picture = AnyPicture(&random);
    ljpeg::EncodeOptions encode = AnyOptions(&random, picture.bits());
    SCOPED_TRACE(testing::Message() << round << ": predictor " << encode.predictor << ", rows "
                                    << encode.restart_rows);
    const Bytes file = Encode(picture, encode);
    Decoded whole = Decode(file, {});
    EXPECT_EQ(whole.messages, "");
    if (encode.point_transform == 0) {
      ASSERT_TRUE(pictures::Same(picture, whole.picture));
    }
    const auto below = [&](int end) {
      return static_cast<int>(random() % static_cast<unsigned>(end));
    };
    Region region;
    region.x = below(picture.width());
    region.y = below(picture.height());
    region.width = 1 + below(picture.width() - region.x);
    region.height = 1 + below(picture.height() - region.y);
    for (const int threads : {1, 2, 5, 16}) {
      encode.threads = threads;
      ASSERT_EQ(Encode(picture, encode), file) << threads;
      ExpectEqual(whole, Decode(file, OnThreads(threads)));
      ExpectEqual(whole, DecodeRows(file, OnThreads(threads)));
    }
    ExpectEqual(whole, DecodeRows(file, {}));
    ASSERT_TRUE(Cut(region, &whole.picture).ok());
    for (const int threads : {1, 2, 5}) {
      ljpeg::DecodeOptions options = OnThreads(threads);
      options.region = {region, zepcodec::Turn()};
      ExpectEqual(whole, Decode(file, options));
      ExpectEqual(whole, DecodeRows(file, options));
    }
  }
}

TEST(LjpegThreads, DamagedFilesAreTheSame) {
  std::mt19937 random(harness::Seed());
  for (int round = 0; round < (kIsSample ? 20 : 150); ++round) {
    const Picture picture = AnyPicture(&random);
    Bytes file = Encode(picture, AnyOptions(&random, picture.bits()));
    const size_t scan = jpeg_files::FindMarker(file, zepcodec::jpeg::kSos) + 14;
    if (scan + 20 > file.size()) continue;
    const size_t at = scan + random() % (file.size() - scan);
    switch (round % 4) {
      case 0: file[at] = static_cast<uint8_t>(file[at] ^ (1u << random() % 8)); break;
      case 1: file.resize(at); break;
      case 2:
        file = jpeg_files::Without(
            file, at, 1 + random() % std::min<size_t>(file.size() - at, round % 3 ? 9000 : 9));
        break;
      default:
        file = jpeg_files::With(file, at,
                                Bytes(1 + random() % 40, static_cast<uint8_t>(random() % 256)));
        break;
    }
    const Decoded whole = Decode(file, {});
    for (const int threads : {2, 3}) ExpectEqual(whole, Decode(file, OnThreads(threads)));
    for (const int threads : {1, 2, 3}) ExpectEqual(whole, DecodeRows(file, OnThreads(threads)));
    if (!whole.status.ok()) continue;
    Decoded part;
    ASSERT_TRUE(part.picture.ResizeLike(whole.picture, picture.width(), picture.height()));
    const Region region = {picture.width() / 3, picture.height() / 3, (picture.width() + 2) / 3,
                           (picture.height() + 2) / 3};
    std::copy_n(whole.picture.Row(0), whole.picture.SizeInBytes(), part.picture.Row(0));
    ASSERT_TRUE(Cut(region, &part.picture).ok());
    std::string messages;
    for (const int threads : {1, 2, 3}) {
      ljpeg::DecodeOptions options = OnThreads(threads);
      options.region = {region, zepcodec::Turn()};
      Decoded decoded = Decode(file, options);
      EXPECT_TRUE(pictures::Same(part.picture, decoded.picture)) << threads;
      if (threads == 1) messages = decoded.messages;
      EXPECT_EQ(decoded.messages, messages);
      ExpectEqual(decoded, DecodeRows(file, options));
    }
  }
}

// A sink that fails ends the call, also while intervals are decoded on threads.
TEST(LjpegThreads, EndWhereTheSinkFails) {
  class Failing : public zepcodec::RowSink {
   public:
    explicit Failing(int most) : most_(most) {}
    Status Take(const Picture&, int) override {
      return calls_++ < most_ ? Status() : Status::WriteFailed();
    }
    int calls() const { return calls_; }

   private:
    int most_;
    int calls_ = 0;
  };
  for (const int restart_rows : {0, 1, 30}) {
    ljpeg::EncodeOptions encode;
    encode.restart_rows = restart_rows;
    const Bytes file = Encode(pictures::Noisy(700, 600, 3, 8), encode);
    for (const int most : {0, 1, 7}) {
      for (const int threads : {1, 2, 4}) {
        Failing rows(most);
        ljpeg::DecodeOptions decode = OnThreads(threads);
        decode.rows = &rows;
        EXPECT_EQ(Decode(file, decode).status.kind(), Status::Kind::kWriteFailed);
        EXPECT_EQ(rows.calls(), most + 1);
      }
    }
  }
}

TEST(LjpegThreads, EndWhereTheCallerStopsThem) {
  const Picture picture = pictures::Noisy(700, 600, 3, 8);
  const Bytes file = Encode(picture, {});
  for (int most = 0; most < 4; ++most) {
    for (const int threads : {1, 2, 4}) {
      int calls = 0;
      const auto stops = [&](double) { return calls++ >= most; };
      zepcodec::Progress decoding(stops);
      ljpeg::DecodeOptions decode = OnThreads(threads);
      decode.progress = &decoding;
      EXPECT_EQ(Decode(file, decode).status.kind(), Status::Kind::kCancelled);
      calls = 0;
      zepcodec::Progress encoding(stops);
      ljpeg::EncodeOptions encode;
      encode.threads = threads;
      encode.progress = &encoding;
      zepcodec::ByteBuffer out;
      EXPECT_EQ(ljpeg::Encode(picture, encode, &out).kind(), Status::Kind::kCancelled);
    }
  }
}

TEST(LjpegThreads, DoWithFewerThreads) {
  if (!refused_threads::CanRefuse()) GTEST_SKIP() << "threads cannot be refused here";
  const Picture picture = pictures::Noisy(700, 600, 3, 8);
  ljpeg::EncodeOptions encode;
  const Bytes file = Encode(picture, encode);
  encode.threads = 4;
  for (int allowed = 0; allowed < 4; ++allowed) {
    {
      const refused_threads::After refuse(allowed);
      EXPECT_EQ(Encode(picture, encode), file);
    }
    const refused_threads::After refuse(allowed);
    EXPECT_TRUE(pictures::Same(Decode(file, OnThreads(4)).picture, picture));
    EXPECT_EQ(refused_threads::Started(), std::min(allowed, 3));
  }
}

}  // namespace
