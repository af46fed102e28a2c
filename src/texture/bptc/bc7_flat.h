// SPDX-License-Identifier: MIT
// BC7 blocks of one colour.
#ifndef ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_
#define ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_

#include <cstdint>

namespace zepjp {

// Packs a block whose pixels all equal this one (R in the lowest byte) if its squared error is less
// than `error`; returns whether it did. Modes 0 to 3 and 5 are packed as such, -1 and -2 as mode 5;
// modes 4, 6 and 7 never.
bool PackFlatBc7(uint32_t pixel, int mode, uint32_t error, uint8_t* block);

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_
