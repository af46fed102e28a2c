// SPDX-License-Identifier: MIT
// Bands that several threads code in any order, and that are joined in their own.
#ifndef ZEPJP_CODECS_JPEG_BAND_SEQUENCE_H_
#define ZEPJP_CODECS_JPEG_BAND_SEQUENCE_H_

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <utility>
#include <vector>

#include "codecs/jpeg/band_joiner.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg {

class BandSequence {
 public:
  // join() is called for one band at a time. About `most` bands are in memory before they are
  // joined.
  BandSequence(size_t count, size_t most, std::function<Status(CodedBand*)> join)
      : most_(most), join_(std::move(join)), bands_(count), is_coded_(count) {}

  // To be called before each band is coded, also one that fails. Waits while too many bands are not
  // joined yet. False: the work has failed.
  bool Enter() {
    std::unique_lock<std::mutex> lock(mutex_);
    const size_t number = entered_++;
    has_changed_.wait(lock, [&] { return number < next_ + most_ || !status_.ok(); });
    return status_.ok();
  }

  // A band is coded. Joins all bands that can be joined now, unless another thread is at it, which
  // then joins these too.
  void Add(size_t index, CodedBand coded) {
    std::unique_lock<std::mutex> lock(mutex_);
    bands_[index] = std::move(coded);
    is_coded_[index] = true;
    if (is_joining_) return;
    is_joining_ = true;
    while (status_.ok() && next_ < bands_.size() && is_coded_[next_]) {
      CodedBand band = std::move(bands_[next_]);
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
  const std::function<Status(CodedBand*)> join_;
  std::mutex mutex_;
  std::condition_variable has_changed_;
  // All below is guarded by the mutex.
  std::vector<CodedBand> bands_;
  std::vector<bool> is_coded_;
  size_t entered_ = 0;
  size_t next_ = 0;  // to be joined
  bool is_joining_ = false;
  Status status_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BAND_SEQUENCE_H_
