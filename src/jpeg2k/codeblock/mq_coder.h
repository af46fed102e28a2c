// SPDX-License-Identifier: MIT
// The MQ coder (ISO/IEC 15444-1, annex C), and bits that bypass it (D.6).
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "jpeg2k/codeblock/tables.h"

// Inlined into kernels, and so compiled for their instruction set.
#define ZEP_FLATTEN inline __attribute__((always_inline))

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

  ZEP_FLATTEN void Encode(const Symbol* symbols, const Symbol* end, ContextStates* contexts) {
    MqPosition at = at_;
    for (; symbols < end; ++symbols) {
      uint8_t* context = &(*contexts)[*symbols >> 1];
      const uint32_t state = *context;
      const Estimate& estimate = kEstimates[state];
      const uint32_t qe = estimate.qe;
      const bool is_lps = ((state ^ *symbols) & 1) != 0;
      uint32_t interval = at.interval - qe;
      // The smaller part is always the less probable symbol's.
      const bool is_upper = (interval < qe) == is_lps;
      at.code += is_upper ? qe : 0;
      interval = is_upper ? interval : qe;
      const int shift = __builtin_clz(interval) - 16;
      *context = shift > 0 ? estimate.next[is_lps ? 1 : 0] : static_cast<uint8_t>(state);
      at.interval = interval << shift;
      at.code <<= shift;
      at.room -= shift;
      while (__builtin_expect(at.room <= 0, 0)) PutByte(&at);
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
    if (bytes_[at_.size - 1] == 0xFF) --at_.size;
    return at_.size;
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
  // Of a byte behind FF only seven bits count.
  static bool IsOnes(const uint8_t* bytes, size_t start, size_t i) {
    return bytes[i] == 0xFF || (bytes[i] == 0x7F && i > start && bytes[i - 1] == 0xFF);
  }

  // `room` is how far the code was shifted beyond a byte, or 0. A carry goes into the last byte; behind FF
  // comes a byte with room for a carry.
  ZEP_FLATTEN void PutByte(MqPosition* at) const {
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
    for (uint32_t bit = 0; bits_ > 0; bit ^= 1) Put(bit);
    if (size_ > start_ && bytes_[size_ - 1] == 0xFF) --size_;
    return size_;
  }

 private:
  RawEncoder(uint8_t* bytes, size_t size) : bytes_(bytes), start_(size), size_(size) {}

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
// needed yet. As long as nothing is renormalized, a symbol only takes its estimate off both, so their
// smaller distance to a decision is all that has to be kept: `distance_`.
class MqDecoder {
 public:
  ZEP_FLATTEN MqDecoder(const uint8_t* bytes, size_t size, const ContextStates& states)
      : bytes_(bytes), size_(size) {
    SetContexts(states);
    last_ = size > 0 ? bytes[0] : 0xFF;
    uint64_t code = uint64_t{last_} << kPoint;
    AddByte(&code);
    code <<= 7;
    ahead_ -= 7;
    Keep(kHalf, code);
  }

  ZEP_FLATTEN void SetContexts(const ContextStates& states) {
    for (size_t i = 0; i < kContextCount; ++i) SetState(&contexts_[i], states[i]);
  }
  ContextStates states() const {
    ContextStates states{};
    for (size_t i = 0; i < kContextCount; ++i) {
      states[i] = static_cast<uint8_t>(contexts_[i].state);
    }
    return states;
  }

  // Takes twice a context.
  ZEP_FLATTEN uint32_t Decode(Symbol symbol) {
    Context& context = contexts_[symbol >> 1];
    distance_ -= context.qe;
    if (__builtin_expect(distance_ >= 0, 1)) return context.state & 1;
    return Renormalize(&context);
  }

  // How many of `most` symbols of this context in a row are surely the more probable one; it takes them.
  ZEP_FLATTEN uint32_t SkipProbable(Symbol symbol, uint32_t most) {
    const int64_t qe = contexts_[symbol >> 1].qe;
    uint32_t count = 0;
    for (; count < most && distance_ >= qe; ++count) distance_ -= qe;
    return count;
  }
  bool IsProbablyZero(Symbol symbol) const { return (contexts_[symbol >> 1].state & 1) == 0; }

  // Bytes behind those that a decoder without foresight has read by now.
  int64_t Unread() const {
    return static_cast<int64_t>(size_) - static_cast<int64_t>(position_) - 1 + ahead_ / 8;
  }
  // Bytes of ones that a marker or the end made necessary.
  int Supplied() const { return supplied_; }

 private:
  struct Context {
    int64_t qe;
    uint32_t state;
  };

  static constexpr int kPoint = 47;  // the lowest bit of code and interval in their 64
  static constexpr uint64_t kHalf = uint64_t{0x8000} << kPoint;

  static void SetState(Context* context, uint32_t state) {
    *context = {int64_t{kEstimates[state].qe} << kPoint, state};
  }

  ZEP_FLATTEN uint32_t Renormalize(Context* context) {
    const auto qe = static_cast<uint64_t>(context->qe);
    const uint64_t interval = static_cast<uint64_t>(distance_) + interval_more_;
    uint64_t code = static_cast<uint64_t>(distance_) + code_more_;
    const bool is_lower = static_cast<int64_t>(code) < 0;
    const bool is_lps = is_lower != (interval < qe);
    code += is_lower ? qe : 0;
    uint64_t left = is_lower ? qe : interval;
    const uint32_t bit = (context->state & 1) ^ (is_lps ? 1u : 0u);
    SetState(context, kEstimates[context->state].next[is_lps ? 1 : 0]);
    int shift = __builtin_clzll(left) - 1;
    left <<= shift;
    while (__builtin_expect(shift > ahead_, 0)) {
      code <<= ahead_;
      shift -= ahead_;
      Fill(&code);
    }
    code <<= shift;
    ahead_ -= shift;
    Keep(left, code);
    return bit;
  }

  // A damaged code may exceed the interval, and then wraps as in a register of as many bits.
  ZEP_FLATTEN void Keep(uint64_t interval, uint64_t code) {
    code &= (kHalf << 1) - 1;
    const uint64_t distance = std::min(interval - kHalf, code);
    distance_ = static_cast<int64_t>(distance);
    interval_more_ = interval - distance;
    code_more_ = code - distance;
  }

  // Four bytes if none of them is special.
  ZEP_FLATTEN void Fill(uint64_t* code) {
    if (last_ != 0xFF && size_ - position_ > 4 && position_ < size_) {
      uint32_t word;
      std::memcpy(&word, bytes_ + position_ + 1, 4);
      if (((~word - 0x01010101u) & word & 0x80808080u) == 0) {
        *code += uint64_t{__builtin_bswap32(word)} << (kPoint - 32);
        ahead_ = 32;
        position_ += 4;
        last_ = bytes_[position_];
        return;
      }
    }
    AddByte(code);
  }

  void AddByte(uint64_t* code) {
    const uint32_t byte = position_ + 1 < size_ ? bytes_[position_ + 1] : 0xFF;
    if (last_ == 0xFF && byte > 0x8F) {
      *code += uint64_t{0xFF} << (kPoint - 8);
      ahead_ = 8;
      ++supplied_;
      return;
    }
    const int bits = last_ == 0xFF ? 7 : 8;
    *code += uint64_t{byte} << (kPoint - bits);
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
  int64_t distance_ = 0;
  uint64_t interval_more_ = 0;
  uint64_t code_more_ = 0;
  Context contexts_[kContextCount];
};

class RawDecoder {
 public:
  RawDecoder(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  uint32_t Decode(Symbol /*symbol*/) {
    if (left_ == 0) {
      left_ = value_ == 0xFF ? 7 : 8;
      value_ = position_ < size_ ? bytes_[position_++] : 0xFF;
    }
    return value_ >> --left_ & 1;
  }

  size_t Unread() const { return size_ - position_; }
  // What is left of the last byte is 0, 1, 0 ...
  bool EndsInPadding() const {
    const uint32_t mask = (1u << left_) - 1;
    const uint32_t padding = left_ % 2 == 0 ? 0x55 : 0x2A;
    return (value_ & mask) == (padding & mask);
  }

 private:
  const uint8_t* bytes_;
  size_t size_;
  size_t position_ = 0;
  uint32_t value_ = 0;
  int left_ = 0;
};

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_
