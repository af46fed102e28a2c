// SPDX-License-Identifier: MIT
// Coefficients at any address, and the test for FF among eight bytes.
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

// Eight stores written out: compilers turn a loop, or memset, into `rep stos`, whose start-up takes
// longer.
template <size_t... kPart>
HWY_INLINE void ClearParts(int16_t* block, std::index_sequence<kPart...>) {
  constexpr int16_t kZeros[8] = {};
  (std::memcpy(block + 8 * kPart, kZeros, sizeof(kZeros)), ...);
}
inline void Clear(int16_t* block) { ClearParts(block, std::make_index_sequence<8>()); }

// Whether one of the eight bytes is FF: in a byte b, b & ~(b + 1) has bit 7 set only for FF. A
// carry into a byte comes from an FF below it, so it does no harm.
inline bool HasFf(uint64_t bytes) {
  return (bytes & ~(bytes + 0x0101010101010101U) & 0x8080808080808080U) != 0;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_ELEMENTS_H_
