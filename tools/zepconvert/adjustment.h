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

// The same for a picture whose pixels, of the form `before`, are not there yet. Returns the form
// that they are to get.
Form AdjustHead(const Settings& settings, Format format, const Form& before, bool is_opaque,
                Picture* picture);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_ADJUSTMENT_H_
