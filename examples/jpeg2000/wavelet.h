// SPDX-License-Identifier: MIT
// All levels of the wavelet transform of a tile's component, in place: the lower resolutions fill the
// upper left corner of the plane.
#ifndef ZEPJP_EXAMPLES_JPEG2000_WAVELET_H_
#define ZEPJP_EXAMPLES_JPEG2000_WAVELET_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jpeg2000/geometry.h"

namespace jpeg2000 {

// Samples or coefficients, rows without gaps.
struct Plane {
  int64_t width = 0;
  int64_t height = 0;
  std::vector<int32_t> values;

  void Resize(int64_t new_width, int64_t new_height) {
    width = new_width;
    height = new_height;
    values.assign(static_cast<size_t>(width * height), 0);
  }
  int32_t Step() const { return static_cast<int32_t>(width * int64_t{sizeof(int32_t)}); }
  int32_t* At(int64_t x, int64_t y) { return values.data() + y * width + x; }
  const int32_t* At(int64_t x, int64_t y) const { return values.data() + y * width + x; }
};

// From the picture to the lowest resolution.
void ForwardWavelet(const TileComponent& component, bool reversible, Plane* plane);
// From the lowest resolution up to `resolution`, whose size the plane has.
void InverseWavelet(const TileComponent& component, bool reversible, int resolution, Plane* plane);

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_WAVELET_H_
