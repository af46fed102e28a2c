// SPDX-License-Identifier: MIT
// What the JPEG decoders say that they need is what they take, and not much more.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "codecs/jpeg/lossless/codec.h"
#include "harness/random.h"
#include "tests/codecs/jpeg/jpeg_files.h"
#include "tests/codecs/support/counted_memory.h"
#include "tests/codecs/support/pictures.h"

namespace jpeg = zepcodec::jpeg;
namespace ljpeg = zepcodec::jpeg::lossless;

namespace {

using counted_memory::PeakOf;
using jpeg_files::Bytes;
using zepcodec::PixelLayout;

class Discard : public zepcodec::RowSink {
 public:
  zepcodec::Status Take(const zepcodec::Picture&, int) override { return {}; }
};

class DiscardBytes : public zepcodec::ByteSink {
 public:
  zepcodec::Status Write(const uint8_t*, size_t) override { return {}; }
};

// Copies of the rows of a picture, as a callback makes them.
class CopiedRows : public zepcodec::RowSource {
 public:
  explicit CopiedRows(const zepcodec::Picture& picture) : picture_(picture) {
    (void)form_.BorrowLike(picture, nullptr, picture.width(), picture.height());
  }
  const zepcodec::Picture& form() const override { return form_; }

 protected:
  zepcodec::Status Read(int y, int count, zepcodec::Picture* rows) override {
    if (!rows->ResizeLike(picture_, picture_.width(), count)) return zepcodec::Status::NoMemory();
    std::copy_n(picture_.Row(y), rows->SizeInBytes(), rows->Row(0));
    return {};
  }

 private:
  const zepcodec::Picture& picture_;
  zepcodec::Picture form_;
};

void ExpectNeed(const Bytes& file, int scale) {
  jpeg::DecodeOptions options;
  options.scale = scale;
  jpeg::FileInfo info;
  ASSERT_TRUE(jpeg::ReadFileInfo(file.data(), file.size(), &info).ok());
  const int64_t need = jpeg::MemoryNeed(info, options);
  const int64_t taken = PeakOf([&] {
    jpeg::FileInfo again;
    zepcodec::Picture image;
    const zepcodec::Status status = jpeg::Decode(file.data(), file.size(), options, &image, &again);
    EXPECT_TRUE(status.ok()) << status.text();
  });
  EXPECT_LE(taken, need);
  // A marker for each MCU is counted for the worst case.
  if (info.restart_interval != 1) {
    EXPECT_GE(taken, need * 6 / 10 - 100000) << need;
  }
}

// A region and rows on one and several threads: never more than the need.
TEST(JpegMemory, RegionsRowsAndThreadsTakeNoMoreThanTheirNeed) {
  harness::Random random(harness::Seed());
  const zepcodec::Picture image = pictures::Detailed(1501, 1203, PixelLayout::kRgb);
  for (const bool progressive : {false, true}) {
    jpeg::EncodeOptions encode;
    encode.progressive = progressive;
    const Bytes file = jpeg_files::Encode(image, encode);
    for (const zepcodec::Region& region :
         {zepcodec::Region{0, 0, 1501, 1203}, zepcodec::Region{700, 500, 90, 200}}) {
      for (const bool gives_rows : {false, true}) {
        for (const int threads : harness::AllOrOne({1, 2, 5}, random)) {
          SCOPED_TRACE(testing::Message() << progressive << region.width << gives_rows << threads);
          Discard rows;
          jpeg::DecodeOptions options;
          options.region = {region, zepcodec::Turn()};
          options.rows = gives_rows ? &rows : nullptr;
          options.threads = threads;
          jpeg::FileInfo info;
          ASSERT_TRUE(jpeg::ReadFileInfo(file.data(), file.size(), &info).ok());
          const int64_t need = jpeg::MemoryNeed(info, options);
          const int64_t taken = PeakOf([&] {
            jpeg::FileInfo again;
            zepcodec::Picture part;
            EXPECT_TRUE(jpeg::Decode(file.data(), file.size(), options, &part, &again).ok());
          });
          EXPECT_LE(taken, need);
          if (threads == 1) {
            EXPECT_GE(taken, need / 2 - 100000);
          }
        }
      }
    }
  }
}

TEST(JpegMemory, NeedIsWhatIsTaken) {
  harness::Random random(harness::Seed());
  for (const PixelLayout layout : {PixelLayout::kGrey, PixelLayout::kRgb, PixelLayout::kCmyk}) {
    const zepcodec::Picture image = pictures::Smooth(401, 301, layout);
    for (const jpeg::Sampling sampling : {jpeg::Sampling::k444, jpeg::Sampling::k420}) {
      for (const bool progressive : {false, true}) {
        for (const int restart_interval : harness::AllOrOne({0, 1, 40}, random)) {
          jpeg::EncodeOptions options;
          options.sampling = sampling;
          options.progressive = progressive;
          options.restart_interval = restart_interval;
          ASSERT_TRUE(jpeg::AddExif(Bytes(60000), &options.metadata));
          const Bytes file = jpeg_files::Encode(image, options);
          SCOPED_TRACE(testing::Message() << static_cast<int>(layout) << " " << progressive << " "
                                          << restart_interval);
          for (const int scale : {1, 8}) ExpectNeed(file, scale);
        }
      }
    }
  }
}

TEST(JpegMemory, SeveralScansAndDeepSamples) {
  jpeg::EncodeOptions options;
  ASSERT_TRUE(jpeg::ParseScript("0; 1; 2;", &options.script).ok());
  ExpectNeed(jpeg_files::Encode(pictures::Smooth(601, 433, PixelLayout::kRgb), options), 1);
  zepcodec::Picture deep;
  ASSERT_TRUE(deep.Resize(401, 233, zepcodec::PixelLayout::kRgb, 12));
  for (size_t i = 0; i < deep.SampleCount(); ++i) deep.Set(i, static_cast<int>(i * 7 & 4095));
  zepcodec::ByteBuffer file;
  ASSERT_TRUE(jpeg::Encode(deep, {}, &file).ok());
  ExpectNeed(pictures::ToBytes(file), 1);
}

zepcodec::Picture Steps(int width, int height, int bits) {
  zepcodec::Picture picture;
  EXPECT_TRUE(picture.Resize(width, height, PixelLayout::kRgb, bits));
  for (size_t i = 0; i < picture.SampleCount(); ++i) picture.Set(i, static_cast<int>(i * 7 & 255));
  return picture;
}

// Decodes, and returns the most memory.
int64_t PeakOfLossless(const Bytes& file, const ljpeg::DecodeOptions& options) {
  return PeakOf([&] {
    ljpeg::FileInfo info;
    zepcodec::Picture back;
    EXPECT_TRUE(ljpeg::Decode(file.data(), file.size(), options, &back, &info).ok());
  });
}

TEST(JpegMemory, Lossless) {
  for (const int bits : {8, 16}) {
    for (const int restart_rows : {0, 1}) {
      const zepcodec::Picture picture = Steps(701, 433, bits);
      ljpeg::EncodeOptions options;
      options.restart_rows = restart_rows;
      ASSERT_TRUE(jpeg::AddExif(Bytes(60000), &options.metadata));
      zepcodec::ByteBuffer file;
      ASSERT_TRUE(ljpeg::Encode(picture, options, &file).ok());
      ljpeg::FileInfo info;
      ASSERT_TRUE(ljpeg::ReadFileInfo(file.data(), file.size(), &info).ok());
      for (const int threads : {1, 3}) {
        ljpeg::DecodeOptions decode;
        decode.threads = threads;
        decode.part_bytes = 20000;
        const int64_t need = ljpeg::MemoryNeed(info, decode);
        const int64_t taken = PeakOfLossless(pictures::ToBytes(file), decode);
        EXPECT_LE(taken, need);
        if (threads == 1) {
          EXPECT_GE(taken, need * 6 / 10);
        }
      }
    }
  }
}

// Rows take no more than their need. A picture four times as high takes no more on one thread; the
// list of intervals may grow.
TEST(JpegMemory, LosslessByRows) {
  for (const int restart_rows : {0, 1, 7}) {
    for (const int threads : {1, 2, 4}) {
      SCOPED_TRACE(testing::Message() << restart_rows << " " << threads);
      int64_t decoding[2] = {};
      int64_t encoding[2] = {};
      for (const int times : {1, 4}) {
        const zepcodec::Picture picture = Steps(301, 1000 * times, 16);
        ljpeg::EncodeOptions encode;
        encode.predictor = 4;
        encode.restart_rows = restart_rows;
        encode.tables = ljpeg::Tables::kFixed;
        encode.threads = threads;
        DiscardBytes sink;
        encode.sink = &sink;
        encoding[times / 4] = PeakOf([&] {
          CopiedRows rows(picture);
          zepcodec::ByteBuffer rest;
          EXPECT_TRUE(ljpeg::Encode(&rows, encode, &rest).ok());
        });
        encode.sink = nullptr;
        zepcodec::ByteBuffer made;
        ASSERT_TRUE(ljpeg::Encode(picture, encode, &made).ok());
        const Bytes file = pictures::ToBytes(made);
        Discard rows;
        ljpeg::DecodeOptions decode;
        decode.rows = &rows;
        decode.threads = threads;
        decode.part_bytes = 4000;
        ljpeg::FileInfo info;
        ASSERT_TRUE(ljpeg::ReadFileInfo(file.data(), file.size(), &info).ok());
        decoding[times / 4] = PeakOfLossless(file, decode);
        EXPECT_LE(decoding[times / 4], ljpeg::MemoryNeed(info, decode));
        EXPECT_LT(decoding[times / 4], 400000 * threads + 400000);
        EXPECT_LT(encoding[times / 4], 3500000 * threads);
      }
      if (threads > 1) continue;
      const int64_t lists = restart_rows > 0 ? 3000 / restart_rows * 96 : 0;
      EXPECT_LE(decoding[1], decoding[0] + lists + 4096);
      EXPECT_LE(encoding[1], encoding[0] + 4096);
    }
  }
}

}  // namespace
