// SPDX-License-Identifier: MIT
// Dequantization and inverse transform of a block to samples, at full scale or reduced.
#ifndef ZEPJP_CODECS_JPEG_BLOCK_TRANSFORM_H_
#define ZEPJP_CODECS_JPEG_BLOCK_TRANSFORM_H_

#include <cstdint>

#include "zepjp.h"

namespace zepcodec::jpeg {

using InverseTransform = zepStatus(ZEP_CALL*)(const int16_t* block, uint8_t* samples, int32_t step,
                                              const uint16_t* steps);

// For blocks of 8, 4, 2 or 1 samples on a side.
InverseTransform TransformFor(int block_size);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BLOCK_TRANSFORM_H_
