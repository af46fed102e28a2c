// SPDX-License-Identifier: MIT
#include "jpeg/intervals.h"

#include <string>
#include <utility>

#include "jpeg/marker_scan.h"
#include "jpeg/markers.h"

namespace jpeg {
namespace {

class IntervalFinder {
 public:
  IntervalFinder(const uint8_t* data, size_t size, size_t begin, size_t count, Messages* messages)
      : data_(data), size_(size), messages_(messages) {
    result_.starts.assign(count, Intervals::kLost);
    result_.starts[0] = begin;
    result_.end = size;
  }

  Intervals Find() {
    size_t at = FindMarkerInData(data_, size_, result_.starts[0]);
    for (; at < size_; at = FindMarkerInData(data_, size_, at + 2)) {
      const int marker = data_[at + 1];
      if (IsRestart(marker)) {
        TakeRestart(at, marker - kRst0);
      } else if (!InTheMiddle(at)) {
        result_.end = at;
        break;
      } else {
        messages_->Add(at, "a marker in the middle of the scan, skipped");
      }
    }
    return std::move(result_);
  }

 private:
  // The number of the next restart marker, or negative if another marker or none follows.
  int NextRestart(size_t from) const {
    const size_t at = FindMarkerInData(data_, size_, from);
    if (at == size_ || !IsRestart(data_[at + 1])) return -1;
    return data_[at + 1] - kRst0;
  }

  bool InTheMiddle(size_t at) const {
    return last_ + 1 < result_.starts.size() && NextRestart(at + 2) >= 0;
  }

  void TakeRestart(size_t at, int number) {
    const int expected = static_cast<int>(last_ & 7);
    const size_t missing = static_cast<size_t>((number - expected) & 7);
    const size_t index = last_ + 1 + missing;
    const bool is_damage = missing > 0 && NextRestart(at + 2) == expected;
    if (is_damage || index >= result_.starts.size()) {
      messages_->Add(at, "restart marker " + std::to_string(number) + " out of place, skipped");
      return;
    }
    if (missing > 0) {
      messages_->Add(at, "restart marker " + std::to_string(number) + " instead of " +
                             std::to_string(expected) + ": " + std::to_string(missing) +
                             " intervals are missing");
    }
    last_ = index;
    result_.starts[index] = at + 2;
  }

  const uint8_t* data_;
  size_t size_;
  Messages* messages_;
  size_t last_ = 0;  // the interval that was found last
  Intervals result_;
};

}  // namespace

Intervals FindIntervals(const uint8_t* data, size_t size, size_t begin, size_t count,
                        Messages* messages) {
  return IntervalFinder(data, size, begin, count, messages).Find();
}

}  // namespace jpeg
