// SPDX-License-Identifier: MIT
#include "tests/codecs/support/counted_memory.h"

#include <malloc.h>

#include <cstddef>
#include <cstdlib>
#include <new>

namespace counted_memory {

std::atomic<int64_t> in_use{0}, peak{0};

namespace {

void* Take(size_t size) {
  void* const memory = std::malloc(size > 0 ? size : 1);
  if (memory == nullptr) return nullptr;
  const int64_t now = in_use += static_cast<int64_t>(malloc_usable_size(memory));
  int64_t most = peak;
  while (most < now && !peak.compare_exchange_weak(most, now)) continue;
  return memory;
}

void* TakeOrThrow(size_t size) {
  void* const memory = Take(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void GiveBack(void* memory) {
  if (memory == nullptr) return;
  in_use -= static_cast<int64_t>(malloc_usable_size(memory));
  std::free(memory);
}

}  // namespace
}  // namespace counted_memory

using counted_memory::GiveBack;
using counted_memory::Take;
using counted_memory::TakeOrThrow;

void* operator new(size_t size) { return TakeOrThrow(size); }
void* operator new[](size_t size) { return TakeOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void operator delete(void* memory) noexcept { GiveBack(memory); }
void operator delete[](void* memory) noexcept { GiveBack(memory); }
void operator delete(void* memory, size_t) noexcept { GiveBack(memory); }
void operator delete[](void* memory, size_t) noexcept { GiveBack(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { GiveBack(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { GiveBack(memory); }
