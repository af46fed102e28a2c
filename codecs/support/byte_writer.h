// SPDX-License-Identifier: MIT
// Appends numbers and bytes to a file that is made in memory.
#ifndef ZEPJP_CODECS_SUPPORT_BYTE_WRITER_H_
#define ZEPJP_CODECS_SUPPORT_BYTE_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/byte_order.h"

namespace zepcodec {

// Appends to a vector, which must outlive the writer.
class ByteWriter {
 public:
  explicit ByteWriter(std::vector<uint8_t>* bytes, ByteOrder order = ByteOrder::kBig)
      : bytes_(bytes), order_(order) {}

  template <class Integer>
  void Byte(Integer value) {
    Number(static_cast<uint64_t>(value), 1);
  }
  template <class Integer>
  void Word(Integer value) {
    Number(static_cast<uint64_t>(value), 2);
  }
  template <class Integer>
  void Long(Integer value) {
    Number(static_cast<uint64_t>(value), 4);
  }
  void Number(uint64_t value, size_t bytes) {
    bytes_->resize(bytes_->size() + bytes);
    Set(bytes_->size() - bytes, value, bytes);
  }
  void Bytes(const uint8_t* from, size_t count) {
    if (count > 0) bytes_->insert(bytes_->end(), from, from + count);
  }
  void Bytes(const std::vector<uint8_t>& from) { Bytes(from.data(), from.size()); }
  // Overwrites a number that was written before.
  void Set(size_t position, uint64_t value, size_t bytes) {
    StoreNumber(order_, value, bytes, bytes_->data() + position);
  }

  size_t size() const { return bytes_->size(); }

 private:
  std::vector<uint8_t>* bytes_;
  ByteOrder order_;
};

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_BYTE_WRITER_H_
