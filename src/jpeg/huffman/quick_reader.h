// SPDX-License-Identifier: MIT
// The fast reader of symbols and values. It takes bits from a window of 64 bits, which it refills
// with eight bytes at a time.
//
// The position and the state after a call are part of the interface, and they show how far the
// reference reader (bit_reader.h) reads ahead. So besides the bits that it has taken, the fast
// reader counts the bits that the reference reader would have read. The reference reader refills
// only if fewer bits are valid than it needs, and then whole bytes until 25 or more are valid:
//
//   if read < end:  read = (taken + 32) rounded down to a multiple of 8
//
// where `end` is the end of the bits that it needs next.
//
// Both counts start at the first of the four bytes that the state holds. At the end their
// difference is the number of valid bits, and `read` gives the position. The fast reader fails at
// everything that the reference reader handles specially (a marker, the end of the source, an
// invalid code, a state that no coder has written); the reference reader then starts again from the
// unchanged state.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_QUICK_READER_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_QUICK_READER_H_

#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "jpeg/huffman/bit_reader.h"
#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"

namespace zepjp {

// The state holds the last four bytes that were read. Data bytes are numbered from the first of
// them.
constexpr size_t kStateBytes = 4;

inline uint32_t LoadBigEndian32(const uint8_t* from) {
  uint32_t value;
  __builtin_memcpy(&value, from, sizeof(value));
  return __builtin_bswap32(value);
}

inline uint64_t LoadBigEndian64(const uint8_t* from) {
  uint64_t value;
  __builtin_memcpy(&value, from, sizeof(value));
  return __builtin_bswap64(value);
}

// Data bytes in the source, starting with those in the state, up to the first FF.
class PlainBytes {
 public:
  PlainBytes(const uint8_t* from, int64_t size) : from_(from), limit_(size - 8) {}

  // Loads at least 57 bits from bit `at`, the first one highest. False if there are fewer.
  HWY_INLINE bool Load(size_t at, uint64_t* bits) {
    const auto byte = static_cast<int64_t>(at >> 3);
    if (HWY_UNLIKELY(byte > limit_)) return false;
    const uint64_t next = LoadBigEndian64(from_ + byte);
    *bits = next << (at & 7);
    return HWY_LIKELY(!HasFf(next));
  }

 private:
  const uint8_t* from_;
  int64_t limit_;  // eight bytes may be loaded up to here
};

// Data bytes of a source with stuffed zeros, up to a marker, a fill byte or the end of the source.
class StuffedBytes {
 public:
  StuffedBytes(uint32_t state_bytes, const uint8_t* from, const uint8_t* end)
      : start_(from), from_(from), end_(end), state_bytes_(state_bytes), newest_(state_bytes) {}

  // As PlainBytes::Load; `at` never decreases.
  HWY_INLINE bool Load(size_t at, uint64_t* bits) {
    while (8 * count_ - at < 57) {
      if (!TakeSeveral(at / 8 + 8 - count_) && !TakeOne()) return false;
    }
    *bits = newest_ << (64 - (8 * count_ - at));
    return true;
  }

  // Returns how many source bytes the first `count` data bytes after the state's occupy; `*newest`
  // becomes the last four of these data bytes.
  int32_t Advance(size_t count, uint32_t* newest) const {
    const uint8_t* at = start_;
    *newest = state_bytes_;
    for (; count > 0; --count) {
      *newest = *newest << 8 | *at;
      at = After(at);
    }
    return static_cast<int32_t>(at - start_);
  }

 private:
  // Takes 1 to 8 bytes.
  HWY_INLINE bool TakeSeveral(size_t count) {
    if (end_ - from_ < 8) return false;
    const uint64_t next = LoadBigEndian64(from_);
    if (HasFf(next)) return false;
    newest_ = newest_ << (4 * count) << (4 * count) | next >> (64 - 8 * count);
    from_ += count;
    count_ += count;
    return true;
  }

  HWY_INLINE bool TakeOne() {
    if (from_ == end_) return false;
    if (*from_ == 0xFF && (end_ - from_ < 2 || from_[1] != 0)) return false;
    newest_ = newest_ << 8 | *from_;
    from_ = After(from_);
    ++count_;
    return true;
  }

  static const uint8_t* After(const uint8_t* byte) { return byte + (*byte == 0xFF ? 2 : 1); }

  const uint8_t* start_;
  const uint8_t* from_;
  const uint8_t* end_;
  uint32_t state_bytes_;
  uint64_t newest_;             // the last eight data bytes
  size_t count_ = kStateBytes;  // data bytes read
};

// The number of bits taken, and the number that the reference reader would have read.
struct Progress {
  size_t taken, read;
  size_t bytes_read() const { return read / 8 - kStateBytes; }  // after the state's
  int32_t unused() const { return static_cast<int32_t>(read - taken); }
};

// The code of 9 to 16 bits at the start of 16 bits, as an entry of a `fast` table; 0 if there is
// none.
inline HWY_NOINLINE uint32_t FindLongCode(const zepiDecodeHuffmanSpec& table, uint32_t bits) {
  for (int length = kFastCodeBits + 1; length <= kMaxCodeBits; ++length) {
    const uint32_t code = bits >> (kMaxCodeBits - length);
    if (!IsCode(table, length, code)) continue;
    const uint32_t index = IndexOfCode(table, length, code);
    return index > 255 ? 0 : static_cast<uint32_t>(length) << 16 | table.symbol[index];
  }
  return 0;
}

// Takes symbols and values from `bytes`, starting with the last `unused` bits of the state, up to
// 32.
template <class Bytes>
class QuickReader {
 public:
  HWY_INLINE QuickReader(const Bytes& bytes, uint32_t unused)
      : bytes_(bytes), taken_(8 * kStateBytes - unused) {}

  // Makes sure that the window has 57 bits, enough for any symbol and its value. False: the
  // reference reader has to continue.
  HWY_INLINE bool Refill() {
    refill_after_ = taken_ + 57 - kUsualBits;
    return bytes_.Load(taken_, &window_);
  }

  // Makes sure that the window has enough bits for an AC symbol and its value.
  HWY_INLINE bool Ensure() { return HWY_LIKELY(taken_ <= refill_after_) || Refill(); }

  // The next symbol as an entry of a `fast` table; 0 if there is no such code, or too few bits
  // after a long one.
  HWY_INLINE uint32_t TakeSymbol(const zepiDecodeHuffmanSpec& table) {
    uint32_t entry = table.fast[window_ >> (64 - kFastCodeBits)];
    if (HWY_LIKELY(IsFastCode(entry))) {
      ReadCarefully(taken_ + kFastCodeBits);
      Use(entry >> 16);
      return entry;
    }
    entry = FindLongCode(table, static_cast<uint32_t>(window_ >> (64 - kMaxCodeBits)));
    // The reference reader takes 9 bits, then one at a time.
    ReadCarefully(taken_ + kFastCodeBits + 1);
    if (read_ < taken_ + (entry >> 16)) read_ += 32;
    Use(entry >> 16);
    return Refill() ? entry : 0;
  }

  // The value after a symbol of category 1 to 15.
  HWY_INLINE int32_t TakeValue(uint32_t category) {
    const int32_t value = ValueOfHighest(category, window_);
    ReadCarefully(taken_ + category);
    Use(category);
    return value;
  }

  // The value after a symbol of category 0 to 16.
  HWY_INLINE int32_t TakeDifference(uint32_t category) {
    const int32_t value = DifferenceOfHighest(category, window_);
    ReadCarefully(taken_ + category);
    Use(category);
    return value;
  }

  // Takes the category of a DC difference, then the difference. False if there is no such code.
  HWY_INLINE bool TakeDc(const zepiDecodeHuffmanSpec& table, int32_t* difference) {
    const uint32_t entry = TakeSymbol(table);
    const uint32_t category = entry & 0xFFFF;
    if (HWY_UNLIKELY(entry == 0 || category > kMaxDcCategory)) return false;
    *difference = TakeDifference(category);
    return true;
  }

  // The next 0 to 16 bits.
  HWY_INLINE uint32_t TakeBits(uint32_t count) {
    const auto bits = static_cast<uint32_t>(window_ >> 1 >> (63 - count));
    ReadCarefully(taken_ + count);
    Use(count);
    return bits;
  }

  // False: the reference reader may have read bytes that are not verified here.
  HWY_INLINE bool Finish(Progress* progress) {
    if (HWY_UNLIKELY(read_ > refill_after_ + kUsualBits) && !Refill()) return false;
    *progress = {taken_, read_};
    return true;
  }

 private:
  static constexpr size_t kUsualBits = kFastCodeBits + 15;  // a short code and the longest AC value

  HWY_INLINE void Use(uint32_t count) {
    window_ <<= count;
    taken_ += count;
  }

  // Counts the refill that the reference reader makes before it takes the bits up to `end`. A
  // branch would be mispredicted often.
  HWY_INLINE void ReadCarefully(size_t end) {
    const size_t filled = (taken_ + 32) & ~size_t{7};
    read_ = read_ < end ? filled : read_;
  }

  Bytes bytes_;
  size_t taken_;
  size_t read_ = 8 * kStateBytes;
  size_t refill_after_ = 0;
  uint64_t window_ = 0;  // the next bit is the highest
};

// False for pending markers and for states that no coder has written: they go to the reference
// reader.
inline bool IsUsual(const Source& from, const zepiDecodeHuffmanState& state) {
  return *from.marker == 0 && *from.position >= 0 && *from.position <= from.length &&
         state.reserved == 0 && static_cast<uint32_t>(state.numBits) <= 8 * kStateBytes;
}

// Calls take(bytes, unused, &progress) with the number of valid bits in the state. If it succeeds,
// the position and the state advance; if not, neither changes and the result is false.
template <class Take>
HWY_INLINE bool ReadPlain(const Source& from, zepiDecodeHuffmanState* state, const Take& take) {
  const int64_t start = int64_t{*from.position} - int64_t{kStateBytes};
  if (start < 0 || !IsUsual(from, *state)) return false;
  // The bytes of the state are loaded from the source, which also has them: a load from the state
  // would wait for the stores of the previous call.
  const uint8_t* const bytes = from.bytes + start;
  if (LoadBigEndian32(bytes) != state->bits) return false;
  Progress progress;
  if (HWY_UNLIKELY(!take(PlainBytes(bytes, from.length - start),
                         static_cast<uint32_t>(state->numBits), &progress))) {
    return false;
  }
  *from.position += static_cast<int32_t>(progress.bytes_read());
  state->bits = LoadBigEndian32(bytes + progress.bytes_read());
  state->numBits = progress.unused();
  return true;
}

template <class Take>
HWY_INLINE bool ReadStuffed(const Source& from, zepiDecodeHuffmanState* state, const Take& take) {
  if (!IsUsual(from, *state)) return false;
  StuffedBytes bytes(state->bits, from.bytes + *from.position, from.bytes + from.length);
  Progress progress;
  if (!take(bytes, static_cast<uint32_t>(state->numBits), &progress)) return false;
  *from.position += bytes.Advance(progress.bytes_read(), &state->bits);
  state->numBits = progress.unused();
  return true;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_QUICK_READER_H_
