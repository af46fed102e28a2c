// SPDX-License-Identifier: MIT
// Refinement bits of JPEG XR, bit by bit.
#ifndef ZEPJP_TESTS_REFERENCE_FIXED_LENGTH_H_
#define ZEPJP_TESTS_REFERENCE_FIXED_LENGTH_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(const uint8_t** from, uint32_t* accumulator,
                                             uint32_t* count, int32_t* block, int32_t step,
                                             uint32_t m, int32_t multiplier, uint32_t refine);
zepStatus zepiFLCDecode4x4_JPEGXR_1u16s_C1IR(const uint8_t** from, uint32_t* accumulator,
                                             uint32_t* count, int16_t* block, int32_t step,
                                             uint32_t m, int16_t multiplier, uint32_t refine);
zepStatus zepiFLCEncode4x4_JPEGXR_32s1u_C1R(const int32_t* block, int32_t step,
                                            const int32_t* packed, uint8_t** to,
                                            uint32_t* accumulator, uint32_t* count, uint32_t m,
                                            uint32_t trim, uint32_t coded);
zepStatus zepiFLCEncode4x4_JPEGXR_16s1u_C1R(const int16_t* block, int32_t step,
                                            const int32_t* packed, uint8_t** to,
                                            uint32_t* accumulator, uint32_t* count, uint32_t m,
                                            uint32_t trim, uint32_t coded);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_FIXED_LENGTH_H_
