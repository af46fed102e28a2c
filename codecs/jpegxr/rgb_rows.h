// SPDX-License-Identifier: MIT
// The reversible colour transform (ITU-T T.832, 9.10) on rows of 8-bit RGB pixels, the usual kind
// of picture. color.cc has the same for all other kinds.
#ifndef ZEPJP_CODECS_JPEGXR_RGB_ROWS_H_
#define ZEPJP_CODECS_JPEGXR_RGB_ROWS_H_

#include <cstddef>
#include <cstdint>

namespace zepcodec::jpegxr {

// Samples times 2^shift, shift up to 3, become components; `offset` is subtracted from y.
void SplitRgbRow(const uint8_t* pixels, size_t width, int shift, int32_t offset,
                 int32_t* const (&yuv)[3]);

// The reverse: `offset` is added to y, samples are shifted right, and those outside 0 to 255 take
// the nearest of these values. Sums wrap.
void JoinRgbRow(const int32_t* const (&yuv)[3], size_t width, int shift, int32_t offset,
                uint8_t* pixels);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_RGB_ROWS_H_
