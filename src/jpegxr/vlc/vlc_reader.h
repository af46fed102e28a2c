// SPDX-License-Identifier: MIT
// Reads a caller's bit stream (bit_stream.h).
//
// Callers see how far a call has read, so refills are part of the interface: a step-by-step reader
// takes a look at the stream for each index, sign and level, and before each look it refills two
// bytes if fewer than 16 bits are valid. This reader makes one refill for a whole coefficient if 16
// bits are enough. Finish() then adds the refill that the last look of the step-by-step reader
// would have made.
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

  // The refill before a look without a branch, which can run in parallel with a look-up that does
  // not depend on it.
  HWY_INLINE void RefillAside() {
    const intptr_t due = (count_ - 16) >> (kWordBits - 1);  // a mask: compilers make a branch of ?:
    const uintptr_t from = bytes_ & static_cast<uintptr_t>(due);
    window_ |= LoadHighest(from + Nothing()) >> count_;
    bytes_ -= static_cast<uintptr_t>(2 * due);
    count_ += 16 & due;
  }

  // The number of valid bits.
  uint32_t count() const { return static_cast<uint32_t>(count_); }
  uint64_t window() const { return window_; }

  // Returns the next `count` bits, 1 to 16, without using them.
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

  // One look: refills, and takes 1 to 16 bits.
  HWY_INLINE uint32_t Take(uint32_t count) {
    Refill();
    const uint32_t bits = Peek(count);
    Use(count);
    return bits;
  }

  // Stores the state of the stream; the last look took `last_look` bits.
  HWY_INLINE void Finish(uint32_t last_look, const BitSource& from) {
    if (count_ + static_cast<intptr_t>(last_look) < 16) Load();
    *from.bytes = reinterpret_cast<const uint8_t*>(bytes_ + Nothing());
    *from.accumulator = static_cast<uint32_t>(window_ >> 32);
    *from.count = static_cast<uint32_t>(count_);
  }

 private:
  static constexpr int kWordBits = 8 * sizeof(intptr_t);

  // RefillAside reads these bytes if no refill is due.
  static constexpr uint8_t kNothing[2] = {};
  static uintptr_t Nothing() { return reinterpret_cast<uintptr_t>(kNothing); }

  // Loads two bytes as the highest of 64 bits.
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
  uintptr_t bytes_;  // the address of the next bytes minus that of kNothing
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_READER_H_
