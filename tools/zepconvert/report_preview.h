// SPDX-License-Identifier: MIT
// Small versions of pictures, for the page. All images here have samples of 8 bits and no inks.
#ifndef ZEPJP_TOOLS_ZEPCONVERT_REPORT_PREVIEW_H_
#define ZEPJP_TOOLS_ZEPCONVERT_REPORT_PREVIEW_H_

#include "tools/zepconvert/picture.h"

namespace zepconvert {

// The size that a picture gets whose longer side may be at most `side`.
zepcRect ReducedSize(int width, int height, int side);

// The picture at that size: each pixel is the mean over its area, where transparent pixels count
// less.
Image Reduced(const Image& image, int side);

// The largest difference of a sample in each pixel of two images of the same size and layout, in
// grey.
Image ErrorPicture(const Image& a, const Image& b);

// Such a picture at that size: each pixel is the largest one of its area.
Image ReducedErrors(const Image& errors, int side);

// The place of this size with the largest sum of squared errors, in steps of 32 pixels.
zepcRect WorstPart(const Image& errors, int width, int height);

// A copy of a part.
Image PartOf(const Image& image, const zepcRect& part);

// The differences of all samples in RGB.
Image ErrorsInColors(const Image& a, const Image& b);

}  // namespace zepconvert

#endif  // ZEPJP_TOOLS_ZEPCONVERT_REPORT_PREVIEW_H_
