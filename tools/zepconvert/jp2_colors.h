// SPDX-License-Identifier: MIT
// The colours of decoded JPEG 2000 pictures as 8-bit RGB.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_JP2_COLORS_H_
#define ZEPJP_TOOLS_ZEPCONVERT_JP2_COLORS_H_

#include <array>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/image.h"
#include "codecs/support/picture.h"

namespace zepconvert {

// L*a*b* to sRGB, colours outside its range clipped.
class LabToRgb {
 public:
  // For samples of so many bits.
  LabToRgb(const zepcodec::jpeg2000::LabRange& range, const std::array<int, 3>& bits);

  // Samples counted from the lowest that there is.
  void Convert(const std::array<int32_t, 3>& lab, uint8_t* rgb) const;

 private:
  struct Axis {
    double scale, offset;
    double At(int32_t code) const { return (code - offset) * scale; }
  };
  uint8_t Curved(double light) const;

  std::array<Axis, 3> axes_;
  std::array<double, 3> white_;
  std::array<std::array<double, 3>, 3> matrix_;
  std::vector<uint8_t> curve_;
};

// In place; the first three channels of each pixel. Full-range YCbCr of ITU-R BT.601, as sYCC and
// e-sYCC have it.
void YccToRgb(zepcodec::Picture* image);
// Each of the first three channels is 255 less what it was.
void InvertColors(zepcodec::Picture* image);
// Colours that were multiplied with alpha, the last channel, get their own value.
void DivideByAlpha(zepcodec::Picture* image);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_JP2_COLORS_H_
