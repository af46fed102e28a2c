// SPDX-License-Identifier: MIT
// The component transforms of JPEG 2000, pixel by pixel.
#ifndef ZEPJP_TESTS_REFERENCE_COMPONENT_TRANSFORMS_H_
#define ZEPJP_TESTS_REFERENCE_COMPONENT_TRANSFORMS_H_

#include "zepjp.h"

namespace reference {

#define ZEPJP_REFERENCE_IN_PLACE(name, T) \
  zepStatus name(T* const planes[3], int32_t step, zepiSize size)
#define ZEPJP_REFERENCE_TO_PLANES(name, T) \
  zepStatus name(const T* src, int32_t src_step, T* const dst[3], int32_t dst_step, zepiSize size)
#define ZEPJP_REFERENCE_TO_PIXELS(name, T) \
  zepStatus name(const T* const src[3], int32_t src_step, T* dst, int32_t dst_step, zepiSize size)

ZEPJP_REFERENCE_IN_PLACE(zepiRCTFwd_JPEG2K_16s_P3IR, int16_t);
ZEPJP_REFERENCE_IN_PLACE(zepiRCTInv_JPEG2K_16s_P3IR, int16_t);
ZEPJP_REFERENCE_IN_PLACE(zepiRCTFwd_JPEG2K_32s_P3IR, int32_t);
ZEPJP_REFERENCE_IN_PLACE(zepiRCTInv_JPEG2K_32s_P3IR, int32_t);
ZEPJP_REFERENCE_IN_PLACE(zepiICTFwd_JPEG2K_16s_P3IR, int16_t);
ZEPJP_REFERENCE_IN_PLACE(zepiICTInv_JPEG2K_16s_P3IR, int16_t);
ZEPJP_REFERENCE_IN_PLACE(zepiICTFwd_JPEG2K_32s_P3IR, int32_t);
ZEPJP_REFERENCE_IN_PLACE(zepiICTInv_JPEG2K_32s_P3IR, int32_t);
ZEPJP_REFERENCE_IN_PLACE(zepiICTFwd_JPEG2K_32f_P3IR, float);
ZEPJP_REFERENCE_IN_PLACE(zepiICTInv_JPEG2K_32f_P3IR, float);
ZEPJP_REFERENCE_TO_PLANES(zepiRCTFwd_JPEG2K_16s_C3P3R, int16_t);
ZEPJP_REFERENCE_TO_PLANES(zepiRCTFwd_JPEG2K_32s_C3P3R, int32_t);
ZEPJP_REFERENCE_TO_PLANES(zepiICTFwd_JPEG2K_32f_C3P3R, float);
ZEPJP_REFERENCE_TO_PIXELS(zepiRCTInv_JPEG2K_16s_P3C3R, int16_t);
ZEPJP_REFERENCE_TO_PIXELS(zepiRCTInv_JPEG2K_32s_P3C3R, int32_t);
ZEPJP_REFERENCE_TO_PIXELS(zepiICTInv_JPEG2K_32f_P3C3R, float);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_COMPONENT_TRANSFORMS_H_
