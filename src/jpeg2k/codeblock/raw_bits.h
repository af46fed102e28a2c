// SPDX-License-Identifier: MIT
// Raw bits that bypass the MQ coder (ISO/IEC 15444-1, D.6): eight bits per byte, seven in a byte
// after FF.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_RAW_BITS_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_RAW_BITS_H_

#include <cstddef>
#include <cstdint>

namespace zepjp::codeblock {

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

class RawDecoder {
 public:
  RawDecoder(const uint8_t* bytes, size_t size) : bytes_(bytes), size_(size) {}

  uint64_t Decode(uint32_t /*context*/) { return uint64_t{0} - Read(); }

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
  uint32_t Read() {
    if (left_ == 0) {
      left_ = value_ == 0xFF ? 7 : 8;
      if (position_ == size_) ++supplied_;
      value_ = position_ < size_ ? bytes_[position_++] : 0xFF;
    }
    return value_ >> --left_ & 1;
  }

  const uint8_t* bytes_;
  size_t size_;
  size_t position_ = 0;
  size_t supplied_ = 0;  // bytes of 1 bits read after the end
  uint32_t value_ = 0;
  int left_ = 0;
};

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_RAW_BITS_H_
