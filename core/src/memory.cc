// SPDX-License-Identifier: MIT
#include <cstdint>
#include <cstdlib>

#include "zepcore.h"

// aligned_alloc() accepts only multiples of the alignment. An int32_t rounded up to one still fits
// uint32_t.
void* zepMalloc(int32_t size) {
  constexpr uint32_t kAlignment = 64;
  if (size < 1) return nullptr;
  const uint32_t rounded = (static_cast<uint32_t>(size) + kAlignment - 1) & ~(kAlignment - 1);
  return std::aligned_alloc(kAlignment, rounded);
}

void zepFree(void* memory) { std::free(memory); }
