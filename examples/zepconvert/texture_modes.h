// SPDX-License-Identifier: MIT
// Which modes the blocks of a BC7 file have, and how close they come to the picture.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_TEXTURE_MODES_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_TEXTURE_MODES_H_

#include <vector>

#include "common/byte_buffer.h"
#include "common/image.h"

namespace zepconvert {

struct ModeShare {
  int mode;
  double share;  // of the blocks
  double psnr;   // in dB, of their pixels
};

// Empty: `file` is not of BC7. The pictures have the same layout.
std::vector<ModeShare> ModesOfBc7(const common::ByteBuffer& file, const common::Image& original,
                                  const common::Image& decoded);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_TEXTURE_MODES_H_
