// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <cstdint>
#include <utility>

#include "zepcore.h"

#ifdef _OPENMP
#  include <omp.h>
#endif

namespace {

// OpenMP runtimes end the program when the system refuses them a thread, so a caller's mistake must
// not ask for millions.
constexpr int32_t kMaxCount = 1024;

// Constant-initialized: callers may run before any constructor.
std::atomic<int32_t> chosen_count{0};  // 0: the default
static_assert(std::atomic<int32_t>::is_always_lock_free);

// The count of this thread alone; 0: the common one. The TLS model makes reading it cost no call.
thread_local int32_t own_count __attribute__((tls_model("initial-exec"))) = 0;

#ifdef _OPENMP
// Some OpenMP runtimes crash if they are called before their own constructors have run. Those run
// before this library's constructors.
std::atomic<bool> openmp_is_up{false};

__attribute__((constructor(101))) void NoteThatOpenMpIsUp() {
  openmp_is_up.store(true, std::memory_order_relaxed);
}

int32_t DefaultCount() {
  if (!openmp_is_up.load(std::memory_order_relaxed)) return 1;
  return std::clamp<int32_t>(omp_get_max_threads(), 1, kMaxCount);
}
#else
int32_t DefaultCount() { return 1; }
#endif

}  // namespace

int32_t ownGetNumThreads(void) {
  if (own_count > 0) return own_count;
  const int32_t count = chosen_count.load(std::memory_order_relaxed);
  return count > 0 ? count : DefaultCount();
}

void zepSetNumThreads(int32_t count) {
  chosen_count.store(std::clamp(count, 0, kMaxCount), std::memory_order_relaxed);
}

int32_t zepSetOwnNumThreads(int32_t count) {
  return std::exchange(own_count, std::clamp(count, 0, kMaxCount));
}
