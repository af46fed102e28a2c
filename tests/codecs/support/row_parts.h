// SPDX-License-Identifier: MIT
// Rows on their way into encoders and out of decoders, for tests.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_ROW_PARTS_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_ROW_PARTS_H_

#include <gtest/gtest.h>

#include <cstring>

#include "codecs/support/region.h"
#include "codecs/support/row_sink.h"
#include "codecs/support/row_source.h"

namespace row_parts {

// Puts the rows of a decoder together again.
class Collector : public zepcodec::RowSink {
 public:
  Collector(int width, int height) : width_(width), height_(height) {}

  zepcodec::Status Take(const zepcodec::Picture& rows, int y) override {
    if (stops_at_ >= 0 && y >= stops_at_) return zepcodec::Status::WriteFailed();
    EXPECT_EQ(y, next_);
    EXPECT_EQ(rows.width(), width_);
    EXPECT_GT(rows.height(), 0);
    if (next_ == 0 && !picture_.ResizeLike(rows, width_, height_)) {
      return zepcodec::Status::NoMemory();
    }
    if (y != next_ || rows.width() != width_ || y + rows.height() > height_) {
      return zepcodec::Status::Error("rows that do not follow");
    }
    std::memcpy(picture_.Row(y), rows.Row(0), rows.SizeInBytes());
    next_ += rows.height();
    return zepcodec::Status();
  }
  // Take() fails from this row on.
  void StopAt(int y) { stops_at_ = y; }

  bool is_complete() const { return next_ == height_; }
  int row_count() const { return next_; }
  const zepcodec::Picture& picture() const { return picture_; }

 private:
  int width_;
  int height_;
  int next_ = 0;
  int stops_at_ = -1;
  zepcodec::Picture picture_;
};

// Copies of a picture's rows: what lies beyond the rows of a band is not the picture's.
class CopiedRows : public zepcodec::RowSource {
 public:
  explicit CopiedRows(const zepcodec::Picture& picture) : picture_(picture) {
    EXPECT_TRUE(form_.BorrowLike(picture, nullptr, picture.width(), picture.height()));
    form_.metadata() = picture.metadata();
  }
  const zepcodec::Picture& form() const override { return form_; }
  // Read() fails from this row on.
  void StopAt(int y) { stops_at_ = y; }

 protected:
  zepcodec::Status Read(int y, int count, zepcodec::Picture* rows) override {
    if (stops_at_ >= 0 && y + count > stops_at_) return zepcodec::Status::Error("no more rows");
    if (!rows->ResizeLike(form_, form_.width(), count)) return zepcodec::Status::NoMemory();
    std::memcpy(rows->Row(0), picture_.Row(y), rows->SizeInBytes());
    return zepcodec::Status();
  }

 private:
  const zepcodec::Picture& picture_;
  zepcodec::Picture form_;
  int stops_at_ = -1;
};

}  // namespace row_parts

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_ROW_PARTS_H_
