// SPDX-License-Identifier: MIT
// How far two pictures are apart.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_

#include <vector>

#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepconvert {

// In dB; infinite for equal pictures.
struct Psnr {
  double all = 0;                // over all samples
  std::vector<double> channels;  // over those of each channel
};
Psnr Measure(const zepcodec::Picture& a, const zepcodec::Picture& b);

// The distances of two pictures of the same size in RGB, eight times.
constexpr int kErrorScale = 8;
zepcodec::Status MakeErrorPicture(const zepcodec::Picture& a, const zepcodec::Picture& b,
                                  zepcodec::Picture* errors);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_PIXELS_H_
