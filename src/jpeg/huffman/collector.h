// SPDX-License-Identifier: MIT
// The fast writer: it collects bits in a 64-bit word and stores eight bytes at a time. The caller
// makes sure that the buffer has room.
//
// Stuffing is rare (one byte of 256 is FF), so eight bytes are tested for FF together, and stored
// byte by byte only if there is one. In the word the first bit written is the highest. The bits
// above the pending ones have been stored already; the state keeps the last byte of them.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_COLLECTOR_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_COLLECTOR_H_

#include <cstdint>
#include <cstring>

#include "hwy/base.h"
#include "jpeg/huffman/bit_writer.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"

namespace zepjp {

// Stores the `count` highest bytes with 00 after each FF. There is room for 2 * count bytes.
inline HWY_NOINLINE uint8_t* StoreStuffed(uint64_t bytes, int count, uint8_t* to) {
  for (int i = 0; i < count; ++i, bytes <<= 8) {
    const auto byte = static_cast<uint8_t>(bytes >> 56);
    *to++ = byte;
    if (byte == 0xFF) *to++ = 0;
  }
  return to;
}

// Collects bits, the first one highest.
class Collector {
 public:
  HWY_INLINE Collector(const zepiEncodeHuffmanState& state, uint8_t* to)
      : to_(to),
        bits_(state.bits >> (24 - NumPending(state))),
        free_(64 - static_cast<int>(NumPending(state))) {}

  // Appends the lowest `count` bits of `value`, up to 63; the bits above them are 0.
  HWY_INLINE void Put(uint64_t value, int count) {
    const uint64_t next = bits_ << count | value;
    free_ -= count;
    if (HWY_UNLIKELY(free_ < 0)) {
      StoreAll(bits_ << (count + free_) | value >> -free_);
      free_ += 64;
    }
    bits_ = next;
  }

  // Stores the remaining full bytes, and the last bits in the state. Returns the end of the bytes.
  HWY_INLINE uint8_t* Finish(zepiEncodeHuffmanState* state) {
    const int count = 64 - free_;
    const int rest = count & 7;
    if (HWY_UNLIKELY(count == 64)) {
      StoreAll(bits_);
    } else {
      StoreSome(bits_ << (free_ & 63), count >> 3);
    }
    // The bits above the last byte fall out.
    StorePending(static_cast<uint32_t>(bits_) << (24 - rest), static_cast<uint32_t>(rest), state);
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

  // Stores the highest `count` bytes, up to 7; the bytes after them keep their values.
  HWY_INLINE void StoreSome(uint64_t bytes, int count) {
    if (HWY_UNLIKELY(HasFf(bytes))) {
      to_ = StoreStuffed(bytes, count, to_);
      return;
    }
    uint64_t after;
    std::memcpy(&after, to_, 8);
    const uint64_t ones = (uint64_t{1} << (8 * count)) - 1;
    after ^= (__builtin_bswap64(bytes) ^ after) & ones;
    std::memcpy(to_, &after, 8);
    to_ += count;
  }

  uint8_t* to_;
  uint64_t bits_;  // the lowest 64 - free_ bits are pending; those above have been stored
  int free_;
};

// Appends the code of an encoder table's entry and `category` extra bits; the bits of `extra` above
// them are 0. False if the entry has no code.
HWY_INLINE bool PutBits(uint64_t entry, uint64_t extra, uint64_t category, Collector* to) {
  const uint64_t length = entry >> 16;
  if (HWY_UNLIKELY(length - 1 > 15)) return false;
  const uint64_t code = entry & LowOnes(length);
  to->Put(code << category | extra, static_cast<int>(length + category));
  return true;
}
HWY_INLINE bool PutCode(uint64_t entry, Collector* to) { return PutBits(entry, 0, 0, to); }
// Appends the code of an entry and the extra bits of a value. False if the entry has no code.
HWY_INLINE bool PutValue(uint64_t entry, int64_t value, uint32_t category, Collector* to) {
  return PutBits(entry, ExtraBits(value) & LowOnes(category), category, to);
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_COLLECTOR_H_
