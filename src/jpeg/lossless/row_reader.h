// SPDX-License-Identifier: MIT
// The fastest reader, for many differences: a look-up by the next eight bits gives the length of a
// code together with its extra bits, so that the next code depends on one look-up and one shift
// only.
//
// It refills exactly when the reference reader (jpeg/huffman/bit_reader.h) does, and as far: if
// fewer bits are valid than are needed, to 25 bits or more. So position and state come out right
// without a separate count, and a refill every 20 bits or so is no more than any other rule would
// need.
#ifndef ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_
#define ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_

#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/quick_reader.h"

namespace zepjp {

// What the first eight bits of a code say about it and its extra bits, in one word. From the lowest
// byte on: the length of both, the length of the code, 63 less the number of extra bits; in the
// upper half, as many 1 bits as there are extra bits. If the code is longer than eight bits, or its
// category is 16, the length of both is kNotShort.
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
  // Of a state and a position that are usual.
  RowReader(const Source& from, const zepiDecodeHuffmanState& state)
      : next_(from.bytes + *from.position),
        end_(from.bytes + from.length),
        window_(state.numBits > 0 ? uint64_t{state.bits} << (64 - state.numBits) : 0),
        ahead_(static_cast<uint32_t>(state.numBits)) {}

  // The next difference. False: there is no such code, or a marker or the end comes too early; then
  // the reader is of no more use.
  HWY_INLINE bool Take(const zepiDecodeHuffmanSpec& table, const ShortCode* codes,
                       int16_t* difference) {
    if (ahead_ < kFastCodeBits && HWY_UNLIKELY(!Fill())) return false;
    const ShortCode code = codes[window_ >> (64 - kFastCodeBits)];
    const auto bits = static_cast<uint32_t>(code & 0xFF);
    if (HWY_UNLIKELY(ahead_ < bits)) return TakeAny(table, difference);
    // The upper bits of a number of shifts do not count, which saves taking them out.
    *difference = ValueOf(window_ << (code >> 8 & 63), code >> 16 & 63, code >> 32);
    window_ <<= code & 63;
    ahead_ -= bits;
    return true;
  }

  // Where the careful reader is. At least four bytes must have been read.
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

  // Extra bits at the start of 64.
  static HWY_INLINE int16_t ValueOf(uint64_t extra, uint64_t others, uint64_t ones) {
    const auto is_positive = static_cast<uint64_t>(static_cast<int64_t>(extra) >> 63);
    const uint64_t bits = extra >> 1 >> others;
    return static_cast<int16_t>(static_cast<uint16_t>(bits - (ones & ~is_positive)));
  }

  // Any code: as the careful reader takes it. Works on a copy, so that the window need not be in
  // memory.
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

  // Nine bits, then one by one.
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

  // Refills to 25 bits or more. The bits after the valid ones may be set: they are those of the
  // bytes that follow.
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
  uint32_t ahead_;   // how many of its bits the careful reader would have read
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_
