// SPDX-License-Identifier: MIT
// A region of a JPEG 2000 file has exactly the samples of the same part of the whole picture.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/codecs/jpeg2000/jpeg2000_random.h"
#include "tests/codecs/jpeg2000/jpeg2000_sample.h"

namespace jpeg2000 = zepcodec::jpeg2000;

namespace {

using jpeg2000::Component;
using jpeg2000::DecodeOptions;
using jpeg2000::Image;
using jpeg2000_files::kIsSample;
using jpeg2000_random::Number;
using zepcodec::Region;
using zepcodec::WantedRegion;

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
  jpeg2000_random::Random random(20);
  for (int i = 0; i < (kIsSample ? 30 : 120); ++i) {
    const auto [shape, encode, file] = jpeg2000_random::MakeRandomFile(&random);
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
    for (int j = 0; !is_empty && j < (kIsSample ? 3 : 6); ++j) {
      const Region region = jpeg2000_random::RandomRegion(width, height, &random);
      options.region = WantedRegion(region, {});
      const Image part = jpeg2000_files::DecodeGood(file, options);
      EXPECT_EQ(DifferenceOfPart(part, whole), "")
          << "file " << i << ", region " << region.width << " x " << region.height << " at "
          << region.x << ", " << region.y << " of " << width << " x " << height;
    }
  }
}

TEST(Jpeg2000Region, OutsideIsRefused) {
  const jpeg2000_files::Bytes file = jpeg2000_files::Encode(jpeg2000_files::MakePicture({}), {});
  for (const Region& region : {Region{0, 0, 62, 1}, Region{1, 0, 61, 1}, Region{0, 47, 1, 1},
                               Region{0, 0, 1, 0}, Region{-1, 0, 1, 1}}) {
    DecodeOptions options;
    options.region = WantedRegion(region, {});
    EXPECT_EQ(jpeg2000_files::Decode(file, options).status.kind(),
              zepcodec::Status::Kind::kBadOption);
  }
}

}  // namespace
