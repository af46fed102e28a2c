// SPDX-License-Identifier: MIT
// Work that falls into many independent items, on several threads.
#ifndef ZEPJP_CODECS_SUPPORT_PARALLEL_H_
#define ZEPJP_CODECS_SUPPORT_PARALLEL_H_

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <new>

#include "codecs/support/progress.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec {

// Makes a worker on each thread of the pool and calls it with one item after the other. Items are
// started in their order. After std::bad_alloc, the only exception that is caught, no further items are
// started. `progress` may be null.
template <class MakeWorker>
Status RunParallel(ThreadPool* pool, size_t items, const MakeWorker& make_worker,
                   Progress* progress = nullptr) {
  std::atomic<size_t> next{0};
  std::atomic<size_t> finished{0};
  const Status status = pool->Run(items, [&] {
    try {
      auto worker = make_worker();
      for (size_t item = next++; item < items; item = next++) {
        worker(item);
        if (Stops(progress, ++finished, items)) return;
      }
    } catch (const std::bad_alloc&) {
      next = items;
      throw;
    }
  });
  if (!status.ok()) return status;
  return progress != nullptr && progress->stopped() ? Status::Cancelled() : Status();
}

// The same with threads that live as long as the call.
template <class MakeWorker>
Status RunParallel(size_t threads, size_t items, const MakeWorker& make_worker,
                   Progress* progress = nullptr) {
  ThreadPool pool(static_cast<int>(threads));
  return RunParallel(&pool, items, make_worker, progress);
}

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_PARALLEL_H_
