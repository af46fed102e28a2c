// SPDX-License-Identifier: MIT
// The DCT family: models that give the same bits as the exports, and the exact transforms.
#ifndef ZEPJP_TESTS_REFERENCE_DCT_H_
#define ZEPJP_TESTS_REFERENCE_DCT_H_

#include <array>

#include "zepjp.h"

namespace reference {

using ExactBlock = std::array<double, 64>;

// The transforms of ITU-T T.81, A.3.3; `points` is the size of the inverse transform's result.
ExactBlock ExactForward(const ExactBlock& samples);
ExactBlock ExactInverse(const ExactBlock& coefficients, int points = 8);

zepStatus zepiQuantFwd8x8_JPEG_16s_C1I(int16_t* block, const uint16_t* table);
zepStatus zepiQuantInv8x8_JPEG_16s_C1I(int16_t* block, const uint16_t* table);

zepStatus zepiDCTQuantFwd8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table);
zepStatus zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(const uint8_t* src, int32_t step, int16_t* dst,
                                              const uint16_t* table);
zepStatus zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(const uint16_t* src, int32_t step, int16_t* dst,
                                               const uint16_t* table);

zepStatus zepiDCTQuantInv8x8_JPEG_16s_C1(const int16_t* src, int16_t* dst, const uint16_t* table);
zepStatus zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                              const uint16_t* table);
zepStatus zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(const int16_t* src, uint16_t* dst, int32_t step,
                                               const uint16_t* table);
zepStatus zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                  const uint16_t* table);
zepStatus zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                  const uint16_t* table);
zepStatus zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                  const uint16_t* table);
zepStatus zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                   const uint16_t* table);
zepStatus zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(const int16_t* src, uint8_t* dst, int32_t step,
                                                   const uint16_t* table);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_DCT_H_
