// SPDX-License-Identifier: MIT
#include "cpu_features.h"

#include <cstdlib>

#include "zepcore.h"

#if defined(__x86_64__) || defined(__i386__)
#  include <cpuid.h>
#endif

namespace zepcore {
namespace {

template <class... Positions>
constexpr uint32_t Bits(Positions... positions) {
  return ((1U << positions) | ...);
}

// cpuid leaf 1, ECX.
constexpr uint32_t kSse4Leaf1 = Bits(1, 19, 20, 25);     // PCLMULQDQ, SSE4.1, SSE4.2, AES
constexpr uint32_t kOsXsave = Bits(27);                  // XGETBV may be used
constexpr uint32_t kAvx2Leaf1 = Bits(12, 27, 28, 29);    // FMA, OSXSAVE, AVX, F16C
// cpuid leaf 7, EBX and ECX.
constexpr uint32_t kAvx2Leaf7 = Bits(3, 5, 8);           // BMI1, AVX2, BMI2
constexpr uint32_t kAvx512Leaf7 = Bits(16, 17, 28, 30, 31);         // F, DQ, CD, BW, VL
constexpr uint32_t kAvx512Leaf7Ecx = Bits(1, 6, 9, 10, 11, 12, 14);  // VBMI, VBMI2, VAES,
                                                                     // VPCLMULQDQ, VNNI, BITALG,
                                                                     // VPOPCNTDQ
// XCR0.
constexpr uint64_t kYmmState = Bits(1, 2);     // XMM, YMM
constexpr uint64_t kZmmState = Bits(5, 6, 7);  // opmask, ZMM0..15, ZMM16..31

constexpr bool Has(uint64_t word, uint64_t all) { return (word & all) == all; }

#if defined(__x86_64__) || defined(__i386__)
uint64_t ReadXcr0() {
  uint32_t low, high;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (uint64_t{high} << 32) | low;
}

uint64_t Detect() {
  FeatureWords words = {};
  unsigned eax, ebx, ecx, edx;
  if (__get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0) words.leaf1_ecx = ecx;
  if (__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx) != 0) {
    words.leaf7_ebx = ebx;
    words.leaf7_ecx = ecx;
  }
  if (Has(words.leaf1_ecx, kOsXsave)) words.xcr0 = ReadXcr0();
  return MaskOf(words, sizeof(void*) == 8);
}
#else
uint64_t Detect() { return 0; }
#endif

}  // namespace

uint64_t MaskOf(const FeatureWords& words, bool is_64_bit) {
  uint64_t mask = 0;
  if (!Has(words.leaf1_ecx, kSse4Leaf1)) return mask;
  mask |= ZEPCORE_CPU_SSE4;
  if (!is_64_bit) return mask;
  if (!Has(words.leaf1_ecx, kAvx2Leaf1) || !Has(words.leaf7_ebx, kAvx2Leaf7) ||
      !Has(words.xcr0, kYmmState)) {
    return mask;
  }
  mask |= ZEPCORE_CPU_AVX2;
  if (!Has(words.leaf7_ebx, kAvx512Leaf7) || !Has(words.leaf7_ecx, kAvx512Leaf7Ecx) ||
      !Has(words.xcr0, kZmmState)) {
    return mask;
  }
  return mask | ZEPCORE_CPU_AVX512;
}

uint64_t Narrowed(uint64_t detected, const char* setting) {
  if (setting == nullptr) return detected;
  char* end = nullptr;
  const bool is_hex = setting[0] == '0' && (setting[1] == 'x' || setting[1] == 'X');
  const uint64_t value = std::strtoull(setting, &end, is_hex ? 16 : 10);
  if (end == setting || *end != '\0') return detected;
  return (detected & value) | (value & ZEPCORE_CPU_VARIANT);
}

bool IsCache(const CacheWords& words) { return (words.eax & 31U) != 0; }

uint64_t DataCacheSize(const CacheWords& words) {
  constexpr uint32_t kInstructionCache = 2;
  if ((words.eax & 31U) == kInstructionCache) return 0;
  const uint64_t line = (words.ebx & 0xFFFU) + 1;
  const uint64_t partitions = ((words.ebx >> 12) & 0x3FFU) + 1;
  const uint64_t ways = (words.ebx >> 22) + 1;
  const uint64_t sets = uint64_t{words.ecx} + 1;
  return line * partitions * ways * sets;
}

}  // namespace zepcore

uint64_t zepGetEnabledCpuFeatures(void) {
  return zepcore::Narrowed(zepcore::Detect(), std::getenv("ZEPCORE_CPU_FEATURES"));
}
