// SPDX-License-Identifier: MIT
// Quantizes and predicts the coefficients of a plane in a tile: all that needs no state of the
// entropy coder.
#ifndef ZEPJP_CODECS_JPEGXR_PLANE_QUANTIZER_H_
#define ZEPJP_CODECS_JPEGXR_PLANE_QUANTIZER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/prediction.h"
#include "codecs/jpegxr/quantizer.h"

namespace zepcodec::jpegxr {

// What is coded of a macroblock, by component.
struct QuantizedMacroblock {
  LowBands low;
  Direction hp_direction;
  // The bits that are set in any magnitude of a block.
  std::array<std::array<uint32_t, 16>, 3> magnitudes;
  // In order of coding, 16 values each in rows of 4.
  alignas(64) std::array<std::array<int32_t, 256>, 3> blocks;
};

class PlaneQuantizer {
 public:
  PlaneQuantizer(CodedPlane* plane, const TileArea& area);

  // The next row of macroblocks of the tile.
  void QuantizeRow(QuantizedMacroblock* macroblocks);

 private:
  void QuantizeLow(size_t x, LowBands* low) const;
  void QuantizeHp(size_t component, const Window& values, QuantizedMacroblock* macroblock) const;
  void SubtractHp(size_t component, Direction direction, int32_t* blocks) const;
  size_t BlockCount(size_t component) const {
    const Component& of = plane_->components[component];
    return of.blocks_across * of.blocks_down;
  }

  CodedPlane* plane_;
  TileArea area_;
  std::array<Quantizer, 3> dc_quantizers_, lp_quantizers_, hp_quantizers_;
  std::vector<Neighbour> above_, row_;
  size_t y_ = 0;  // of the next row
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PLANE_QUANTIZER_H_
