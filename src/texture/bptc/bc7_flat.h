// SPDX-License-Identifier: MIT
// BC7 blocks of one colour.
#ifndef ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_
#define ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_

#include <cstdint>

namespace zepjp {

// Packs a block whose pixels are all like this one (R in the lowest byte) where its squared error is less
// than `error`, and says whether. Modes 0 to 3 and 5 are packed in themselves, -1 and -2 in mode 5; other
// modes are not.
bool PackFlatBc7(uint32_t pixel, int mode, uint32_t error, uint8_t* block);

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_
