// SPDX-License-Identifier: MIT
// The careful way to read bits from a caller's buffer, and symbols from those bits. How far ahead it
// reads is part of what callers see, in the position and in the state.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_

#include <algorithm>
#include <cstdint>

#include "jpeg/huffman/code_lengths.h"
#include "zepjp.h"

namespace zepjp {

// A caller's buffer, the position in it and the marker that stopped reading, which the reader moves
// and sets.
struct Source {
  const uint8_t* bytes;
  int32_t length;
  int32_t* position;
  int32_t* marker;
};

// Whether bits from the start of a code are one of this length, and the index of its symbol.
inline bool IsCode(const zepiDecodeHuffmanSpec& table, int length, uint32_t code) {
  return table.lastCode[length] != kNoCode && code <= table.lastCode[length];
}
inline uint32_t IndexOfCode(const zepiDecodeHuffmanSpec& table, int length, uint32_t code) {
  return table.firstIndex[length] + code - table.firstCode[length];
}

// A fast entry of a code of 1 to 8 bits. Tables as they are built hold no other, except 0.
inline bool IsFastCode(uint32_t entry) { return entry - (1U << 16) < 8U << 16; }

// The state's record keeps the last bytes read, the newest lowest, and how many bits of them are still
// to be used. A record that no coder left behind (a count outside 0..32) does no harm.
inline int NumValid(const zepiDecodeHuffmanState& state) {
  return std::clamp(state.numBits, int32_t{0}, int32_t{32});
}

// The bits read ahead and the position behind them.
struct Bits {
  uint32_t value;     // the last bytes read, the newest lowest
  uint32_t reserved;  // 0 once a byte was read
  int count;          // how many of the lowest bits are still to be used
  int32_t position;
};

inline Bits LoadBits(const int32_t* position, const zepiDecodeHuffmanState& state) {
  return {state.bits, state.reserved, NumValid(state), *position};
}
inline void StoreBits(const Bits& bits, int32_t* position, zepiDecodeHuffmanState* state) {
  *position = bits.position;
  state->bits = bits.value;
  state->reserved = bits.reserved;
  state->numBits = bits.count;
}

// Works on copies of the position and the state; Store() puts them back.
class BitReader {
 public:
  BitReader(const Source& from, zepiDecodeHuffmanState* state)
      : from_(from), state_(state), bits_(LoadBits(from.position, *state)) {}

  void Store() { StoreBits(bits_, from_.position, state_); }

  // The next `count` bits, 1 to 16.
  zepStatus Take(int count, uint32_t* value) {
    // A fill that meets a marker succeeds; a second one knows that no bits will follow.
    while (bits_.count < count) {
      if (const zepStatus bad = Fill(count)) return bad;
    }
    *value = Peek(count);
    bits_.count -= count;
    return zepStatusOk;
  }

  // The next symbol.
  zepStatus TakeSymbol(const zepiDecodeHuffmanSpec& table, uint32_t* symbol);

 private:
  uint32_t Peek(int count) const {
    return (bits_.value >> (bits_.count - count)) & ((1U << count) - 1);
  }

  // Reads up to 25 bits or more, byte by byte; `need` of them decide whether the end of the source or a
  // marker that was met before is an error.
  zepStatus Fill(int need);

  zepStatus Search(const zepiDecodeHuffmanSpec& table, int length, uint32_t* symbol);

  Source from_;
  zepiDecodeHuffmanState* state_;
  Bits bits_;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_
