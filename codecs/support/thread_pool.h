// SPDX-License-Identifier: MIT
// The threads of one call of a codec. They are started when they are first needed, sleep between
// tasks, and end with the pool.
#ifndef ZEPJP_CODECS_SUPPORT_THREAD_POOL_H_
#define ZEPJP_CODECS_SUPPORT_THREAD_POOL_H_

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

#include "codecs/support/status.h"
#include "zepcore.h"

namespace zepcodec {

// The number of threads for an option; 0: one for each processor.
size_t ThreadCount(int wanted);

// During its lifetime, calls of its thread to the stages start no threads. Codecs divide their work
// among threads themselves, in larger pieces.
class StagesOnOneThread {
 public:
  StagesOnOneThread() : before_(zepSetOwnNumThreads(1)) {}
  ~StagesOnOneThread() { zepSetOwnNumThreads(before_); }
  StagesOnOneThread(const StagesOnOneThread&) = delete;
  StagesOnOneThread& operator=(const StagesOnOneThread&) = delete;

 private:
  int32_t before_;
};

class ThreadPool {
 public:
  // A pool of size 1 uses the caller's thread and starts none.
  explicit ThreadPool(int wanted) : size_(ThreadCount(wanted)) {}
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // The threads that Run() uses at most.
  size_t size() const { return size_; }

  // Calls `work` on up to `most` threads at the same time, one of them the caller's, and returns when
  // all calls have returned. If the system refuses threads, there are fewer calls, so each call must
  // continue until no work is left. Only std::bad_alloc is caught.
  Status Run(size_t most, const std::function<void()>& work);

 private:
  void Start(size_t count);
  void Serve();
  void Call(const std::function<void()>& work);

  size_t size_;
  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable wakes_threads_;
  std::condition_variable wakes_caller_;
  const std::function<void()>* work_ = nullptr;
  size_t wanted_ = 0;   // threads that have not started the work yet
  size_t working_ = 0;  // threads that have not finished it
  bool has_failed_ = false;
  bool is_ending_ = false;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_THREAD_POOL_H_
