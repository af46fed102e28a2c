// SPDX-License-Identifier: MIT
// The quick way to write bits, eight bytes at a time, where there is room for them.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_COLLECTOR_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_COLLECTOR_H_

#include <cstdint>
#include <cstring>

#include "hwy/base.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"

namespace zepjp {

// `to` has eight more bytes.
inline HWY_NOINLINE uint8_t* StoreStuffed(uint64_t bytes, int count, uint8_t* to) {
  for (int i = 0; i < count; ++i, bytes <<= 8) {
    const auto byte = static_cast<uint8_t>(bytes >> 56);
    *to++ = byte;
    if (byte == 0xFF) *to++ = 0;
  }
  return to;
}

// Collects bits, the first one highest, and stores them eight bytes at a time.
class Collector {
 public:
  HWY_INLINE Collector(const zepiEncodeHuffmanState& state, uint8_t* to)
      : to_(to),
        bits_(state.bits >> (24 - NumPending(state))),
        free_(64 - static_cast<int>(NumPending(state))) {}

  // The lowest `count` bits of `value`, up to 32; `value` has no others.
  HWY_INLINE void Put(uint64_t value, int count) {
    const uint64_t next = bits_ << count | value;
    free_ -= count;
    if (HWY_UNLIKELY(free_ < 0)) {
      StoreAll(bits_ << (count + free_) | value >> -free_);
      free_ += 64;
    }
    bits_ = next;
  }

  // Stores the last full bytes and leaves the others in the state; returns where they are to go.
  HWY_INLINE uint8_t* Finish(zepiEncodeHuffmanState* state) {
    const int count = 64 - free_;
    const int rest = count & 7;
    if (HWY_UNLIKELY(count == 64)) {
      StoreAll(bits_);
    } else {
      StoreSome(bits_ << (free_ & 63), count >> 3);
    }
    const uint64_t pending_and_last = bits_ & ((uint64_t{256} << rest) - 1);
    StorePending(static_cast<uint32_t>(pending_and_last << (24 - rest)),
                 static_cast<uint32_t>(rest), state);
    return to_;
  }

 private:
  HWY_INLINE void StoreAll(uint64_t bytes) {
    if (HWY_UNLIKELY(HasFf(bytes))) {
      to_ = StoreStuffed(bytes, 8, to_);
      return;
    }
    bytes = __builtin_bswap64(bytes);
    std::memcpy(to_, &bytes, 8);
    to_ += 8;
  }

  // The highest `count` bytes, up to 7; those behind them keep what they have.
  HWY_INLINE void StoreSome(uint64_t bytes, int count) {
    if (HWY_UNLIKELY(HasFf(bytes))) {
      to_ = StoreStuffed(bytes, count, to_);
      return;
    }
    uint64_t behind;
    std::memcpy(&behind, to_, 8);
    const uint64_t is_behind = ~uint64_t{0} << (8 * count);
    bytes = (__builtin_bswap64(bytes) & ~is_behind) | (behind & is_behind);
    std::memcpy(to_, &bytes, 8);
    to_ += count;
  }

  uint8_t* to_;
  uint64_t bits_;  // its lowest 64 - free_ bits are pending, above them are those before
  int free_;
};

// A code and the lowest `category` bits of `extra` after it. False: there is no code.
HWY_INLINE bool PutBits(uint64_t entry, uint64_t extra, uint32_t category, Collector* to) {
  const uint64_t length = entry >> 16;
  if (HWY_UNLIKELY(length - 1 > 15)) return false;
  const uint64_t code = entry & ((uint64_t{1} << length) - 1);
  extra &= (uint64_t{1} << category) - 1;
  to->Put(code << category | extra, static_cast<int>(length + category));
  return true;
}
HWY_INLINE bool PutValue(uint64_t entry, int64_t value, uint32_t category, Collector* to) {
  return PutBits(entry, ExtraBits(value), category, to);
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_COLLECTOR_H_
