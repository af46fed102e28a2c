// SPDX-License-Identifier: MIT
// Chooses a family's kernels among those compiled for each instruction set.
//
// A family's file is compiled once per instruction set by Highway's foreach_target. Each pass
// defines a constant table `kKernels` in the namespace of its target. When the library is loaded,
// the table of the best enabled target is copied to the family's own table:
//
//   Kernels kernels;
//   ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }
//
// A call then takes one load and one indirect jump.
//
// Kernels of rows may have a table for each width of row (ByWidth): a row shorter than a vector is
// faster with narrower vectors than on a copy.
#ifndef ZEPJP_SIMD_DISPATCH_H_
#define ZEPJP_SIMD_DISPATCH_H_

#include <cstdint>

#include "hwy/base.h"
#include "simd/startup.h"

namespace zepjp {

// One pointer for each instruction set, null for those that were not compiled. `baseline` is the
// one that the whole library is compiled for: SSSE3, NEON, or Highway's scalar code for 128 bits.
template <class T>
struct PerTarget {
  const T* baseline;
  const T* sse4;
  const T* avx2;
  const T* avx512;
};

template <class T>
const T* Choose(const PerTarget<T>& tables, const Enabled& enabled) {
  if (tables.avx512 != nullptr && enabled.avx512) return tables.avx512;
  if (tables.avx2 != nullptr && enabled.avx2) return tables.avx2;
  if (tables.sse4 != nullptr && enabled.sse4) return tables.sse4;
  return tables.baseline;
}

template <class T>
struct ByWidth {
  T narrow, medium, wide;  // vectors of 128 bits, of up to 256 bits, and of any size

  // The kernels for rows of `width` elements of one byte.
  const T& For(int32_t width) const {
    if (HWY_LIKELY(width >= 64)) return wide;
    return width >= 16 ? medium : narrow;
  }
};

template <class T>
ByWidth<T> ChooseByWidth(const PerTarget<T>& tables, Enabled enabled) {
  ByWidth<T> chosen;
  chosen.wide = *Choose(tables, enabled);
  enabled.avx512 = false;
  chosen.medium = *Choose(tables, enabled);
  enabled.avx2 = false;
  chosen.narrow = *Choose(tables, enabled);
  return chosen;
}

}  // namespace zepjp

// The targets that foreach_target.h skips in the files of scalar coders (simd/scalar-inl.h).
#define ZEP_ALL_BUT_SCALAR_TARGETS (HWY_SSE4 | HWY_AVX3)

#define ZEP_TABLES(table)                                                        \
  {                                                                              \
    &HWY_STATIC_DISPATCH(table), HWY_CHOOSE_SSE4(table), HWY_CHOOSE_AVX2(table), \
        HWY_CHOOSE_AVX3(table)                                                   \
  }

// The table of the best instruction set that is enabled here, and the one for each width of row.
#define ZEP_CHOOSE(table) ::zepjp::Choose<Kernels>(ZEP_TABLES(table), ::zepjp::EnabledAtLoad())
#define ZEP_CHOOSE_BY_WIDTH(table) \
  ::zepjp::ChooseByWidth<Kernels>(ZEP_TABLES(table), ::zepjp::EnabledAtLoad())

#endif  // ZEPJP_SIMD_DISPATCH_H_
