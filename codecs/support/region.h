// SPDX-License-Identifier: MIT
// A part of a picture.
#ifndef ZEPJP_CODECS_SUPPORT_REGION_H_
#define ZEPJP_CODECS_SUPPORT_REGION_H_

#include "codecs/support/orientation.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec {

// In pixels from the upper left corner.
struct Region {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;
};

// The part that a caller wants of a picture, told in pixels of the upright picture. By default all
// of it.
class WantedRegion {
 public:
  WantedRegion() = default;
  // `upright` turns the stored picture upright. A region of width 0 is all of it.
  WantedRegion(const Region& region, const Turn& upright) : region_(region), upright_(upright) {}

  bool is_all() const { return region_.width == 0; }

  // The part as it lies in the stored picture, which has `width` x `height` pixels. An error:
  // it is not inside.
  Status In(int width, int height, Region* stored) const;

 private:
  Region region_;
  Turn upright_;
};

// Leaves only the region of a picture. The metadata stays.
Status Cut(const Region& region, Picture* picture);

// The same for decoders that always decode everything.
Status Cut(const WantedRegion& wanted, Picture* picture);

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_REGION_H_
