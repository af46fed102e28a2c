// SPDX-License-Identifier: MIT
// Encoding of BC7 blocks whose pixels are all equal.
#ifndef ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_
#define ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_

#include <cstdint>

namespace zepjp {

// Packs a block of pixels that all equal `pixel` (R in the lowest byte) if its squared error is
// less than `error`; returns whether it was packed. Modes 0 to 3 and 5 use that mode, -1 and -2 use
// mode 5; blocks for modes 4, 6 and 7 are never packed.
bool PackFlatBc7(uint32_t pixel, int mode, uint32_t error, uint8_t* block);

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BPTC_BC7_FLAT_H_
