// SPDX-License-Identifier: MIT
// From the samples of a row of MCUs to the quantized coefficients of its blocks.
#ifndef ZEPJP_CODECS_JPEG_BLOCK_MAKER_H_
#define ZEPJP_CODECS_JPEG_BLOCK_MAKER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg/encoder.h"
#include "codecs/jpeg/geometry.h"
#include "codecs/jpeg/strip_maker.h"

namespace zepcodec::jpeg {

// Where a component's blocks of successive MCUs go; distances in coefficients.
struct BlockPlaces {
  int16_t* first;
  ptrdiff_t mcu_step;
  ptrdiff_t row_step;  // between rows of blocks of an MCU

  // Block x of row y of an MCU.
  int16_t* At(int mcu, int x, int y) const {
    return first + mcu * mcu_step + y * row_step + x * 64;
  }
};

// Whether the options ask for the precise transform.
bool IsPrecise(const EncodeOptions& options);

class BlockMaker {
 public:
  // `steps` of each component, prepared for the forward transform. All references must outlive the
  // object.
  BlockMaker(const Geometry& geometry, std::vector<const uint16_t*> steps, bool is_precise);

  // Makes a component's blocks of `mcus` MCUs from `first_mcu` on, in the row of MCUs that `strip`
  // holds. A block completely beyond the component becomes the previous one without its AC
  // coefficients, which takes the fewest bits.
  void Make(const StripMaker& strip, int mcu_row, size_t component, int first_mcu, int mcus,
            const BlockPlaces& places) const;

 private:
  const Geometry& geometry_;
  std::vector<const uint16_t*> steps_;
  bool is_precise_;
};

}  // namespace zepcodec::jpeg

#endif  // ZEPJP_CODECS_JPEG_BLOCK_MAKER_H_
