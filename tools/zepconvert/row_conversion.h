// SPDX-License-Identifier: MIT
// Converts pictures that are too large for memory row by row.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_ROW_CONVERSION_H_
#define ZEPJP_TOOLS_ZEPCONVERT_ROW_CONVERSION_H_

#include <memory>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/conversion.h"
#include "tools/zepconvert/row_input.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// The rows of a file that can be converted so, or null.
std::unique_ptr<RowInput> OpenForRows(const Settings& settings, const Job& job, ByteView input);

// Decodes on one thread and encodes on another. Files of formats with tiles are written in tiles.
void ConvertByRows(Settings settings, RowInput* input, const OnProgress& on_progress,
                   Result* result);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_ROW_CONVERSION_H_
