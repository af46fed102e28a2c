// SPDX-License-Identifier: MIT
// Files at the same time.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_THREADS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_THREADS_H_

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <system_error>
#include <thread>
#include <vector>

namespace zepconvert {

// The number of threads for the files; `wanted` 0: one for each core.
inline size_t ThreadCount(int wanted, size_t files) {
  const size_t cores = std::max(1u, std::thread::hardware_concurrency());
  return std::min(wanted > 0 ? static_cast<size_t>(wanted) : cores, files);
}

// Runs work(i) for each number below `count`, on this thread and on others, or as many of those as
// the system gives. When `stop` becomes true, no other is begun.
template <class Work>
void ForEachOnThreads(int wanted, size_t count, const std::atomic<bool>& stop, const Work& work) {
  std::atomic<size_t> next{0};
  const auto run = [&] {
    for (size_t i = next++; i < count && !stop; i = next++) work(i);
  };
  std::vector<std::thread> others;
  const size_t threads = ThreadCount(wanted, count);
  try {
    others.reserve(threads);
    while (others.size() + 1 < threads) others.emplace_back(run);
  } catch (const std::system_error&) {
    // The threads that there are do the work.
  }
  run();
  for (std::thread& other : others) other.join();
}

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_THREADS_H_
