// SPDX-License-Identifier: MIT
// Conversion between the components of a file and the pixels of a picture.
#ifndef ZEPJP_CODECS_JPEG2000_COLORS_H_
#define ZEPJP_CODECS_JPEG2000_COLORS_H_

#include "codecs/jpeg2000/image.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// The picture of a file's components: grey, RGB or CMYK with the bits of the deepest component,
// opacity last. Luminance and chroma (sYCC, e-sYCC, YCCK), CMY and L*a*b* are converted, samples of
// coarser components are repeated, and premultiplied colours are divided by their opacity.
// Components that are left out are mentioned in the notes. The sides of that picture: those of the
// largest component that is shown.
void SizeOfPicture(const Image& image, int* width, int* height);

Status ToPicture(const Image& image, Messages* notes, Picture* picture);

// The components of a picture with unsigned samples.
Status FromPicture(const Picture& picture, Image* image);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_COLORS_H_
