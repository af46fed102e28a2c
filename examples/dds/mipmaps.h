// SPDX-License-Identifier: MIT
// The smaller versions of a texture.
#ifndef ZEPJP_EXAMPLES_DDS_MIPMAPS_H_
#define ZEPJP_EXAMPLES_DDS_MIPMAPS_H_

#include "common/image.h"
#include "common/status.h"

namespace dds {

// The picture at half its size, rounded down, at least 1. A box filter: each pixel becomes the mean of the
// area that it covers, rounded to nearest, also where a side is odd and the area ends within a pixel. The
// channels are averaged as they are, without regard to gamma or alpha.
common::Status Halve(const common::Image& image, common::Image* half);

}  // namespace dds

#endif  // ZEPJP_EXAMPLES_DDS_MIPMAPS_H_
