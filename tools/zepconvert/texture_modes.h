// SPDX-License-Identifier: MIT
// Which modes the blocks of a BC7 file have, and how close they come to the picture.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_TEXTURE_MODES_H_
#define ZEPJP_TOOLS_ZEPCONVERT_TEXTURE_MODES_H_

#include <vector>

#include "codecs/support/byte_buffer.h"
#include "codecs/support/picture.h"

namespace zepconvert {

struct ModeShare {
  int mode;
  double share;  // of the blocks
  double psnr;   // in dB, of their pixels
};

// Empty: `file` is not of BC7. The pictures have the same layout.
std::vector<ModeShare> ModesOfBc7(const zepcodec::ByteBuffer& file,
                                  const zepcodec::Picture& original,
                                  const zepcodec::Picture& decoded);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_TEXTURE_MODES_H_
