// SPDX-License-Identifier: MIT
#include "reference/level_shift.h"

#include "reference/pixels.h"

namespace reference {

zepStatus zepiAdd128_JPEG_16s8u_C1R(const int16_t* src, int32_t src_step, uint8_t* dst,
                                    int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      Put(dst, dst_step, x, y, Clamp255(Get(src, src_step, x, y) + 128));
    }
  }
  return zepStatusOk;
}

zepStatus zepiSub128_JPEG_8u16s_C1R(const uint8_t* src, int32_t src_step, int16_t* dst,
                                    int32_t dst_step, zepiSize size) {
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      Put(dst, dst_step, x, y, static_cast<int16_t>(Get(src, src_step, x, y) - 128));
    }
  }
  return zepStatusOk;
}

}  // namespace reference
