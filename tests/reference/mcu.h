// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_MCU_H_
#define ZEPJP_TESTS_REFERENCE_MCU_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R(const uint8_t* src, int32_t step,
                                                   int16_t* const* dst);
zepStatus zepiSplit422LS_MCU_JPEG_8u16s_C2P3R(const uint8_t* src, int32_t step,
                                              int16_t* const* dst);
zepStatus zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha);
zepStatus zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha);
zepStatus zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha);
zepStatus zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha);
zepStatus zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha);
zepStatus zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step, uint8_t alpha);
zepStatus zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R(const int16_t* const* src, uint8_t* dst,
                                                   int32_t step);
zepStatus zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                 int32_t step);
zepStatus zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                 int32_t step);
zepStatus zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R(const int16_t* const* src, uint8_t* dst,
                                                 int32_t step);
zepStatus zepiJoin422LS_MCU_JPEG_16s8u_P3C2R(const int16_t* const* src, uint8_t* dst, int32_t step);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_MCU_H_
