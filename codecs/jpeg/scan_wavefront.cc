// SPDX-License-Identifier: MIT
#include "codecs/jpeg/scan_wavefront.h"

#include <algorithm>
#include <climits>
#include <new>
#include <utility>

#include "codecs/support/parallel.h"

namespace zepcodec::jpeg {
namespace {

// The blocks of a component that an MCU of a scan spans from top to bottom; 0: it has none of them.
int BlocksDown(const Scan& scan, const ScanWalk& walk, int component) {
  for (size_t i = 0; i < scan.components.size(); ++i) {
    if (scan.components[i].index == component) return walk.parts[i].down;
  }
  return 0;
}

bool HasDc(const Scan& scan) { return scan.first == 0; }
bool HasAc(const Scan& scan) { return scan.last > 0; }

bool ShareComponent(const Scan& a, const Scan& b) {
  return std::any_of(a.components.begin(), a.components.end(), [&](const ScanComponent& one) {
    return std::any_of(b.components.begin(), b.components.end(),
                       [&](const ScanComponent& other) { return one.index == other.index; });
  });
}

// Whether the later of two scans needs the coefficients of the earlier one.
bool Depends(const Scan& later, const Scan& earlier) {
  const bool is_related = (HasDc(later) && HasDc(earlier)) || (HasAc(later) && HasAc(earlier));
  return is_related && ShareComponent(later, earlier);
}

}  // namespace

class ScanWavefront::Gate : public RowGate {
 public:
  Gate(ScanWavefront* wavefront, size_t index)
      : wavefront_(*wavefront),
        index_(index),
        scan_(*wavefront->order_[index]),
        rows_at_once_(std::clamp(scan_.walk.mcu_rows / kParts, kFewestRows, kMostRows)) {}

  bool Enter(int row) override {
    if (row < free_rows_) return true;
    const int end = std::min(row + rows_at_once_, scan_.walk.mcu_rows);
    std::unique_lock<std::mutex> lock(wavefront_.mutex_);
    if (!wavefront_.IsFree(index_, row)) {
      ++wavefront_.waiting_;
      wavefront_.has_changed_.wait(
          lock, [&] { return !wavefront_.is_sound_ || wavefront_.IsFree(index_, end - 1); });
      --wavefront_.waiting_;
    }
    if (!wavefront_.is_sound_) return false;
    free_rows_ = row + 1;
    while (free_rows_ < end && wavefront_.IsFree(index_, free_rows_)) ++free_rows_;
    return true;
  }

  void Leave(int rows) override {
    if (rows < told_ + rows_at_once_) return;
    const std::lock_guard<std::mutex> lock(wavefront_.mutex_);
    scan_.rows_done = told_ = rows;
    if (wavefront_.waiting_ > 0) wavefront_.has_changed_.notify_all();
  }

 private:
  // A thread that sleeps for each row would take longer than its scan.
  static constexpr int kParts = 32;
  static constexpr int kFewestRows = 4;
  static constexpr int kMostRows = 32;

  ScanWavefront& wavefront_;
  size_t index_;
  PlannedScan& scan_;
  const int rows_at_once_;  // for which progress is told, and asked for
  int free_rows_ = 0;
  int told_ = 0;
};

void ScanWavefront::Add(const Scan& scan, const Tables& tables, size_t begin, size_t end,
                        int restart_interval) {
  auto planned = std::make_unique<PlannedScan>(geometry_, scan, tables);
  planned->begin = begin;
  planned->end = end;
  planned->restart_interval = restart_interval;
  planned->shows_lost = TakeFirstDc(scan, coefficients_);
  scans_.push_back(std::move(planned));
}

// Sorts by the bytes of a scan and of all that depend on it, which are fewer bytes.
std::vector<ScanWavefront::PlannedScan*> ScanWavefront::InOrderOfWork() const {
  const size_t count = scans_.size();
  std::vector<std::vector<bool>> needs(count, std::vector<bool>(count));
  std::vector<std::pair<size_t, PlannedScan*>> work;
  for (size_t i = count; i-- > 0;) {
    size_t bytes = 0;
    for (size_t later = i; later < count; ++later) {
      needs[i][later] = later == i || Depends(scans_[later]->scan, scans_[i]->scan);
    }
    for (size_t middle = i + 1; middle < count; ++middle) {
      if (!needs[i][middle]) continue;
      for (size_t later = middle; later < count; ++later) {
        if (needs[middle][later]) needs[i][later] = true;
      }
    }
    for (size_t later = i; later < count; ++later) {
      const PlannedScan& scan = *scans_[later];
      if (needs[i][later]) bytes += scan.end - scan.begin + 1;
    }
    work.push_back({bytes, scans_[i].get()});
  }
  std::reverse(work.begin(), work.end());
  std::stable_sort(work.begin(), work.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  std::vector<PlannedScan*> order;
  for (const auto& [bytes, scan] : work) order.push_back(scan);
  return order;
}

// Whether the scans before have passed all blocks of a row of a scan's MCUs.
bool ScanWavefront::IsFree(size_t index, int row) const {
  const PlannedScan& scan = *order_[index];
  for (size_t i = 0; i < scan.walk.parts.size(); ++i) {
    const int component = scan.scan.components[i].index;
    const int64_t bottom = (int64_t{row} + 1) * scan.walk.parts[i].down;
    for (size_t before = 0; before < index; ++before) {
      const PlannedScan& other = *order_[before];
      const int64_t down = BlocksDown(other.scan, other.walk, component);
      if (down > 0 && other.rows_done < INT_MAX && other.rows_done * down < bottom) return false;
    }
  }
  return true;
}

void ScanWavefront::Decode(size_t index) {
  PlannedScan& scan = *order_[index];
  const ScanTask task = {
      data_,          size_, scan.begin, scan.scan, scan.walk, scan.tables, scan.restart_interval,
      scan.shows_lost};
  Messages faults;
  Gate gate(this, index);
  const ScanOutcome outcome = DecodeScan(task, coefficients_, &faults, &gate);
  const std::lock_guard<std::mutex> lock(mutex_);
  idle_visits_ += outcome.idle_visits;
  scan.rows_done = INT_MAX;
  if (faults.count() > 0) is_sound_ = false;
  has_changed_.notify_all();
}

void ScanWavefront::Fail() {
  const std::lock_guard<std::mutex> lock(mutex_);
  is_sound_ = false;
  has_changed_.notify_all();
}

Status ScanWavefront::Run(ThreadPool* pool, Progress* progress, bool* is_sound) {
  order_ = InOrderOfWork();
  const Status status = RunParallel(
      pool, scans_.size(),
      [&] {
        return [&](size_t index) {
          try {
            Decode(index);
          } catch (const std::bad_alloc&) {
            Fail();  // the other threads must not wait for this scan
            throw;
          }
        };
      },
      progress);
  *is_sound = is_sound_;
  coefficients_->idle_visits += idle_visits_;
  return status;
}

}  // namespace zepcodec::jpeg
