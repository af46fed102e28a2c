// SPDX-License-Identifier: MIT
// The reference reader of a JPEG scan's bits and symbols (ITU-T T.81, F.2.2). It reads byte by byte
// and handles every case of stuffing, markers and the end of the source.
//
// Callers can see in the position and in the state how far it reads ahead, so that is part of the
// interface. It refills only if fewer bits are valid than it is about to take (8 for a symbol), and
// then byte by byte until 25 or more are valid. quick_reader.h computes the same amounts.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_

#include <algorithm>
#include <cstdint>

#include "jpeg/huffman/code_lengths.h"
#include "zepjp.h"

namespace zepjp {

// A caller's buffer, the position in it, which the reader moves, and the marker that stopped
// reading, which it sets.
struct Source {
  const uint8_t* bytes;
  int32_t length;
  int32_t* position;
  int32_t* marker;
};

// Whether `code` is a code of this length, and the index of its symbol.
inline bool IsCode(const zepiDecodeHuffmanSpec& table, int length, uint32_t code) {
  return table.lastCode[length] != kNoCode && code <= table.lastCode[length];
}
inline uint32_t IndexOfCode(const zepiDecodeHuffmanSpec& table, int length, uint32_t code) {
  return table.firstIndex[length] + code - table.firstCode[length];
}

// Whether an entry of `fast` holds a code of 1 to 8 bits. In a table made by the Init function all
// other entries are 0.
inline bool IsFastCode(uint32_t entry) { return entry - (1U << 16) < 8U << 16; }

// The number of bits in the state that are not used yet. Only a state that no coder has written can
// have a count outside 0..32; it is clamped.
inline int NumValid(const zepiDecodeHuffmanState& state) {
  return std::clamp(state.numBits, int32_t{0}, int32_t{32});
}

// The bits read ahead and the position after them.
struct Bits {
  uint32_t value;     // the last bytes read, the newest lowest
  uint32_t reserved;  // 0 once a byte was read
  int count;          // the number of lowest bits that are not used yet
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
    // A refill that meets a marker succeeds; the next one fails, because no more bits can follow.
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

  // Refills byte by byte until 25 bits or more are valid. The end of the source, or a marker that
  // was met before, is an error only if fewer than `need` bits are valid.
  zepStatus Fill(int need);

  zepStatus Search(const zepiDecodeHuffmanSpec& table, int length, uint32_t* symbol);

  Source from_;
  zepiDecodeHuffmanState* state_;
  Bits bits_;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_
