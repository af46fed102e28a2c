// SPDX-License-Identifier: MIT
// Prediction of quantized DC, low-pass and high-pass coefficients from neighbours (ITU-T T.832,
// 9.7).
#ifndef ZEPJP_CODECS_JPEGXR_PREDICTION_H_
#define ZEPJP_CODECS_JPEGXR_PREDICTION_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/jpegxr/plane.h"

namespace zepcodec::jpegxr {

// The DC and low-pass coefficients of a macroblock, by component and frequency.
using LowBands = std::array<std::array<int32_t, 16>, 3>;

// The values of a macroblock that predict its neighbours.
struct Neighbour {
  LowBands low;
  std::array<uint32_t, 3> patterns;
  uint32_t lp_quantizer = 0;
};

enum class Direction { kNone, kLeft, kUp, kMean };

// Null where there is no neighbour in the tile.
struct Neighbours {
  const Neighbour* left;
  const Neighbour* up;
  const Neighbour* up_left;
};

Direction DcDirection(ColorFormat format, const Neighbours& neighbours);

// The direction of the low-pass prediction for this direction of DC; the quantizer is that of the
// macroblock.
Direction LpDirection(Direction dc, const Neighbours& neighbours, uint32_t lp_quantizer);

void AddPrediction(ColorFormat format, Direction dc, Direction lp, const Neighbours& neighbours,
                   LowBands* low);
void SubtractPrediction(ColorFormat format, Direction dc, Direction lp,
                        const Neighbours& neighbours, LowBands* low);

// The direction for high-pass coefficients, from the low-pass ones: kNone, kLeft or kUp.
Direction HpDirection(ColorFormat format, const LowBands& low);

// Adds the predictions to the blocks of a component of a macroblock, in place.
void AddHpPrediction(Direction direction, const Window& blocks);

// The place of frequency f in a transformed block.
constexpr uint8_t kRowOfFrequency[16] = {0, 0, 0, 1, 2, 3, 3, 2, 1, 0, 1, 1, 3, 3, 2, 2};
constexpr uint8_t kColumnOfFrequency[16] = {0, 2, 1, 3, 0, 3, 0, 3, 0, 3, 1, 2, 1, 2, 1, 2};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PREDICTION_H_
