// SPDX-License-Identifier: MIT
// Memory for the `...InitAlloc` functions, from the core library.
#ifndef ZEPJP_SRC_FRAME_MEMORY_H_
#define ZEPJP_SRC_FRAME_MEMORY_H_

#include <cstdint>

#include "zepcore.h"

namespace zepjp {

// Null if `size` is below 1 (the core library is not called then) or memory is exhausted.
inline void* Allocate(int32_t size) { return size < 1 ? nullptr : zepMalloc(size); }

inline void Release(void* memory) { zepFree(memory); }

}  // namespace zepjp

#endif  // ZEPJP_SRC_FRAME_MEMORY_H_
