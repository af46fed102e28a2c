// SPDX-License-Identifier: MIT
// How a picture must be turned to be seen upright, as EXIF data tell it.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_ORIENTATION_H_
#define ZEPJP_TOOLS_ZEPCONVERT_ORIENTATION_H_

#include <cstdint>
#include <vector>

namespace zepconvert {

// 1 (upright) to 8, of EXIF data (a TIFF structure); 1 where they do not say, or are damaged.
int OrientationOf(const std::vector<uint8_t>& exif);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_ORIENTATION_H_
