// SPDX-License-Identifier: MIT
// Pictures that are stored mirrored or turned.
#ifndef ZEPJP_CODECS_SUPPORT_ORIENTATION_H_
#define ZEPJP_CODECS_SUPPORT_ORIENTATION_H_

#include "codecs/support/convert.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec {

// What brings a picture with an EXIF orientation upright: first rows and columns change places,
// then left and right, top and bottom.
struct Turn {
  bool transposes = false;
  bool mirrors_x = false;
  bool mirrors_y = false;

  constexpr bool IsNone() const { return !transposes && !mirrors_x && !mirrors_y; }
};

constexpr Turn UprightOf(int orientation) {
  switch (orientation) {
    case 2: return {false, true, false};
    case 3: return {false, true, true};
    case 4: return {false, false, true};
    case 5: return {true, false, false};
    case 6: return {true, true, false};
    case 7: return {true, true, true};
    case 8: return {true, false, true};
    default: return {};
  }
}

// Both have the same format; `to` has the size of the turned picture.
void TurnPixels(const Turn& turn, const ConstPixels& from, const Pixels& to);

// The metadata stays as it is.
Status Apply(const Turn& turn, const Picture& from, Picture* to);

}  // namespace zepcodec

#endif  // ZEPJP_CODECS_SUPPORT_ORIENTATION_H_
