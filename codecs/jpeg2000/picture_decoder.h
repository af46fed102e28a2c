// SPDX-License-Identifier: MIT
// Decodes a file to pixels, tile by tile where the components allow it.
#ifndef ZEPJP_CODECS_JPEG2000_PICTURE_DECODER_H_
#define ZEPJP_CODECS_JPEG2000_PICTURE_DECODER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpeg2000/decoder.h"

namespace zepcodec::jpeg2000 {

// Pixels of a single tile that are handed out at once.
constexpr int64_t kPixelsAtOnce = 1 << 20;

// Decodes the wanted region. With DecodeOptions::rows the rows go there, a row of tiles at a time,
// and the picture gets the metadata alone. On an error there is no picture, but rows may have been
// handed out; damaged parts are listed in the messages.
Status DecodePicture(const uint8_t* data, size_t size, const DecodeOptions& options,
                     Picture* picture, FileInfo* info);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PICTURE_DECODER_H_
