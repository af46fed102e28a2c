// SPDX-License-Identifier: MIT
// Mirrors and turns a picture without decoding it.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_TURN_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_TURN_H_

#include "codecs/jpeg/coefficients.h"
#include "codecs/support/orientation.h"

namespace zepcodec::jpeg {

// The coefficients of the turned picture. The samples that fill up the last MCUs at the right and
// bottom must not end up at the left or top, so a mirrored side is cut to whole MCUs. With
// `is_exact` such a cut is an error.
Status TurnCoefficients(const Turn& turn, bool is_exact, Coefficients* coefficients);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_TURN_H_
