// SPDX-License-Identifier: MIT
// How far a codec is, and whether it should stop.
#ifndef ZEPJP_CODECS_SUPPORT_PROGRESS_H_
#define ZEPJP_CODECS_SUPPORT_PROGRESS_H_

#include <algorithm>
#include <atomic>
#include <functional>
#include <mutex>
#include <utility>

namespace zepcodec {

class Progress {
 public:
  // `is_stop_wanted` gets the part of the work that is done, from 0 to 1 and never falling; it is
  // called by one thread at a time.
  explicit Progress(std::function<bool(double)> is_stop_wanted)
      : is_stop_wanted_(std::move(is_stop_wanted)) {}

  // The following reports are for the part of the whole work from `begin` to `end`.
  void SetPart(double begin, double end) {
    begin_ = begin;
    end_ = end;
  }

  // True: stop. `done` of `all` items of the part are done.
  template <class Number>
  bool Stops(Number done, Number all) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const double part = all > 0 ? static_cast<double>(done) / static_cast<double>(all) : 1;
    reported_ = std::max(reported_, begin_ + std::min(part, 1.0) * (end_ - begin_));
    if (!stopped_ && is_stop_wanted_(reported_)) stopped_ = true;
    return stopped_;
  }
  bool stopped() const { return stopped_; }

 private:
  std::function<bool(double)> is_stop_wanted_;
  std::mutex mutex_;
  double begin_ = 0;
  double end_ = 1;
  double reported_ = 0;
  std::atomic<bool> stopped_{false};
};

// The same for the progress in a codec's options, which may be null.
template <class Number>
bool Stops(Progress* progress, Number done, Number all) {
  return progress != nullptr && progress->Stops(done, all);
}

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_PROGRESS_H_
