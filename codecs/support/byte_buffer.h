// SPDX-License-Identifier: MIT
// Bytes on the heap. Unlike a vector, new bytes have no value yet, and a lack of memory is a result
// instead of an exception.
#ifndef ZEPJP_CODECS_SUPPORT_BYTE_BUFFER_H_
#define ZEPJP_CODECS_SUPPORT_BYTE_BUFFER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <utility>

namespace zepcodec {

// Memory without values, or null. For large sizes the system is asked for large pages: it gives memory
// when it is first touched, page by page, and the nine thousand small pages of a picture of twelve
// megapixels take a third of the time in which a JPEG file is decoded.
uint8_t* AllocateBytes(size_t size);
void FreeBytes(uint8_t* bytes);

class ByteBuffer {
 public:
  uint8_t* data() { return bytes_.get(); }
  const uint8_t* data() const { return bytes_.get(); }
  size_t size() const { return size_; }
  size_t capacity() const { return capacity_; }

  // Bytes below both sizes keep their values. Shrinking keeps the memory.
  // False: no memory.
  [[nodiscard]] bool Resize(size_t size) {
    if (size > capacity_ && !Reserve(size)) return false;
    size_ = size;
    return true;
  }

  // Makes room for `more` bytes after the last one. Grows by at least half, so that appending many
  // small pieces takes linear time.
  [[nodiscard]] bool MakeRoom(size_t more) {
    if (capacity_ - size_ >= more) return true;
    return Reserve(std::max(size_ + more, capacity_ + capacity_ / 2));
  }

  // The bytes, for FreeBytes(); the buffer is empty afterwards.
  uint8_t* Release() {
    size_ = capacity_ = 0;
    return bytes_.release();
  }

  [[nodiscard]] bool Append(const uint8_t* bytes, size_t count) {
    if (!MakeRoom(count)) return false;
    if (count > 0) std::memcpy(data() + size_, bytes, count);
    size_ += count;
    return true;
  }

 private:
  bool Reserve(size_t capacity) {
    Bytes grown(AllocateBytes(capacity));
    if (grown == nullptr) return false;
    if (size_ > 0) std::memcpy(grown.get(), bytes_.get(), size_);
    bytes_ = std::move(grown);
    capacity_ = capacity;
    return true;
  }

  struct Free {
    void operator()(uint8_t* bytes) const { FreeBytes(bytes); }
  };
  using Bytes = std::unique_ptr<uint8_t, Free>;

  Bytes bytes_;
  size_t size_ = 0;
  size_t capacity_ = 0;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_BYTE_BUFFER_H_
