// SPDX-License-Identifier: MIT
// The MQ encoder (ISO/IEC 15444-1, C.2). mq_states.h explains the coder.
//
// C and A have 64 bits, their lowest bits at bit 16, so that a shift by several bits needs no loop.
// CT, the number of shifts before the next byte, starts at 12. The sign of A - 2 Qe says which part
// the symbol takes; an MPS inverts it.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_ENCODER_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_ENCODER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "jpeg2k/codeblock/mq_states.h"
#include "jpeg2k/codeblock/tables.h"

namespace zepjp::codeblock {

// The registers: `code`, `interval` and `room` are C, A and CT of the standard.
struct MqPosition {
  uint64_t code = 0;
  uint64_t interval = uint64_t{0x8000} << kEncoderPoint;
  int32_t room = 12;
  size_t size = 0;    // bytes of the block so far
  uint32_t last = 0;  // the last of them, which may still get a carry
};

// Encodes symbols and appends bytes to a block. The byte before the first one must exist and not be
// FF. No segment ends in FF.
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

  // Ends a segment by the procedure of C.2.9; returns the size of the block so far.
  size_t Flush() {
    const uint64_t limit = at_.code + at_.interval;
    at_.code |= 2 * kHalf - 1;
    if (at_.code >= limit) at_.code -= kHalf;
    for (int i = 0; i < 2; ++i) {
      at_.code <<= at_.room;
      at_.room = 0;
      PutByte(&at_);
    }
    return DropFinalFf();
  }

  // Ends a segment by predictable termination (D.4.2): writes the fewest bytes that hold all bits
  // shifted out of the interval, exactly as the code register has them, so that a decoder can check
  // them.
  size_t FlushPredictably() {
    for (int left = MqPosition().room - at_.room; left > 0; left -= at_.room) {
      at_.code <<= at_.room;
      at_.room = 0;
      PutByte(&at_);
    }
    return DropFinalFf();
  }

  // The smallest number of bytes from which everything up to a position can be decoded. A decoder
  // reads 1 bits after the end, so the bytes followed by ones must be a number inside the interval
  // of that position. It starts from the bytes written at that position, adds bytes of the finished
  // segment until the number is inside, and drops bytes of ones from the end.
  static size_t LengthUpTo(const MqPosition& position, const uint8_t* bytes, size_t start,
                           size_t total) {
    constexpr int kPoint = 56;  // the lowest bit of the last byte at the position
    const int shift = position.room + kPoint - 27 - kEncoderPoint;
    const uint64_t lower = position.code << shift;
    const uint64_t upper = lower + (position.interval << shift);
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
  static constexpr uint64_t kHalf = uint64_t{0x8000} << kEncoderPoint;

  size_t DropFinalFf() {
    if (bytes_[at_.size - 1] == 0xFF) --at_.size;
    return at_.size;
  }

  // Whether all bits of a byte are 1; a byte after FF has only seven bits.
  static bool IsOnes(const uint8_t* bytes, size_t start, size_t i) {
    return bytes[i] == 0xFF || (bytes[i] == 0x7F && i > start && bytes[i - 1] == 0xFF);
  }

  // Codes up to `most` zeros of the run-length context as long as they need no renormalisation;
  // returns their number.
  HWY_INLINE static uint32_t SkipZeroRuns(uint32_t most, uint32_t run_state, MqPosition* at) {
    const uint64_t qe = kEncoderStates[run_state].qe;
    uint32_t count = 0;
    if ((run_state & 1) != 0) return 0;
    for (; count < most && at->interval - qe >= kHalf; ++count) at->interval -= qe;
    at->code += count * qe;
    return count;
  }

  HWY_INLINE void EncodeOne(Symbol symbol, ContextStates* contexts, MqPosition* at) const {
    uint8_t* context = &(*contexts)[symbol >> 1];
    const uint32_t bit = symbol & 1;
    const EncoderState& state = kEncoderStates[*context];
    const uint64_t above = at->interval + state.test[bit];
    const auto upper = static_cast<uint64_t>(static_cast<int64_t>(above) >> 63);
    const auto interval = static_cast<uint32_t>(state.qe + (above & upper));
    const int shift = __builtin_clz(interval);
    const uint32_t is_kept = 0u - (interval >> 31);  // all ones: no renormalisation
    *context = static_cast<uint8_t>(state.next[bit] ^ (state.change[bit] & is_kept));
    at->interval = interval << shift;
    at->code = (at->code + (state.qe & upper)) << shift;
    at->room -= shift;
    while (HWY_UNLIKELY(at->room <= 0)) PutByte(at);
  }

  // `room` is 0, or negative if the code was shifted past the end of a byte. A carry goes into the
  // last byte, unless that is FF: then the next byte takes only seven bits and has room for it.
  HWY_INLINE void PutByte(MqPosition* at) const {
    uint8_t* last = bytes_ + at->size - 1;
    int low = 19 + kEncoderPoint - at->room;  // bits that stay
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

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_ENCODER_H_
