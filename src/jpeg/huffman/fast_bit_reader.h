// SPDX-License-Identifier: MIT
// The quick way to read bits, where eight more bytes can be loaded at once and none of them is FF.
//
// How far ahead the careful reader would have read is part of what callers see, so this one keeps its
// count of unused bits beside its own: the careful reader fills only where fewer bits are left than it
// needs, and then whole bytes up to 25 bits or more.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_FAST_BIT_READER_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_FAST_BIT_READER_H_

#include "jpeg/huffman/bit_reader.h"

namespace zepjp {

class FastBitReader {
 public:
  // Works on from where `bits` are.
  FastBitReader(const Source& from, const Bits& bits)
      : from_(from),
        start_(bits),
        buffer_(bits.value),
        available_(bits.count),
        careful_count_(bits.count),
        position_(bits.position),
        usable_(*from.marker == 0 && bits.position >= 0) {}

  // Makes sure of 32 bits, enough for any symbol with its extra bits. False: the careful reader must
  // go on, from where bits() say.
  bool Ensure32() {
    if (available_ >= 32) return true;
    if (!usable_ || position_ > from_.length - 8) return false;
    uint64_t next;
    __builtin_memcpy(&next, from_.bytes + position_, sizeof(next));
    const bool has_ff = (next & ~(next + 0x0101010101010101U) & 0x8080808080808080U) != 0;
    if (has_ff) return false;
    const int bytes = (63 - available_) / 8;
    buffer_ = buffer_ << (8 * bytes) | __builtin_bswap64(next) >> (64 - 8 * bytes);
    available_ += 8 * bytes;
    position_ += bytes;
    return true;
  }

  // The next symbol, after Ensure32().
  bool TakeSymbol(const zepiDecodeHuffmanSpec& table, uint32_t* symbol) {
    FillCareful(kFastCodeBits);
    const uint32_t entry = table.fast[Peek(kFastCodeBits)];
    if (!IsFastCode(entry)) return Search(table, symbol);
    *symbol = entry & 0xFFFF;
    Use(static_cast<int>(entry >> 16));
    return true;
  }

  // The next `count` bits, 0 to 16, after the symbol.
  uint32_t Take(int count) {
    FillCareful(count);
    const uint32_t value = Peek(count);
    Use(count);
    return value;
  }

  // Where the careful reader would be now.
  Bits bits() const {
    const int ahead = (available_ - careful_count_) / 8;  // bytes
    Bits bits = {start_.value, start_.reserved, careful_count_, position_ - ahead};
    const int32_t read = bits.position - start_.position;
    if (read == 0) return bits;
    bits.reserved = 0;
    const uint8_t* const end = from_.bytes + bits.position;
    if (read >= 4) {
      __builtin_memcpy(&bits.value, end - 4, sizeof(bits.value));
      bits.value = __builtin_bswap32(bits.value);
    } else {
      for (int32_t i = -read; i < 0; ++i) bits.value = bits.value << 8 | end[i];
    }
    return bits;
  }

  // A place to come back to.
  struct Mark {
    int available, careful_count;
  };
  Mark mark() const { return {available_, careful_count_}; }
  void GoBack(Mark mark) {
    available_ = mark.available;
    careful_count_ = mark.careful_count;
  }

 private:
  uint32_t Peek(int count) const {
    return static_cast<uint32_t>(buffer_ >> (available_ - count)) & ((1U << count) - 1);
  }
  void Use(int count) {
    available_ -= count;
    careful_count_ -= count;
  }
  void FillCareful(int need) {
    const int is_short = (careful_count_ - need) >> 31;  // no branch: it would be a guess
    careful_count_ += (32 - careful_count_) & ~7 & is_short;
  }

  // Codes of more than 8 bits. The careful reader takes 9 bits, then one by one. False, and nothing
  // used: there is no such code.
  bool Search(const zepiDecodeHuffmanSpec& table, uint32_t* symbol) {
    const uint32_t next = Peek(kMaxCodeBits);
    for (int length = kFastCodeBits + 1; length <= kMaxCodeBits; ++length) {
      const uint32_t code = next >> (kMaxCodeBits - length);
      if (table.lastCode[length] == kNoCode || code > table.lastCode[length]) continue;
      const uint32_t index = table.firstIndex[length] + code - table.firstCode[length];
      if (index > 255) return false;
      *symbol = table.symbol[index];
      FillCareful(kFastCodeBits + 1);
      Use(kFastCodeBits + 1);
      for (int i = kFastCodeBits + 1; i < length; ++i) {
        FillCareful(1);
        Use(1);
      }
      return true;
    }
    return false;
  }

  Source from_;
  Bits start_;
  uint64_t buffer_;  // its lowest `available_` bits are still to be used
  int available_;
  int careful_count_;
  int32_t position_;
  bool usable_;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_FAST_BIT_READER_H_
