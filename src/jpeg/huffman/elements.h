// SPDX-License-Identifier: MIT
// Coefficients at any address, and the look for FF among eight bytes.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_ELEMENTS_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_ELEMENTS_H_

#include <cstdint>
#include <cstring>

namespace zepjp {

inline int32_t LoadCoefficient(const int16_t* from) {
  int16_t value;
  std::memcpy(&value, from, sizeof(value));
  return value;
}
inline void StoreCoefficient(int32_t value, int16_t* to) {
  const auto low = static_cast<uint16_t>(value);
  std::memcpy(to, &low, sizeof(low));
}

// In any order of the bytes.
inline bool HasFf(uint64_t bytes) {
  return (bytes & ~(bytes + 0x0101010101010101U) & 0x8080808080808080U) != 0;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_ELEMENTS_H_
