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

// cpuid leaf 1, ECX. Compilers use POPCNT in code for SSE4.2, so POPCNT is required too.
constexpr uint32_t kSse4Leaf1 = Bits(1, 19, 20, 23, 25);  // PCLMULQDQ, SSE4.1, SSE4.2, POPCNT, AES
constexpr uint32_t kOsXsave = Bits(27);                   // XGETBV may be used
constexpr uint32_t kAvx2Leaf1 = Bits(12, 27, 28, 29);     // FMA, OSXSAVE, AVX, F16C
// cpuid leaf 7, EBX and ECX.
constexpr uint32_t kAvx2Leaf7 = Bits(3, 5, 8);               // BMI1, AVX2, BMI2
constexpr uint32_t kAvx512Leaf7 = Bits(16, 17, 28, 30, 31);  // F, DQ, CD, BW, VL
constexpr uint32_t kAvx512Leaf7Ecx =
    Bits(1, 6, 9, 10, 11, 12, 14);  // VBMI, VBMI2, VAES, VPCLMULQDQ, VNNI, BITALG, VPOPCNTDQ
// cpuid leaf 0x80000001, ECX.
constexpr uint32_t kAvx2Extended1 = Bits(5);  // LZCNT
// XCR0.
constexpr uint64_t kYmmState = Bits(1, 2);     // XMM, YMM
constexpr uint64_t kZmmState = Bits(5, 6, 7);  // opmask, ZMM0..15, ZMM16..31

constexpr bool Has(uint64_t word, uint64_t all) { return (word & all) == all; }

bool HasAvx2(const FeatureWords& words) {
  return Has(words.leaf1_ecx, kAvx2Leaf1) && Has(words.leaf7_ebx, kAvx2Leaf7) &&
         Has(words.extended1_ecx, kAvx2Extended1) && Has(words.xcr0, kYmmState);
}

bool HasAvx512(const FeatureWords& words) {
  return Has(words.leaf7_ebx, kAvx512Leaf7) && Has(words.leaf7_ecx, kAvx512Leaf7Ecx) &&
         Has(words.xcr0, kZmmState);
}

#if defined(__x86_64__) || defined(__i386__)
uint64_t ReadXcr0() {
  uint32_t low, high;
  __asm__ volatile("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
  return (uint64_t{high} << 32) | low;
}

// Under a hypervisor each cpuid leaves the guest, which is slow, so each leaf is read only once.
FeatureWords ReadFeatureWords() {
  FeatureWords words = {};
  unsigned eax, ebx, ecx, edx;
  // With some compilers __get_cpuid_max() returns an int.
  const auto last = static_cast<unsigned>(__get_cpuid_max(0, nullptr));
  const auto last_extended = static_cast<unsigned>(__get_cpuid_max(0x80000000U, nullptr));
  if (last < 1) return words;
  __cpuid(1, eax, ebx, ecx, edx);
  words.leaf1_ecx = ecx;
  if (last >= 7) {
    __cpuid_count(7, 0, eax, ebx, ecx, edx);
    words.leaf7_ebx = ebx;
    words.leaf7_ecx = ecx;
  }
  if (last_extended >= 0x80000001U) {
    __cpuid(0x80000001U, eax, ebx, ecx, edx);
    words.extended1_ecx = ecx;
  }
  if (Has(words.leaf1_ecx, kOsXsave)) words.xcr0 = ReadXcr0();
  return words;
}

uint64_t Detect() {
#  ifdef __x86_64__
  constexpr bool kIs64Bit = true;
#  else
  constexpr bool kIs64Bit = false;
#  endif
  return MaskOf(ReadFeatureWords(), kIs64Bit);
}
#else
uint64_t Detect() { return 0; }
#endif

// The value of a digit in bases up to 16; 16 for any other character.
unsigned DigitOf(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  return 16;
}

// Reads a decimal or 0x... number that fills the whole text. strtoull() would also accept signs and
// spaces, and it sets errno.
bool ParseNumber(const char* text, uint64_t* value) {
  const bool is_hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  const unsigned base = is_hex ? 16 : 10;
  if (is_hex) text += 2;
  if (*text == '\0') return false;
  uint64_t sum = 0;
  for (; *text != '\0'; ++text) {
    const unsigned digit = DigitOf(*text);
    if (digit >= base || sum > (UINT64_MAX - digit) / base) return false;
    sum = sum * base + digit;
  }
  *value = sum;
  return true;
}

}  // namespace

uint64_t MaskOf(const FeatureWords& words, bool is_64_bit) {
  if (!Has(words.leaf1_ecx, kSse4Leaf1)) return 0;
  if (!is_64_bit || !HasAvx2(words)) return ZEPCORE_CPU_SSE4;
  if (!HasAvx512(words)) return ZEPCORE_CPU_SSE4 | ZEPCORE_CPU_AVX2;
  return ZEPCORE_CPU_SSE4 | ZEPCORE_CPU_AVX2 | ZEPCORE_CPU_AVX512;
}

uint64_t Narrowed(uint64_t detected, const char* setting) {
  uint64_t value = 0;
  if (setting == nullptr || !ParseNumber(setting, &value)) return detected;
  return (detected & value) | (value & ZEPCORE_CPU_VARIANT);
}

}  // namespace zepcore

uint64_t zepGetEnabledCpuFeatures(void) {
  return zepcore::Narrowed(zepcore::Detect(), std::getenv("ZEPCORE_CPU_FEATURES"));
}
