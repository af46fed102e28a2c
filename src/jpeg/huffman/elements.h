// SPDX-License-Identifier: MIT
// Loads and stores of coefficients at any alignment, and a test for FF among eight bytes.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_ELEMENTS_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_ELEMENTS_H_

#include <cstdint>
#include <cstring>
#include <utility>

#include "hwy/base.h"

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

// Eight unrolled stores: compilers turn a loop, or memset, into `rep stos`, which is slow to start.
template <size_t... kPart>
HWY_INLINE void ClearParts(int16_t* block, std::index_sequence<kPart...>) {
  constexpr int16_t kZeros[8] = {};
  (std::memcpy(block + 8 * kPart, kZeros, sizeof(kZeros)), ...);
}
inline void Clear(int16_t* block) { ClearParts(block, std::make_index_sequence<8>()); }

// Whether one of the eight bytes is FF: for a byte b, b & ~(b + 1) has bit 7 set only if b is FF. A
// carry into the next byte only comes from an FF, so it cannot cause a false answer.
inline bool HasFf(uint64_t bytes) {
  return (bytes & ~(bytes + 0x0101010101010101U) & 0x8080808080808080U) != 0;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_ELEMENTS_H_
