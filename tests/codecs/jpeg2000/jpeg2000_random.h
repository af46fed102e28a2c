// SPDX-License-Identifier: MIT
// Pictures, ways of coding and regions at random.
#ifndef ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_RANDOM_H_
#define ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_RANDOM_H_

#include <algorithm>
#include <cstdint>
#include <random>

#include "codecs/support/region.h"
#include "tests/codecs/jpeg2000/jpeg2000_files.h"

namespace jpeg2000_random {

using Random = std::mt19937;

inline int Number(int low, int high, Random* random) {
  return low + static_cast<int>((*random)() % static_cast<uint32_t>(high - low + 1));
}

inline zepcodec::jpeg2000::EncodeOptions RandomOptions(const jpeg2000_files::Shape& shape,
                                                       Random* random) {
  zepcodec::jpeg2000::EncodeOptions options;
  options.reversible = Number(0, 1, random) == 0;
  options.levels = Number(0, 6, random);
  options.block_width_log2 = Number(2, 6, random);
  options.block_height_log2 = Number(2, 6, random);
  options.block_style = Number(0, 2, random) == 0 ? Number(0, 63, random) : 0;
  options.order = static_cast<zepcodec::jpeg2000::Progression>(Number(0, 4, random));
  options.uses_sop = Number(0, 3, random) == 0;
  options.uses_eph = Number(0, 3, random) == 0;
  options.transforms_components = Number(0, 3, random) > 0;
  if (Number(0, 1, random) == 0) {
    options.precincts = {{Number(4, 8, random), Number(4, 8, random)}};
  }
  if (Number(0, 1, random) == 0) {
    options.tile_width = Number(17, 120, random);
    options.tile_height = Number(17, 120, random);
    options.tile_x0 = std::max(0, shape.x0 - Number(0, 16, random));
    options.tile_y0 = std::max(0, shape.y0 - Number(0, 16, random));
  }
  if (Number(0, 1, random) == 0) options.layer_bytes = {3000, 0};
  return options;
}

inline jpeg2000_files::Shape RandomShape(Random* random) {
  jpeg2000_files::Shape shape;
  shape.width = Number(1, 300, random);
  shape.height = Number(1, 300, random);
  shape.components = Number(1, 4, random);
  shape.bits = Number(1, 3, random) == 1 ? Number(2, 16, random) : 8;
  shape.is_signed = Number(0, 3, random) == 0;
  if (Number(0, 1, random) == 0) {
    shape.x0 = Number(0, 40, random);
    shape.y0 = Number(0, 40, random);
  }
  if (shape.components >= 3 && std::min(shape.width, shape.height) > 4) {
    shape.dx = Number(1, 3, random);
    shape.dy = Number(1, 3, random);
  }
  return shape;
}

struct RandomFile {
  jpeg2000_files::Shape shape;
  zepcodec::jpeg2000::EncodeOptions encode;
  jpeg2000_files::Bytes bytes;
};

inline RandomFile MakeRandomFile(Random* random) {
  RandomFile file;
  file.shape = RandomShape(random);
  file.encode = RandomOptions(file.shape, random);
  file.bytes = jpeg2000_files::Encode(jpeg2000_files::MakePicture(file.shape), file.encode);
  return file;
}

inline zepcodec::Region RandomRegion(int width, int height, Random* random) {
  zepcodec::Region region;
  region.x = Number(0, width - 1, random);
  region.y = Number(0, height - 1, random);
  region.width = Number(1, width - region.x, random);
  region.height = Number(1, height - region.y, random);
  return region;
}

}  // namespace jpeg2000_random

#endif  // ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_RANDOM_H_
