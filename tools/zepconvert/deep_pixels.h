// SPDX-License-Identifier: MIT
// Pictures of other depths than 8 bits: their layouts by the number of channels (1 grey, 2 grey and
// opacity, 3 RGB, 4 RGB and opacity), their depths, and how they become pictures of 8 bits.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_DEEP_PIXELS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_DEEP_PIXELS_H_

#include "codecs/support/image.h"
#include "codecs/support/raster.h"
#include "codecs/support/status.h"

namespace zepconvert {

inline bool HasAlpha(const zepcodec::Raster& raster) { return raster.channels() % 2 == 0; }
bool IsOpaque(const zepcodec::Raster& raster);

// To other channels and another depth. Colours become grey by the weights of JPEG files' luminance;
// transparent pixels are laid over white where there is no alpha; white stays white.
zepcodec::Status ChangeDepth(const zepcodec::Raster& raster, int channels, int bits,
                             zepcodec::Raster* changed);

zepcodec::Status ToImage(const zepcodec::Raster& raster, zepcodec::Image* image);
// Of 8 bits; the samples as they are.
zepcodec::Status ToRaster(const zepcodec::Image& image, zepcodec::Raster* raster);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_DEEP_PIXELS_H_
