// SPDX-License-Identifier: MIT
#include "harness/random.h"

#include <cstdlib>

namespace harness {

uint32_t Seed() {
  const char* text = std::getenv("ZEPJP_TEST_SEED");
  return text != nullptr ? static_cast<uint32_t>(std::strtoul(text, nullptr, 0)) : 20120723U;
}

}  // namespace harness
