// SPDX-License-Identifier: MIT
#include "tools/zepconvert/row_pipe.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace zepconvert {
namespace {

// Leaves the rows from `count` on.
void Skip(int count, zepcPixels* rows) {
  rows->data = static_cast<uint8_t*>(rows->data) + static_cast<size_t>(count) * rows->stride;
  rows->height -= count;
}

}  // namespace

bool RowPipe::Put(const zepcPixels& rows) {
  zepcPixels left = rows;
  std::unique_lock<std::mutex> lock(mutex_);
  while (left.height > 0) {
    changes_.wait(lock, [&] { return wanted_.height > 0 || is_closed_; });
    if (is_closed_) return false;
    zepcPixels from = left;
    zepcPixels to = wanted_;
    from.height = to.height = std::min(left.height, wanted_.height);
    zepc::Convert(from, to, opacity_);
    Skip(from.height, &left);
    Skip(from.height, &wanted_);
    if (wanted_.height == 0) changes_.notify_all();
  }
  return true;
}

void RowPipe::End() {
  const std::lock_guard<std::mutex> lock(mutex_);
  has_ended_ = true;
  changes_.notify_all();
}

bool RowPipe::Take(const zepcPixels& rows) {
  std::unique_lock<std::mutex> lock(mutex_);
  wanted_ = rows;
  changes_.notify_all();
  changes_.wait(lock, [&] { return wanted_.height == 0 || has_ended_; });
  const bool is_full = wanted_.height == 0;
  wanted_ = {};
  return is_full;
}

void RowPipe::Close() {
  const std::lock_guard<std::mutex> lock(mutex_);
  is_closed_ = true;
  changes_.notify_all();
}

}  // namespace zepconvert
