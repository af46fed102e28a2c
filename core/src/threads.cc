// SPDX-License-Identifier: MIT
#include <algorithm>
#include <atomic>
#include <cstdint>

#include "zepcore.h"

#ifdef _OPENMP
#  include <omp.h>
#endif

namespace {

std::atomic<int32_t> chosen_count{0};  // 0: the default.

int32_t DefaultCount() {
#ifdef _OPENMP
  return std::max(omp_get_max_threads(), 1);
#else
  return 1;
#endif
}

}  // namespace

int32_t ownGetNumThreads(void) {
  const int32_t count = chosen_count.load(std::memory_order_relaxed);
  return count > 0 ? count : DefaultCount();
}

void zepSetNumThreads(int32_t count) {
  chosen_count.store(std::max(count, 0), std::memory_order_relaxed);
}
