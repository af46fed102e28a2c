// SPDX-License-Identifier: MIT
// Counts what a test program takes by operator new. Such a program has counted_memory.cc among its
// sources, which replaces the operators.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_COUNTED_MEMORY_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_COUNTED_MEMORY_H_

#include <atomic>
#include <cstdint>

namespace counted_memory {

extern std::atomic<int64_t> in_use, peak;  // in bytes

// The bytes that are taken at the most while `work` runs, beyond those before.
template <class Work>
int64_t PeakOf(const Work& work) {
  const int64_t before = in_use;
  peak = before;
  work();
  return peak - before;
}

}  // namespace counted_memory

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_COUNTED_MEMORY_H_
