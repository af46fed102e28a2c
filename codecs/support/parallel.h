// SPDX-License-Identifier: MIT
// Work that falls into many independent items, on several threads.
#ifndef ZEPJP_CODECS_SUPPORT_PARALLEL_H_
#define ZEPJP_CODECS_SUPPORT_PARALLEL_H_

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

#include "codecs/support/progress.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec {

// On each thread makes a worker, which is then called with one item after the other. Where the system
// gives fewer threads, those do all the work. Only std::bad_alloc is caught. `progress` may be null.
template <class MakeWorker>
Status RunParallel(size_t threads, size_t items, const MakeWorker& make_worker,
                   Progress* progress = nullptr) {
  std::atomic<size_t> next{0};
  std::atomic<size_t> finished{0};
  std::atomic<bool> failed{false};
  const auto run = [&] {
    const StagesOnOneThread stages;
    try {
      auto worker = make_worker();
      for (size_t item = next++; item < items && !failed; item = next++) {
        worker(item);
        if (Stops(progress, ++finished, items)) return;
      }
    } catch (const std::bad_alloc&) {
      failed = true;
    }
  };
  std::vector<std::thread> others;
  try {
    others.reserve(std::min(threads, items));
    while (others.size() + 1 < std::min(threads, items)) others.emplace_back(run);
  } catch (const std::system_error&) {
    // As many as there are.
  } catch (const std::bad_alloc&) {
    // The same.
  }
  run();
  for (std::thread& other : others) other.join();
  if (failed) return Status::NoMemory();
  return progress != nullptr && progress->stopped() ? Status::Cancelled() : Status();
}

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_PARALLEL_H_
