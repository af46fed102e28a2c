// SPDX-License-Identifier: MIT
// The careful way to read bits from a caller's buffer, and symbols from those bits. How far ahead it
// reads is part of what callers see, in the position and in the state.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_

#include <algorithm>
#include <cstdint>

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

constexpr int kFastCodeBits = 8;      // the length of the prefixes in a decoder table's `fast`
constexpr int kMaxCodeBits = 16;      // the length of the longest code
constexpr uint16_t kNoCode = 0xFFFF;  // the last code of a length that has none

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

struct FillResult {
  Bits bits;
  zepStatus status;
};

// Reads up to 25 bits or more, byte by byte; `need` of them decide whether the end of the source or a
// marker that was met before is an error.
FillResult FillCarefully(const Source& from, Bits bits, int need);

// Works on copies of the position and the state; Store() puts them back.
class BitReader {
 public:
  BitReader(const Source& from, zepiDecodeHuffmanState* state)
      : from_(from),
        state_(state),
        bits_{state->bits, state->reserved, NumValid(*state), *from.position} {}

  const Source& source() const { return from_; }
  const Bits& bits() const { return bits_; }
  void set_bits(const Bits& bits) { bits_ = bits; }

  void Store() {
    *from_.position = bits_.position;
    state_->bits = bits_.value;
    state_->reserved = bits_.reserved;
    state_->numBits = bits_.count;
  }

  // The next `count` bits, 1 to 16.
  [[gnu::always_inline]] zepStatus Take(int count, uint32_t* value) {
    // A fill that meets a marker succeeds; a second one knows that no bits will follow.
    while (bits_.count < count) {
      if (const zepStatus bad = Fill(count)) return bad;
    }
    *value = Peek(count);
    bits_.count -= count;
    return zepStatusOk;
  }

  // The next symbol.
  [[gnu::always_inline]] zepStatus TakeSymbol(const zepiDecodeHuffmanSpec& table,
                                              uint32_t* symbol) {
    *symbol = 0;
    if (bits_.count < kFastCodeBits) {
      if (const zepStatus bad = Fill(0)) return bad;
    }
    if (bits_.count >= kFastCodeBits) {
      const uint32_t entry = table.fast[Peek(kFastCodeBits)];
      if (IsFastCode(entry)) {
        *symbol = entry & 0xFFFF;
        bits_.count -= static_cast<int>(entry >> 16);
        return zepStatusOk;
      }
    }
    // A copy of the reader, so that this one's address goes nowhere and it stays in registers.
    BitReader copy = *this;
    const zepStatus status =
        copy.Search(table, bits_.count < kFastCodeBits ? 1 : kFastCodeBits + 1, symbol);
    bits_ = copy.bits_;
    return status;
  }

 private:
  uint32_t Peek(int count) const {
    return (bits_.value >> (bits_.count - count)) & ((1U << count) - 1);
  }

  // As FillCarefully; four bytes at once where none of them is FF.
  [[gnu::always_inline]] zepStatus Fill(int need) {
    if (*from_.marker == 0 && bits_.position >= 0 && bits_.position <= from_.length - 4) {
      uint32_t next;
      __builtin_memcpy(&next, from_.bytes + bits_.position, sizeof(next));
      const bool has_ff = ((next & 0x80808080U) & ~(next + 0x01010101U)) != 0;
      if (!has_ff && bits_.count < 25) {
        const int bytes = (32 - bits_.count) / 8;
        const uint64_t both = uint64_t{bits_.value} << 32 | __builtin_bswap32(next);
        bits_.value = static_cast<uint32_t>(both >> (32 - 8 * bytes));
        bits_.reserved = 0;
        bits_.count += 8 * bytes;
        bits_.position += bytes;
        return zepStatusOk;
      }
    }
    const FillResult result = FillCarefully(from_, bits_, need);
    bits_ = result.bits;
    return result.status;
  }

  // Codes of `length` bits or more, one bit more at a time: the first that is not above the last code
  // of its length (T.81, F.2.2.3).
  [[gnu::noinline]] zepStatus Search(const zepiDecodeHuffmanSpec& table, int length,
                                     uint32_t* symbol) {
    uint32_t code = 0;
    if (const zepStatus bad = Take(length, &code)) return bad;
    while (table.lastCode[length] == kNoCode || code > table.lastCode[length]) {
      if (length == kMaxCodeBits) return zepStatusBadHuffCode;
      uint32_t bit = 0;
      if (const zepStatus bad = Take(1, &bit)) return bad;
      code = code << 1 | bit;
      ++length;
    }
    const uint32_t index = table.firstIndex[length] + code - table.firstCode[length];
    if (index > 255) return zepStatusBadHuffCode;
    *symbol = table.symbol[index];
    return zepStatusOk;
  }

  Source from_;
  zepiDecodeHuffmanState* state_;
  Bits bits_;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_
