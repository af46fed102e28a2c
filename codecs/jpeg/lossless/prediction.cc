// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/prediction.h"

#include <cstddef>
#include <cstdint>

#include "zepjp.h"

namespace zepcodec::jpeg::lossless {
namespace {

// The library's predictor 6 takes samples as signed, which makes a difference if they use all 16
// bits.
bool IsWideSix(const Prediction& how) {
  return how.predictor == 6 && how.bits - how.point_transform > 15;
}

int At(const Row& row, size_t x) { return static_cast<uint16_t>(row[x]); }

// Predictor 6, for x > 0: above + ((left - above left) >> 1).
int PredictSix(const Row& row, const Row& above, size_t x) {
  return At(above, x) + ((At(row, x - 1) - At(above, x - 1)) >> 1);
}

// Modulo 2^16.
int16_t Wrap(int value) { return static_cast<int16_t>(static_cast<uint16_t>(value)); }

int32_t Width(const Row& row) { return static_cast<int32_t>(row.size()); }

}  // namespace

void SubtractFirstRow(const Prediction& how, const Row& samples, Row* differences) {
  zepiDiffPredFirstRow_JPEG_16s_C1(samples.data(), differences->data(), Width(samples), how.bits,
                                   how.point_transform);
}

void SubtractRow(const Prediction& how, const Row& samples, const Row& above, Row* differences) {
  if (!IsWideSix(how)) {
    zepiDiffPredRow_JPEG_16s_C1(samples.data(), above.data(), differences->data(), Width(samples),
                                how.predictor);
    return;
  }
  for (size_t x = 0; x < samples.size(); ++x) {
    const int predicted = x == 0 ? At(above, 0) : PredictSix(samples, above, x);
    (*differences)[x] = Wrap(At(samples, x) - predicted);
  }
}

void AddFirstRow(const Prediction& how, Row* row) {
  zepiReconstructPredFirstRow_JPEG_16s_C1(row->data(), row->data(), Width(*row), how.bits,
                                          how.point_transform);
}

void AddRow(const Prediction& how, const Row& above, Row* row) {
  if (!IsWideSix(how)) {
    zepiReconstructPredRow_JPEG_16s_C1(row->data(), above.data(), row->data(), Width(*row),
                                       how.predictor);
    return;
  }
  for (size_t x = 0; x < row->size(); ++x) {
    const int predicted = x == 0 ? At(above, 0) : PredictSix(*row, above, x);
    (*row)[x] = Wrap(predicted + At(*row, x));
  }
}

}  // namespace zepcodec::jpeg::lossless
