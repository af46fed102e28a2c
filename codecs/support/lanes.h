// SPDX-License-Identifier: MIT
// A pipeline on several threads. Each lane is a row of steps that are done in their order, one at a
// time, each by any thread. A step may have to wait until other lanes have done some of theirs.
#ifndef ZEPJP_CODECS_SUPPORT_LANES_H_
#define ZEPJP_CODECS_SUPPORT_LANES_H_

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <vector>

#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec {

class Lanes {
 public:
  // Returns the lane's number. Of the steps that are ready, those of the lowest rank are done
  // first, and of these the ones with the lowest number.
  size_t Add(int rank, size_t steps, std::function<Status(size_t step)> work);

  // Step i of a lane waits until the other one has done needs(i) steps.
  void Wait(size_t lane, size_t other, std::function<size_t(size_t step)> needs);

  // Does all steps. After a failure, which is the result, no further steps are started.
  Status Run(ThreadPool* pool);

 private:
  struct Need {
    size_t lane;
    std::function<size_t(size_t)> steps;
  };
  struct Lane {
    int rank;
    size_t steps;
    std::function<Status(size_t)> work;
    std::vector<Need> needs;
    size_t done = 0;
    bool is_running = false;
  };

  void Work();
  void DoStep(Lane* lane, std::unique_lock<std::mutex>* lock);
  Lane* FindReady();
  bool IsReady(const Lane& lane) const;

  std::vector<Lane> lanes_;
  std::mutex mutex_;
  std::condition_variable changed_;
  size_t left_ = 0;  // steps
  bool has_failed_ = false;
  Status status_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_LANES_H_
