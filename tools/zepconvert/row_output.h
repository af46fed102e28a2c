// SPDX-License-Identifier: MIT
// Pictures that are written row by row.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_ROW_OUTPUT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_ROW_OUTPUT_H_

#include <cstdint>
#include <functional>

#include "tools/zepconvert/file_io.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Whether such files can be written while their rows come.
bool TakesRows(const Settings& settings, Format format);

// Fills rows; false: there are none.
using NextRows = std::function<bool(const zepcPixels& rows)>;

// `shape` has the size and form of the picture. Fails when rows are missing.
void WriteRows(const Settings& settings, Format format, const zepcPixels& shape,
               const Metadata& metadata, const NextRows& next, OutputFile* file);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_ROW_OUTPUT_H_
