// SPDX-License-Identifier: MIT
// Binary PGM (P5) and PPM (P6) files, and PAM (P7) files, which also hold opacity and inks.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_

#include <cstdint>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/format.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// Where the largest value is 2^n - 1 (n at least 2), samples stay as they are; others are scaled to
// 8 bits or, above 255, to 16.
Picture ReadPnm(ByteView input, int64_t max_pixels);

// What the header tells.
Dimensions ReadPnmSize(ByteView input);

// `format` is one of kPgm, kPpm, kPnm and kPam. Unsigned samples; in other files than PAM grey or
// RGB. Grey becomes P5 unless kPpm asks for P6.
Bytes WritePnm(const Image& image, Format format);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PNM_FILE_H_
