// SPDX-License-Identifier: MIT
// Gives an encoder the rows of a picture, which need not be in memory all at once.
#ifndef ZEPJP_CODECS_SUPPORT_ROW_SOURCE_H_
#define ZEPJP_CODECS_SUPPORT_ROW_SOURCE_H_

#include <mutex>

#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec {

class RowSource {
 public:
  virtual ~RowSource() = default;

  // The size, layout, samples and metadata of the picture. It has no rows.
  virtual const Picture& form() const = 0;

  // The next `count` rows, or all that are left if these are fewer; `y` is the first of them. At
  // the end `rows` has the height 0. Several threads may call this, each with its own `rows`, which
  // are only to be read.
  Status Next(int count, Picture* rows, int* y);

  // All rows, with the metadata. Only before the first call of Next().
  Status All(Picture* picture);

 protected:
  // Called for rows from top to bottom, by one thread at a time.
  virtual Status Read(int y, int count, Picture* rows) = 0;

 private:
  std::mutex mutex_;
  int next_ = 0;
  Status failure_;  // after which nothing more is read
};

// The rows of a picture in memory, without a copy. The picture must outlive the rows.
class PictureRows : public RowSource {
 public:
  explicit PictureRows(const Picture& picture);
  const Picture& form() const override { return form_; }

 protected:
  Status Read(int y, int count, Picture* rows) override;

 private:
  const Picture& picture_;
  Picture form_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_ROW_SOURCE_H_
