// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_BLOCK_DECODER_H_
#define ZEPJP_TESTS_REFERENCE_BLOCK_DECODER_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiDecodeHuffman8x8_JPEG_1u16s_C1(const uint8_t* src, int32_t length, int32_t* position,
                                             int16_t* dst, int16_t* last_dc, int32_t* marker,
                                             const zepiDecodeHuffmanSpec* dc_table,
                                             const zepiDecodeHuffmanSpec* ac_table,
                                             zepiDecodeHuffmanState* state);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_BLOCK_DECODER_H_
