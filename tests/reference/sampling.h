// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_SAMPLING_H_
#define ZEPJP_TESTS_REFERENCE_SAMPLING_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiSampleDownH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                         uint8_t* dst, int32_t dst_step, zepiSize dst_size);
zepStatus zepiSampleDownH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                         uint8_t* dst, int32_t dst_step, zepiSize dst_size);
zepStatus zepiSampleUpH2V1_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                       uint8_t* dst, int32_t dst_step, zepiSize dst_size);
zepStatus zepiSampleUpH2V2_JPEG_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize src_size,
                                       uint8_t* dst, int32_t dst_step, zepiSize dst_size);
zepStatus zepiSampleDownRowH2V1_Box_JPEG_8u_C1(const uint8_t* src, int32_t width, uint8_t* dst);
zepStatus zepiSampleDownRowH2V2_Box_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                               int32_t width, uint8_t* dst);
zepStatus zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1(const uint8_t* src, int32_t width, uint8_t* dst);
zepStatus zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1(const uint8_t* src1, const uint8_t* src2,
                                                  int32_t width, uint8_t* dst);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_SAMPLING_H_
