// SPDX-License-Identifier: MIT
// What pictures from JPEG files with lossy and with lossless coding have in common, and PAM files in part.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JPEG_PARTS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JPEG_PARTS_H_

#include "codecs/support/status.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

// Turns CMYK of another depth than 8 bits into RGB, with a note: no format that the tool writes has it.
zepcodec::Status DeepInksToRgb(Picture* picture);

// Drops a colour profile of which a part is missing, with a note.
void DropIncompleteProfile(Picture* picture);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JPEG_PARTS_H_
