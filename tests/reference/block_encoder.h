// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_BLOCK_ENCODER_H_
#define ZEPJP_TESTS_REFERENCE_BLOCK_ENCODER_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiEncodeHuffman8x8_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst, int32_t length,
                                             int32_t* position, int16_t* last_dc,
                                             const zepiEncodeHuffmanSpec* dc_table,
                                             const zepiEncodeHuffmanSpec* ac_table,
                                             zepiEncodeHuffmanState* state, int32_t flush);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_BLOCK_ENCODER_H_
