// SPDX-License-Identifier: MIT
// Values as a category s and s extra bits (ITU-T T.81, F.1.2.1): category s holds the values v with
// 2^(s-1) <= |v| < 2^s; the bits are those of v, or of v - 1 where v is negative.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_MAGNITUDE_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_MAGNITUDE_H_

#include <cstdint>

namespace zepjp {

constexpr uint32_t kEndOfBlock = 0x00;
constexpr uint32_t kRunOf16 = 0xF0;  // zeros

constexpr uint32_t kMostDcCategory = 16;

// What a symbol of an AC table stands for: zeros, and the category of the coefficient behind them. Where that is 0
// the zeros are sixteen, or the block (in progressive scans the band) ends.
struct RunAndCategory {
  explicit RunAndCategory(uint32_t symbol) : run(symbol >> 4 & 15), category(symbol & 15) {}
  bool IsEnd() const { return category == 0 && run < 15; }
  uint32_t run, category;
};

// In 64 bits, which take fewer instructions, for values of 32.
inline uint32_t CategoryOf(int64_t value) {
  const auto magnitude = static_cast<uint64_t>(value < 0 ? -value : value);
  return 63 ^ static_cast<uint32_t>(__builtin_clzll(2 * magnitude + 1));  // no branch for 0
}

// Only the lowest bits, as many as the category says, count.
inline uint64_t ExtraBits(int64_t value) { return static_cast<uint64_t>(value + (value >> 63)); }

// Of a magnitude that is not 0.
inline uint32_t CategoryOfMagnitude(uint32_t magnitude) {
  return 32 - static_cast<uint32_t>(__builtin_clz(magnitude));
}

// A category of 0 to 16 and its extra bits back to the value. (No branch: signs are random.)
inline int32_t ValueOf(uint32_t category, uint32_t bits) {
  const auto value = static_cast<int32_t>(bits);
  const int32_t half = (1 << category) >> 1;  // bits below it stand for negative values
  const int32_t is_negative = (value - half) >> 31;
  return value + (is_negative & (1 - (1 << category)));
}

// The same where the extra bits are the highest of 64; ValueOfHighest for a category of 1 to 15 only.
inline int32_t ValueOfHighest(uint32_t category, uint64_t bits) {
  const uint32_t others = -category & 63;
  const uint64_t ones = ~uint64_t{0} >> others;
  const auto is_positive = static_cast<uint64_t>(static_cast<int64_t>(bits) >> 63);
  return static_cast<int32_t>((bits >> others) - (ones & ~is_positive));
}
inline int32_t DifferenceOfHighest(uint32_t category, uint64_t bits) {
  const uint32_t others = ~category & 63;
  const uint64_t ones = ~uint64_t{0} >> 1 >> others;
  const auto is_positive = static_cast<uint64_t>(static_cast<int64_t>(bits) >> 63);
  return static_cast<int32_t>((bits >> 1 >> others) - (ones & ~is_positive));
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_MAGNITUDE_H_
