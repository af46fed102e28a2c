// SPDX-License-Identifier: MIT
// Numbers as the bytes of a file, highest byte first or lowest byte first.
#ifndef ZEPJP_CODECS_SUPPORT_BYTE_ORDER_H_
#define ZEPJP_CODECS_SUPPORT_BYTE_ORDER_H_

#include <cstddef>
#include <cstdint>

namespace zepcodec {

enum class ByteOrder { kBig, kLittle };

// The unsigned number in up to 8 bytes.
inline uint64_t LoadNumber(ByteOrder order, const uint8_t* from, size_t bytes) {
  uint64_t value = 0;
  for (size_t i = 0; i < bytes; ++i) {
    value = value << 8 | from[order == ByteOrder::kBig ? i : bytes - 1 - i];
  }
  return value;
}

// The reverse: stores the low bytes of a number.
inline void StoreNumber(ByteOrder order, uint64_t value, size_t bytes, uint8_t* to) {
  for (size_t i = 0; i < bytes; ++i) {
    to[order == ByteOrder::kBig ? bytes - 1 - i : i] = static_cast<uint8_t>(value >> (8 * i));
  }
}

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_BYTE_ORDER_H_
