// SPDX-License-Identifier: MIT
// A region of a JPEG 2000 file has exactly the samples of the same part of the whole picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <string>

#include "tests/codecs/jpeg2000/jpeg2000_files.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using jpeg2000::Component;
using jpeg2000::DecodeOptions;
using jpeg2000::EncodeOptions;
using jpeg2000::Image;
using jpeg2000_files::Bytes;
using jpeg2000_files::DecodeGood;
using jpeg2000_files::Encode;
using jpeg2000_files::MakePicture;
using jpeg2000_files::Shape;
using zepcodec::Region;
using zepcodec::WantedRegion;

using Random = std::mt19937;

int Number(int low, int high, Random* random) {
  return low + static_cast<int>((*random)() % static_cast<uint32_t>(high - low + 1));
}

EncodeOptions RandomOptions(const Shape& shape, Random* random) {
  EncodeOptions options;
  options.reversible = Number(0, 1, random) == 0;
  options.levels = Number(0, 6, random);
  options.block_width_log2 = Number(2, 6, random);
  options.block_height_log2 = Number(2, 6, random);
  options.block_style = Number(0, 2, random) == 0 ? Number(0, 63, random) : 0;
  options.order = static_cast<jpeg2000::Progression>(Number(0, 4, random));
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

Shape RandomShape(Random* random) {
  Shape shape;
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

Region RandomRegion(int width, int height, Random* random) {
  Region region;
  region.x = Number(0, width - 1, random);
  region.y = Number(0, height - 1, random);
  region.width = Number(1, width - region.x, random);
  region.height = Number(1, height - region.y, random);
  return region;
}

// The samples of a part that differ from those of the whole.
std::string DifferenceOfPart(const Image& part, const Image& whole) {
  for (size_t c = 0; c < part.components.size(); ++c) {
    const Component& own = part.components[c];
    const Component& all = whole.components[c];
    if (own.WholeWidth() != all.width || own.WholeHeight() != all.height) return "whole size";
    for (int y = 0; y < own.height; ++y) {
      for (int x = 0; x < own.width; ++x) {
        const int32_t is = own.Row(y)[x];
        const int32_t should = all.Row(own.part.top + y)[own.part.left + x];
        if (is != should) {
          return "component " + std::to_string(c) + " at " + std::to_string(x) + ", " +
                 std::to_string(y) + ": " + std::to_string(is) + " and " + std::to_string(should);
        }
      }
    }
  }
  return "";
}

TEST(Jpeg2000Region, EqualsThePartOfThePicture) {
  Random random(20);
  for (int i = 0; i < 120; ++i) {
    const Shape shape = RandomShape(&random);
    const EncodeOptions encode = RandomOptions(shape, &random);
    const Bytes file = Encode(MakePicture(shape), encode);
    DecodeOptions options;
    options.threads = Number(1, 3, &random);
    options.reduce = Number(0, std::min(3, encode.levels), &random);
    options.layers = Number(0, 2, &random);
    const jpeg2000_files::Decoded decoded = jpeg2000_files::Decode(file, options);
    ASSERT_TRUE(decoded.status.ok()) << decoded.status.text();
    const Image& whole = decoded.image;
    int width = 0, height = 0;
    for (const Component& component : whole.components) {
      width = std::max(width, component.width);
      height = std::max(height, component.height);
    }
    const bool is_empty =
        std::any_of(whole.components.begin(), whole.components.end(),
                    [](const Component& c) { return c.width < 1 || c.height < 1; });
    for (int j = 0; !is_empty && j < 6; ++j) {
      const Region region = RandomRegion(width, height, &random);
      options.region = WantedRegion(region, {});
      const Image part = DecodeGood(file, options);
      EXPECT_EQ(DifferenceOfPart(part, whole), "")
          << "file " << i << ", region " << region.width << " x " << region.height << " at "
          << region.x << ", " << region.y << " of " << width << " x " << height;
    }
  }
}

TEST(Jpeg2000Region, OutsideIsRefused) {
  const Bytes file = Encode(MakePicture({}), {});
  for (const Region& region : {Region{0, 0, 62, 1}, Region{1, 0, 61, 1}, Region{0, 47, 1, 1},
                               Region{0, 0, 1, 0}, Region{-1, 0, 1, 1}}) {
    DecodeOptions options;
    options.region = WantedRegion(region, {});
    EXPECT_EQ(jpeg2000_files::Decode(file, options).status.kind(),
              zepcodec::Status::Kind::kBadOption);
  }
}

}  // namespace
