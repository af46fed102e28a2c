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

// `bits` behind the data bytes up to `end` but for the last `ahead` ones; a data byte FF has a 00 behind.
HWY_NOINLINE Bits Walk(const uint8_t* bytes, Bits bits, int32_t end, int32_t ahead) {
  const auto next = [bytes](int32_t at) { return bytes[at] == 0xFF ? at + 2 : at + 1; };
  int32_t left = -ahead;
  for (int32_t at = bits.position; at < end; at = next(at)) ++left;
  for (; left > 0; --left) {
    bits.value = bits.value << 8 | bytes[bits.position];
    bits.reserved = 0;
    bits.position = next(bits.position);
  }
  return bits;
}

class QuickReader {
 public:
  // Starts at `from`, with the bits that were read ahead. The position lies in the source.
  HWY_INLINE QuickReader(const Source& from, const Bits& bits)
      : bytes_(from.bytes),
        length_(from.length),
        start_(bits),
        window_(uint64_t{bits.value} << 32 << (32 - bits.count)),
        valid_(bits.count),
        careful_(bits.count - 1),
        position_(bits.position) {}

  // Makes sure of 32 bits, enough for any symbol with its extra bits. False: the careful reader has
  // to say what follows.
  HWY_INLINE bool Ensure32() {
    if (HWY_UNLIKELY(valid_ < 32)) Refill();
    return HWY_LIKELY(valid_ >= 32);
  }

  // The next symbol, after Ensure32(). False: there is no such code.
  HWY_INLINE bool TakeSymbol(const zepiDecodeHuffmanSpec& table, uint32_t* symbol) {
    uint32_t entry = table.fast[window_ >> (64 - kFastCodeBits)];
    if (HWY_LIKELY(IsFastCode(entry))) {
      FillCareful(kFastCodeBits);
    } else {
      entry = FindLongCode(table, static_cast<uint32_t>(window_ >> (64 - kMaxCodeBits)));
      if (entry == 0) return false;
      // The careful reader takes 9 bits, then one by one.
      FillCareful(kFastCodeBits + 1);
      if (careful_ + 1 < static_cast<int>(entry >> 16)) careful_ += 32;
    }
    *symbol = entry & 0xFFFF;
    Use(static_cast<int>(entry >> 16));
    return true;
  }

  // The value with `category` extra bits, 0 to 16, after its symbol.
  HWY_INLINE int32_t TakeValue(uint32_t category) {
    FillCareful(static_cast<int>(category));
    const auto bits = static_cast<uint32_t>(window_ >> 1 >> (63 - category));
    Use(static_cast<int>(category));
    return ValueOf(category, bits);
  }

  // Where the careful reader would be now. False: it would have met something that this one cannot
  // read.
  HWY_INLINE bool Finish(Bits* bits) {
    if (HWY_UNLIKELY(careful_ >= valid_)) Refill();
    if (HWY_UNLIKELY(careful_ >= valid_)) return false;
    const int32_t ahead = (valid_ - 1 - careful_) >> 3;  // bytes
    if (HWY_UNLIKELY(by_bytes_ || start_.position > length_ - 4)) {
      *bits = Walk(bytes_, start_, position_, ahead);
    } else {
      bits->position = position_ - ahead;
      const int32_t read = bits->position - start_.position;
      const int32_t recent = read < 4 ? read : 4;
      const uint64_t both = uint64_t{start_.value} << 32 |
                            LoadBigEndian32(bytes_ + start_.position + (read - recent));
      bits->value = static_cast<uint32_t>(both >> (32 - 8 * recent));
      bits->reserved = read == 0 ? start_.reserved : 0;
    }
    bits->count = careful_ + 1;
    return true;
  }

 private:
  // As many whole bytes as the window has room for.
  HWY_INLINE void Refill() {
    if (HWY_LIKELY(position_ <= length_ - 8)) {
      const uint64_t next = LoadLittleEndian64(bytes_ + position_);
      const bool has_ff = (next & ~(next + 0x0101010101010101U) & 0x8080808080808080U) != 0;
      if (HWY_LIKELY(!has_ff)) {
        window_ |= __builtin_bswap64(next) >> valid_;
        position_ += (63 - valid_) >> 3;
        valid_ |= 56;
        return;
      }
    }
    *this = RefilledByBytes(*this);
  }

  // Up to a marker, a filling byte or the end of the source. By value, so that the reader stays in
  // registers.
  static HWY_NOINLINE QuickReader RefilledByBytes(QuickReader reader) {
    reader.by_bytes_ = true;
    while (reader.valid_ < 56 && reader.position_ < reader.length_) {
      const uint64_t byte = reader.bytes_[reader.position_];
      if (byte == 0xFF) {
        if (reader.position_ + 1 >= reader.length_ || reader.bytes_[reader.position_ + 1] != 0)
          break;
        ++reader.position_;
      }
      reader.window_ |= byte << (56 - reader.valid_);
      reader.valid_ += 8;
      ++reader.position_;
    }
    return reader;
  }

  HWY_INLINE void Use(int count) {
    window_ <<= count;
    valid_ -= count;
    careful_ -= count;
  }

  // What the careful reader does before it takes `need` bits; a few instructions more, but no branch:
  // it would be a guess.
  HWY_INLINE void FillCareful(int need) {
    const int filled = (careful_ & 7) | 24;
    careful_ = careful_ < need - 1 ? filled : careful_;
  }

  const uint8_t* bytes_;
  int32_t length_;
  Bits start_;
  uint64_t window_;  // the next bit is the highest
  int valid_;        // how many of the window's bits are counted in the position
  int careful_;      // the careful reader's count of unused bits, less 1
  int32_t position_;
  bool by_bytes_ = false;  // a data byte may have had a 00 behind it
};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
HWY_AFTER_NAMESPACE();

#endif
