// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_OPTIMAL_TABLE_H_
#define ZEPJP_TESTS_REFERENCE_OPTIMAL_TABLE_H_

#include <cstdint>

namespace reference {

// The smallest number of bits for these counts with prefix codes of at most 16 bits, of which one
// is unused.
int64_t LeastCodeLength(const int32_t* statistics);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_OPTIMAL_TABLE_H_
