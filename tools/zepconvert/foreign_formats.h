// SPDX-License-Identifier: MIT
// The names of files that zepconvert does not read.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_FOREIGN_FORMATS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_FOREIGN_FORMATS_H_

#include <string>

#include "tools/zepconvert/bytes.h"

namespace zepconvert {

// Why a file without a known signature cannot be read, with the name of its format where the first
// bytes tell one.
std::string WhyNotRead(ByteView input);

// The name of the camera format if a TIFF file is a raw photograph, whose first picture is only a
// preview; otherwise empty.
std::string RawPhotographName(ByteView tiff);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_FOREIGN_FORMATS_H_
