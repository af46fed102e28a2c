// SPDX-License-Identifier: MIT
// A picture as JPEG 2000 sees it: components of 1 to 16 bits, each a plane of its own, signed or not,
// on grids that may be coarser than the reference grid.
#ifndef ZEPJP_EXAMPLES_JPEG2000_IMAGE_H_
#define ZEPJP_EXAMPLES_JPEG2000_IMAGE_H_

#include <cstddef>
#include <cstdint>
#include <vector>

namespace jpeg2000 {

constexpr int kMostBits = 16;

// A sample lies at each multiple of (dx, dy) of the reference grid inside the picture's area.
struct Component {
  int width = 0;
  int height = 0;
  int dx = 1;
  int dy = 1;
  int bits = 8;
  bool is_signed = false;
  std::vector<int32_t> samples;  // rows without gaps

  int32_t* Row(int y) { return samples.data() + size_t(y) * size_t(width); }
  const int32_t* Row(int y) const { return samples.data() + size_t(y) * size_t(width); }
};

enum class ColorSpace { kUnknown, kGrey, kRgb, kYcc, kCmyk };

struct Image {
  // The area on the reference grid: x0 to before x1.
  int32_t x0 = 0;
  int32_t y0 = 0;
  int32_t x1 = 0;
  int32_t y1 = 0;
  std::vector<Component> components;
  ColorSpace color = ColorSpace::kUnknown;
  int alpha = -1;                    // the component that holds opacity; negative: none
  std::vector<uint8_t> icc_profile;  // empty: none
};

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_IMAGE_H_
