// SPDX-License-Identifier: MIT
// Work on several threads, under the names that this codec has for it.
#ifndef ZEPJP_EXAMPLES_JPEG2000_PARALLEL_H_
#define ZEPJP_EXAMPLES_JPEG2000_PARALLEL_H_

#include "common/parallel.h"

namespace jpeg2000 {

using common::RunParallel;
using common::ThreadCount;

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_PARALLEL_H_
