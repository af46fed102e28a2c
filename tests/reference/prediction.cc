// SPDX-License-Identifier: MIT
#include "reference/prediction.h"

#include "reference/pixels.h"

namespace reference {
namespace {

// Samples of 0..65535.
int32_t Sample(const int16_t* row, int32_t x) { return static_cast<uint16_t>(Get(row, 0, x, 0)); }
int32_t Signed(int32_t sample) { return static_cast<int16_t>(static_cast<uint16_t>(sample)); }
void Set(int16_t* row, int32_t x, int32_t sample) {
  Put(row, 0, x, 0, static_cast<int16_t>(static_cast<uint16_t>(sample)));
}

int32_t Base(int32_t precision, int32_t point_transform) {
  return point_transform >= precision ? 0 : 1 << (precision - point_transform - 1);
}

int32_t Prediction(int32_t predictor, int32_t left, int32_t above, int32_t corner) {
  switch (predictor) {
    case 1: return left;
    case 2: return above;
    case 3: return corner;
    case 4: return left + above - corner;
    case 5: return left + ((above - corner) >> 1);
    case 6: return above + ((Signed(left) - Signed(corner)) >> 1);
    default: return (left + above) >> 1;
  }
}

}  // namespace

zepStatus zepiDiffPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int32_t width,
                                           int32_t precision, int32_t point_transform) {
  int32_t left = Base(precision, point_transform);
  for (int32_t x = 0; x < width; ++x) {
    const int32_t sample = Sample(src, x);
    Set(dst, x, sample - left);
    left = sample;
  }
  return zepStatusOk;
}

zepStatus zepiDiffPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* above, int16_t* dst,
                                      int32_t width, int32_t predictor) {
  int32_t left = 0;
  for (int32_t x = 0; x < width; ++x) {
    const int32_t sample = Sample(src, x);
    const int32_t up = Sample(above, x);
    Set(dst, x, sample - (x == 0 ? up : Prediction(predictor, left, up, Sample(above, x - 1))));
    left = sample;
  }
  return zepStatusOk;
}

zepStatus zepiReconstructPredFirstRow_JPEG_16s_C1(const int16_t* src, int16_t* dst, int32_t width,
                                                  int32_t precision, int32_t point_transform) {
  int32_t left = Base(precision, point_transform);
  for (int32_t x = 0; x < width; ++x) {
    Set(dst, x, Sample(src, x) + left);
    left = Sample(dst, x);
  }
  return zepStatusOk;
}

zepStatus zepiReconstructPredRow_JPEG_16s_C1(const int16_t* src, const int16_t* above, int16_t* dst,
                                             int32_t width, int32_t predictor) {
  int32_t left = 0;
  for (int32_t x = 0; x < width; ++x) {
    const int32_t up = Sample(above, x);
    Set(dst, x,
        Sample(src, x) + (x == 0 ? up : Prediction(predictor, left, up, Sample(above, x - 1))));
    left = Sample(dst, x);
  }
  return zepStatusOk;
}

}  // namespace reference
