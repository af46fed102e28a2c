// SPDX-License-Identifier: MIT
// What pictures from JPEG files with lossy and with lossless coding have in common, and PAM files in part.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JPEG_PARTS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JPEG_PARTS_H_

#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// Four inks of more than 8 bits become RGB, with a note: no other part of the tool knows such pictures. `is_inverted`:
// 0 is full ink.
zepcodec::Status DeepInksToRgb(bool is_inverted, Picture* picture);

// Drops a colour profile of which a part is missing, with a note.
void DropIncompleteProfile(Picture* picture);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JPEG_PARTS_H_
