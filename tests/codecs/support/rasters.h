// SPDX-License-Identifier: MIT
// Pictures of any depth for the tests of the codecs.
#ifndef ZEPJP_TESTS_CODECS_SUPPORT_RASTERS_H_
#define ZEPJP_TESTS_CODECS_SUPPORT_RASTERS_H_

#include <cstdint>
#include <vector>

#include "codecs/support/raster.h"

namespace rasters {

using Bytes = std::vector<uint8_t>;

// Gradients with some noise; now and then a sample of any value, the least and the largest among them.
zepcodec::Raster Noisy(int width, int height, int channels, int bits, uint32_t seed = 1);

bool Same(const zepcodec::Raster& a, const zepcodec::Raster& b);

}  // namespace rasters

#endif  // ZEPJP_TESTS_CODECS_SUPPORT_RASTERS_H_
