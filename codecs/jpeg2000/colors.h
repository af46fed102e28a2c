// SPDX-License-Identifier: MIT
// Between the components of a file and the pixels of a picture.
#ifndef ZEPJP_CODECS_JPEG2000_COLORS_H_
#define ZEPJP_CODECS_JPEG2000_COLORS_H_

#include "codecs/jpeg2000/image.h"
#include "codecs/support/messages.h"
#include "codecs/support/picture.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// What a file's components show: grey, RGB or CMYK with as many bits as the deepest of them, opacity
// last. Luminance and chroma (sYCC, e-sYCC, YCCK), CMY and L*a*b* are converted, coarser components
// repeated, colours that were multiplied with opacity divided again. Components without a place get a
// note.
// Its sides: those of the largest component that is shown.
void SizeOfPicture(const Image& image, int* width, int* height);

Status ToPicture(const Image& image, Messages* notes, Picture* picture);

// The components of a picture of unsigned samples.
Status FromPicture(const Picture& picture, Image* image);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_COLORS_H_
