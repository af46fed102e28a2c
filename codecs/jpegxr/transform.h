// SPDX-License-Identifier: MIT
// Both stages of the transform with their overlap filters, over whole planes (ITU-T T.832, 9.9).
#ifndef ZEPJP_CODECS_JPEGXR_TRANSFORM_H_
#define ZEPJP_CODECS_JPEGXR_TRANSFORM_H_

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/messages.h"
#include "codecs/support/parallel.h"
#include "codecs/support/status.h"

namespace zepcodec::jpegxr {

// From samples to coefficients: those of the first stage in `values`, with 0 in the places of DC,
// those of the second stage in `dcs`.
Status Forward(const FrameHeader& frame, size_t threads, CodedPlane* plane);

// From coefficients to samples. The values in the places of DC in `values` are not used.
Status Inverse(const FrameHeader& frame, size_t threads, CodedPlane* plane);

// The same one row of macroblocks at a time, for frames without hard tiles. Inverse: the second
// stage of a row can run when its coefficients are decoded, the first stage of a row after the
// second stage of the next row. Then the rows of samples up to the last two of that row are final.
//
// Forward: the first stage of a row runs when its samples are there (its last row of blocks waits
// for the next row), then the second stage of the row before it; at the end that of the last row.
void ForwardMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);
void ForwardDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);
void InverseDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);
void InverseMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_TRANSFORM_H_
