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

// Of images of the same size and form, with unsigned samples. The peak is 2^bits - 1.
Psnr Measure(const Image& a, const Image& b);

// The structural similarity of two images of the same size and form, with samples of 8 bits and
// without inks. 1 for equal images; not a number where one side has less than 8 pixels.
//
// Luma is Y = 0.299 R + 0.587 G + 0.114 B, rounded. Opacity does not count. Windows of 8 x 8 pixels
// begin at all multiples of 4 in both directions, as far as they lie inside. The result is the mean
// over the windows of
//
//   (2 ma mb + c1) (2 cov + c2) / ((ma^2 + mb^2 + c1) (va + vb + c2))
//
// with the means ma and mb, the variances va and vb and the covariance cov over the 64 pixels (all
// divided by 64), c1 = (0.01 * 255)^2 and c2 = (0.03 * 255)^2.
double Ssim(const Image& a, const Image& b);

// True if the images have the same size and `b`, in the form of `a`, has the same samples.
bool IsEquivalent(const Image& a, const Image& b);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_
