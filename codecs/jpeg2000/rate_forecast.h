// SPDX-License-Identifier: MIT
// Which bit planes a file of a limited size needs, before most of its code-blocks are coded.
#ifndef ZEPJP_CODECS_JPEG2000_RATE_FORECAST_H_
#define ZEPJP_CODECS_JPEG2000_RATE_FORECAST_H_

#include <cstddef>

#include "codecs/jpeg2000/tile_encoder.h"

namespace zepcodec::jpeg2000 {

struct RateForecast {
  int spare_planes = 0;  // at the bottom, that need not be coded
  double slope = 0;      // holds if the file gets no flatter steps than this
};

// For `bytes` bytes of packets, from the blocks that TileEncoder::CodeSample() coded.
RateForecast ForecastRate(const TileEncoder& tile, size_t bytes);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_RATE_FORECAST_H_
