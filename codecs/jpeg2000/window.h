// SPDX-License-Identifier: MIT
// The part of a tile's component that is wanted, and the coefficients that this part depends on,
// level by level.
#ifndef ZEPJP_CODECS_JPEG2000_WINDOW_H_
#define ZEPJP_CODECS_JPEG2000_WINDOW_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/geometry.h"

namespace zepcodec::jpeg2000 {

// A part of a resolution. The inverse transform mirrors lines about the ends of `made`, so that the
// samples near an end that is not the end of the resolution are wrong; those in `taken` are right.
// A window of the whole resolution has no margin.
struct Window {
  Rect made;
  Rect taken;

  // The part of a subband from which `made` is made. The lowest resolution is its own subband.
  Rect BandPart(const Band& band) const;
  // The place of that part among the coefficients: low-pass ones lie first.
  int64_t BandX(const Band& band) const;
  int64_t BandY(const Band& band) const;
};

// The windows of the resolutions up to `highest` for a part of that resolution, which must be
// inside. All are empty if the part is empty.
std::vector<Window> WindowsOf(const TileComponent& component, int highest, const Rect& part,
                              bool reversible);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_WINDOW_H_
