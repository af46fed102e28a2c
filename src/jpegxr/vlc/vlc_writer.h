// SPDX-License-Identifier: MIT
// Writes a caller's bit stream (bit_stream.h): collects bits in a 64-bit word, and stores four or
// two complete bytes at a time.
#ifndef ZEPJP_SRC_JPEGXR_VLC_VLC_WRITER_H_
#define ZEPJP_SRC_JPEGXR_VLC_VLC_WRITER_H_

#include <cstdint>

#include "hwy/base.h"
#include "jpegxr/bit_stream.h"

namespace zepjp {

class VlcWriter {
 public:
  HWY_INLINE explicit VlcWriter(const BitTarget& to)
      : bits_(uint64_t{*to.accumulator} >> (32 - *to.count)),
        count_(*to.count),
        bytes_(*to.bytes) {}

  // Appends the lowest `count` bits of `value`, up to 32; the bits above them are 0.
  HWY_INLINE void Put(uint32_t value, uint32_t count) {
    if (HWY_UNLIKELY(count_ >= 32)) {
      count_ -= 32;
      Store(__builtin_bswap32(static_cast<uint32_t>(bits_ >> count_)));
    }
    bits_ = bits_ << count | value;
    count_ += count;
  }

  HWY_INLINE void Finish(const BitTarget& to) {
    if (count_ >= 32) {
      count_ -= 32;
      Store(__builtin_bswap32(static_cast<uint32_t>(bits_ >> count_)));
    }
    if (count_ >= 16) {
      count_ -= 16;
      Store(__builtin_bswap16(static_cast<uint16_t>(bits_ >> count_)));
    }
    *to.bytes = bytes_;
    *to.accumulator = static_cast<uint32_t>(bits_ << (32 - count_));
    *to.count = count_;
  }

 private:
  template <class T>
  HWY_INLINE void Store(T value) {
    __builtin_memcpy(bytes_, &value, sizeof(value));
    bytes_ += sizeof(value);
  }

  uint64_t bits_;   // the lowest count_ bits are pending; those above have been stored
  uint32_t count_;  // below 64
  uint8_t* bytes_;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_WRITER_H_
