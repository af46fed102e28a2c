// SPDX-License-Identifier: MIT
// How much memory a conversion takes.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_MEMORY_H_
#define ZEPJP_TOOLS_ZEPCONVERT_MEMORY_H_

#include <cstdint>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/row_input.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// The most bytes at a time, about, besides those of the input file. 0 where the header cannot be
// read or announces more pixels than are allowed: such a file is refused before memory is taken.
int64_t EstimateMemory(const Settings& settings, const Job& job, ByteView input);

// The same for a conversion row by row.
int64_t EstimateRowMemory(const RowInput& rows);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_MEMORY_H_
