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

// The number of threads that `wanted` means; 0: as many as the machine runs at once.
size_t ThreadCount(int wanted);

// While it lives, calls that its thread makes to the stages start no threads. Codecs share out their
// work themselves, over larger pieces.
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
  // A pool of one thread, the caller's, starts none.
  explicit ThreadPool(int wanted) : size_(ThreadCount(wanted)) {}
  ~ThreadPool();
  ThreadPool(const ThreadPool&) = delete;
  ThreadPool& operator=(const ThreadPool&) = delete;

  // The threads that Run() uses at most.
  size_t size() const { return size_; }

  // Calls `work` on up to `most` threads at the same time, one of which is the caller's, and returns
  // when all calls have returned. Where the system refuses a thread, there are fewer calls, so each
  // must go on for as long as there is something to do. Only std::bad_alloc is caught.
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
  size_t wanted_ = 0;   // threads that still have to take up the work
  size_t working_ = 0;  // threads that have not finished it
  bool has_failed_ = false;
  bool is_ending_ = false;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_THREAD_POOL_H_
