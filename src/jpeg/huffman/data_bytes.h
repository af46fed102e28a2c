// SPDX-License-Identifier: MIT
// The data bytes of a source without the 00 behind FF, as the quick way to read bits takes them: those
// that the careful reader's state holds first.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_DATA_BYTES_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_DATA_BYTES_H_

#include <cstddef>
#include <cstdint>

namespace zepjp {

inline uint32_t LoadBigEndian32(const uint8_t* from) {
  uint32_t value;
  __builtin_memcpy(&value, from, sizeof(value));
  return __builtin_bswap32(value);
}

constexpr size_t kStateBytes = 4;

// Data bytes that lie in the source as they are, those of the state first: FF ends them.
class PlainBytes {
 public:
  PlainBytes(const uint8_t* from, int64_t size) : from_(from), limit_(size - 8) {}

  // 57 bits or more from bit `at` on, the first one highest. False: they are not all there.
  [[gnu::always_inline]] bool Load(size_t at, uint64_t* bits) {
    const auto byte = static_cast<int64_t>(at >> 3);
    if (__builtin_expect(byte > limit_, false)) return false;
    uint64_t next;
    __builtin_memcpy(&next, from_ + byte, sizeof(next));
    *bits = __builtin_bswap64(next) << (at & 7);
    return __builtin_expect((next & ~(next + 0x0101010101010101U) & 0x8080808080808080U) == 0,
                            true);
  }

 private:
  const uint8_t* from_;
  int64_t limit_;  // eight bytes may be loaded up to here
};

// Data bytes with a 00 behind FF: a marker, a filling byte or the end of the source ends them.
class StuffedBytes {
 public:
  StuffedBytes(uint32_t state_bytes, const uint8_t* from, const uint8_t* end)
      : start_(from), from_(from), end_(end), state_bytes_(state_bytes), newest_(state_bytes) {}

  [[gnu::always_inline]] bool Load(size_t at, uint64_t* bits) {
    while (8 * count_ - at < 57) {
      if (from_ == end_) return false;
      if (*from_ == 0xFF && (end_ - from_ < 2 || from_[1] != 0)) return false;
      newest_ = newest_ << 8 | *from_;
      from_ = Behind(from_);
      ++count_;
    }
    *bits = newest_ << (64 - (8 * count_ - at));
    return true;
  }

  // The bytes of the source that `count` ones behind the state's come from, and the four newest.
  int32_t Advance(size_t count, uint32_t* newest) const {
    const uint8_t* at = start_;
    *newest = state_bytes_;
    for (; count > 0; --count) {
      *newest = *newest << 8 | *at;
      at = Behind(at);
    }
    return static_cast<int32_t>(at - start_);
  }

 private:
  static const uint8_t* Behind(const uint8_t* byte) { return byte + (*byte == 0xFF ? 2 : 1); }

  const uint8_t* start_;
  const uint8_t* from_;
  const uint8_t* end_;
  uint32_t state_bytes_;
  uint64_t newest_;             // the last 8 of
  size_t count_ = kStateBytes;  // data bytes
};

// Bits from the start: how many were taken, and how many the careful reader would have read.
struct Progress {
  size_t taken, read;
  size_t bytes_read() const { return read / 8 - kStateBytes; }  // behind the state's
  int32_t unused() const { return static_cast<int32_t>(read - taken); }
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_DATA_BYTES_H_
