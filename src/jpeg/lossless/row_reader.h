// SPDX-License-Identifier: MIT
// The reader for long rows of differences in lossless JPEG (ITU-T T.81, H.2). It first copies a part
// of the source without stuffed zeros. A look-up by the next eight bits gives the length of a code
// together with its extra bits. The window is loaded again after each difference, from a place that
// is known one difference earlier, so no branch waits for bits.
//
// As in quick_reader.h, the reader counts the bits that the reference reader would have read.
#ifndef ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_
#define ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

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

// The data bytes after those of the state, up to `room` of them, without stuffed zeros. They end
// before a marker or a fill byte.
class RowBytes {
 public:
  static constexpr size_t kMostBytes = 2048;

  RowBytes(const Source& from, const zepiDecodeHuffmanState& state, size_t room) {
    const uint32_t newest = __builtin_bswap32(state.bits);
    std::memcpy(bytes_, &newest, kStateBytes);
    const uint8_t* next = from.bytes + *from.position;
    const uint8_t* const end = from.bytes + from.length;
    uint8_t* to = bytes_ + kStateBytes;
    uint8_t* const limit = to + (room < kMostBytes ? room : kMostBytes);
    while (to < limit && next != end) {
      uint64_t eight = ~uint64_t{0};
      if (end - next >= 8) std::memcpy(&eight, next, 8);
      if (!HasFf(eight)) {
        std::memcpy(to, &eight, 8);
        to += 8;
        next += 8;
        continue;
      }
      const bool is_ff = *next == 0xFF;
      if (is_ff && (end - next < 2 || next[1] != 0)) break;
      *to++ = *next;
      next += is_ff ? 2 : 1;
    }
    size_ = static_cast<size_t>(to - bytes_);
    std::memset(to, 0, 8);
  }

  size_t size() const { return size_; }  // with the bytes of the state

  // The bits from bit `at`, at least 57 of them.
  HWY_INLINE uint64_t Load(size_t at) const {
    return LoadBigEndian64(bytes_ + (at >> 3)) << (at & 7);
  }

  // Stores the position and the state of the reference reader.
  void Finish(const Progress& progress, const Source& from, zepiDecodeHuffmanState* state) const {
    const size_t count = progress.bytes_read();
    *from.position += static_cast<int32_t>(count + CountFf(count));
    state->bits = LoadBigEndian32(bytes_ + count);
    state->numBits = progress.unused();
  }

 private:
  // The number of bytes FF among the first `count` after those of the state.
  size_t CountFf(size_t count) const {
    constexpr uint64_t kOnes = 0x0101010101010101;
    const uint8_t* const from = bytes_ + kStateBytes;
    size_t found = 0, i = 0;
    for (; i + 8 <= count; i += 8) {
      uint64_t eight;
      std::memcpy(&eight, from + i, 8);
      // The lowest bit of a byte is set if the byte is FF.
      const uint64_t low = eight & (kOnes * 0x7F);
      const uint64_t is_ff = ((low + kOnes) & eight) >> 7 & kOnes;
      found += static_cast<size_t>(is_ff * kOnes >> 56);
    }
    for (; i < count; ++i) found += from[i] == 0xFF ? 1 : 0;
    return found;
  }

  uint8_t bytes_[kStateBytes + kMostBytes + 8 + 8];  // eight bytes are copied and loaded at a time
  size_t size_;
};

class RowReader {
 public:
  // The longest code with its extra bits, and what the reference reader reads ahead.
  static constexpr size_t kMostBits = 31, kMostAhead = 40;

  HWY_INLINE RowReader(const RowBytes& bytes, const zepiDecodeHuffmanState& state)
      : bytes_(bytes),
        counts_{8 * kStateBytes - static_cast<size_t>(state.numBits), 8 * kStateBytes},
        window_(bytes.Load(counts_.taken)) {}

  // Takes the next difference. False if there is no such code. There must be kMostBits bits.
  HWY_INLINE bool Take(const zepiDecodeHuffmanSpec& table, const ShortCode* codes,
                       int16_t* difference) {
    const size_t taken = counts_.taken;
    const ShortCode code = codes[window_ >> (64 - kFastCodeBits)];
    const uint64_t next = bytes_.Load(taken);
    const auto bits = static_cast<size_t>(code & 0xFF);
    const auto length = static_cast<size_t>(code >> 8 & 0xFF);
    if (HWY_UNLIKELY(bits == kNotShort)) {
      Progress copy = counts_;
      const bool is_done = TakeLong(table, window_, &copy, difference);
      counts_ = copy;
      window_ = bytes_.Load(counts_.taken);
      return is_done;
    }
    // Processors use only the lowest six bits of a shift count, so each mask compiles to nothing.
    *difference = ValueOf(window_ << (code >> 8 & 63), code >> 16 & 63, code >> 32);
    window_ = next << (code & 63);
    ReadCarefully(taken, taken + kFastCodeBits, &counts_.read);
    ReadCarefully(taken + length, taken + bits, &counts_.read);
    counts_.taken = taken + bits;
    return true;
  }

  const Progress& counts() const { return counts_; }

 private:
  // Counts the refill that the reference reader makes after `taken` bits if it needs those up to
  // `end`.
  static HWY_INLINE void ReadCarefully(size_t taken, size_t end, size_t* read) {
    const size_t filled = (taken + 32) & ~size_t{7};
    *read = *read < end ? filled : *read;
  }

  // The value whose extra bits are the highest of `extra`: 63 - others of them; `ones` has that
  // number of 1 bits.
  static HWY_INLINE int16_t ValueOf(uint64_t extra, uint64_t others, uint64_t ones) {
    const auto is_positive = static_cast<uint64_t>(static_cast<int64_t>(extra) >> 63);
    const uint64_t bits = extra >> 1 >> others;
    return static_cast<int16_t>(static_cast<uint16_t>(bits - (ones & ~is_positive)));
  }

  // Takes any code. The reference reader takes nine bits of a long one, then one at a time.
  static HWY_NOINLINE bool TakeLong(const zepiDecodeHuffmanSpec& table, uint64_t window,
                                    Progress* counts, int16_t* difference) {
    uint32_t entry = table.fast[window >> (64 - kFastCodeBits)];
    const bool is_fast = IsFastCode(entry);
    if (!is_fast) entry = FindLongCode(table, static_cast<uint32_t>(window >> (64 - kMaxCodeBits)));
    const uint32_t category = entry & 0xFFFF;
    if (entry == 0 || category > 16) return false;
    const size_t length = entry >> 16, extra = category % 16, taken = counts->taken;
    ReadCarefully(taken, taken + kFastCodeBits + (is_fast ? 0 : 1), &counts->read);
    if (counts->read < taken + length) counts->read += 32;
    ReadCarefully(taken + length, taken + length + extra, &counts->read);
    counts->taken = taken + length + extra;
    *difference = category == 16
                      ? INT16_MIN
                      : ValueOf(window << length, 63 - extra, (uint64_t{1} << extra) - 1);
    return true;
  }

  const RowBytes& bytes_;
  Progress counts_;
  uint64_t window_;  // the next bit is the highest
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_
