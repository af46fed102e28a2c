// SPDX-License-Identifier: MIT
// Pictures in parts: regions, and rows and bytes on their way.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_PARTS_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_PARTS_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "codecs/support/byte_sink.h"
#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/row_source.h"
#include "tests/codecs/support/pictures.h"

namespace parts {

// All of the picture, its corners, borders, single pixels, and places between.
inline std::vector<zepcodec::Region> Regions(int width, int height) {
  const int right = width - 1, bottom = height - 1;
  return {{0, 0, width, height},
          {0, 0, 1, 1},
          {right, bottom, 1, 1},
          {right, 0, 1, height},
          {0, bottom, width, 1},
          {width / 2, height / 2, 1, 1},
          {1, 2, width - 3, height - 4},
          {3, 0, 5, height},
          {0, height / 3, width, height / 3},
          {width / 3, height / 3, width / 2, height / 2},
          {width / 2, 5, width - width / 2, 9}};
}

inline zepcodec::Picture PartOf(const zepcodec::Picture& whole, const zepcodec::Region& region) {
  zepcodec::Picture part = pictures::CopyOf(whole);
  EXPECT_TRUE(zepcodec::Cut(region, &part).ok());
  return part;
}

// Joins the rows that a decoder gives.
class Collector : public zepcodec::RowSink {
 public:
  // Refuses the rows after `most` calls; negative: never.
  explicit Collector(int most = -1) : most_(most) {}

  zepcodec::Status Take(const zepcodec::Picture& rows, int y) override {
    EXPECT_EQ(y, height_);
    EXPECT_GT(rows.height(), 0);
    if (most_ >= 0 && ++calls_ > most_) return zepcodec::Status::Cancelled();
    largest_ = std::max(largest_, rows.height());
    samples_.insert(samples_.end(), rows.Row(0), rows.Row(0) + rows.SizeInBytes());
    height_ += rows.height();
    EXPECT_TRUE(joined_.BorrowLike(rows, samples_.data(), rows.width(), height_));
    return zepcodec::Status();
  }
  zepcodec::Picture Joined() const { return pictures::CopyOf(joined_); }
  int height() const { return height_; }    // of all rows so far
  int largest() const { return largest_; }  // rows in a call

 private:
  int most_;
  int calls_ = 0;
  int height_ = 0;
  int largest_ = 0;
  std::vector<uint8_t> samples_;
  zepcodec::Picture joined_;
};

// Copies rows of a picture, as from a caller's callback.
class OwnRows : public zepcodec::RowSource {
 public:
  // Has no more rows after `most` calls; negative: always.
  explicit OwnRows(const zepcodec::Picture& picture, int most = -1)
      : picture_(picture), most_(most) {
    EXPECT_TRUE(form_.BorrowLike(picture, nullptr, picture.width(), picture.height()));
    form_.metadata() = picture.metadata();
  }
  const zepcodec::Picture& form() const override { return form_; }
  int largest() const { return largest_; }  // rows in a call

 protected:
  zepcodec::Status Read(int y, int count, zepcodec::Picture* rows) override {
    if (most_ >= 0 && ++calls_ > most_) return zepcodec::Status::Cancelled();
    EXPECT_TRUE(rows->ResizeLike(picture_, picture_.width(), count));
    std::memcpy(rows->Row(0), picture_.Row(y), rows->SizeInBytes());
    largest_ = std::max(largest_, count);
    return zepcodec::Status();
  }

 private:
  const zepcodec::Picture& picture_;
  int most_;
  int calls_ = 0;
  int largest_ = 0;
  zepcodec::Picture form_;
};

// Collects the bytes that an encoder passes on.
class Bytes : public zepcodec::ByteSink {
 public:
  // Fails after `most` calls; negative: never.
  explicit Bytes(int most = -1) : most_(most) {}

  zepcodec::Status Write(const uint8_t* bytes, size_t size) override {
    if (most_ >= 0 && ++calls_ > most_) return zepcodec::Status::WriteFailed();
    taken.insert(taken.end(), bytes, bytes + size);
    return zepcodec::Status();
  }
  void Take(const zepcodec::ByteBuffer& rest) {
    taken.insert(taken.end(), rest.data(), rest.data() + rest.size());
  }

  std::vector<uint8_t> taken;

 private:
  int most_;
  int calls_ = 0;
};

}  // namespace parts

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_PARTS_H_
