// SPDX-License-Identifier: MIT
// Coefficients of blocks, which may have any alignment, and their zigzag order.
#ifndef ZEPJP_TESTS_REFERENCE_COEFFICIENTS_H_
#define ZEPJP_TESTS_REFERENCE_COEFFICIENTS_H_

#include <cstdint>
#include <cstring>

namespace reference {

inline int16_t GetValue(const int16_t* from) {
  int16_t value;
  std::memcpy(&value, from, sizeof(value));
  return value;
}
inline void PutValue(int64_t value, int16_t* to) {
  const auto low = static_cast<int16_t>(value & 0xFFFF);
  std::memcpy(to, &low, sizeof(low));
}

// Row and column of the zigzag walk, which turns at the borders of the block.
struct Zigzag {
  int natural[64];
  Zigzag() {
    int k = 0;
    for (int diagonal = 0; diagonal < 15; ++diagonal) {
      for (int i = 0; i <= diagonal; ++i) {
        const int row = diagonal % 2 == 0 ? diagonal - i : i;
        const int column = diagonal - row;
        if (row < 8 && column < 8) natural[k++] = row * 8 + column;
      }
    }
  }
};
inline const Zigzag kZigzag;

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_COEFFICIENTS_H_
