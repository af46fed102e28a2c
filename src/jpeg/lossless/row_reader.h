// SPDX-License-Identifier: MIT
// The reader for long rows of differences in lossless JPEG (ITU-T T.81, H.2). A look-up by the next
// eight bits gives the length of a code together with its extra bits. So the time from one code to
// the next is only one look-up and one shift.
//
// It refills exactly when the reference reader (jpeg/huffman/bit_reader.h) does, and by the same
// amount: if fewer bits are valid than are needed, up to 25 or more. So the position and the state
// are right without a separate count. A refill is needed about every 20 bits.
#ifndef ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_
#define ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_

#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/quick_reader.h"

namespace zepjp {

// The entry of the look-up by the first eight bits of a code, in one word: byte 0 is the length of
// the code with its extra bits, byte 1 the length of the code, byte 2 is 63 minus the number e of
// extra bits; the upper half is 2^e - 1. If the code is longer than eight bits, or its category is
// 16, byte 0 is kNotShort.
using ShortCode = uint64_t;
constexpr size_t kShortCodes = size_t{1} << kFastCodeBits;
constexpr uint32_t kNotShort = 255;

inline void ListShortCodes(const zepiDecodeHuffmanSpec& table, ShortCode codes[kShortCodes]) {
  for (size_t i = 0; i < kShortCodes; ++i) {
    const uint32_t entry = table.fast[i];
    const uint32_t extra = entry & 0xFFFF, length = entry >> 16;
    const uint64_t ones = (uint64_t{1} << extra % 16) - 1;
    const bool is_short = IsFastCode(entry) && extra < 16;
    codes[i] =
        is_short ? ones << 32 | (63 - extra) << 16 | length << 8 | (length + extra) : kNotShort;
  }
}

class RowReader {
 public:
  // The state and the position must satisfy IsUsual().
  RowReader(const Source& from, const zepiDecodeHuffmanState& state)
      : next_(from.bytes + *from.position),
        end_(from.bytes + from.length),
        window_(state.numBits > 0 ? uint64_t{state.bits} << (64 - state.numBits) : 0),
        ahead_(static_cast<uint32_t>(state.numBits)) {}

  // Takes the next difference. False if there is no such code, or if a marker or the end of the
  // source comes too early; then the reader must not be used further.
  HWY_INLINE bool Take(const zepiDecodeHuffmanSpec& table, const ShortCode* codes,
                       int16_t* difference) {
    if (ahead_ < kFastCodeBits && HWY_UNLIKELY(!Fill())) return false;
    const ShortCode code = codes[window_ >> (64 - kFastCodeBits)];
    const auto bits = static_cast<uint32_t>(code & 0xFF);
    if (HWY_UNLIKELY(ahead_ < bits)) return TakeAny(table, difference);
    // Processors use only the lowest six bits of a shift count, so each mask compiles to nothing.
    *difference = ValueOf(window_ << (code >> 8 & 63), code >> 16 & 63, code >> 32);
    window_ <<= code & 63;
    ahead_ -= bits;
    return true;
  }

  // Stores the position and the state of the reference reader. At least four bytes must have been
  // read.
  void Finish(const Source& from, zepiDecodeHuffmanState* state) const {
    const uint8_t* const start = from.bytes + *from.position;
    const uint8_t* byte = next_;
    uint32_t newest = 0;
    for (int shift = 0; shift < 32; shift += 8) {
      const bool is_stuffed = byte - start >= 2 && byte[-1] == 0 && byte[-2] == 0xFF;
      byte -= is_stuffed ? 2 : 1;
      newest |= uint32_t{*byte} << shift;
    }
    *from.position += static_cast<int32_t>(next_ - start);
    state->bits = newest;
    state->numBits = static_cast<int32_t>(ahead_);
  }

 private:
  HWY_INLINE void Use(uint32_t bits) {
    window_ <<= bits;
    ahead_ -= bits;
  }

  // The value whose extra bits are the highest of `extra`: 63 - others of them; `ones` has that
  // number of 1 bits.
  static HWY_INLINE int16_t ValueOf(uint64_t extra, uint64_t others, uint64_t ones) {
    const auto is_positive = static_cast<uint64_t>(static_cast<int64_t>(extra) >> 63);
    const uint64_t bits = extra >> 1 >> others;
    return static_cast<int16_t>(static_cast<uint16_t>(bits - (ones & ~is_positive)));
  }

  // Takes any code in the way of the reference reader. It works on a copy, so that the window of
  // the reader can stay in a register.
  HWY_INLINE bool TakeAny(const zepiDecodeHuffmanSpec& table, int16_t* difference) {
    RowReader copy = *this;
    const bool is_done = copy.TakeCarefully(table, difference);
    *this = copy;
    return is_done;
  }

  HWY_NOINLINE bool TakeCarefully(const zepiDecodeHuffmanSpec& table, int16_t* difference) {
    const uint32_t entry = table.fast[window_ >> (64 - kFastCodeBits)];
    uint32_t category = entry & 0xFFFF;
    if (IsFastCode(entry)) {
      Use(entry >> 16);
    } else if (!TakeLongCode(table, &category)) {
      return false;
    }
    if (category > 16) return false;
    const uint32_t extra = category % 16;
    if (ahead_ < extra && !Fill()) return false;
    *difference =
        category == 16 ? INT16_MIN : ValueOf(window_, 63 - extra, (uint64_t{1} << extra) - 1);
    Use(extra);
    return true;
  }

  // Takes nine bits, then one at a time.
  bool TakeLongCode(const zepiDecodeHuffmanSpec& table, uint32_t* symbol) {
    uint32_t code = 0;
    for (int length = kFastCodeBits + 1, more = length; length <= kMaxCodeBits;
         ++length, more = 1) {
      if (ahead_ < static_cast<uint32_t>(more) && !Fill()) return false;
      code = code << more | static_cast<uint32_t>(window_ >> (64 - more));
      Use(static_cast<uint32_t>(more));
      if (!IsCode(table, length, code)) continue;
      const uint32_t index = IndexOfCode(table, length, code);
      if (index > 255) return false;
      *symbol = table.symbol[index];
      return true;
    }
    return false;
  }

  // Refills to 25 bits or more. Bits after the valid ones may be set; they are bits of the bytes
  // that follow.
  HWY_INLINE bool Fill() {
    if (HWY_LIKELY(end_ - next_ >= 8)) {
      const uint64_t bytes = LoadBigEndian64(next_);
      if (HWY_LIKELY(!HasFf(bytes))) {
        window_ |= bytes >> ahead_;
        next_ += (32 - ahead_) / 8;
        ahead_ += (32 - ahead_) & ~7U;
        return true;
      }
    }
    RowReader copy = *this;
    const bool is_done = copy.FillByBytes();
    *this = copy;
    return is_done;
  }

  HWY_NOINLINE bool FillByBytes() {
    for (; ahead_ < 25; ahead_ += 8) {
      if (next_ == end_) return false;
      const bool is_ff = *next_ == 0xFF;
      if (is_ff && (end_ - next_ < 2 || next_[1] != 0)) return false;
      window_ |= uint64_t{*next_} << (56 - ahead_);
      next_ += is_ff ? 2 : 1;
    }
    return true;
  }

  const uint8_t* next_;
  const uint8_t* end_;
  uint64_t window_;  // the next bit is the highest
  uint32_t ahead_;   // the number of its bits that the reference reader would have read
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_
