// SPDX-License-Identifier: MIT
// The regions of row and column passes, and the argument checks that all passes share.
#ifndef ZEPJP_SRC_JPEG2K_WAVELET_ROWS_H_
#define ZEPJP_SRC_JPEG2K_WAVELET_ROWS_H_

#include <cstddef>
#include <cstdint>

#include "frame/checks.h"
#include "frame/rows.h"

namespace zepjp {

// A pass along rows or columns turns samples into low and high coefficients, or back.
template <class T>
struct SplitRegion {
  T* samples;
  int32_t samples_step;
  T* low;
  int32_t low_step;
  T* high;
  int32_t high_step;
  zepiSize size;  // of the low and of the high part
  int32_t phase;
};
template <class T>
using PassKernel = void (*)(const SplitRegion<T>&);

inline zepStatus CheckPass(const void* first, int32_t first_step, const void* second,
                           int32_t second_step, const void* third, int32_t third_step,
                           zepiSize size) {
  return Checks()
      .Ptr(first)
      .Ptr(second)
      .Ptr(third)
      .Step(first_step)
      .Step(second_step)
      .Step(third_step)
      .Size(size)
      .Failed();
}

// Forward passes have one source and two destinations, inverse passes the reverse; the kernel gets
// both as a SplitRegion.
template <class T>
zepStatus ForwardPass(PassKernel<T> kernel, const T* src, int32_t src_step, T* low,
                      int32_t low_step, T* high, int32_t high_step, zepiSize size, int32_t phase) {
  if (auto bad = CheckPass(src, src_step, low, low_step, high, high_step, size)) return bad;
  kernel({const_cast<T*>(src), src_step, low, low_step, high, high_step, size, phase != 0});
  return zepStatusOk;
}
template <class T>
zepStatus InversePass(PassKernel<T> kernel, const T* low, int32_t low_step, const T* high,
                      int32_t high_step, zepiSize size, T* dst, int32_t dst_step, int32_t phase) {
  if (auto bad = CheckPass(low, low_step, high, high_step, dst, dst_step, size)) return bad;
  kernel({dst, dst_step, const_cast<T*>(low), low_step, const_cast<T*>(high), high_step, size,
          phase != 0});
  return zepStatusOk;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG2K_WAVELET_ROWS_H_
