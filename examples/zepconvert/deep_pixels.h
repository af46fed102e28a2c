// SPDX-License-Identifier: MIT
// Pictures of other depths than 8 bits: their layouts by the number of channels (1 grey, 2 grey and
// opacity, 3 RGB, 4 RGB and opacity), their depths, and how they become pictures of 8 bits.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_DEEP_PIXELS_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_DEEP_PIXELS_H_

#include "common/image.h"
#include "common/raster.h"
#include "common/status.h"

namespace zepconvert {

inline bool HasAlpha(const common::Raster& raster) { return raster.channels() % 2 == 0; }
bool IsOpaque(const common::Raster& raster);

// To other channels and another depth. Colours become grey by the weights of JPEG files' luminance;
// transparent pixels are laid over white where there is no alpha; white stays white.
common::Status ChangeDepth(const common::Raster& raster, int channels, int bits,
                           common::Raster* changed);

common::Status ToImage(const common::Raster& raster, common::Image* image);
// Of 8 bits; the samples as they are.
common::Status ToRaster(const common::Image& image, common::Raster* raster);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_DEEP_PIXELS_H_
