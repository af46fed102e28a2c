// SPDX-License-Identifier: MIT
// The status of work that several threads share: the first failure counts.
#ifndef ZEPJP_CODECS_SUPPORT_SHARED_STATUS_H_
#define ZEPJP_CODECS_SUPPORT_SHARED_STATUS_H_

#include <atomic>
#include <mutex>

#include "codecs/support/status.h"

namespace zepcodec {

class SharedStatus {
 public:
  // True: all is well so far, for this thread and the others.
  bool Take(const Status& status) {
    if (status.ok()) return !has_failed_;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (!has_failed_) status_ = status;
    has_failed_ = true;
    return false;
  }
  bool has_failed() const { return has_failed_; }
  // After the threads have finished.
  const Status& status() const { return status_; }

 private:
  std::mutex mutex_;
  std::atomic<bool> has_failed_{false};
  Status status_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_SHARED_STATUS_H_
