// SPDX-License-Identifier: MIT
// BC6H and BC7, bit by bit.
#ifndef ZEPJP_TESTS_REFERENCE_BPTC_H_
#define ZEPJP_TESTS_REFERENCE_BPTC_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(const uint8_t* src, uint16_t* dst,
                                                        int32_t dst_step, zepiSize size);
zepStatus zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(const uint8_t* src, uint16_t* dst,
                                                        int32_t dst_step, zepiSize size);
zepStatus zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                    int32_t dst_step, zepiSize size);

// The squared difference, over all channels, between the pixels inside `size` and the decoded BC7
// blocks. The encoder must keep it small; there is no single right encoding.
uint64_t Bc7Error(const uint8_t* src, int32_t src_step, zepiSize size, const uint8_t* blocks);

// The mode of a BC7 block, or 8.
int Bc7Mode(const uint8_t* block);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_BPTC_H_
