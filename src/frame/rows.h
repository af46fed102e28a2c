// SPDX-License-Identifier: MIT
// Where the rows of a plane lie in memory, and which threads work on them.
#ifndef ZEPJP_SRC_FRAME_ROWS_H_
#define ZEPJP_SRC_FRAME_ROWS_H_

#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "zepcore.h"
#include "zepjp.h"

#ifdef _OPENMP
#  include "frame/team.h"
#endif

namespace zepjp {

// Row `y` of a plane whose rows lie `step` bytes apart. The product is computed in the width of an
// address and wraps like one, so that negative steps work.
template <class T>
T* Row(T* plane, int32_t step, int64_t y) {
  const uintptr_t offset = static_cast<uintptr_t>(ptrdiff_t{step}) * static_cast<uintptr_t>(y);
  return reinterpret_cast<T*>(reinterpret_cast<uintptr_t>(plane) + offset);
}

// Regions of up to this many elements stay on the calling thread.
constexpr int64_t kMaxSerialElements = 8192;

#ifdef _OPENMP
// Not inline: clang asks the runtime for the thread's number wherever a parallel region stands,
// which takes longer than a short row.
template <class RowFunction>
HWY_NOINLINE void ForRowsInTeam(int32_t team, int32_t height, const RowFunction& row) {
#  pragma omp parallel for schedule(static) num_threads(team)
  for (int32_t y = 0; y < height; ++y) row(y);
}
#endif

// Calls row(y) for all rows of the region, on several threads if it is large. Rows must not depend
// on one another. The runtime may use fewer threads than it is asked for.
template <class RowFunction>
void ForRows(zepiSize roi, const RowFunction& row) {
  // Asked in each call, also if the answer is not needed: a core library of the program may count.
  [[maybe_unused]] const int32_t threads = ownGetNumThreads();
#ifdef _OPENMP
  if (int64_t{roi.width} * roi.height > kMaxSerialElements) {
    const int32_t team = TeamSize(threads);
    if (team > 1) return ForRowsInTeam(team, roi.height, row);
  }
#endif
  for (int32_t y = 0; y < roi.height; ++y) row(y);
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_FRAME_ROWS_H_
