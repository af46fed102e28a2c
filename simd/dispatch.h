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
#ifndef ZEPJP_SIMD_DISPATCH_H_
#define ZEPJP_SIMD_DISPATCH_H_

#include "simd/startup.h"

namespace zepjp {

// One pointer for each instruction set, null for those that were not compiled.
template <class T>
struct PerTarget {
  const T* ssse3;
  const T* sse4;
  const T* avx2;
  const T* avx512;
  const T* neon;
};

template <class T>
const T* Choose(const PerTarget<T>& tables, const Enabled& enabled) {
  if (tables.avx512 != nullptr && enabled.avx512) return tables.avx512;
  if (tables.avx2 != nullptr && enabled.avx2) return tables.avx2;
  if (tables.sse4 != nullptr && enabled.sse4) return tables.sse4;
  return tables.ssse3 != nullptr ? tables.ssse3 : tables.neon;
}

}  // namespace zepjp

// The targets that foreach_target.h skips in the files of scalar coders (simd/scalar-inl.h).
#define ZEP_ALL_BUT_SCALAR_TARGETS (HWY_SSE4 | HWY_AVX3)

// The table of the best instruction set that is enabled here.
#define ZEP_CHOOSE(table)                                                       \
  ::zepjp::Choose<Kernels>(                                                     \
      {HWY_CHOOSE_SSSE3(table), HWY_CHOOSE_SSE4(table), HWY_CHOOSE_AVX2(table), \
       HWY_CHOOSE_AVX3(table), HWY_CHOOSE_NEON(table)},                         \
      ::zepjp::EnabledAtLoad())

#endif  // ZEPJP_SIMD_DISPATCH_H_
