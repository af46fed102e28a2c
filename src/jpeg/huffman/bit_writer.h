// SPDX-License-Identifier: MIT
// The reference writer of a JPEG scan's bits (ITU-T T.81, F.1.2.3): one code or value at a time. A
// write that does not fit does not change the state.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_BIT_WRITER_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_BIT_WRITER_H_

#include <cstdint>

#include "frame/checks.h"
#include "jpeg/huffman/huffman_states.h"
#include "jpeg/huffman/magnitude.h"

namespace zepjp {

// A caller's buffer and the position in it, which the writer moves.
struct Destination {
  uint8_t* bytes;
  int32_t length;
  int32_t* position;
};

// The first checks of every encoder, also when it flushes.
inline zepStatus CheckDestination(const Destination& to, const zepiEncodeHuffmanState* state) {
  return Checks()
      .Ptr(to.bytes)
      .Refuse(to.length < 1, zepStatusBadSize)
      .Ptr(to.position)
      .Ptr(state)
      .Failed();
}

// The state holds the pending bits, with the first one at bit 23, and above them the byte that was
// written last. Only a state that no coder has written can have more than 7 pending bits; the count
// is taken modulo 8.
inline uint32_t NumPending(const zepiEncodeHuffmanState& state) {
  return static_cast<uint32_t>(state.numBits) & 7U;
}
inline uint32_t PendingAndLastByte(const zepiEncodeHuffmanState& state) {
  return state.bits & ~(0xFFFFFFU >> NumPending(state));
}
inline void StorePending(uint32_t bits, uint32_t count, zepiEncodeHuffmanState* state) {
  state->bits = bits;
  state->reserved = 0;
  state->numBits = static_cast<int32_t>(count);
}

class BitWriter {
 public:
  BitWriter(const Destination& to, zepiEncodeHuffmanState* state) : to_(to), state_(state) {}

  // Writes the `count` lowest bits of `value`, 1 to 16. A count of 0 means a symbol without a code.
  // If the buffer has no room for all full bytes, the bytes that fit are stored and the state does
  // not change.
  zepStatus Put(uint32_t value, uint32_t count) {
    if (count == 0 || count > 16) return zepStatusBadHuffTable;
    uint32_t total = NumPending(*state_) + count;  // up to 23
    uint32_t bits = PendingAndLastByte(*state_);
    bits |= (value & ((1U << count) - 1)) << (24 - total);
    for (; total >= 8; total -= 8, bits <<= 8) {
      if (!PutByte((bits >> 16) & 0xFF)) return zepStatusBufferExhausted;
    }
    StorePending(bits, total, state_);
    return zepStatusOk;
  }

  // The code of an encoder table's entry.
  zepStatus PutCode(uint32_t entry) { return Put(entry & 0xFFFF, entry >> 16); }

  // Pads the last byte with ones, and resets the state whether the byte fits or not.
  zepStatus Flush() {
    const zepStatus status = Put(0x7F, 7);
    Reset(state_);
    return status;
  }

 private:
  // A byte FF is followed by a stuffed 00, so that it is not taken for a marker (ITU-T T.81,
  // F.1.2.3).
  bool PutByte(uint32_t byte) {
    if (!Store(byte)) return false;
    return byte != 0xFF || Store(0);
  }
  bool Store(uint32_t byte) {
    if (*to_.position < 0 || *to_.position >= to_.length) return false;
    to_.bytes[*to_.position] = static_cast<uint8_t>(byte);
    ++*to_.position;
    return true;
  }

  Destination to_;
  zepiEncodeHuffmanState* state_;
};

// Writes the category of a DC difference and its extra bits.
inline zepStatus PutDc(int32_t difference, const zepiEncodeHuffmanSpec& table, BitWriter* writer) {
  const uint32_t category = CategoryOf(difference);
  if (auto bad = writer->PutCode(table.entry[category])) return bad;
  return category == 0 ? zepStatusOk
                       : writer->Put(static_cast<uint32_t>(ExtraBits(difference)), category);
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_BIT_WRITER_H_
