// SPDX-License-Identifier: MIT
// The bits of packet headers: a byte after FF holds seven bits (ITU-T T.800, B.10.1).
#ifndef ZEPJP_CODECS_JPEG2000_HEADER_BITS_H_
#define ZEPJP_CODECS_JPEG2000_HEADER_BITS_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zepcodec::jpeg2000 {

class HeaderReader {
 public:
  HeaderReader(const uint8_t* next, const uint8_t* end) : next_(next), end_(end) {}

  // After the end all bits are 0, and failed() is true.
  int Bit() {
    if (left_ == 0) NextByte();
    return byte_ >> --left_ & 1;
  }
  uint32_t Bits(int count) {
    uint32_t value = 0;
    for (int i = 0; i < count; ++i) value = value << 1 | static_cast<uint32_t>(Bit());
    return value;
  }
  bool failed() const { return failed_; }

  // The end of the header: if its last byte is FF, a stuffing byte follows.
  const uint8_t* Finish() {
    if (byte_ == 0xFF) NextByte();
    left_ = 0;
    byte_ = 0;
    return next_;
  }

 private:
  void NextByte() {
    left_ = byte_ == 0xFF ? 7 : 8;
    if (next_ == end_) {
      failed_ = true;
      byte_ = 0;
    } else {
      byte_ = *next_++;
    }
  }

  const uint8_t* next_;
  const uint8_t* end_;
  int byte_ = 0;
  int left_ = 0;
  bool failed_ = false;
};

class HeaderWriter {
 public:
  explicit HeaderWriter(std::vector<uint8_t>* bytes) : bytes_(bytes) {}

  void Put(int bit) {
    if (left_ == 0) Flush();
    byte_ |= bit << --left_;
  }
  void Put(uint32_t value, int count) {
    for (int i = count; i-- > 0;) Put(static_cast<int>(value >> i & 1));
  }
  // Pads with zeros; a last byte FF is followed by a zero byte.
  void Finish() {
    Flush();
    if (left_ == 7) Flush();
  }

 private:
  void Flush() {
    bytes_->push_back(static_cast<uint8_t>(byte_));
    left_ = byte_ == 0xFF ? 7 : 8;
    byte_ = 0;
  }

  std::vector<uint8_t>* bytes_;
  int byte_ = 0;
  int left_ = 8;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_HEADER_BITS_H_
