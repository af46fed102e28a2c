// SPDX-License-Identifier: MIT
// Choices that are made once, when a library is loaded. They are in a header, so that each library
// has its own copy and exports nothing.
#ifndef ZEPJP_SIMD_STARTUP_H_
#define ZEPJP_SIMD_STARTUP_H_

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#if defined(__x86_64__) || defined(__i386__)
#  include <cpuid.h>
#elif defined(__aarch64__) && defined(__linux__)
#  include <sys/auxv.h>
#endif

#include "zepcore.h"

// A constructor with priority 100. User code starts at 101, so in a static link the choices are
// made before any constructor of the program runs.
#define ZEP_AT_LOAD __attribute__((constructor(100)))

namespace zepjp {

// The processor variants; they differ in speed, never in results.
enum class Variant : int32_t { kV8 = 0, kS8 = 1 };

// S8 if both variant bits of the feature mask are set, else V8.
constexpr Variant VariantOf(uint64_t cpu_features) {
  return (cpu_features & ZEPCORE_CPU_VARIANT) == ZEPCORE_CPU_VARIANT ? Variant::kS8 : Variant::kV8;
}

// The instruction sets and the variant that this process may use.
struct Enabled {
  bool sse4, avx2, avx512;
  Variant variant;
};

#if defined(__x86_64__) || defined(__i386__)
constexpr char kFloor[] = "SSSE3";

inline bool ProcessorHasFloor() {
  unsigned eax, ebx, ecx = 0, edx;
  return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_SSSE3) != 0;
}
#elif defined(__aarch64__)
constexpr char kFloor[] = "NEON";

inline bool ProcessorHasFloor() {
#  ifdef __linux__
  constexpr unsigned long kAdvancedSimd = 1UL << 1;  // HWCAP_ASIMD
  return (getauxval(AT_HWCAP) & kAdvancedSimd) != 0;
#  else
  return true;
#  endif
}
#else
// The kernels use no more than what the library was compiled for.
constexpr char kFloor[] = "";

inline bool ProcessorHasFloor() { return true; }
#endif

// Checks that the processor has the minimum (SSSE3 on x86, NEON on Arm), then asks the core library.
// Without the minimum the program ends with a message on standard error.
inline Enabled EnabledAtLoad() {
  if (!ProcessorHasFloor()) {
    std::fprintf(stderr, "zepjp: this processor has no %s, which this library needs\n", kFloor);
    std::abort();
  }
  const uint64_t mask = zepGetEnabledCpuFeatures();
  return {(mask & ZEPCORE_CPU_SSE4) != 0, (mask & ZEPCORE_CPU_AVX2) != 0,
          (mask & ZEPCORE_CPU_AVX512) != 0, VariantOf(mask)};
}

}  // namespace zepjp

#endif  // ZEPJP_SIMD_STARTUP_H_
