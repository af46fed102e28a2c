// SPDX-License-Identifier: MIT
// How many threads a parallel region may safely ask for.
#ifndef ZEPJP_SRC_FRAME_TEAM_H_
#define ZEPJP_SRC_FRAME_TEAM_H_

#include <cstdint>

namespace zepjp {

// `wanted`, or fewer where the system has no room for that many; 1 in a child of fork(), and where
// the runtime would not open a further region.
int32_t TeamSize(int32_t wanted);

}  // namespace zepjp

#endif  // ZEPJP_SRC_FRAME_TEAM_H_
