// SPDX-License-Identifier: MIT
// Bands that several threads make in any order, and that are joined in their own.
#ifndef ZEPJP_CODECS_JPEG_BAND_SEQUENCE_H_
#define ZEPJP_CODECS_JPEG_BAND_SEQUENCE_H_

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "codecs/support/status.h"

namespace zepcodec::jpeg {

template <class Band>
class BandSequence {
 public:
  // join() is called for one band at a time. About `most` bands are in memory before they are
  // joined.
  BandSequence(size_t count, size_t most, std::function<Status(Band*)> join)
      : most_(most), join_(std::move(join)), bands_(count), is_made_(count) {}

  // To be called before each band is made, also one that fails. Waits while too many bands are not
  // joined yet. The bands must get their numbers in this call or after it: a thread that waits
  // while it has the number of the next band would never end. False: the work has failed.
  bool Enter(size_t* number = nullptr) {
    std::unique_lock<std::mutex> lock(mutex_);
    const size_t own = entered_++;
    if (number != nullptr) *number = own;
    has_changed_.wait(lock, [&] { return own < next_ + most_ || !status_.ok(); });
    return status_.ok();
  }

  // A band is made. Joins all bands that can be joined now, unless another thread is at it, which
  // then joins these too.
  void Add(size_t index, Band made) {
    std::unique_lock<std::mutex> lock(mutex_);
    bands_[index] = std::move(made);
    is_made_[index] = true;
    if (is_joining_) return;
    is_joining_ = true;
    while (status_.ok() && next_ < bands_.size() && is_made_[next_]) {
      Band band = std::move(bands_[next_]);
      lock.unlock();
      const Status status = join_(&band);
      lock.lock();
      if (status_.ok()) status_ = status;
      ++next_;
      has_changed_.notify_all();
    }
    is_joining_ = false;
  }

  // Ends the work of all threads. The first reason counts.
  void Fail(const Status& status) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (status_.ok()) status_ = status;
    has_changed_.notify_all();
  }

  // When all threads have ended.
  const Status& status() const { return status_; }

 private:
  const size_t most_;
  const std::function<Status(Band*)> join_;
  std::mutex mutex_;
  std::condition_variable has_changed_;
  // All below is guarded by the mutex.
  std::vector<Band> bands_;
  std::vector<bool> is_made_;
  size_t entered_ = 0;
  size_t next_ = 0;  // to be joined
  bool is_joining_ = false;
  Status status_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BAND_SEQUENCE_H_
