// SPDX-License-Identifier: MIT
// The names of files that zepconvert does not read.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FOREIGN_FORMATS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FOREIGN_FORMATS_H_

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/format.h"

namespace zepconvert {

// Fails for a file of an unknown format, with the name of what it is where its first bytes tell.
// Fails for raw photographs that are TIFF files, because their first picture is only a preview.
void RefuseForeignFile(Format format, ByteView input);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FOREIGN_FORMATS_H_
