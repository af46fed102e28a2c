// SPDX-License-Identifier: MIT
// The MQ coder (ISO/IEC 15444-1, annex C), and the raw bits that bypass it (D.6).
//
// The MQ coder is a binary arithmetic coder with adaptive probabilities. Each context has a state:
// one of 47 estimates Qe of the probability of the less probable symbol (LPS), and which symbol is
// the more probable one (MPS). The coder keeps an interval of size A, 0x8000 to 0xFFFF in 16 bits,
// and its lower end C:
//
//   LPS       takes the lower part of the interval: A = Qe
//   MPS       takes the upper part: C += Qe, A -= Qe
//   exchange  if A - Qe < Qe, the two symbols change places, so that the LPS has the smaller part
//   renormalisation
//             if A < 0x8000, A and C are shifted left until A >= 0x8000, and the context's state
//             advances. After every 8 shifts C has a byte to put out. The byte after an FF takes
//             only 7 bits, so that a carry into it does not propagate further.
//
// The symbols are close to random, so a branch on the symbol would be mispredicted so often that it
// took longer than all the arithmetic. Both coders compute both outcomes and select with masks.
// They branch only where one outcome is much more likely: on runs of zeros, and in the decoder on an
// MPS that needs no renormalisation.
//
//   encoder   C and A in 64 bits, their lowest bits at bit 16, so that a shift by several bits needs
//             no loop; CT, the number of shifts before the next byte, starts at 12. The sign of
//             A - 2 Qe says which part the symbol takes; an MPS inverts it
//   decoder   C and A in 64 bits, their lowest bits at bit 48; up to 32 bits of the segment are
//             stored below C and wait to be shifted in
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "hwy/base.h"
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

// Writes raw bits that bypass the MQ coder: eight per byte, seven in a byte after FF.
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

  // The number of bytes so far, including an incomplete last one.
  size_t size() const { return size_ + (bits_ > 0 ? 1 : 0); }

  // Ends a segment: pads the last byte with 0, 1, 0 ..., and omits an FF at the end, because
  // decoders read ones there anyway.
  size_t Flush() {
    FillLast();
    if (EndsInFf()) --size_;
    return size_;
  }

  // Ends a segment by predictable termination: a last FF stays and is followed by a padding byte.
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

// Decodes a segment; after its end, or a marker in it, the decoder reads 1 bits.
//
// The decoder's C is the code relative to the lower end of the interval, so that C < Qe selects the
// lower part.
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

  // For contexts whose symbols are mostly the MPS: a branch skips renormalisation.
  HWY_INLINE uint32_t Decode(uint32_t context) {
    const uint64_t state = contexts_[context];
    const uint64_t qe = state & kEstimateBits;
    const uint64_t interval = interval_ - qe;
    if (HWY_UNLIKELY(interval < kHalf || code_ < qe)) return DecodeUnpredictable(context);
    interval_ = interval;
    code_ -= qe;
    return state & 1;
  }

  // Decodes up to `most` zeros of a context as long as they need no renormalisation; returns their
  // number.
  HWY_INLINE uint32_t SkipZeros(uint32_t context, uint32_t most) {
    const uint64_t state = contexts_[context];
    const uint64_t qe = state & kEstimateBits;
    uint32_t count = 0;
    if ((state & 1) != 0) return 0;
    uint64_t distance = std::min(interval_ - kHalf, code_);
    for (; count < most && distance >= qe; ++count) distance -= qe;
    interval_ -= count * qe;
    code_ -= count * qe;
    return count;
  }

  // Decodes a symbol without branches, for contexts whose symbols are close to random.
  HWY_INLINE uint32_t DecodeUnpredictable(uint32_t context) {
    const uint64_t state = contexts_[context];
    const uint64_t qe = state & kEstimateBits;
    const uint64_t rest = interval_ - qe;
    const uint64_t lower = uint64_t{0} - (code_ < qe);  // all ones: the lower part
    const uint64_t is_lps = lower ^ (uint64_t{0} - (rest < qe));
    code_ -= qe & ~lower;
    interval_ = qe + ((rest - qe) & ~lower);
    const int shift = __builtin_clzll(interval_);
    const uint64_t is_scaled = (interval_ >> 63) ^ 1;
    contexts_[context] = kDecoderStates[state >> (8 + 8 * (is_scaled - is_lps)) & 0xFF];
    interval_ <<= shift;
    ShiftIn(shift);
    return static_cast<uint32_t>((state ^ is_lps) & 1);
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
  static constexpr uint64_t kEstimateBits = ~((uint64_t{1} << kPoint) - 1);

  // In a damaged segment C may exceed A; its highest bits then get lost, as in the register of the
  // standard.
  HWY_INLINE void ShiftIn(int shift) {
    while (HWY_UNLIKELY(shift > ahead_)) {
      code_ <<= ahead_;
      shift -= ahead_;
      Fill();
    }
    ahead_ -= shift;
    code_ <<= shift;
  }

  // Refills four bytes at once if none of them is FF, else one.
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
  uint64_t interval_ = kHalf;
  uint64_t code_ = 0;
  uint64_t contexts_[kContextCount];
};

class RawDecoder {
 public:
  RawDecoder(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  uint32_t DecodeUnpredictable(uint32_t /*context*/) {
    if (left_ == 0) {
      left_ = value_ == 0xFF ? 7 : 8;
      if (position_ == size_) ++supplied_;
      value_ = position_ < size_ ? bytes_[position_++] : 0xFF;
    }
    return value_ >> --left_ & 1;
  }

  // Whether the segment ends by predictable termination: the rest of the last byte is 0, 1, 0 ...,
  // and an FF whose bits were all read is followed by a padding byte (or was omitted).
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
  size_t supplied_ = 0;  // bytes of 1 bits read after the end
  uint32_t value_ = 0;
  int left_ = 0;
};

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_CODER_H_
