// SPDX-License-Identifier: MIT
// The zigzag order of the coefficients of an 8x8 block (ITU-T T.81, figure A.6).
#ifndef ZEPJP_SRC_JPEG_ZIGZAG_H_
#define ZEPJP_SRC_JPEG_ZIGZAG_H_

#include <cstdint>

namespace zepjp {

// The zigzag index of each natural (row-major) position.
inline constexpr uint8_t kZigzagOfNatural[64] = {0,  1,  5,  6,  14, 15, 27, 28,  //
                                                 2,  4,  7,  13, 16, 26, 29, 42,  //
                                                 3,  8,  12, 17, 25, 30, 41, 43,  //
                                                 9,  11, 18, 24, 31, 40, 44, 53,  //
                                                 10, 19, 23, 32, 39, 45, 52, 54,  //
                                                 20, 22, 33, 38, 46, 51, 55, 60,  //
                                                 21, 34, 37, 47, 50, 56, 59, 61,  //
                                                 35, 36, 48, 49, 57, 58, 62, 63};

// The natural position of each zigzag index.
inline constexpr uint8_t kNaturalOfZigzag[64] = {0,  1,  8,  16, 9,  2,  3,  10,  //
                                                 17, 24, 32, 25, 18, 11, 4,  5,   //
                                                 12, 19, 26, 33, 40, 48, 41, 34,  //
                                                 27, 20, 13, 6,  7,  14, 21, 28,  //
                                                 35, 42, 49, 56, 57, 50, 43, 36,  //
                                                 29, 22, 15, 23, 30, 37, 44, 51,  //
                                                 58, 59, 52, 45, 38, 31, 39, 46,  //
                                                 53, 60, 61, 54, 47, 55, 62, 63};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_ZIGZAG_H_
