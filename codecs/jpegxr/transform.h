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

// From samples to coefficients: first-stage ones in `values`, 0 in the places of DC, second-stage ones in `dcs`.
Status Forward(const FrameHeader& frame, size_t threads, CodedPlane* plane);

// From coefficients to samples. What a DC coefficient's place in `values` holds does not matter.
Status Inverse(const FrameHeader& frame, size_t threads, CodedPlane* plane);

// The same row by row of macroblocks, for frames without hard tiles: the second stage of a row once its
// coefficients are there; the first stage of a row once the second stage of the next one, if there is any, is
// done. What lies behind the row before is final then, but for the last two rows of samples.
//
// Forward: the first stage of a row once its samples are there (those of its last blocks wait for the next
// row), then the second stage of the row before, and in the end that of the last one.
void ForwardMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);
void ForwardDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);
void InverseDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);
void InverseMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane);

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_TRANSFORM_H_
