// SPDX-License-Identifier: MIT
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "zepcore.h"

void* zepMalloc(int32_t size) {
  constexpr size_t kAlignment = 64;
  if (size < 1) return nullptr;
  const size_t rounded = (static_cast<size_t>(size) + kAlignment - 1) & ~(kAlignment - 1);
  return std::aligned_alloc(kAlignment, rounded);
}

void zepFree(void* memory) { std::free(memory); }
