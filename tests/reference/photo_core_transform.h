// SPDX-License-Identifier: MIT
// The 4x4 photo core transform, block by block and element by element.
#ifndef ZEPJP_TESTS_REFERENCE_PHOTO_CORE_TRANSFORM_H_
#define ZEPJP_TESTS_REFERENCE_PHOTO_CORE_TRANSFORM_H_

#include "zepjp.h"

namespace reference {

#define ZEPJP_REFERENCE_TRANSFORM(direction, type, T)                                        \
  zepStatus zepiPCT##direction##_JPEGXR_##type##_C1IR(T* data, int32_t step, zepiSize size); \
  zepStatus zepiPCT##direction##16x16_JPEGXR_##type##_C1IR(T* data, int32_t step);           \
  zepStatus zepiPCT##direction##8x16_JPEGXR_##type##_C1IR(T* data, int32_t step);            \
  zepStatus zepiPCT##direction##8x8_JPEGXR_##type##_C1IR(T* data, int32_t step)

ZEPJP_REFERENCE_TRANSFORM(Fwd, 16s, int16_t);
ZEPJP_REFERENCE_TRANSFORM(Inv, 16s, int16_t);
ZEPJP_REFERENCE_TRANSFORM(Fwd, 32s, int32_t);
ZEPJP_REFERENCE_TRANSFORM(Inv, 32s, int32_t);
ZEPJP_REFERENCE_TRANSFORM(Fwd, 32f, float);
ZEPJP_REFERENCE_TRANSFORM(Inv, 32f, float);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_PHOTO_CORE_TRANSFORM_H_
