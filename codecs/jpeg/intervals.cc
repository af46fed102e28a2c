// SPDX-License-Identifier: MIT
// Restart markers are numbered modulo 8, so they say where an interval belongs as long as fewer
// than eight in a row are lost. A wrong bit in a number must not be taken for lost intervals:
// everything after it would move.
//
// Markers are matched with intervals as two strings are matched by edit distance, over a window of
// a few markers from the first one that does not fit:
//
//   the expected marker      0        a marker with one wrong bit, in its place   1
//   a restart marker too many 2       a marker with more wrong bits, in its place 3
//   another marker too many  1        an interval that is missing                 2
//
// Intervals missing in a row are one loss, however many they are.
#include "codecs/jpeg/intervals.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string>
#include <utility>

#include "codecs/jpeg/markers/marker_walk.h"
#include "codecs/jpeg/markers/markers.h"

namespace zepcodec::jpeg {
namespace {

// The markers within and after the data of a scan.
struct MarkerList {
  std::vector<size_t> offsets;
  size_t end = 0;           // of the scan
  bool has_marker = false;  // the scan ends at a marker, not with the file
};

class MarkerCollector {
 public:
  MarkerCollector(const uint8_t* data, size_t size, size_t interval_count)
      : data_(data), size_(size), interval_count_(interval_count) {}

  MarkerList Collect(size_t begin) {
    // More would not help: a whole scan has one marker fewer than intervals.
    const size_t most = 2 * interval_count_ + 64;
    size_t at = FindMarkerInData(data_, size_, begin);
    while (at < size_ && !EndsScan(at)) {
      restart_count_ += IsRestart(data_[at + 1]) ? 1 : 0;
      if (list_.offsets.size() < most) list_.offsets.push_back(at);
      at = FindMarkerInData(data_, size_, at + 2);
    }
    list_.end = at;
    list_.has_marker = at < size_;
    return std::move(list_);
  }

 private:
  // The marker after the one at an offset, or 0.
  int NextMarker(size_t at) const {
    const size_t next = FindMarkerInData(data_, size_, at + 2);
    return next < size_ ? data_[next + 1] : 0;
  }

  bool EndsScan(size_t at) const {
    const int marker = data_[at + 1];
    if (marker != kEoi) return HasSegment(marker) && marker >= kSof0 && HasSoundSegment(at);
    // It may be a restart marker with a wrong bit.
    const size_t found = restart_count_ + 1;
    if (found >= interval_count_) return true;
    const int next = NextMarker(at);
    if (found + 1 < interval_count_) return !IsRestart(next);
    return next == 0 || next == kSoi;
  }

  // Whether the segment of a marker ends at another marker, or is as long as a scan header must be.
  bool HasSoundSegment(size_t at) const {
    ByteReader rest = ByteReader(data_, size_).At(at + 2);
    const auto length = static_cast<size_t>(rest.Word());
    if (rest.failed() || length < 2 || length - 2 > rest.left()) return false;
    if (data_[at + 1] == kSos) {
      const int components = rest.Byte();
      return components >= 1 && components <= 4 &&
             length == static_cast<size_t>(6 + 2 * components);
    }
    rest.Skip(length - 2);
    return rest.Byte() == 0xFF && rest.Byte() >= kTem;
  }

  const uint8_t* data_;
  size_t size_;
  size_t interval_count_;
  size_t restart_count_ = 0;
  MarkerList list_;
};

class IntervalMatcher {
 public:
  IntervalMatcher(const uint8_t* data, size_t begin, size_t count, MarkerList markers,
                  Messages* messages)
      : data_(data), count_(count), markers_(std::move(markers)), messages_(messages) {
    result_.found.push_back({0, begin});
    result_.count = count;
    result_.end = markers_.end;
  }

  Intervals Match() {
    while (next_ < markers_.offsets.size()) {
      if (index_ == count_) {
        Skip();
      } else if (Marker(next_) == ExpectedAt(index_)) {
        Take();
      } else {
        Repair();
      }
    }
    return std::move(result_);
  }

 private:
  static constexpr size_t kWindow = 8;
  static constexpr size_t kNumbers = 8;  // of restart markers
  static constexpr int kMissing = 2;

  // costs[a][b]: from marker next_ + a and interval index_ + b on.
  using Costs = std::array<std::array<int, kWindow + kNumbers>, kWindow + 1>;

  int Marker(size_t number) const { return data_[markers_.offsets[number] + 1]; }
  static int ExpectedAt(size_t index) { return kRst0 + static_cast<int>((index - 1) % kNumbers); }

  int CostToTake(size_t number, size_t index) const {
    const int wrong = Marker(number) ^ ExpectedAt(index);
    if (wrong == 0) return 0;
    return (wrong & (wrong - 1)) == 0 ? 1 : 3;
  }
  int CostToSkip(size_t number) const { return IsRestart(Marker(number)) ? 2 : 1; }

  void FillCosts(size_t markers, size_t intervals, Costs* costs) const {
    const size_t last = std::min(intervals, markers + kNumbers - 1);
    const bool sees_end = markers_.has_marker && next_ + markers == markers_.offsets.size();
    for (size_t b = 0; b <= last; ++b) {
      (*costs)[markers][b] = sees_end ? kMissing * static_cast<int>(last - b) : 0;
    }
    for (size_t a = markers; a-- > 0;) {
      for (size_t b = last + 1; b-- > 0;) {
        int cost = (*costs)[a + 1][b] + CostToSkip(next_ + a);
        if (b < last) {
          cost = std::min({cost, (*costs)[a][b + 1] + kMissing,
                           (*costs)[a + 1][b + 1] + CostToTake(next_ + a, index_ + b)});
        }
        (*costs)[a][b] = cost;
      }
    }
  }

  // The next marker is not the expected one: accepts it, skips it, or goes on to its interval.
  void Repair() {
    const size_t markers = std::min(kWindow, markers_.offsets.size() - next_);
    const size_t intervals = count_ - index_;
    Costs costs;
    FillCosts(markers, intervals, &costs);
    const int take = costs[1][1] + CostToTake(next_, index_);
    const int skip = costs[1][0] + CostToSkip(next_);
    const int ahead = Marker(next_) - ExpectedAt(index_);
    const auto missing = static_cast<size_t>(ahead) % kNumbers;
    const bool may_miss = IsRestart(Marker(next_)) && missing < intervals;
    const int miss = may_miss ? costs[0][missing] + kMissing - (CountsAgree(missing) ? 1 : 0)
                              : std::numeric_limits<int>::max();
    if (miss < std::min(take, skip)) {
      Miss(missing);
    } else if (take <= skip) {
      messages_->AddAt(Offset(), "marker " + MarkerName(Marker(next_)) + " instead of " +
                                     MarkerName(ExpectedAt(index_)) + ", read as that");
      Take();
    } else {
      Skip();
    }
  }

  size_t Offset() const { return markers_.offsets[next_]; }

  void Take() { result_.found.push_back({index_++, markers_.offsets[next_++] + 2}); }

  void Skip() {
    const int marker = Marker(next_);
    messages_->AddAt(Offset(), IsRestart(marker)
                                   ? "restart marker " + std::to_string(marker - kRst0) +
                                         " out of place, skipped"
                                   : "a marker in the middle of the scan, skipped");
    ++next_;
  }

  // True if the scan's remaining intervals, less `missing`, equal its remaining markers or exceed
  // them by a multiple of eight.
  bool CountsAgree(size_t missing) const {
    const size_t markers = markers_.offsets.size() - next_;
    const size_t intervals = count_ - index_ - missing;
    return markers_.has_marker && intervals >= markers && (intervals - markers) % kNumbers == 0;
  }

  // Marker numbers repeat after eight, so they give the missing intervals modulo eight.
  void Miss(size_t missing) {
    if (CountsAgree(missing)) missing = count_ - index_ - (markers_.offsets.size() - next_);
    messages_->AddAt(Offset(), "restart marker " + std::to_string(Marker(next_) - kRst0) +
                                   " instead of " + std::to_string(ExpectedAt(index_) - kRst0) +
                                   ": " + std::to_string(missing) + " before it are missing");
    index_ += missing;
  }

  const uint8_t* data_;
  size_t count_;
  MarkerList markers_;
  Messages* messages_;
  size_t next_ = 0;   // marker
  size_t index_ = 1;  // of the interval that it should begin
  Intervals result_;
};

}  // namespace

Intervals FindIntervals(const uint8_t* data, size_t size, size_t begin, int64_t mcu_count,
                        int restart_interval, Messages* messages) {
  const size_t count = IntervalCount(mcu_count, restart_interval);
  const auto faults = messages->count();
  MarkerList markers = MarkerCollector(data, size, count).Collect(begin);
  Intervals intervals = IntervalMatcher(data, begin, count, std::move(markers), messages).Match();
  intervals.is_sound = messages->count() == faults && intervals.found.size() == count;
  return intervals;
}

}  // namespace zepcodec::jpeg
