// SPDX-License-Identifier: MIT
// The choices that are made once, while the library is loaded.
#ifndef ZEPJP_SRC_FRAME_STARTUP_H_
#define ZEPJP_SRC_FRAME_STARTUP_H_

#include <cstdint>

#include "zepcore.h"

// A constructor that runs before all of the program's own, which start at 101 (static libraries).
#define ZEP_AT_LOAD __attribute__((constructor(100)))

namespace zepjp {

// The processor variants; they differ in speed, never in results.
enum class Variant : int32_t { kV8 = 0, kS8 = 1 };

// The variant that a feature mask stands for: both of its variant bits are set, or it is V8.
constexpr Variant VariantOf(uint64_t cpu_features) {
  return (cpu_features & ZEPCORE_CPU_VARIANT) == ZEPCORE_CPU_VARIANT ? Variant::kS8 : Variant::kV8;
}

// What may run here.
struct Enabled {
  bool sse4, avx2, avx512;
  Variant variant;
};

// Asks the core library, after making sure that the processor has the floor (SSSE3 or NEON): one
// that has not ends the program with a line on standard error.
Enabled EnabledAtLoad();

}  // namespace zepjp

#endif  // ZEPJP_SRC_FRAME_STARTUP_H_
