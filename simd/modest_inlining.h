// SPDX-License-Identifier: MIT
// Included before everything else in kernels for Highway's scalar code, where an operation is a
// loop over the lanes. If each operation were inlined everywhere, as for vector instructions, a
// file would take a compiler many minutes. So the compiler decides.
#ifndef ZEPJP_SIMD_MODEST_INLINING_H_
#define ZEPJP_SIMD_MODEST_INLINING_H_

#include "hwy/base.h"

#undef HWY_INLINE
#undef HWY_FLATTEN
#define HWY_INLINE inline
#define HWY_FLATTEN

#endif  // ZEPJP_SIMD_MODEST_INLINING_H_
