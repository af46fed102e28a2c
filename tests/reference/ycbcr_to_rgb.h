// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_YCBCR_TO_RGB_H_
#define ZEPJP_TESTS_REFERENCE_YCBCR_TO_RGB_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiYCbCrToRGB_JPEG_8u_P3C3R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiYCbCrToBGR_JPEG_8u_P3C3R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiYCbCrToRGB_JPEG_8u_P3R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCCKToCMYK_JPEG_8u_P4C4R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiYCCKToCMYK_JPEG_8u_P4R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCr422ToRGB_JPEG_8u_C2C3R(const uint8_t* src, int32_t src_step, uint8_t* dst,
                                          int32_t dst_step, zepiSize size);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_YCBCR_TO_RGB_H_
