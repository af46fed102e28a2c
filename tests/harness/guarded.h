// SPDX-License-Identifier: MIT
// Memory between protected pages, so that any access outside it fails.
#ifndef ZEPJP_TESTS_HARNESS_GUARDED_H_
#define ZEPJP_TESTS_HARNESS_GUARDED_H_

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>

namespace harness {

// Which end of the memory touches a protected page. The other end is less than a page away from
// one. With kEnd, the size determines the alignment of the start.
enum class Edge { kStart, kEnd };

constexpr uint8_t kFill = 0xA5;

// `count` elements, all bytes kFill.
template <class T>
class Guarded {
 public:
  explicit Guarded(size_t count, Edge edge = Edge::kEnd) : count_(count) {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t inner = (bytes() + page - 1) / page * page;
    mapped_size_ = inner + 2 * page;
    mapped_ = mmap(nullptr, mapped_size_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapped_ == MAP_FAILED) throw std::runtime_error("mmap failed");
    uint8_t* first = static_cast<uint8_t*>(mapped_) + page;
    if (inner > 0 && mprotect(first, inner, PROT_READ | PROT_WRITE) != 0) {
      throw std::runtime_error("mprotect failed");
    }
    data_ = edge == Edge::kStart ? first : first + inner - bytes();
    if (bytes() > 0) std::memset(first, kFill, inner);
  }
  ~Guarded() { munmap(mapped_, mapped_size_); }
  Guarded(const Guarded&) = delete;
  Guarded& operator=(const Guarded&) = delete;

  // The alignment may be less than T's: use memcpy to read and write elements.
  T* data() { return reinterpret_cast<T*>(data_); }
  const T* data() const { return reinterpret_cast<const T*>(data_); }
  uint8_t* raw() { return data_; }
  const uint8_t* raw() const { return data_; }
  size_t count() const { return count_; }
  size_t bytes() const { return count_ * sizeof(T); }

 private:
  size_t count_;
  void* mapped_;
  size_t mapped_size_;
  uint8_t* data_;
};

}  // namespace harness

#endif  // ZEPJP_TESTS_HARNESS_GUARDED_H_
