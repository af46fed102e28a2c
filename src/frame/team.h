// SPDX-License-Identifier: MIT
// The number of threads that a parallel region may safely ask for.
#ifndef ZEPJP_SRC_FRAME_TEAM_H_
#define ZEPJP_SRC_FRAME_TEAM_H_

#include <cstdint>

namespace zepjp {

// Returns `wanted`, or less if the system cannot start that many threads. Returns 1 in a child of
// fork(), and where the runtime would not start a nested region.
int32_t TeamSize(int32_t wanted);

}  // namespace zepjp

#endif  // ZEPJP_SRC_FRAME_TEAM_H_
