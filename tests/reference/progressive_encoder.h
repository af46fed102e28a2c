// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_PROGRESSIVE_ENCODER_H_
#define ZEPJP_TESTS_REFERENCE_PROGRESSIVE_ENCODER_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                     int32_t length, int32_t* position,
                                                     int16_t* last_dc, int32_t shift,
                                                     const zepiEncodeHuffmanSpec* table,
                                                     zepiEncodeHuffmanState* state, int32_t flush);
zepStatus zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                      int32_t length, int32_t* position,
                                                      int32_t shift, zepiEncodeHuffmanState* state,
                                                      int32_t flush);
zepStatus zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                     int32_t length, int32_t* position,
                                                     int32_t first, int32_t last, int32_t shift,
                                                     const zepiEncodeHuffmanSpec* table,
                                                     zepiEncodeHuffmanState* state, int32_t flush);
zepStatus zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(const int16_t* src, uint8_t* dst,
                                                      int32_t length, int32_t* position,
                                                      int32_t first, int32_t last, int32_t shift,
                                                      const zepiEncodeHuffmanSpec* table,
                                                      zepiEncodeHuffmanState* state, int32_t flush);

zepStatus zepiGetHuffmanStatistics8x8_JPEG_16s_C1(const int16_t* src, int32_t* dc_statistics,
                                                  int32_t* ac_statistics, int16_t* last_dc);
zepStatus zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1(const int16_t* src, int32_t* statistics,
                                                          int16_t* last_dc, int32_t shift);
zepStatus zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1(const int16_t* src, int32_t* statistics,
                                                          int32_t first, int32_t last,
                                                          int32_t shift,
                                                          zepiEncodeHuffmanState* state,
                                                          int32_t flush);
zepStatus zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1(const int16_t* src, int32_t* statistics,
                                                           int32_t first, int32_t last,
                                                           int32_t shift,
                                                           zepiEncodeHuffmanState* state,
                                                           int32_t flush);
zepStatus zepiGetHuffmanStatisticsOne_JPEG_16s_C1(const int16_t* src, int32_t* statistics);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_PROGRESSIVE_ENCODER_H_
