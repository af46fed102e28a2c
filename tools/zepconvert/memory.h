// SPDX-License-Identifier: MIT
// How much memory a conversion takes.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_MEMORY_H_
#define ZEPJP_TOOLS_ZEPCONVERT_MEMORY_H_

#include <cstdint>

#include "codecs/support/byte_buffer.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// The most bytes at a time, with those of the input file, told by its header. It is the file's size alone where the
// header cannot be read or claims more pixels than are allowed: such a file is refused before memory is
// taken.
int64_t EstimateMemory(const Settings& settings, const Job& job, const zepcodec::ByteBuffer& input);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_MEMORY_H_
