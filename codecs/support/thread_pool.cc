// SPDX-License-Identifier: MIT
#include "codecs/support/thread_pool.h"

#include <algorithm>
#include <new>
#include <system_error>

namespace zepcodec {

size_t ThreadCount(int wanted) {
  if (wanted > 0) return static_cast<size_t>(wanted);
  return std::max<size_t>(1, std::thread::hardware_concurrency());
}

ThreadPool::~ThreadPool() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    is_ending_ = true;
  }
  wakes_threads_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

// The system may give fewer threads than wanted.
void ThreadPool::Start(size_t count) {
  try {
    threads_.reserve(count);
    while (threads_.size() < count) threads_.emplace_back([this] { Serve(); });
  } catch (const std::system_error&) {
    size_ = threads_.size() + 1;
  } catch (const std::bad_alloc&) {
    size_ = threads_.size() + 1;
  }
}

Status ThreadPool::Run(size_t most, const std::function<void()>& work) {
  const size_t helpers = std::min(std::max<size_t>(most, 1), size_) - 1;
  if (helpers > threads_.size()) Start(helpers);
  has_failed_ = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    work_ = &work;
    wanted_ = working_ = std::min(helpers, threads_.size());
  }
  if (helpers > 0) wakes_threads_.notify_all();
  Call(work);
  std::unique_lock<std::mutex> lock(mutex_);
  working_ -= wanted_;  // threads that come too late have nothing to do
  wanted_ = 0;
  wakes_caller_.wait(lock, [this] { return working_ == 0; });
  return has_failed_ ? Status::NoMemory() : Status();
}

void ThreadPool::Serve() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    wakes_threads_.wait(lock, [this] { return wanted_ > 0 || is_ending_; });
    if (is_ending_) return;
    --wanted_;
    const std::function<void()>& work = *work_;
    lock.unlock();
    Call(work);
    lock.lock();
    if (--working_ == 0) wakes_caller_.notify_one();
  }
}

void ThreadPool::Call(const std::function<void()>& work) {
  const StagesOnOneThread stages;
  try {
    work();
  } catch (const std::bad_alloc&) {
    const std::lock_guard<std::mutex> lock(mutex_);
    has_failed_ = true;
  }
}

}  // namespace zepcodec
