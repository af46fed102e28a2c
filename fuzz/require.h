// SPDX-License-Identifier: MIT
#ifndef ZEPJP_FUZZ_REQUIRE_H_
#define ZEPJP_FUZZ_REQUIRE_H_

#include <cstdlib>

namespace fuzz {

inline void Require(bool is_so) {
  if (!is_so) std::abort();
}

}  // namespace fuzz

#endif  // ZEPJP_FUZZ_REQUIRE_H_
