// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_DIFFERENCE_CODER_H_
#define ZEPJP_TESTS_REFERENCE_DIFFERENCE_CODER_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiEncodeHuffmanOne_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst, int32_t length,
                                             int32_t* position, const zepiEncodeHuffmanSpec* table,
                                             zepiEncodeHuffmanState* state, int32_t flush);
zepStatus zepiDecodeHuffmanOne_JPEG_1u16s_C1(const uint8_t* src, int32_t length, int32_t* position,
                                             int16_t* dst, int32_t* marker,
                                             const zepiDecodeHuffmanSpec* table,
                                             zepiDecodeHuffmanState* state);
zepStatus zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(const int16_t* const* src, uint8_t* dst,
                                               int32_t length, int32_t* position, int32_t width,
                                               int32_t components,
                                               const zepiEncodeHuffmanSpec* const* tables,
                                               zepiEncodeHuffmanState* state, int32_t flush);
zepStatus zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(const uint8_t* src, int32_t length,
                                               int32_t* position, int16_t* const* dst,
                                               int32_t width, int32_t components, int32_t* marker,
                                               const zepiDecodeHuffmanSpec* const* tables,
                                               zepiDecodeHuffmanState* state);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_DIFFERENCE_CODER_H_
