// SPDX-License-Identifier: MIT
// The smaller versions of a texture.
#ifndef ZEPJP_CODECS_DDS_MIPMAPS_H_
#define ZEPJP_CODECS_DDS_MIPMAPS_H_

#include "codecs/support/picture.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::dds {

// The picture at half its size, rounded down, at least 1. A box filter: each pixel becomes the mean
// of the area that it covers, rounded to nearest, also where a side is odd and the area ends within
// a pixel. The channels are averaged as they are, without regard to gamma or alpha.
Status Halve(const Picture& image, ThreadPool* pool, Picture* half);

}  // namespace zepcodec::dds

#endif  // ZEPJP_CODECS_DDS_MIPMAPS_H_
