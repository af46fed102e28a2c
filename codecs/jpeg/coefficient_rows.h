// SPDX-License-Identifier: MIT
// From coefficients to planes of samples, a row of MCUs at a time.
#ifndef ZEPJP_CODECS_JPEG_COEFFICIENT_ROWS_H_
#define ZEPJP_CODECS_JPEG_COEFFICIENT_ROWS_H_

#include <vector>

#include "codecs/jpeg/coefficients.h"
#include "codecs/jpeg/plane.h"

namespace zepcodec::jpeg {

class CoefficientRows {
 public:
  // All references must outlive the object.
  CoefficientRows(const Coefficients& coefficients, const Geometry& geometry,
                  std::vector<Plane>* planes)
      : coefficients_(coefficients), geometry_(geometry), planes_(*planes) {}

  // Makes the samples of a row of MCUs.
  void DecodeRow(int row) const;

 private:
  const Coefficients& coefficients_;
  const Geometry& geometry_;
  std::vector<Plane>& planes_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_ROWS_H_
