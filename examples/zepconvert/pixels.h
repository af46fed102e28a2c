// SPDX-License-Identifier: MIT
// Pictures from one layout to another, and how far two are apart.
#ifndef ZEPJP_EXAMPLES_ZEPCONVERT_PIXELS_H_
#define ZEPJP_EXAMPLES_ZEPCONVERT_PIXELS_H_

#include <vector>

#include "common/image.h"
#include "common/status.h"

namespace zepconvert {

// True: all pixels are opaque, or there is no alpha at all.
bool IsOpaque(const common::Image& image);

// To a layout other than CMYK. Colours become grey as JPEG files define luminance; transparent pixels are
// laid over white where the layout has no alpha; CMYK becomes RGB by (255 - ink)(255 - black) / 255.
common::Status ChangeLayout(const common::Image& image, common::PixelLayout layout,
                            common::Image* changed);

// In dB; infinite for equal pictures.
struct Psnr {
  double all = 0;                // over all samples
  std::vector<double> channels;  // over those of each channel
};
Psnr Measure(const common::Image& a, const common::Image& b);

// The distances of two pictures of the same size in RGB, eight times.
constexpr int kErrorScale = 8;
common::Status MakeErrorPicture(const common::Image& a, const common::Image& b,
                                common::Image* errors);

}  // namespace zepconvert

#endif  // ZEPJP_EXAMPLES_ZEPCONVERT_PIXELS_H_
