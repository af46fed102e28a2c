// SPDX-License-Identifier: MIT
// How far two pictures are apart.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_

#include <vector>

#include "tools/zepconvert/picture.h"

namespace zepconvert {

// In dB; infinite for equal pictures.
struct Psnr {
  double all = 0;                // over all samples
  std::vector<double> channels;  // over those of each channel
};

// Of images of the same size and layout, with samples of 8 bits.
Psnr Measure(const Image& a, const Image& b);

// Their distances in RGB, eight times.
constexpr int kErrorScale = 8;
Image MakeErrorPicture(const Image& a, const Image& b);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_
