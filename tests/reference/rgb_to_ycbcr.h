// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_RGB_TO_YCBCR_H_
#define ZEPJP_TESTS_REFERENCE_RGB_TO_YCBCR_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiRGBToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiRGBToYCbCr411_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiRGBToYCbCr422_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiRGBToYCbCr_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiRGBToYCbCr411_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiRGBToYCbCr422_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiRGBToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t src_step, uint8_t* dst,
                                   int32_t dst_step, zepiSize size);
zepStatus zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size);
zepStatus zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size);
zepStatus zepiBGRToYCbCr_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiBGRToYCbCr411_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiBGRToYCbCr422_JPEG_8u_C3P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiBGRToYCbCr_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiBGRToYCbCr411_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiBGRToYCbCr422_JPEG_8u_C4P3R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                          int32_t dst_step, zepiSize size);
zepStatus zepiBGRToY_JPEG_8u_C3C1R(const uint8_t* src, int32_t src_step, uint8_t* dst,
                                   int32_t dst_step, zepiSize size);
zepStatus zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size);
zepStatus zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R(const uint16_t* src, int32_t src_step,
                                             uint8_t* const* dst, int32_t dst_step, zepiSize size);
zepStatus zepiRGBToYCbCr_JPEG_8u_P3R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size);
zepStatus zepiRGBToY_JPEG_8u_P3C1R(const uint8_t* const* src, int32_t src_step, uint8_t* dst,
                                   int32_t dst_step, zepiSize size);
zepStatus zepiCMYKToYCCK_JPEG_8u_C4P4R(const uint8_t* src, int32_t src_step, uint8_t* const* dst,
                                       int32_t dst_step, zepiSize size);
zepStatus zepiCMYKToYCCK_JPEG_8u_P4R(const uint8_t* const* src, int32_t src_step,
                                     uint8_t* const* dst, int32_t dst_step, zepiSize size);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_RGB_TO_YCBCR_H_
