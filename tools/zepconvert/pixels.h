// SPDX-License-Identifier: MIT
// Pictures from one layout to another, and how far two are apart.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_

#include <vector>

#include "codecs/support/image.h"
#include "codecs/support/status.h"

namespace zepconvert {

// True: all pixels are opaque, or there is no alpha at all.
bool IsOpaque(const zepcodec::Image& image);

// To a layout other than CMYK. Colours become grey as JPEG files define luminance; transparent pixels are
// laid over white where the layout has no alpha; CMYK becomes RGB by (255 - ink)(255 - black) / 255.
zepcodec::Status ChangeLayout(const zepcodec::Image& image, zepcodec::PixelLayout layout,
                              zepcodec::Image* changed);

// In dB; infinite for equal pictures.
struct Psnr {
  double all = 0;                // over all samples
  std::vector<double> channels;  // over those of each channel
};
Psnr Measure(const zepcodec::Image& a, const zepcodec::Image& b);

// The distances of two pictures of the same size in RGB, eight times.
constexpr int kErrorScale = 8;
zepcodec::Status MakeErrorPicture(const zepcodec::Image& a, const zepcodec::Image& b,
                                  zepcodec::Image* errors);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_
