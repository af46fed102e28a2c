// SPDX-License-Identifier: MIT
// Fields of the headers, highest bit first.
#ifndef ZEPJP_CODECS_JPEGXR_HEADER_BITS_H_
#define ZEPJP_CODECS_JPEGXR_HEADER_BITS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zepcodec::jpegxr {

// Reading past the end gives zeros and sets failed().
class HeaderReader {
 public:
  HeaderReader(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  uint32_t Bits(uint32_t count) {
    uint32_t value = 0;
    for (uint32_t i = 0; i < count; ++i, ++position_) {
      const size_t byte = position_ / 8;
      if (byte >= size_) failed_ = true;
      const uint32_t bit = byte < size_ ? data_[byte] >> (7 - position_ % 8) & 1 : 0;
      value = value << 1 | bit;
    }
    return value;
  }
  bool Bit() { return Bits(1) != 0; }
  void Align() { position_ = (position_ + 7) / 8 * 8; }
  // A number in 2, 5 or 9 bytes; 0 for an escape code.
  uint64_t Number() {
    const uint32_t first = Bits(8);
    if (first < 0xFB) return first << 8 | Bits(8);
    if (first > 0xFC) return 0;
    const uint64_t high = first == 0xFC ? Bits(32) : 0;
    return high << 32 | Bits(32);
  }
  size_t BytePosition() const { return (position_ + 7) / 8; }
  bool failed() const { return failed_; }

 private:
  const uint8_t* data_;
  size_t size_;
  size_t position_ = 0;
  bool failed_ = false;
};

class HeaderWriter {
 public:
  explicit HeaderWriter(std::vector<uint8_t>* bytes) : bytes_(bytes) {}

  void Put(uint32_t value, uint32_t count) {
    for (uint32_t i = count; i-- > 0;) {
      if (free_ == 0) {
        bytes_->push_back(0);
        free_ = 8;
      }
      --free_;
      bytes_->back() = static_cast<uint8_t>(bytes_->back() | (value >> i & 1) << free_);
    }
  }
  void Align() { free_ = 0; }
  void PutNumber(uint64_t value) {
    if (value < 0xFB00) return Put(static_cast<uint32_t>(value), 16);
    const bool is_long = value >> 32 != 0;
    Put(is_long ? 0xFC : 0xFB, 8);
    if (is_long) Put(static_cast<uint32_t>(value >> 32), 32);
    Put(static_cast<uint32_t>(value), 32);
  }

 private:
  std::vector<uint8_t>* bytes_;
  uint32_t free_ = 0;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_HEADER_BITS_H_
