// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_DIRECT_CODER_H_
#define ZEPJP_TESTS_REFERENCE_DIRECT_CODER_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                    int32_t length, int32_t* bit_position,
                                                    int16_t* last_dc,
                                                    const zepiEncodeHuffmanSpec* dc_table,
                                                    const zepiEncodeHuffmanSpec* ac_table);
zepStatus zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                    int32_t* bit_position, int16_t* dst,
                                                    int16_t* last_dc, int32_t* marker,
                                                    const zepiDecodeHuffmanSpec* dc_table,
                                                    const zepiDecodeHuffmanSpec* ac_table);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_DIRECT_CODER_H_
