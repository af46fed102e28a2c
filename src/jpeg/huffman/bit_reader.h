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

// Works on copies of the position and the state; Store() puts them back.
class BitReader {
 public:
  BitReader(const Source& from, zepiDecodeHuffmanState* state)
      : from_(from),
        state_(state),
        position_(*from.position),
        bits_(state->bits),
        reserved_(state->reserved),
        num_bits_(NumValid(*state)) {}

  void Store() {
    *from_.position = position_;
    state_->bits = bits_;
    state_->reserved = reserved_;
    state_->numBits = num_bits_;
  }

  // The next `count` bits, 1 to 16.
  zepStatus Take(int count, uint32_t* value) {
    // A fill that meets a marker succeeds; a second one knows that no bits will follow.
    while (num_bits_ < count) {
      if (const zepStatus bad = Fill(count)) return bad;
    }
    *value = Peek(count);
    num_bits_ -= count;
    return zepStatusOk;
  }

  // The next symbol.
  zepStatus TakeSymbol(const zepiDecodeHuffmanSpec& table, uint32_t* symbol) {
    *symbol = 0;
    if (num_bits_ < kFastCodeBits) {
      if (const zepStatus bad = Fill(0)) return bad;
    }
    if (num_bits_ < kFastCodeBits) return Search(table, 1, symbol);
    const uint32_t entry = table.fast[Peek(kFastCodeBits)];
    if (!IsFastCode(entry)) return Search(table, kFastCodeBits + 1, symbol);
    *symbol = entry & 0xFFFF;
    num_bits_ -= static_cast<int>(entry >> 16);
    return zepStatusOk;
  }

 private:
  enum class Byte { kData, kMarker, kEnd };

  uint32_t Peek(int count) const { return (bits_ >> (num_bits_ - count)) & ((1U << count) - 1); }

  bool AtEnd() const { return position_ < 0 || position_ >= from_.length; }

  // Reads up to 25 bits or more; `need` of them decide whether the end of the source or a marker that
  // was met before is an error.
  zepStatus Fill(int need) {
    if (*from_.marker != 0) return need > num_bits_ ? zepStatusBadHuffCode : zepStatusOk;
    while (num_bits_ < 25) {
      if (AtEnd()) return need > num_bits_ ? zepStatusBufferExhausted : zepStatusOk;
      uint32_t byte = 0;
      switch (NextByte(&byte)) {
        case Byte::kEnd: return zepStatusBufferExhausted;
        case Byte::kMarker: *from_.marker = static_cast<int32_t>(byte); return zepStatusOk;
        case Byte::kData: break;
      }
      bits_ = bits_ << 8 | byte;
      reserved_ = 0;
      num_bits_ += 8;
    }
    return zepStatusOk;
  }

  // FF 00 is the data byte FF, FF and anything else a marker; more FFs between them are filling.
  Byte NextByte(uint32_t* byte) {
    *byte = from_.bytes[position_++];
    if (*byte != 0xFF) return Byte::kData;
    do {
      if (AtEnd()) return Byte::kEnd;
      *byte = from_.bytes[position_++];
    } while (*byte == 0xFF);
    if (*byte != 0) return Byte::kMarker;
    *byte = 0xFF;
    return Byte::kData;
  }

  // Codes of `length` bits or more, one bit more at a time: the first that is not above the last code
  // of its length (T.81, F.2.2.3).
  zepStatus Search(const zepiDecodeHuffmanSpec& table, int length, uint32_t* symbol) {
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
  int32_t position_;
  uint32_t bits_;
  uint32_t reserved_;
  int num_bits_;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_BIT_READER_H_
