// SPDX-License-Identifier: MIT
// Mirrors and turns a picture without decoding it.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_TURN_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_TURN_H_

#include "codecs/jpeg/coefficients.h"
#include "codecs/support/orientation.h"

namespace zepcodec::jpeg {

// The coefficients of the turned picture. Samples beyond the right and bottom edge, which fill up the
// last MCUs, cannot come to lie at the left or top: a side that is mirrored loses what is more than
// whole MCUs. With `is_exact` that is refused instead.
Status TurnCoefficients(const Turn& turn, bool is_exact, Coefficients* coefficients);

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_TURN_H_
