// SPDX-License-Identifier: MIT
#include "harness/random.h"

#include <cstdlib>

namespace harness {

uint32_t Seed() {
  const char* text = std::getenv("ZEPJP_TEST_SEED");
  return text != nullptr ? static_cast<uint32_t>(std::strtoul(text, nullptr, 0)) : 20120723U;
}

template void FillPattern(int8_t*, size_t, Pattern, Random&);
template void FillPattern(uint8_t*, size_t, Pattern, Random&);
template void FillPattern(int16_t*, size_t, Pattern, Random&);
template void FillPattern(uint16_t*, size_t, Pattern, Random&);
template void FillPattern(int32_t*, size_t, Pattern, Random&);
template void FillPattern(uint32_t*, size_t, Pattern, Random&);
template void FillPattern(float*, size_t, Pattern, Random&);

}  // namespace harness
