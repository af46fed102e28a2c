// SPDX-License-Identifier: MIT
#include "codecs/support/byte_buffer.h"

#include <new>

#ifdef __linux__
#  include <sys/mman.h>
#endif

namespace zepcodec {
namespace {

// A large page of x86-64, and of 64-bit Arm with pages of 4 KiB.
constexpr size_t kLargePage = size_t{1} << 21;

}  // namespace

uint8_t* AllocateBytes(size_t size) {
  auto* const bytes = static_cast<uint8_t*>(::operator new(size, std::nothrow));
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  if (bytes != nullptr && size >= 2 * kLargePage) {
    const auto begin = (reinterpret_cast<uintptr_t>(bytes) + kLargePage - 1) & ~(kLargePage - 1);
    const auto end = (reinterpret_cast<uintptr_t>(bytes) + size) & ~(kLargePage - 1);
    // A refusal costs time only.
    (void)madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
  }
#endif
  return bytes;
}

void FreeBytes(uint8_t* bytes) { ::operator delete(bytes); }

}  // namespace zepcodec
