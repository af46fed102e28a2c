// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_LEVEL_SHIFT_H_
#define ZEPJP_TESTS_REFERENCE_LEVEL_SHIFT_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiAdd128_JPEG_16s8u_C1R(const int16_t* src, int32_t src_step, uint8_t* dst,
                                    int32_t dst_step, zepiSize size);
zepStatus zepiSub128_JPEG_8u16s_C1R(const uint8_t* src, int32_t src_step, int16_t* dst,
                                    int32_t dst_step, zepiSize size);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_LEVEL_SHIFT_H_
