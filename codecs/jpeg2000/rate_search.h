// SPDX-License-Identifier: MIT
// Encodes to a given quality.
#ifndef ZEPJP_CODECS_JPEG2000_RATE_SEARCH_H_
#define ZEPJP_CODECS_JPEG2000_RATE_SEARCH_H_

#include "codecs/jpeg2000/encoder.h"

namespace zepcodec::jpeg2000 {

// Makes about the smallest file with at least this PSNR over the samples of all components.
// `options.layer_bytes` is not used.
Status EncodeToPsnr(double psnr, const Image& image, EncodeOptions options, ByteBuffer* file);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_RATE_SEARCH_H_
