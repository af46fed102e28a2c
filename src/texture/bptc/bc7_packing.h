// SPDX-License-Identifier: MIT
// Writes BC7 blocks from the choices of an encoder.
#ifndef ZEPJP_SRC_TEXTURE_BPTC_BC7_PACKING_H_
#define ZEPJP_SRC_TEXTURE_BPTC_BC7_PACKING_H_

#include <cstdint>

namespace zepjp {

struct Bc7Choice {
  int mode, partition, rotation, selection;
  // The codes of both ends of each subset with their p-bits, one byte for each channel. The channel
  // that has its own indexes is in own_ends.
  uint32_t ends[6], own_ends[2];
  uint64_t indexes, own_indexes;  // four bits per pixel
};

void PackBc7(const Bc7Choice& choice, uint8_t* block);

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BPTC_BC7_PACKING_H_
