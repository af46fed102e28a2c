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
zepStatus zepiYCbCrToRGB_JPEG_8u_P3C4R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size, uint8_t alpha);
zepStatus zepiYCbCrToBGR_JPEG_8u_P3C4R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                       int32_t dst_step, zepiSize size, uint8_t alpha);
zepStatus zepiYCbCr411ToRGB_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCr411ToRGB_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha);
zepStatus zepiYCbCr411ToBGR_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCr411ToBGR_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha);
zepStatus zepiYCbCr422ToRGB_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCr422ToRGB_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha);
zepStatus zepiYCbCr422ToBGR_JPEG_8u_P3C3R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCr422ToBGR_JPEG_8u_P3C4R(const uint8_t* const* src, const int32_t* src_step,
                                          uint8_t* dst, int32_t dst_step, zepiSize size,
                                          uint8_t alpha);
zepStatus zepiYCbCrToRGB555_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCrToRGB565_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCrToBGR555_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size);
zepStatus zepiYCbCrToBGR565_JPEG_8u16u_P3C3R(const uint8_t* const* src, int32_t src_step,
                                             uint16_t* dst, int32_t dst_step, zepiSize size);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_YCBCR_TO_RGB_H_
