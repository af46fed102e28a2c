// SPDX-License-Identifier: MIT
// The reader for long rows of differences in lossless JPEG (ITU-T T.81, H.2). It first copies a part
// of the source without stuffed zeros. A look-up by the next eight bits gives the length of a code
// together with its extra bits. The window is loaded again at each difference, so no branch waits
// for bits. The look-up does not wait for that load: it takes the window that was loaded two
// differences earlier. At least 57 bits were valid there, and the codes that the look-up knows have
// at most 8 + 15 bits with their extra bits, so 11 bits are left. It needs 8.
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
#include "jpeg/huffman/magnitude.h"
#include "jpeg/huffman/quick_reader.h"

namespace zepjp {

// The look-up by the first eight bits of a code, which has e extra bits. Each difference waits for
// the bits of the one before, so they have an array of their own, whose addresses take no addition.
struct ShortCodes {
  static constexpr size_t kCount = size_t{1} << kFastCodeBits;
  static constexpr uint8_t kNone = 255;  // if the code is longer or its category is 16

  struct Entry {
    uint8_t length;  // of the code
    uint8_t others;  // 64 minus the bits
    uint16_t ones;   // 2^e - 1
    uint16_t half;   // 2^(e-1), or 0 if e is 0: smaller extra bits stand for negative values
    uint16_t unused;
  };

  void List(const zepiDecodeHuffmanSpec& table) {
    for (size_t i = 0; i < kCount; ++i) {
      const uint32_t code = table.fast[i];
      const uint32_t extra = code & 0xFFFF, length = code >> 16, sum = length + extra;
      const uint32_t power = 1U << extra % 16;
      bits[i] = IsFastCode(code) && extra < 16 ? static_cast<uint8_t>(sum) : kNone;
      entry[i] = {static_cast<uint8_t>(length), static_cast<uint8_t>(64 - sum),
                  static_cast<uint16_t>(power - 1), static_cast<uint16_t>(power >> 1), 0};
    }
  }

  uint8_t bits[kCount];  // the length of the code and its extra bits
  Entry entry[kCount];
};

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
        window_(bytes.Load(counts_.taken)),
        next_window_(window_) {}

  // Takes the next difference. False if there is no such code. There must be kMostBits bits.
  HWY_INLINE bool Take(const zepiDecodeHuffmanSpec& table, const ShortCodes& codes,
                       int16_t* difference) {
    const size_t taken = counts_.taken;
    const auto index = static_cast<size_t>(window_ >> (64 - kFastCodeBits));
    const size_t bits = codes.bits[index];
    const ShortCodes::Entry& code = codes.entry[index];
    const uint64_t here = bytes_.Load(taken);
    if (HWY_UNLIKELY(bits == ShortCodes::kNone)) {
      Progress copy = counts_;
      const bool is_done = TakeLong(table, here, &copy, difference);
      counts_ = copy;
      window_ = next_window_ = bytes_.Load(counts_.taken);
      return is_done;
    }
    *difference = ValueOf(static_cast<uint32_t>(here >> code.others), code.ones, code.half);
    window_ = next_window_ << bits;
    next_window_ = here << bits;
    // After a refill for the code there are bits enough for the rest, so there is only one.
    const size_t for_code = taken + kFastCodeBits, for_all = taken + bits;
    size_t read = counts_.read;
    ReplaceIfLess(counts_.read, for_all, Refilled(taken + code.length), &read);
    ReplaceIfLess(counts_.read, for_code, Refilled(taken), &read);
    counts_ = {for_all, read};
    return true;
  }

  const Progress& counts() const { return counts_; }

 private:
  // The bits that the reference reader has read if it refills after `taken` bits: at least 25 more.
  static HWY_INLINE size_t Refilled(size_t taken) { return (taken + 32) & ~size_t{7}; }

  // Counts the refill that the reference reader makes after `taken` bits if it needs those up to
  // `end`.
  static void ReadCarefully(size_t taken, size_t end, size_t* read) {
    if (*read < end) *read = Refilled(taken);
  }

  // In assembly, because g++ makes a branch of it, which would be mispredicted.
  static HWY_INLINE void ReplaceIfLess(size_t a, size_t b, size_t value, size_t* replaced) {
#ifdef __x86_64__
    __asm__("cmpq %[b], %[a]\n\tcmovbq %[value], %[replaced]"
            : [replaced] "+r"(*replaced)
            : [a] "r"(a), [b] "r"(b), [value] "r"(value)
            : "cc");
#else
    if (a < b) *replaced = value;
#endif
  }

  // The value whose extra bits are the lowest ones of `bits`.
  static HWY_INLINE int16_t ValueOf(uint32_t bits, uint32_t ones, uint32_t half) {
    const uint32_t extra = bits & ones;
    const auto is_negative = static_cast<uint32_t>(static_cast<int32_t>(extra - half) >> 31);
    return static_cast<int16_t>(static_cast<uint16_t>(extra - (ones & is_negative)));
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
                      : static_cast<int16_t>(DifferenceOfHighest(category, window << length));
    return true;
  }

  const RowBytes& bytes_;
  Progress counts_;
  // In both the next bit is the highest. They were loaded two differences ago and one ago.
  uint64_t window_, next_window_;
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_LOSSLESS_ROW_READER_H_
