// SPDX-License-Identifier: MIT
// Files that the tool reads without the library: PNG, PNM and, with libtiff, further kinds of TIFF.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_OWN_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_OWN_FILE_H_

#include <cstdint>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// The whole picture.
Picture ReadOwnFile(Format format, ByteView input, int64_t max_pixels);

// What the header tells.
Dimensions ReadOwnSize(Format format, ByteView input, int64_t max_pixels);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_OWN_FILE_H_
