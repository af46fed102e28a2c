// SPDX-License-Identifier: MIT
// Makes pictures smaller.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_RESIZE_H_
#define ZEPJP_TOOLS_ZEPCONVERT_RESIZE_H_

#include "tools/zepconvert/picture.h"

namespace zepconvert {

struct PictureSize {
  int width;
  int height;
};

// The largest size of this shape inside `box`, and no larger than `size`. A side of 0 in `box` is
// no limit.
PictureSize FitInto(const PictureSize& box, const PictureSize& size);

PictureSize SizeOf(const Image& image);

// With a Lanczos filter of three lobes, in integers: the result is the same on every machine. Fails
// for samples of 32 bits and half floats.
Image Resized(const Image& image, const PictureSize& size);
// The same in place; larger pictures only.
void Shrink(const PictureSize& size, Image* image);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_RESIZE_H_
