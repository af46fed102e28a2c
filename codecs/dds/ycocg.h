// SPDX-License-Identifier: MIT
// RGB to Y Co Cg, whose luminance DXT5 keeps in its finer half, and back.
#ifndef ZEPJP_CODECS_DDS_YCOCG_H_
#define ZEPJP_CODECS_DDS_YCOCG_H_

#include <cstddef>
#include <cstdint>

namespace zepcodec::dds {

// Three bytes a pixel each: Y = (R + 2 G + B) / 4, Co = (R - B) / 2 + 128, Cg = (2 G - R - B) / 4 +
// 128, rounded to nearest; what would be 256 becomes 255.
void RgbToYCoCg(const uint8_t* rgb, size_t pixels, uint8_t* ycocg);

// From pixels as DXT5 decodes to them (Co, Cg, 0, Y): R = Y + Co - Cg, G = Y + Cg, B = Y - Co - Cg.
void YCoCgToRgb(const uint8_t* decoded, size_t pixels, uint8_t* rgb);

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_YCOCG_H_
