// SPDX-License-Identifier: MIT
// What an encoder's options mean for the main header.
#ifndef ZEPJP_CODECS_JPEG2000_ENCODER_HEADER_H_
#define ZEPJP_CODECS_JPEG2000_ENCODER_HEADER_H_

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/encoder.h"
#include "codecs/jpeg2000/image.h"
#include "codecs/support/status.h"

namespace zepcodec::jpeg2000 {

// Checks the form of the components and the options. The samples are not looked at.
Status MakeHeader(const Image& image, const EncodeOptions& options, SizeSegment* size,
                  Parameters* parameters);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_ENCODER_HEADER_H_
