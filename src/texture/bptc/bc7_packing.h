// SPDX-License-Identifier: MIT
// BC7 blocks from what an encoder has chosen.
#ifndef ZEPJP_SRC_TEXTURE_BPTC_BC7_PACKING_H_
#define ZEPJP_SRC_TEXTURE_BPTC_BC7_PACKING_H_

#include <cstdint>

namespace zepjp {

struct Bc7Choice {
  int mode, partition, rotation, selection;
  // Subset by subset the codes of both ends, p-bit included, a byte for each channel; those of the
  // channel that has indexes of its own apart.
  uint32_t ends[6], own_ends[2];
  uint64_t indexes, own_indexes;  // four bits a pixel
};

void PackBc7(const Bc7Choice& choice, uint8_t* block);

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BPTC_BC7_PACKING_H_
