// SPDX-License-Identifier: MIT
#ifndef ZEPJP_TESTS_REFERENCE_PREDICTION_H_
#define ZEPJP_TESTS_REFERENCE_PREDICTION_H_

#include "zepjp.h"

namespace reference {

zepStatus zepiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int32_t width,
                                           int32_t precision, int32_t point_transform);
zepStatus zepiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* above, int16_t* dst,
                                      int32_t width, int32_t predictor);
zepStatus zepiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int32_t width,
                                                  int32_t precision, int32_t point_transform);
zepStatus zepiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* above, int16_t* dst,
                                             int32_t width, int32_t predictor);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_PREDICTION_H_
