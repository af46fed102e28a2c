// SPDX-License-Identifier: MIT
// The feature mask from the cpuid words in which an x86 processor describes itself.
#ifndef ZEPJP_CORE_SRC_CPU_FEATURES_H_
#define ZEPJP_CORE_SRC_CPU_FEATURES_H_

#include <cstdint>

namespace zepcore {

// The feature words of the cpuid leaves 1, 7 and 0x80000001, and the register states that the
// operating system saves (XCR0). Words that do not exist are 0.
struct FeatureWords {
  uint32_t leaf1_ecx;
  uint32_t leaf7_ebx;
  uint32_t leaf7_ecx;
  uint32_t extended1_ecx;
  uint64_t xcr0;
};

// The mask for these words; `is_64_bit` tells whether the program runs in 64-bit mode.
uint64_t MaskOf(const FeatureWords& words, bool is_64_bit);

// `detected`, restricted by `setting`, the value of the environment variable (null: not set).
uint64_t Narrowed(uint64_t detected, const char* setting);

}  // namespace zepcore

#endif  // ZEPJP_CORE_SRC_CPU_FEATURES_H_
