// SPDX-License-Identifier: MIT
// The overlap filters against their scalar model, on planes of every width around the sizes of
// registers, between canaries.
#include "codecs/jpegxr/overlap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "tests/codecs/jpegxr/overlap_model.h"
#include "tests/harness/random.h"

namespace jpegxr = zepcodec::jpegxr;

namespace {

using jpegxr::FilterKind;
using jpegxr::Window;

// A plane with columns on both sides that nobody may touch.
class Padded {
 public:
  Padded(size_t width, size_t height, harness::Pattern pattern, int max_bits)
      : width_(width), height_(height), values_((width + 2 * kPad) * height) {
    harness::Random random(harness::Seed());
    harness::FillPattern(values_.data(), values_.size(), pattern, random);
    for (int32_t& value : values_) value >>= 32 - max_bits;
  }
  Window All() { return {values_.data() + kPad, width_ + 2 * kPad, width_, height_}; }
  bool operator==(const Padded& other) const { return values_ == other.values_; }

 private:
  static constexpr size_t kPad = 3;
  size_t width_, height_;
  std::vector<int32_t> values_;
};

void FilterPlane(const jpegxr::OverlapFilter& filter, const Window& plane) {
  for (ptrdiff_t row = -1; row < static_cast<ptrdiff_t>(plane.height / 4); ++row) {
    FilterRow(filter, plane, row);
  }
}

template <class Model>
void ExpectLikeModel(const jpegxr::OverlapFilter& filter, const Padded& plane) {
  Padded expected = plane, filtered = plane;
  overlap_model::FilterPlane<Model>(expected.All(), filter.leak_limit);
  FilterPlane(filter, filtered.All());
  EXPECT_TRUE(filtered == expected)
      << static_cast<int>(filter.kind) << " limit " << filter.leak_limit << " width "
      << filtered.All().width << " height " << filtered.All().height;
}

template <class Model>
void ExpectSmallLikeModel(FilterKind kind, const Padded& plane) {
  Padded expected = plane, filtered = plane;
  overlap_model::FilterSmallPlane<Model>(expected.All());
  const Window all = filtered.All();
  const size_t middle = all.height / 4 * 2;
  jpegxr::FilterSmallRows({kind}, all, 0, middle);
  jpegxr::FilterSmallRows({kind}, all, middle, all.height);
  EXPECT_TRUE(filtered == expected) << static_cast<int>(kind) << " width " << all.width;
}

TEST(JpegXrOverlap, LikeTheModel) {
  for (const harness::Pattern pattern : harness::kPatterns) {
    for (const int bits : {12, 32}) {
      for (size_t width = 4; width <= 140; width += 4) {
        const Padded plane(width, width % 16 == 0 ? 4 : 12, pattern, bits);
        ExpectLikeModel<overlap_model::PreFilter>({FilterKind::kPre}, plane);
        ExpectLikeModel<overlap_model::PostFilter>({FilterKind::kPost}, plane);
        for (const int32_t limit : {0, 3, 21, 1000, INT_MAX}) {
          ExpectLikeModel<overlap_model::OldPostFilter>({FilterKind::kOldPost, limit}, plane);
        }
      }
    }
  }
}

TEST(JpegXrOverlap, SmallPlanesLikeTheModel) {
  for (const harness::Pattern pattern : harness::kPatterns) {
    for (size_t width = 4; width <= 40; width += 2) {
      const Padded plane(width, 8, pattern, 32);
      ExpectSmallLikeModel<overlap_model::PreFilter>(FilterKind::kPre, plane);
      ExpectSmallLikeModel<overlap_model::PostFilter>(FilterKind::kPost, plane);
      ExpectSmallLikeModel<overlap_model::OldPostFilter>(FilterKind::kOldPost, plane);
    }
  }
}

TEST(JpegXrOverlap, PostFilterUndoesPreFilter) {
  for (const harness::Pattern pattern : harness::kPatterns) {
    const Padded plane(100, 40, pattern, 32);
    Padded filtered = plane;
    FilterPlane({FilterKind::kPre}, filtered.All());
    FilterPlane({FilterKind::kPost}, filtered.All());
    EXPECT_TRUE(filtered == plane);
    jpegxr::FilterSmallRows({FilterKind::kPre}, filtered.All(), 0, 40);
    jpegxr::FilterSmallRows({FilterKind::kPost}, filtered.All(), 0, 40);
    EXPECT_TRUE(filtered == plane);
  }
}

}  // namespace
