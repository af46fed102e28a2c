// SPDX-License-Identifier: MIT
// Textures, pixel by pixel.
#ifndef ZEPJP_TESTS_REFERENCE_TEXTURE_H_
#define ZEPJP_TESTS_REFERENCE_TEXTURE_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                     int32_t dst_step, zepiSize size);
zepStatus zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                     int32_t dst_step, zepiSize size);
zepStatus zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* src, uint8_t* dst,
                                                     int32_t dst_step, zepiSize size);
zepStatus zepiTextureDecodeBlock_BC4_8u_C1R(const uint8_t* src, uint8_t* dst, int32_t dst_step,
                                            zepiSize size);
zepStatus zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(const uint8_t* src, uint8_t* dst,
                                                  int32_t dst_step, zepiSize size);

zepStatus zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* src, int32_t src_step,
                                                       zepiSize size, uint8_t* dst);
zepStatus zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* src, int32_t src_step,
                                                       zepiSize size, uint8_t* dst);
zepStatus zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* src, int32_t src_step,
                                                       zepiSize size, uint8_t* dst);
zepStatus zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* src, int32_t src_step,
                                                        zepiSize size, uint8_t* dst);
zepStatus zepiTextureEncodeBlock_BC4_8u_C1R(const uint8_t* src, int32_t src_step, zepiSize size,
                                            uint8_t* dst);
zepStatus zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(const uint8_t* src, int32_t src_step,
                                                    zepiSize size, uint8_t* dst);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_TEXTURE_H_
