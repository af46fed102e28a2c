// SPDX-License-Identifier: MIT
// Bytes on the heap.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_BYTES_H_
#define ZEPJP_TOOLS_ZEPCONVERT_BYTES_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

namespace zepconvert {

// Elements that are made without a value get none: large buffers are not cleared before they are
// filled.
template <class T>
struct UninitializedAllocator : std::allocator<T> {
  template <class U>
  struct rebind {
    using other = UninitializedAllocator<U>;
  };
  template <class U>
  void construct(U* place) noexcept {
    ::new (static_cast<void*>(place)) U;
  }
  template <class U, class Value>
  void construct(U* place, const Value& value) {
    ::new (static_cast<void*>(place)) U(static_cast<U>(value));
  }
};

using Bytes = std::vector<uint8_t, UninitializedAllocator<uint8_t>>;

// Somebody's bytes.
struct ByteView {
  // Of anything with data() and size().
  template <class Container>
  ByteView(const Container& bytes)  // NOLINT(google-explicit-constructor)
      : data(bytes.data()), size(bytes.size()) {}
  ByteView(const void* first, size_t count)
      : data(static_cast<const uint8_t*>(first)), size(count) {}

  const uint8_t* data;
  size_t size;
};

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_BYTES_H_
