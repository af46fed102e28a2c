// SPDX-License-Identifier: MIT
// A vector of numbers that have no value at first, in large pages where the system gives them.
#ifndef ZEPJP_CODECS_SUPPORT_PLAIN_VECTOR_H_
#define ZEPJP_CODECS_SUPPORT_PLAIN_VECTOR_H_

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "codecs/support/byte_buffer.h"

namespace zepcodec {

template <class T>
struct PlainAllocator {
  using value_type = T;

  PlainAllocator() = default;
  template <class Other>
  PlainAllocator(const PlainAllocator<Other>&) {}  // NOLINT(google-explicit-constructor)

  T* allocate(size_t count) {
    uint8_t* const bytes =
        count > PTRDIFF_MAX / sizeof(T) ? nullptr : AllocateBytes(count * sizeof(T));
    if (bytes == nullptr) throw std::bad_alloc();
    return reinterpret_cast<T*>(bytes);
  }
  void deallocate(T* values, size_t) { FreeBytes(reinterpret_cast<uint8_t*>(values)); }

  template <class U>
  void construct(U* value) {
    ::new (static_cast<void*>(value)) U;
  }
  template <class U, class... Arguments>
  void construct(U* value, Arguments&&... arguments) {
    ::new (static_cast<void*>(value)) U(std::forward<Arguments>(arguments)...);
  }

  friend bool operator==(const PlainAllocator&, const PlainAllocator&) { return true; }
  friend bool operator!=(const PlainAllocator&, const PlainAllocator&) { return false; }
};

template <class T>
using PlainVector = std::vector<T, PlainAllocator<T>>;

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_PLAIN_VECTOR_H_
