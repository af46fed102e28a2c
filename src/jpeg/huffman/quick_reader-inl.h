// SPDX-License-Identifier: MIT
// The quick way to read bits, symbols and values: a window of 64 bits, refilled by eight bytes at once
// where none of them is FF. Included once per instruction set.
//
// How far ahead the careful reader would have read is part of what callers see, so this one keeps that
// reader's count of unused bits beside its own: the careful reader fills only where fewer bits are
// left than it needs, and then whole bytes up to 25 bits or more.
#if defined(ZEPJP_SRC_JPEG_HUFFMAN_QUICK_READER_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_HUFFMAN_QUICK_READER_INL_H_
#    undef ZEPJP_SRC_JPEG_HUFFMAN_QUICK_READER_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_HUFFMAN_QUICK_READER_INL_H_
#  endif

#  include "jpeg/huffman/bit_reader.h"
#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

HWY_INLINE uint32_t LoadBigEndian32(const uint8_t* from) {
  uint32_t value;
  CopyBytes(from, &value, sizeof(value));
  return __builtin_bswap32(value);
}
HWY_INLINE uint64_t LoadLittleEndian64(const uint8_t* from) {
  uint64_t value;
  CopyBytes(from, &value, sizeof(value));
  return value;
}

// A code of 9 to 16 bits at the start of 16 bits, as an entry of a fast table; 0 if there is none.
HWY_NOINLINE uint32_t FindLongCode(const zepiDecodeHuffmanSpec& table, uint32_t bits) {
  const hn::FixedTag<uint16_t, 8> d;
  // Lengths 9 to 15, and in the last lane nothing: 0 is no code of 16 bits that the others let pass.
  alignas(16) static constexpr uint16_t kPower[8] = {1 << 9,  1 << 10, 1 << 11, 1 << 12,
                                                     1 << 13, 1 << 14, 1 << 15, 0};
  const auto codes = hn::MulHigh(hn::Set(d, static_cast<uint16_t>(bits)), hn::Load(d, kPower));
  const auto last = hn::LoadU(d, table.lastCode + kFastCodeBits + 1);
  const auto is_not_above = hn::Eq(hn::SaturatedSub(codes, last), hn::Zero(d));
  const auto is_code = hn::AndNot(hn::VecFromMask(d, hn::Eq(last, hn::Set(d, kNoCode))),
                                  hn::VecFromMask(d, is_not_above));
  uint8_t found = 0;
  hn::StoreMaskBits(d, hn::MaskFromVec(is_code), &found);
  const int length = kFastCodeBits + 1 + __builtin_ctz(found | 0x80U);
  const uint32_t code = bits >> (kMaxCodeBits - length);
  if (table.lastCode[length] == kNoCode || code > table.lastCode[length]) return 0;
  const uint32_t index = table.firstIndex[length] + code - table.firstCode[length];
  if (index > 255) return 0;
  return static_cast<uint32_t>(length) << 16 | table.symbol[index];
}

// The number of bytes before the first FF among kScanned.
constexpr int32_t kScanned = 32;
HWY_INLINE int32_t CountPlain(const uint8_t* bytes) {
  const hn::CappedTag<uint8_t, kScanned> d;
  constexpr size_t kLanes = hn::MaxLanes(d);
  uint64_t is_ff = uint64_t{1} << kScanned;
  for (size_t i = 0; i < kScanned; i += kLanes) {
    uint64_t bits = 0;
    hn::StoreMaskBits(d, hn::Eq(hn::LoadU(d, bytes + i), hn::Set(d, 0xFF)),
                      reinterpret_cast<uint8_t*>(&bits));
    is_ff |= bits << i;
  }
  return static_cast<int32_t>(__builtin_ctzll(is_ff));
}

// Where a block starts: a position in the source and the bits that were read ahead.
struct BlockStart {
  const uint8_t* source;
  int32_t length, position;
  uint32_t state_bytes;
  int32_t unused;  // bits of them, up to 32
};

constexpr int32_t kStateBytes = 4;

// Data bytes without the 00 behind FF, after those of the state.
class PlainCopy {
 public:
  // Copies `kMore` bytes beyond `at`, fewer where a marker, a filling byte or the end of the source comes
  // before; returns how many bytes are there.
  HWY_NOINLINE int32_t Make(const BlockStart& start, int32_t at) {
    uint32_t first = __builtin_bswap32(start.state_bytes);
    CopyBytes(&first, bytes_, kStateBytes);
    const int32_t end = at < kMaxBytes - kMore ? at + kMore : kMaxBytes;
    int32_t size = kStateBytes;
    for (int32_t from = start.position; size < end && from < start.length; ++from) {
      const uint8_t byte = start.source[from];
      if (byte == 0xFF) {
        if (from + 1 >= start.length || start.source[from + 1] != 0) break;
        ++from;
      }
      bytes_[size++] = byte;
    }
    return size;
  }

  const uint8_t* bytes() const { return bytes_; }

 private:
  static constexpr int32_t kMore = 40;
  static constexpr int32_t kMaxBytes = 320;  // more than any block has
  uint8_t bytes_[kMaxBytes];
};

// The position behind `count` data bytes.
HWY_NOINLINE int32_t Advance(const BlockStart& start, int32_t count) {
  int32_t position = start.position;
  for (; count > 0; --count) position += start.source[position] == 0xFF ? 2 : 1;
  return position;
}

class QuickReader {
 public:
  HWY_INLINE QuickReader(const BlockStart& start, PlainCopy* copy)
      : start_(start), copy_(copy), taken_(8 * kStateBytes - start.unused) {}

  // False: the careful reader has to say what follows.
  HWY_INLINE bool Begin() {
    bytes_ = start_.source + start_.position - kStateBytes;
    // The state's bytes are in the source too, so that nothing waits for what the call before stored.
    if (HWY_LIKELY(start_.position >= kStateBytes && start_.position <= start_.length - kScanned &&
                   LoadBigEndian32(bytes_) == start_.state_bytes)) {
      limit_ = kStateBytes - 8 + CountPlain(bytes_ + kStateBytes);
    } else {
      UseCopy();
    }
    next_ = taken_ >> 3;
    if (HWY_UNLIKELY(next_ > limit_) && !Extend()) return false;
    window_ = __builtin_bswap64(LoadLittleEndian64(bytes_ + next_)) << (taken_ & 7);
    next_ += 8;
    return true;
  }

  // Makes sure of 56 bits, enough for any two symbols and their extra bits. False: the careful reader
  // has to say what follows.
  HWY_INLINE bool Refill() {
    if (HWY_UNLIKELY(next_ > limit_) && !Extend()) return false;
    const int32_t valid = 8 * next_ - taken_;
    window_ |= __builtin_bswap64(LoadLittleEndian64(bytes_ + next_)) >> valid;
    next_ += (63 - valid) >> 3;
    return true;
  }

  // The next symbol's entry of a fast table; 0: there is no such code, or no bits behind a long one.
  HWY_INLINE uint32_t TakeSymbol(const zepiDecodeHuffmanSpec& table) {
    uint32_t entry = table.fast[window_ >> (64 - kFastCodeBits)];
    if (HWY_LIKELY(IsFastCode(entry))) {
      ReadCarefully(kFastCodeBits);
      Use(entry >> 16);
      return entry;
    }
    entry = FindLongCode(table, static_cast<uint32_t>(window_ >> (64 - kMaxCodeBits)));
    // The careful reader takes 9 bits, then one by one.
    ReadCarefully(kFastCodeBits + 1);
    if (read_ < taken_ + static_cast<int32_t>(entry >> 16)) read_ += 32;
    Use(entry >> 16);
    return Refill() ? entry : 0;
  }

  // The value with `category` extra bits, 0 to 16, after its symbol.
  HWY_INLINE int32_t TakeValue(uint32_t category) {
    ReadCarefully(static_cast<int32_t>(category));
    const int32_t value = ValueAtTop(category, window_);
    Use(category);
    return value;
  }

  // Whether the careful reader would only have read what is known to be here.
  HWY_INLINE bool IsSafe() { return HWY_LIKELY(read_ <= 8 * next_) || Refill(); }

  // Where the careful reader would be: behind the bytes that it has read, the newest four of them in
  // its state, some bits of them still to be used.
  HWY_INLINE int32_t position() const {
    const int32_t count = bytes_read();
    if (HWY_UNLIKELY(is_copied())) return Advance(start_, count);
    return start_.position + count;
  }
  HWY_INLINE uint32_t newest() const { return LoadBigEndian32(bytes_ + bytes_read()); }
  HWY_INLINE int32_t unused() const { return read_ - taken_; }

 private:
  HWY_INLINE bool is_copied() const { return bytes_ == copy_->bytes(); }
  HWY_INLINE int32_t bytes_read() const { return read_ / 8 - kStateBytes; }

  HWY_INLINE void UseCopy() {
    limit_ = copy_->Make(start_, next_) - 8;
    bytes_ = copy_->bytes();
  }

  // Eight more bytes, copied if FF is among them.
  HWY_INLINE bool Extend() {
    if (is_copied()) return false;
    if (start_.position <= start_.length - kScanned - next_)
      limit_ = next_ - 8 + CountPlain(bytes_ + next_);
    if (next_ > limit_) UseCopy();
    return next_ <= limit_;
  }

  HWY_INLINE void Use(uint32_t count) {
    window_ <<= count;
    taken_ += static_cast<int32_t>(count);
  }

  // What the careful reader does before it takes `need` bits. No branch: it would be a guess.
  HWY_INLINE void ReadCarefully(int32_t need) {
    const int32_t filled = (taken_ + 32) & ~7;
    read_ = read_ < taken_ + need ? filled : read_;
  }

  BlockStart start_;
  PlainCopy* copy_;
  const uint8_t* bytes_ = nullptr;
  int32_t limit_ = 0;               // eight bytes may be loaded up to here
  int32_t next_ = 0;                // the byte behind the window
  int32_t taken_;                   // bits from the start
  int32_t read_ = 8 * kStateBytes;  // bits from the start that the careful reader would have read
  uint64_t window_ = 0;             // the next bit is the highest
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
HWY_AFTER_NAMESPACE();

#endif
