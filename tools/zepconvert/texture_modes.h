// SPDX-License-Identifier: MIT
// Which modes the blocks of a BC7 file have, and how close they come to the picture.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TEXTURE_MODES_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TEXTURE_MODES_H_

#include <vector>

#include "tools/zepconvert/bytes.h"
#include "tools/zepconvert/picture.h"

namespace zepconvert {

struct ModeShare {
  int mode;
  double share;  // of the blocks
  double psnr;   // in dB, of their pixels
};

// Empty where `file` does not hold BC7. The pictures have the same layout and 8 bits.
std::vector<ModeShare> ModesOfBc7(ByteView file, const Image& original, const Image& decoded);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TEXTURE_MODES_H_
