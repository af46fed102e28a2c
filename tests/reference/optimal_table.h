// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_OPTIMAL_TABLE_H_
#define ZEPJP_TESTS_REFERENCE_OPTIMAL_TABLE_H_

#include <cstdint>

namespace reference {

// The least number of bits that prefix codes of at most 16 bits, one of them unused, take for these counts.
int64_t LeastCodeLength(const int32_t* statistics);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_OPTIMAL_TABLE_H_
