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
#  include "jpeg/huffman/data_bytes.h"
#  include "jpeg/huffman/magnitude.h"
#  include "simd/ops-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

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

// Symbols and values of data bytes, the first four of which are those of the state that the careful
// reader left behind; `unused` of their bits are still to be used, up to 32.
template <class Bytes>
class QuickReader {
 public:
  HWY_INLINE QuickReader(const Bytes& bytes, uint32_t unused)
      : bytes_(bytes), taken_(8 * kStateBytes - unused) {}

  // Makes sure of 57 bits, enough for any symbol and its extra bits. False: the careful reader has to
  // say what follows.
  HWY_INLINE bool Refill() {
    refill_behind_ = taken_ + 57 - kUsualBits;
    return bytes_.Load(taken_, &window_);
  }

  // Makes sure of enough for an AC symbol and its extra bits.
  HWY_INLINE bool Ensure() { return HWY_LIKELY(taken_ <= refill_behind_) || Refill(); }

  // The next symbol's entry of a fast table; 0: there is no such code, or not enough behind a long one.
  HWY_INLINE uint32_t TakeSymbol(const zepiDecodeHuffmanSpec& table) {
    uint32_t entry = table.fast[window_ >> (64 - kFastCodeBits)];
    if (HWY_LIKELY(IsFastCode(entry))) {
      ReadCarefully(taken_ + kFastCodeBits);
      Use(entry >> 16);
      return entry;
    }
    entry = FindLongCode(table, static_cast<uint32_t>(window_ >> (64 - kMaxCodeBits)));
    // The careful reader takes 9 bits, then one by one.
    ReadCarefully(taken_ + kFastCodeBits + 1);
    if (read_ < taken_ + (entry >> 16)) read_ += 32;
    Use(entry >> 16);
    return Refill() ? entry : 0;
  }

  // The value with `category` extra bits after its symbol: 0 to 16, or 1 to 15.
  HWY_INLINE int32_t TakeDc(uint32_t category) {
    const uint32_t unused = ~category & 63;
    const uint64_t bits = window_ >> 1 >> unused;
    const uint64_t ones = ~uint64_t{0} >> 1 >> unused;
    const auto is_positive = static_cast<uint64_t>(static_cast<int64_t>(window_) >> 63);
    ReadCarefully(taken_ + category);
    Use(category);
    return static_cast<int32_t>(bits - (ones & ~is_positive));
  }
  HWY_INLINE int32_t TakeAc(uint32_t category) {
    const uint32_t unused = -category & 63;
    const uint64_t bits = window_ >> unused;
    const uint64_t ones = ~uint64_t{0} >> unused;
    const auto is_positive = static_cast<uint64_t>(static_cast<int64_t>(window_) >> 63);
    ReadCarefully(taken_ + category);
    Use(category);
    return static_cast<int32_t>(bits - (ones & ~is_positive));
  }

  // Whether the careful reader would only have read what is known to be here.
  HWY_INLINE bool IsSafe() { return HWY_LIKELY(read_ <= refill_behind_ + kUsualBits) || Refill(); }

  Progress progress() const {
    return {taken_, read_};
  }

 private:
  static constexpr size_t kUsualBits = kFastCodeBits + 15;

  HWY_INLINE void Use(uint32_t count) {
    window_ <<= count;
    taken_ += count;
  }

  // What the careful reader does before it takes the bits up to `end`. No branch: it would be a guess.
  HWY_INLINE void ReadCarefully(size_t end) {
    const size_t filled = (taken_ + 32) & ~size_t{7};
    read_ = read_ < end ? filled : read_;
  }

  Bytes bytes_;
  size_t taken_;                   // bits from the start
  size_t read_ = 8 * kStateBytes;  // bits from the start that the careful reader would have read
  size_t refill_behind_ = 0;
  uint64_t window_ = 0;  // the next bit is the highest
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
HWY_AFTER_NAMESPACE();

#endif
