// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_PROGRESSIVE_DECODER_H_
#define ZEPJP_TESTS_REFERENCE_PROGRESSIVE_DECODER_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                     int32_t* position, int16_t* dst,
                                                     int16_t* last_dc, int32_t* marker,
                                                     int32_t shift,
                                                     const zepiDecodeHuffmanSpec* table,
                                                     zepiDecodeHuffmanState* state);
zepStatus zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                      int32_t* position, int16_t* dst,
                                                      int32_t* marker, int32_t shift,
                                                      zepiDecodeHuffmanState* state);
zepStatus zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                     int32_t* position, int16_t* dst,
                                                     int32_t* marker, int32_t first, int32_t last,
                                                     int32_t shift,
                                                     const zepiDecodeHuffmanSpec* table,
                                                     zepiDecodeHuffmanState* state);
zepStatus zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1(const uint8_t* src, int32_t length,
                                                      int32_t* position, int16_t* dst,
                                                      int32_t* marker, int32_t first, int32_t last,
                                                      int32_t shift,
                                                      const zepiDecodeHuffmanSpec* table,
                                                      zepiDecodeHuffmanState* state);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_PROGRESSIVE_DECODER_H_
