// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/plane.h"

#include <cstdlib>
#include <new>

#ifdef __linux__
#  include <sys/mman.h>
#endif

namespace zepcodec::jpegxr {

#ifdef __linux__

ZeroedMemory::ZeroedMemory(size_t bytes) {
  if (bytes == 0) return;
  bytes_ = WholePages(bytes);
  start_ = mmap(nullptr, bytes_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (start_ == MAP_FAILED) {
    start_ = nullptr;
    throw std::bad_alloc();
  }
  if (bytes_ >= kLargePage) madvise(start_, bytes_, MADV_HUGEPAGE);
}

ZeroedMemory::~ZeroedMemory() {
  if (start_ != nullptr) munmap(start_, bytes_);
}

#else

ZeroedMemory::ZeroedMemory(size_t bytes) : bytes_(bytes) {
  if (bytes == 0) return;
  start_ = std::calloc(bytes, 1);
  if (start_ == nullptr) throw std::bad_alloc();
}

ZeroedMemory::~ZeroedMemory() { std::free(start_); }

#endif

}  // namespace zepcodec::jpegxr
