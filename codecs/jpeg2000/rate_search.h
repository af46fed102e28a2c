// SPDX-License-Identifier: MIT
// Files of a given quality.
#ifndef ZEPJP_CODECS_JPEG2000_RATE_SEARCH_H_
#define ZEPJP_CODECS_JPEG2000_RATE_SEARCH_H_

#include "codecs/jpeg2000/encoder.h"

namespace zepcodec::jpeg2000 {

// Makes the smallest file with this PSNR over the samples of all components, found by trying: sizes
// with a lower and a higher PSNR close in on it. `options.layer_bytes` is not used.
Status EncodeToPsnr(double psnr, const Image& image, EncodeOptions options, ByteBuffer* file);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_RATE_SEARCH_H_
