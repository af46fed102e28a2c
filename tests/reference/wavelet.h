// SPDX-License-Identifier: MIT
// Scalar models of the JPEG 2000 wavelets: for each filter and element type the passes, one call of
// the row-by-row lifting and whole tiles, with the arguments of the exports. They check nothing.
#ifndef ZEPJP_TESTS_REFERENCE_WAVELET_H_
#define ZEPJP_TESTS_REFERENCE_WAVELET_H_

#include "zepjp.h"

namespace reference {

// The 5/3 filter (T: int16_t, int32_t) and the 9/7 filter (T: int16_t, int32_t, float).
template <class T>
struct B53;
template <class T>
struct D97;

template <template <class> class Filter, class T>
struct Wavelet {
  static zepStatus FwdRow(const T* src, int32_t src_step, T* low, int32_t low_step, T* high,
                          int32_t high_step, zepiSize size, int32_t phase);
  static zepStatus InvRow(const T* low, int32_t low_step, const T* high, int32_t high_step,
                          zepiSize size, T* dst, int32_t dst_step, int32_t phase);
  static zepStatus FwdCol(const T* src, int32_t src_step, T* low, int32_t low_step, T* high,
                          int32_t high_step, zepiSize size, int32_t phase);
  static zepStatus InvCol(const T* low, int32_t low_step, const T* high, int32_t high_step,
                          zepiSize size, T* dst, int32_t dst_step, int32_t phase);
  static zepStatus FwdInPlace(T* data, int32_t step, const zepiRect* tile);
  static zepStatus InvInPlace(T* data, int32_t step, const zepiRect* tile);
  static zepStatus Fwd(const T* src, int32_t src_step, const zepiRect* tile, T* const dst[4],
                       const int32_t dst_step[4]);
  static zepStatus Inv(const T* const src[4], const int32_t src_step[4], T* dst, int32_t dst_step,
                       const zepiRect* tile);
};

// One call of the row-by-row lifting: rows are in the order of the export's arguments.
template <class T>
void FwdColLift53(const T* const in[4], T* low, T* high, int32_t width);
template <class T>
void InvColLift53(const T* const in[4], T* odd, T* even, int32_t width);
// The eight rows in the order of the arguments; the call changes those that it writes.
template <class T>
void FwdColLift97(T* const rows[8], int32_t width);
template <class T>
void InvColLift97(T* const rows[8], int32_t width);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_WAVELET_H_
