// SPDX-License-Identifier: MIT
// Pictures of any depth for the tests of the examples.
#ifndef ZEPJP_TESTS_EXAMPLES_RASTERS_H_
#define ZEPJP_TESTS_EXAMPLES_RASTERS_H_

#include <cstdint>
#include <vector>

#include "common/raster.h"

namespace rasters {

using Bytes = std::vector<uint8_t>;

// Gradients with some noise; now and then a sample of any value, the least and the largest among them.
common::Raster Noisy(int width, int height, int channels, int bits, uint32_t seed = 1);

bool Same(const common::Raster& a, const common::Raster& b);

}  // namespace rasters

#endif  // ZEPJP_TESTS_EXAMPLES_RASTERS_H_
