// SPDX-License-Identifier: MIT
#include "codecs/support/row_source.h"

#include <algorithm>

namespace zepcodec {

Status RowSource::Next(int count, Picture* rows, int* y) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!failure_.ok()) return failure_;
  count = std::min(count, form().height() - next_);
  *y = next_;
  if (count == 0) {
    *rows = Picture();
    return Status();
  }
  next_ += count;
  failure_ = Read(*y, count, rows);
  return failure_;
}

Status RowSource::All(Picture* picture) {
  int y = 0;
  Status status = Next(form().height(), picture, &y);
  if (status.ok()) picture->metadata() = form().metadata();
  return status;
}

PictureRows::PictureRows(const Picture& picture) : picture_(picture) {
  // It has the picture's size, so that there is room for it.
  (void)form_.BorrowLike(picture, nullptr, picture.width(), picture.height());
  form_.metadata() = picture.metadata();
}

Status PictureRows::Read(int y, int count, Picture* rows) {
  const bool has_room = rows->BorrowLike(picture_, picture_.Row(y), picture_.width(), count);
  return has_room ? Status() : Status::NoMemory();
}

}  // namespace zepcodec
