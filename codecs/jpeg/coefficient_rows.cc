// SPDX-License-Identifier: MIT
#include "codecs/jpeg/coefficient_rows.h"

#include "codecs/jpeg/block_transform.h"

namespace zepcodec::jpeg {

void CoefficientRows::DecodeRow(int row) const {
  for (size_t i = 0; i < planes_.size(); ++i) {
    const ComponentGeometry& place = window_.geometry.components[i];
    const McuWindow part = window_.mcus.In(place.h, place.v);
    const InverseTransform inverse = TransformFor(place.block_size);
    const CoefficientPlane& blocks = coefficients_.planes[i];
    const uint16_t* steps = coefficients_.steps[i].data();
    for (int y = row * place.v; y < (row + 1) * place.v; ++y) {
      uint8_t* samples = planes_[i].Row(y * place.block_size);
      for (int x = part.first_column; x < part.end_column; ++x, samples += place.block_size) {
        inverse(blocks.Block(x, y), samples, planes_[i].step(), steps);
      }
    }
  }
}

}  // namespace zepcodec::jpeg
