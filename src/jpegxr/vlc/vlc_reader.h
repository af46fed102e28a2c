// SPDX-License-Identifier: MIT
// Reads a caller's bit stream (bit_stream.h). Callers see how far a call has read, so refills are
// part of the interface: two bytes, before each look at the stream that finds fewer than 16 valid
// bits. A reader step by step would take several looks for a coefficient (index, sign, level); here
// one refill serves all of them as long as 16 bits are enough, and Finish makes up for the refill
// that the last look would have made.
#ifndef ZEPJP_SRC_JPEGXR_VLC_VLC_READER_H_
#define ZEPJP_SRC_JPEGXR_VLC_VLC_READER_H_

#include <cstdint>

#include "hwy/base.h"
#include "jpegxr/bit_stream.h"

namespace zepjp {

class VlcReader {
 public:
  HWY_INLINE explicit VlcReader(const BitSource& from)
      : window_(uint64_t{*from.accumulator} >> (32 - *from.count) << (32 - *from.count) << 32),
        count_(static_cast<intptr_t>(*from.count)),
        bytes_(reinterpret_cast<uintptr_t>(*from.bytes) - Nothing()) {}

  // The refill before a look.
  HWY_INLINE void Refill() {
    if (count_ < 16) Load();
  }

  // The same without a branch, for use beside look-ups that do not depend on it.
  HWY_INLINE void RefillAside() {
    const intptr_t due = (count_ - 16) >> (kWordBits - 1);  // a mask: compilers make a branch of ?:
    const uintptr_t from = bytes_ & static_cast<uintptr_t>(due);
    window_ |= LoadHighest(from + Nothing()) >> count_;
    bytes_ -= static_cast<uintptr_t>(2 * due);
    count_ += 16 & due;
  }

  // How many bits are valid.
  uint32_t count() const { return static_cast<uint32_t>(count_); }
  uint64_t window() const { return window_; }

  // The next `count` bits, 1 to 16.
  HWY_INLINE uint32_t Peek(uint32_t count) const {
    return static_cast<uint32_t>(window_ >> (64 - count));
  }

  HWY_INLINE void Use(uint32_t count) {
    window_ <<= count;
    count_ -= static_cast<intptr_t>(count);
  }
  HWY_INLINE void Use(uint32_t first, uint32_t second) {
    window_ = window_ << first << second;
    count_ -= static_cast<intptr_t>(first + second);
  }

  // One look: refill, and take 1 to 16 bits.
  HWY_INLINE uint32_t Take(uint32_t count) {
    Refill();
    const uint32_t bits = Peek(count);
    Use(count);
    return bits;
  }

  // Stores the stream's state. The last look took `last_look` bits.
  HWY_INLINE void Finish(uint32_t last_look, const BitSource& from) {
    if (count_ + static_cast<intptr_t>(last_look) < 16) Load();
    *from.bytes = reinterpret_cast<const uint8_t*>(bytes_ + Nothing());
    *from.accumulator = static_cast<uint32_t>(window_ >> 32);
    *from.count = static_cast<uint32_t>(count_);
  }

 private:
  static constexpr int kWordBits = 8 * sizeof(intptr_t);

  // Where RefillAside reads if no refill is due.
  static constexpr uint8_t kNothing[2] = {};
  static uintptr_t Nothing() { return reinterpret_cast<uintptr_t>(kNothing); }

  // Two bytes as the highest of 64 bits.
  static HWY_INLINE uint64_t LoadHighest(uintptr_t from) {
    uint16_t next;
    __builtin_memcpy(&next, reinterpret_cast<const uint8_t*>(from), sizeof(next));
    return __builtin_bswap64(next);
  }

  HWY_INLINE void Load() {
    window_ |= LoadHighest(bytes_ + Nothing()) >> count_;
    bytes_ += 2;
    count_ += 16;
  }

  uint64_t window_;  // the next bit is the highest; 0 below the valid ones
  intptr_t count_;
  uintptr_t bytes_;  // the address of the next bytes, less that of kNothing
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_READER_H_
