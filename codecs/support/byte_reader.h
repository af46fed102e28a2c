// SPDX-License-Identifier: MIT
// Reads numbers from the bytes of a file, in either byte order. Every access is bounds-checked, and
// the reader knows its offset in the file, so that every message can name its byte.
#ifndef ZEPJP_CODECS_SUPPORT_BYTE_READER_H_
#define ZEPJP_CODECS_SUPPORT_BYTE_READER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/support/byte_order.h"

namespace zepcodec {

// Reads part of a file from its start. Reading past the end gives 0, sets failed() and leaves
// nothing. Copies are cheap and independent of each other.
class ByteReader {
 public:
  ByteReader() = default;
  // `offset` is the position of the part in the file. The bytes must outlive the reader.
  ByteReader(const uint8_t* data, size_t size, ByteOrder order = ByteOrder::kBig, size_t offset = 0)
      : data_(data), size_(size), offset_(offset), order_(order) {}

  int Byte() { return static_cast<int>(Number(1)); }
  int Word() { return static_cast<int>(Number(2)); }
  uint32_t Long() { return static_cast<uint32_t>(Number(4)); }
  // An unsigned number of up to 8 bytes.
  uint64_t Number(size_t bytes) {
    const uint8_t* const from = next();
    return Skip(bytes) ? LoadNumber(order_, from, bytes) : 0;
  }

  // False: fewer bytes are left.
  bool Skip(size_t bytes) {
    if (bytes > left()) failed_ = true;
    position_ = failed_ ? size_ : position_ + bytes;
    return !failed_;
  }
  // The next bytes as a part of their own.
  ByteReader Take(size_t bytes) {
    ByteReader part(next(), bytes, order_, offset());
    if (Skip(bytes)) return part;
    part.size_ = 0;
    part.failed_ = true;
    return part;
  }
  // A reader of the same part at another position.
  ByteReader At(size_t position) const {
    ByteReader other(data_, size_, order_, offset_);
    other.Skip(position);
    return other;
  }

  const uint8_t* next() const { return data_ + position_; }
  size_t left() const { return size_ - position_; }
  bool failed() const { return failed_; }
  // The position of the next byte in the part, and its offset in the file.
  size_t position() const { return position_; }
  size_t offset() const { return offset_ + position_; }
  ByteOrder order() const { return order_; }

 private:
  const uint8_t* data_ = nullptr;
  size_t size_ = 0;
  size_t offset_ = 0;
  size_t position_ = 0;
  ByteOrder order_ = ByteOrder::kBig;
  bool failed_ = false;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_BYTE_READER_H_
