// SPDX-License-Identifier: MIT
// The MQ coder (ISO/IEC 15444-1, annex C), and bits that bypass it (D.6).
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "hwy/base.h"
#include "jpeg2k/codeblock/tables.h"

namespace zepjp::codeblock {

// Where the coder stands: `code`, `interval` and `room` are the registers C, A and CT of the standard.
struct MqPosition {
  uint64_t code = 0;
  uint32_t interval = 0x8000;
  int32_t room = 12;
  size_t size = 0;    // bytes of the block so far
  uint32_t last = 0;  // of them, to which a carry may still come
};

// Appends to the bytes of a block. In front of the first there is one that is no FF; no segment ends in FF.
class MqEncoder {
 public:
  void Start(uint8_t* bytes, size_t size) {
    bytes_ = bytes;
    at_ = MqPosition();
    at_.size = size;
  }

  HWY_INLINE void Encode(const Symbol* symbols, const Symbol* end, ContextStates* contexts) {
    MqPosition at = at_;
    for (; symbols < end; ++symbols) {
      if (*symbols < kZeroRuns) {
        EncodeOne(*symbols, contexts, &at);
        continue;
      }
      for (uint32_t left = *symbols - kZeroRuns; left > 0; --left) {
        left -= SkipZeroRuns(left - 1, (*contexts)[kRun], &at);
        EncodeOne(2 * kRun, contexts, &at);
      }
    }
    at_ = at;
  }

  MqPosition position() const {
    MqPosition at = at_;
    at.last = bytes_[static_cast<ptrdiff_t>(at.size) - 1];
    return at;
  }

  // The standard's end of a segment; the size of all bytes.
  size_t Flush() {
    const uint64_t limit = at_.code + at_.interval;
    at_.code |= 0xFFFF;
    if (at_.code >= limit) at_.code -= 0x8000;
    for (int i = 0; i < 2; ++i) {
      at_.code <<= at_.room;
      at_.room = 0;
      PutByte(&at_);
    }
    return DropFinalFf();
  }

  // Its predictable termination (D.4.2): as many bytes as hold the bits that were shifted out of the
  // interval. They are the code register's own, so that a decoder can tell them from others.
  size_t FlushPredictably() {
    for (int left = MqPosition().room - at_.room; left > 0; left -= at_.room) {
      at_.code <<= at_.room;
      at_.room = 0;
      PutByte(&at_);
    }
    return DropFinalFf();
  }

  // How many of the finished segment's bytes suffice to decode what was coded up to a position: with the
  // ones that a decoder reads behind them, they must lead into the interval. (More bytes only fall short of
  // it where FF comes before one that brings a carry.)
  static size_t LengthUpTo(const MqPosition& position, const uint8_t* bytes, size_t start,
                           size_t total) {
    constexpr int kPoint = 56;  // of numbers in units of the last byte's lowest bit
    const uint64_t lower = position.code << position.room << (kPoint - 27);
    const uint64_t upper = lower + (uint64_t{position.interval} << position.room << (kPoint - 27));
    size_t length = position.size;
    const uint32_t carry = length == start ? 0 : bytes[length - 1] - position.last;
    uint64_t value = uint64_t{carry} << kPoint;
    int point = kPoint;
    for (; length < total; ++length) {
      const uint64_t with_ones = value + (uint64_t{1} << point);
      if (lower < with_ones && with_ones <= upper) break;
      point -= length > start && bytes[length - 1] == 0xFF ? 7 : 8;
      value += uint64_t{bytes[length]} << point;
    }
    length = std::min(length, total);
    while (length > start && IsOnes(bytes, start, length - 1)) --length;
    return length;
  }

 private:
  size_t DropFinalFf() {
    if (bytes_[at_.size - 1] == 0xFF) --at_.size;
    return at_.size;
  }

  // Of a byte behind FF only seven bits count.
  static bool IsOnes(const uint8_t* bytes, size_t start, size_t i) {
    return bytes[i] == 0xFF || (bytes[i] == 0x7F && i > start && bytes[i - 1] == 0xFF);
  }

  // Those that take no scaling, at most so many: returns their number.
  HWY_INLINE static uint32_t SkipZeroRuns(uint32_t most, uint32_t run_state, MqPosition* at) {
    const auto qe = static_cast<uint32_t>(kEncoderStates[run_state] >> kEncoderPoint);
    uint32_t count = 0;
    if ((run_state & 1) != 0) return 0;
    for (; count < most && at->interval - qe >= 0x8000; ++count) at->interval -= qe;
    at->code += count * qe;
    return count;
  }

  HWY_INLINE void EncodeOne(Symbol symbol, ContextStates* contexts, MqPosition* at) const {
    uint8_t* context = &(*contexts)[symbol >> 1];
    const uint64_t state = kEncoderStates[*context];
    const auto qe = static_cast<uint32_t>(state >> kEncoderPoint);
    const uint32_t is_lps = (static_cast<uint32_t>(state) ^ symbol) & 1;
    const uint32_t interval = at->interval - qe;
    constexpr uint32_t kRare = 0x2000;
    if ((interval & 0x8000 & (is_lps - 1) & (qe - kRare) >> 8) != 0) {
      at->interval = interval;
      at->code += qe;
      return;
    }
    // The smaller part is always the less probable symbol's. No jumps: they could not be foreseen.
    const uint32_t lower = 0u - ((interval - qe) >> 31 ^ is_lps);  // all ones: the lower part
    at->code += qe & ~lower;
    const uint32_t left = interval ^ ((interval ^ qe) & lower);
    const int shift = __builtin_clz(left) - 16;
    const uint32_t is_scaled = (left >> 15) ^ 1;
    *context = static_cast<uint8_t>(state >> (8 + 8 * (is_scaled + is_lps)));
    at->interval = left << shift;
    at->code <<= shift;
    at->room -= shift;
    while (HWY_UNLIKELY(at->room <= 0)) PutByte(at);
  }

  // `room` is how far the code was shifted beyond a byte, or 0. A carry goes into the last byte; behind FF
  // comes a byte with room for a carry.
  HWY_INLINE void PutByte(MqPosition* at) const {
    uint8_t* last = bytes_ + at->size - 1;
    int low = 19 - at->room;  // bits that stay
    uint32_t value = *last;
    if (value != 0xFF) {
      value += static_cast<uint32_t>(at->code >> (low + 8));
      *last = static_cast<uint8_t>(value);
      at->code &= (uint64_t{1} << (low + 8)) - 1;
    }
    const int bits = value == 0xFF ? 7 : 8;
    low += 8 - bits;
    last[1] = static_cast<uint8_t>(at->code >> low);
    at->code &= (uint64_t{1} << low) - 1;
    at->room += bits;
    ++at->size;
  }

  uint8_t* bytes_ = nullptr;
  MqPosition at_;
};

// Bits as they are; in a byte behind FF seven.
class RawEncoder {
 public:
  void Start(uint8_t* bytes, size_t size) { *this = RawEncoder(bytes, size); }
  RawEncoder() = default;

  void Put(uint32_t bit) {
    value_ = value_ << 1 | bit;
    if (++bits_ < capacity_) return;
    bytes_[size_++] = static_cast<uint8_t>(value_);
    capacity_ = value_ == 0xFF ? 7 : 8;
    value_ = 0;
    bits_ = 0;
  }

  // Bytes with what was put so far.
  size_t size() const { return size_ + (bits_ > 0 ? 1 : 0); }

  // Fills the last byte with 0, 1, 0 ...; an FF at the end is left out, because decoders read it there.
  size_t Flush() {
    FillLast();
    if (EndsInFf()) --size_;
    return size_;
  }

  // The same for predictable termination: behind an FF at the end comes a byte of such bits alone.
  size_t FlushPredictably() {
    FillLast();
    if (EndsInFf()) bytes_[size_++] = kPadding;
    return size_;
  }

  static constexpr uint8_t kPadding = 0x2A;

 private:
  RawEncoder(uint8_t* bytes, size_t size) : bytes_(bytes), start_(size), size_(size) {}

  void FillLast() {
    for (uint32_t bit = 0; bits_ > 0; bit ^= 1) Put(bit);
  }
  bool EndsInFf() const { return size_ > start_ && bytes_[size_ - 1] == 0xFF; }

  uint8_t* bytes_ = nullptr;
  size_t start_ = 0;
  size_t size_ = 0;
  uint32_t value_ = 0;
  int bits_ = 0;
  int capacity_ = 8;
};

// Reads a segment, and ones behind its end or a marker.
//
// Code and interval fill the upper bits of 64, with up to 32 bits of the segment below them that are not
// needed yet.
class MqDecoder {
 public:
  HWY_INLINE MqDecoder(const uint8_t* bytes, size_t size, const ContextStates& states)
      : bytes_(bytes), size_(size) {
    SetContexts(states);
    last_ = size > 0 ? bytes[0] : 0xFF;
    code_ = uint64_t{last_} << kPoint;
    AddByte();
    code_ <<= 7;
    ahead_ -= 7;
  }

  HWY_INLINE void SetContexts(const ContextStates& states) {
    for (size_t i = 0; i < kContextCount; ++i) contexts_[i] = kDecoderStates[states[i]];
  }
  ContextStates states() const {
    ContextStates states{};
    for (size_t i = 0; i < kContextCount; ++i) states[i] = static_cast<uint8_t>(contexts_[i]);
    return states;
  }

  // For symbols of which most can be foreseen.
  HWY_INLINE uint32_t Decode(uint32_t context) {
    const uint64_t state = contexts_[context];
    const uint64_t qe = state & kEstimateBits;
    const uint64_t excess = excess_ - qe, code = code_ - qe;
    if (HWY_UNLIKELY(static_cast<int64_t>(excess | code) < 0)) return DecodeUnforeseen(context);
    excess_ = excess;
    code_ = code;
    return state & 1;
  }

  // Zeros of a context, at most so many, that take no scaling: returns their number.
  HWY_INLINE uint32_t SkipZeros(uint32_t context, uint32_t most) {
    const uint64_t state = contexts_[context];
    const uint64_t qe = state & kEstimateBits;
    uint32_t count = 0;
    if ((state & 1) != 0) return 0;
    uint64_t distance = std::min(excess_, code_);
    for (; count < most && distance >= qe; ++count) distance -= qe;
    excess_ -= count * qe;
    code_ -= count * qe;
    return count;
  }

  // The same without any jump, for symbols that cannot be foreseen.
  HWY_INLINE uint32_t DecodeUnforeseen(uint32_t context) {
    const uint64_t state = contexts_[context];
    const uint64_t qe = state & kEstimateBits;
    const uint64_t interval = excess_ + kHalf - qe;
    uint64_t code = code_ - qe;
    const auto lower =
        static_cast<uint64_t>(static_cast<int64_t>(code) >> 63);  // all ones: lower part
    code += qe & lower;
    uint64_t left = interval ^ ((interval ^ qe) & lower);
    const uint64_t is_lps = (lower ^ (interval - qe)) >> 63;
    const uint64_t is_scaled = left >> 62 ^ 1;
    contexts_[context] = kDecoderStates[state >> (8 + 8 * (is_lps + is_scaled)) & 0xFF];
    int shift = __builtin_clzll(left) - 1;
    excess_ = (left << shift) - kHalf;
    code_ = code;
    while (HWY_UNLIKELY(shift > ahead_)) {
      code_ <<= ahead_;
      shift -= ahead_;
      Fill();
    }
    ahead_ -= shift;
    // A damaged code may exceed the interval, and then wraps as in a register of as many bits.
    code_ = code_ << shift & ((kHalf << 1) - 1);
    return static_cast<uint32_t>((state ^ is_lps) & 1);
  }

  // Whether an encoder ends the segment of these decisions so, with predictable termination.
  //
  // It puts out whole bytes until they hold as many bits as were shifted out of the interval. The 15 bits of
  // the code register hence reach 8 to 15 bits beyond the segment, less where its last byte has seven. These
  // are ones here; the encoder's are cut off. All that the segment holds being the encoder's, the code lies
  // above the interval's lower end by less than the first bit beyond is worth. Where the last byte was FF it
  // is left out, and ones take its place.
  bool EndsPredictably() const {
    const auto bytes_beyond =
        static_cast<int64_t>(position_) + 1 - static_cast<int64_t>(size_) + supplied_;
    if (position_ + 1 < size_ || (size_ > 0 && bytes_[size_ - 1] == 0xFF)) return false;
    int64_t bits_beyond = 8 * bytes_beyond - ahead_;
    const bool is_ff_left_out = bits_beyond > 15;
    const bool has_seven_bits = !is_ff_left_out && size_ > 1 && bytes_[size_ - 2] == 0xFF;
    if (is_ff_left_out) bits_beyond -= 8;
    if (bits_beyond < (has_seven_bits ? 9 : 8) || bits_beyond > 15) return false;
    return code_ >> (kPoint + bits_beyond) == 0;
  }

 private:
  static constexpr int kPoint = kDecoderPoint;  // the lowest bit of code and interval in their 64
  static constexpr uint64_t kHalf = uint64_t{0x8000} << kPoint;
  static constexpr uint64_t kEstimateBits = ~((uint64_t{1} << kPoint) - 1);

  // Four bytes if none of them is special.
  HWY_INLINE void Fill() {
    if (last_ != 0xFF && size_ - position_ > 4 && position_ < size_) {
      uint32_t word;
      std::memcpy(&word, bytes_ + position_ + 1, 4);
      if (((~word - 0x01010101u) & word & 0x80808080u) == 0) {
        code_ += uint64_t{__builtin_bswap32(word)} << (kPoint - 32);
        ahead_ = 32;
        position_ += 4;
        last_ = bytes_[position_];
        return;
      }
    }
    AddByte();
  }

  void AddByte() {
    const uint32_t byte = position_ + 1 < size_ ? bytes_[position_ + 1] : 0xFF;
    if (last_ == 0xFF && byte > 0x8F) {
      code_ += uint64_t{0xFF} << (kPoint - 8);
      ahead_ = 8;
      ++supplied_;
      return;
    }
    const int bits = last_ == 0xFF ? 7 : 8;
    code_ += uint64_t{byte} << (kPoint - bits);
    ahead_ = bits;
    last_ = byte;
    ++position_;
  }

  const uint8_t* bytes_;
  size_t size_;
  size_t position_ = 0;  // of the last byte that was read
  uint32_t last_ = 0;
  int ahead_ = 0;
  int supplied_ = 0;
  uint64_t excess_ = 0;  // of the interval over its half
  uint64_t code_ = 0;
  uint64_t contexts_[kContextCount];
};

class RawDecoder {
 public:
  RawDecoder(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  uint32_t DecodeUnforeseen(uint32_t /*context*/) {
    if (left_ == 0) {
      left_ = value_ == 0xFF ? 7 : 8;
      if (position_ == size_) ++supplied_;
      value_ = position_ < size_ ? bytes_[position_++] : 0xFF;
    }
    return value_ >> --left_ & 1;
  }

  // Whether predictable termination ends the segment so: what is left of the last byte is 0, 1, 0 ..., and
  // behind an FF whose bits were all read there is a byte of that alone (or the FF was left out).
  bool EndsPredictably() const {
    const bool is_ff_read = value_ == 0xFF && left_ == 0;
    if (supplied_ > 0) return supplied_ == 1 && is_ff_read;
    if (is_ff_read) return size_ - position_ == 1 && bytes_[position_] == RawEncoder::kPadding;
    const uint32_t mask = (1u << left_) - 1;
    const uint32_t padding = left_ % 2 == 0 ? 0x55 : 0x2A;
    return position_ == size_ && (value_ & mask) == (padding & mask);
  }

 private:
  const uint8_t* bytes_;
  size_t size_;
  size_t position_ = 0;
  size_t supplied_ = 0;  // bytes of ones that the end made necessary
  uint32_t value_ = 0;
  int left_ = 0;
};

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_
