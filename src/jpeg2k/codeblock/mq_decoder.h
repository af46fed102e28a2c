// SPDX-License-Identifier: MIT
// The MQ decoder (ISO/IEC 15444-1, C.3). mq_states.h explains the coder.
//
// C and A have 64 bits, their lowest bits at bit 48. Up to 32 bits of the segment are stored below
// C and wait to be shifted in. C is the code relative to the lower end of the interval, so that
// C < Qe selects the lower part.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_DECODER_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_DECODER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "hwy/base.h"
#include "jpeg2k/codeblock/mq_states.h"

namespace zepjp::codeblock {

// Decodes a segment; after its end, or a marker in it, the decoder reads 1 bits.
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
    for (size_t i = 0; i < kContextCount; ++i) contexts_[i] = DecoderStateOf(states[i]);
  }
  ContextStates states() const {
    ContextStates states{};
    for (size_t i = 0; i < kContextCount; ++i)
      states[i] = static_cast<uint8_t>((contexts_[i] & kDecoderPlace) / 4);
    return states;
  }

  // Decodes up to `most` zeros of a context as long as they need no renormalisation; returns their
  // number.
  HWY_INLINE uint32_t SkipZeros(uint32_t context, uint32_t most) {
    const uint64_t state = contexts_[context];
    const uint64_t qe = state - (state & kDecoderPlace);
    uint32_t count = 0;
    if ((state & 1) != 0) return 0;
    uint64_t distance = std::min(interval_ - kHalf, code_);
    if (distance >> kPoint >= most * (qe >> kPoint)) {
      count = most;
    } else {
      for (; distance >= qe; ++count) distance -= qe;
    }
    interval_ -= count * qe;
    code_ -= count * qe;
    return count;
  }

  // Decodes a symbol without branches; returns all ones for a 1.
  HWY_INLINE uint64_t Decode(uint32_t context) {
    const uint64_t state = contexts_[context];
    const uint64_t place = state & kDecoderPlace, qe = state - place;
    const uint64_t rest = interval_ - qe;
    const uint64_t lower = uint64_t{0} - (code_ < qe);  // all ones: the lower part
    const uint64_t is_lps = lower ^ (uint64_t{0} - (rest < qe));
    code_ = code_ - qe + (qe & lower);
    interval_ = rest ^ ((rest ^ qe) & lower);
    const int shift = __builtin_clzll(interval_);
    // -1 after an LPS, else 1 if no renormalisation is due.
    const uint64_t step = is_lps + (interval_ >> 63);
    contexts_[context] = kDecoderStates[static_cast<size_t>(place + step)];
    interval_ <<= shift;
    ShiftIn(shift);
    return is_lps ^ (uint64_t{0} - (state & 1));
  }

  // Whether the segment ends as an encoder with predictable termination would end it after the
  // decisions that were decoded.
  //
  // The encoder writes whole bytes until they hold all bits that were shifted out of the interval.
  // So the code register, which is 15 bits ahead, reaches 8 to 15 bits past the segment (9 to 15 if
  // the last byte has seven bits). The decoder read ones there; the encoder dropped those bits. If
  // the bits inside the segment are right, C exceeds the lower end of the interval by less than the
  // value of the first bit past the segment. The encoder omits a last byte FF; the decoder has read
  // ones in its place.
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
  static constexpr int kPoint = kDecoderPoint;  // the position of the lowest bit of C and A
  static constexpr uint64_t kHalf = uint64_t{0x8000} << kPoint;

  // In a damaged segment C may exceed A; its highest bits then get lost, as in the register of the
  // standard.
  HWY_INLINE void ShiftIn(int shift) {
    code_ <<= shift;
    ahead_ -= shift;
    while (HWY_UNLIKELY(ahead_ < 0)) Fill();
  }

  // Refills four bytes at once if none of them is FF, else one. `ahead_` may be negative: C is
  // already shifted.
  HWY_INLINE void Fill() {
    if (last_ != 0xFF && size_ - position_ > 4 && position_ < size_) {
      uint32_t word;
      std::memcpy(&word, bytes_ + position_ + 1, 4);
      if (((~word - 0x01010101u) & word & 0x80808080u) == 0) {
        Append(__builtin_bswap32(word), 32);
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
      Append(0xFF, 8);
      ++supplied_;
      return;
    }
    Append(byte, last_ == 0xFF ? 7 : 8);
    last_ = byte;
    ++position_;
  }

  HWY_INLINE void Append(uint32_t value, int bits) {
    code_ += uint64_t{value} << (kPoint - bits - ahead_);
    ahead_ += bits;
  }

  const uint8_t* bytes_;
  size_t size_;
  size_t position_ = 0;  // of the last byte that was read
  uint32_t last_ = 0;
  int ahead_ = 0;
  int supplied_ = 0;
  uint64_t interval_ = kHalf;
  uint64_t code_ = 0;
  uint64_t contexts_[kContextCount];
};

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_DECODER_H_
