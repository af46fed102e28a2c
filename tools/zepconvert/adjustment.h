// SPDX-License-Identifier: MIT
// Brings a picture into a form that the output can hold.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_ADJUSTMENT_H_
#define ZEPJP_TOOLS_ZEPCONVERT_ADJUSTMENT_H_

#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"
#include "tools/zepconvert/settings.h"

namespace zepconvert {

// Converts layout and samples where the format asks for it, and drops metadata that has no place
// there. Whatever is lost gets a note.
void Adjust(const Settings& settings, Format format, Picture* picture);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_ADJUSTMENT_H_
