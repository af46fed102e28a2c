// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_TIFF_H_
#define ZEPJP_TESTS_REFERENCE_TIFF_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiPackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t src_size, uint8_t* dst,
                                     int32_t* dst_size);
zepStatus zepiUnpackBitsRow_TIFF_8u_C1(const uint8_t* src, int32_t* src_size, uint8_t* dst,
                                       int32_t dst_size);
zepStatus zepiSplitRow_TIFF_16u8u_C1(const uint16_t* src, uint8_t* dst, int32_t width);
zepStatus zepiJoinRow_TIFF_8u16u_C1(const uint8_t* src, uint16_t* dst, int32_t width);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_TIFF_H_
