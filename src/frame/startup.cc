// SPDX-License-Identifier: MIT
#include "frame/startup.h"

#include <cstdio>
#include <cstdlib>

#include "zepcore.h"

#if defined(__x86_64__) || defined(__i386__)
#  include <cpuid.h>
#elif defined(__aarch64__) && defined(__linux__)
#  include <sys/auxv.h>
#endif

namespace zepjp {
namespace {

#if defined(__x86_64__) || defined(__i386__)
constexpr char kFloor[] = "SSSE3";

bool ProcessorHasFloor() {
  unsigned eax, ebx, ecx = 0, edx;
  return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_SSSE3) != 0;
}
#elif defined(__aarch64__)
constexpr char kFloor[] = "NEON";

bool ProcessorHasFloor() {
#  ifdef __linux__
  constexpr unsigned long kAdvancedSimd = 1UL << 1;  // HWCAP_ASIMD
  return (getauxval(AT_HWCAP) & kAdvancedSimd) != 0;
#  else
  return true;
#  endif
}
#else
#  error "No kernels for this processor: x86 with SSSE3 or 64-bit Arm"
#endif

}  // namespace

Enabled EnabledAtLoad() {
  if (!ProcessorHasFloor()) {
    std::fprintf(stderr, "zepjp: this processor has no %s, which this library needs\n", kFloor);
    std::abort();
  }
  const uint64_t mask = zepGetEnabledCpuFeatures();
  return {(mask & ZEPCORE_CPU_SSE4) != 0, (mask & ZEPCORE_CPU_AVX2) != 0,
          (mask & ZEPCORE_CPU_AVX512) != 0, VariantOf(mask)};
}

}  // namespace zepjp
