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
  CoefficientRows(const Coefficients& coefficients, const Window& window,
                  std::vector<Plane>* planes)
      : coefficients_(coefficients), window_(window), planes_(*planes) {}

  // Makes the window's samples of a row of MCUs.
  void DecodeRow(int row) const;

 private:
  const Coefficients& coefficients_;
  const Window& window_;
  std::vector<Plane>& planes_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_COEFFICIENT_ROWS_H_
