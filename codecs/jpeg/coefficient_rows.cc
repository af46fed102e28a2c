// SPDX-License-Identifier: MIT
#include "codecs/jpeg/coefficient_rows.h"

#include "codecs/jpeg/block_transform.h"

namespace zepcodec::jpeg {

void CoefficientRows::DecodeRow(int row) const {
  for (size_t i = 0; i < planes_.size(); ++i) {
    const ComponentGeometry& place = geometry_.components[i];
    const InverseTransform inverse = TransformFor(place.block_size);
    const CoefficientPlane& blocks = coefficients_.planes[i];
    const uint16_t* steps = coefficients_.steps[i].data();
    for (int y = row * place.v; y < (row + 1) * place.v; ++y) {
      uint8_t* samples = planes_[i].Row(y * place.block_size);
      for (int x = 0; x < blocks.across(); ++x) {
        inverse(blocks.Block(x, y), samples + x * place.block_size, planes_[i].step(), steps);
      }
    }
  }
}

}  // namespace zepcodec::jpeg
