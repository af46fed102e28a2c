// SPDX-License-Identifier: MIT
// Radiance pictures (.hdr): a byte each for red, green, blue and the exponent that they share.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_HDR_FILE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_HDR_FILE_H_

#include <string>
#include <vector>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// Of RGB or grey in samples of linear light. Negative values become 0, with a note.
Bytes WriteHdr(const Image& image, std::vector<std::string>* notes);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_HDR_FILE_H_
