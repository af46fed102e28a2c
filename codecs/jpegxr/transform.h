// SPDX-License-Identifier: MIT
// Both stages of the transform with their overlap filters, one row of macroblocks of a component at
// a time (ITU-T T.832, 9.9). `values` of a component holds samples, or the coefficients of the
// first stage with 0 in the places of DC; `dcs` those of the second stage.
#ifndef ZEPJP_CODECS_JPEGXR_TRANSFORM_H_
#define ZEPJP_CODECS_JPEGXR_TRANSFORM_H_

#include <cstddef>

#include "codecs/jpegxr/coded_plane.h"

namespace zepcodec::jpegxr {

// The first stage of a row runs when its samples are there (its last row of blocks waits for the
// next row), then the second stage of the row before it; at the end that of the last row.
void ForwardMbRow(const FrameHeader& frame, size_t mb_row, size_t c, CodedPlane* plane);
void ForwardDcRow(const FrameHeader& frame, size_t mb_row, size_t c, CodedPlane* plane);

// The second stage of a row can run when its coefficients are decoded, the first stage of a row
// after the second stage of the next row. Then the rows of samples up to the last two of that row
// are final. The values in the places of DC in `values` are not used.
//
// Only an area is transformed, as if it were a picture. So the samples are right except in the
// outermost half of a macroblock on sides that are not borders of the picture.
void InverseDcRow(const FrameHeader& frame, const TileArea& area, size_t mb_row, size_t c,
                  CodedPlane* plane);
void InverseMbRow(const FrameHeader& frame, const TileArea& area, size_t mb_row, size_t c,
                  CodedPlane* plane);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_TRANSFORM_H_
