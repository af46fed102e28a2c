// SPDX-License-Identifier: MIT
// Values as a magnitude category s and s extra bits (ITU-T T.81, F.1.2.1). Category s holds the
// values v with 2^(s-1) <= |v| < 2^s. The extra bits are the s lowest bits of v, or of v - 1 if v
// is negative, so that their first bit is 1 for positive and 0 for negative values. DC differences
// have s up to 16, AC coefficients up to 15.
//
// Signs are close to random, so nothing here branches on them.
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_MAGNITUDE_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_MAGNITUDE_H_

#include <cstdint>

namespace zepjp {

constexpr uint32_t kEndOfBlock = 0x00;
constexpr uint32_t kRunOf16 = 0xF0;  // zeros

constexpr uint32_t kMaxDcCategory = 16;

// A symbol of an AC table: a run of zeros, and the category of the coefficient after them. With
// category 0, run 15 means sixteen zeros, and any other run the end of the block (in progressive
// scans the end of the band).
struct RunAndCategory {
  explicit RunAndCategory(uint32_t symbol) : run(symbol >> 4 & 15), category(symbol & 15) {}
  bool IsEnd() const { return category == 0 && run < 15; }
  uint32_t run, category;
};

// A number with `count` low ones, 0 to 16. A table takes fewer instructions than shifts on processors
// without BMI2.
struct LowOnesTable {
  uint32_t of[17];
};
constexpr LowOnesTable MakeLowOnes() {
  LowOnesTable ones = {};
  for (int i = 0; i <= 16; ++i) ones.of[i] = (uint32_t{1} << i) - 1;
  return ones;
}
inline constexpr LowOnesTable kLowOnes = MakeLowOnes();
inline uint64_t LowOnes(uint64_t count) { return kLowOnes.of[count]; }

// Values have 32 bits, but 64-bit arithmetic takes fewer instructions. 2m + 1 is never 0, so that a
// value of 0 needs no branch.
inline uint32_t CategoryOf(int64_t value) {
  const auto magnitude = static_cast<uint64_t>(value < 0 ? -value : value);
  return 63 ^ static_cast<uint32_t>(__builtin_clzll(2 * magnitude + 1));
}

// The extra bits of a value of category s are the s lowest bits of the result.
inline uint64_t ExtraBits(int64_t value) { return static_cast<uint64_t>(value + (value >> 63)); }

// The category of a magnitude that is not 0.
inline uint32_t CategoryOfMagnitude(uint32_t magnitude) {
  return 32 - static_cast<uint32_t>(__builtin_clz(magnitude));
}

// The value with this category, 0 to 16, and these extra bits.
inline int32_t ValueOf(uint32_t category, uint32_t bits) {
  const auto value = static_cast<int32_t>(bits);
  const int32_t half = (1 << category) >> 1;  // bits below it stand for negative values
  const int32_t is_negative = (value - half) >> 31;
  return value + (is_negative & (1 - (1 << category)));
}

// The value with this category whose extra bits are the highest of 64. ValueOfHighest takes
// categories 1 to 15, DifferenceOfHighest 0 to 16.
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
