// SPDX-License-Identifier: MIT
// Rows of samples to differences and back (ITU-T T.81, H.1.2.1), with any predictor at any depth.
#ifndef ZEPJP_CODECS_JPEG_LOSSLESS_PREDICTION_H_
#define ZEPJP_CODECS_JPEG_LOSSLESS_PREDICTION_H_

#include "codecs/jpeg/lossless/rows.h"

namespace zepcodec::jpeg::lossless {

struct Prediction {
  int predictor;
  int bits;  // of a sample before the point transform
  int point_transform;
};

// The first row of a scan or restart interval. All rows have the same size.
void SubtractFirstRow(const Prediction& how, const Row& samples, Row* differences);
void SubtractRow(const Prediction& how, const Row& samples, const Row& above, Row* differences);

// The reverse, in place.
void AddFirstRow(const Prediction& how, Row* row);
void AddRow(const Prediction& how, const Row& above, Row* row);

}  // namespace zepcodec::jpeg::lossless

#endif  // ZEPJP_CODECS_JPEG_LOSSLESS_PREDICTION_H_
