// SPDX-License-Identifier: MIT
// A picture in the form of JPEG 2000: components of 1 to 16 bits, each a plane of its own, signed
// or unsigned, on grids that can be coarser than the reference grid.
#ifndef ZEPJP_CODECS_JPEG2000_IMAGE_H_
#define ZEPJP_CODECS_JPEG2000_IMAGE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/support/metadata.h"
#include "codecs/support/plain_vector.h"

namespace zepcodec::jpeg2000 {

constexpr int kMostBits = 16;

// A sample lies at each multiple of (dx, dy) of the reference grid inside the picture's area.
struct Component {
  int width = 0;
  int height = 0;
  // The place of the samples in the whole component. Without a width they are all of it.
  struct Part {
    int whole_width = 0;
    int whole_height = 0;
    int left = 0;
    int top = 0;
  };
  Part part;
  int dx = 1;
  int dy = 1;
  int bits = 8;
  bool is_signed = false;
  PlainVector<int32_t> samples;  // rows without gaps

  int32_t* Row(int y) { return samples.data() + size_t(y) * size_t(width); }
  const int32_t* Row(int y) const { return samples.data() + size_t(y) * size_t(width); }
  int WholeWidth() const { return part.whole_width > 0 ? part.whole_width : width; }
  int WholeHeight() const { return part.whole_width > 0 ? part.whole_height : height; }
};

// kYcc: sYCC and e-sYCC. kInvertedGrey: 0 is white.
enum class ColorSpace { kUnknown, kGrey, kInvertedGrey, kRgb, kYcc, kCmy, kCmyk, kYcck, kLab };

// The values of L*a*b* samples: a code from 0 to 2^bits - 1 stands for (code - offset) * range /
// (2^bits - 1).
struct LabRange {
  std::array<double, 3> range = {100, 170, 200};
  bool has_offsets = false;  // false: those of the standard
  std::array<double, 3> offsets = {};
  bool is_d65 = false;  // false: D50

  double OffsetOf(size_t channel, int bits) const {
    if (has_offsets) return offsets[channel];
    const double half = static_cast<double>(1 << bits) / 2;
    return channel == 0 ? 0 : channel == 1 ? half : 0.75 * half;
  }
};

struct Image {
  // The area on the reference grid, excluding x1 and y1.
  int32_t x0 = 0;
  int32_t y0 = 0;
  int32_t x1 = 0;
  int32_t y1 = 0;
  std::vector<Component> components;  // colours, then opacity, then all others
  ColorSpace color = ColorSpace::kUnknown;
  int unknown_color = -1;         // the number of a JP2 colour space that is not in the list
  LabRange lab;                   // of kLab
  int alpha = -1;                 // the component that holds opacity; negative: none
  bool is_premultiplied = false;  // the colours were multiplied with it
  Metadata metadata;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_IMAGE_H_
