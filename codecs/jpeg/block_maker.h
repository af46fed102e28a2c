// SPDX-License-Identifier: MIT
// From the samples of a row of MCUs to the quantized coefficients of its blocks.
#ifndef ZEPJP_CODECS_JPEG_BLOCK_MAKER_H_
#define ZEPJP_CODECS_JPEG_BLOCK_MAKER_H_

#include <cstdint>
#include <vector>

#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/strip_maker.h"

namespace zepcodec::jpeg {

class BlockMaker {
 public:
  // `steps` of each component, prepared for the forward transform. What is referred to must outlive the object.
  BlockMaker(const Geometry& geometry, std::vector<const uint16_t*> steps, bool precise_dct);

  // The blocks of the row of MCUs that `strip` holds: block (x, y) of a component. One that lies wholly beyond the
  // component costs least as a copy of the one before it without AC coefficients: of `before`.
  void Make(const StripMaker& strip, int mcu_row, size_t component, int x, int y,
            const int16_t* before, int16_t* block) const;

 private:
  using Transform = void (*)(const uint8_t* samples, int step, int16_t* block,
                             const uint16_t* steps);

  const Geometry& geometry_;
  std::vector<const uint16_t*> steps_;
  Transform transform_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BLOCK_MAKER_H_
