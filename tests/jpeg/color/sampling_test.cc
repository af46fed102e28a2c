// SPDX-License-Identifier: MIT
#include "reference/sampling.h"

#include <gtest/gtest.h>

#include "harness/region.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Named;
using harness::Pattern;
using harness::Plane;

template <class Export, class Model>
void Compare(const Named<Export>& exported, const Model& model, zepiSize src_size,
             zepiSize dst_size, Pattern pattern, Edge edge, harness::Random& random) {
  const auto extra = static_cast<int32_t>(random() % 40);
  const int32_t src_step = src_size.width + extra;
  const int32_t dst_step = dst_size.width + 3 * extra;
  Plane<uint8_t> src(src_size, src_step, edge), got(dst_size, dst_step, edge),
      want(dst_size, dst_step, edge);
  src.Fill(pattern, random);
  const uint8_t* const from = src.base();
  ASSERT_EQ(exported.call(from, src_step, src_size, got.base(), dst_step, dst_size), zepStatusOk);
  model(from, src_step, src_size, want.base(), dst_step, dst_size);
  const auto memory = [](Plane<uint8_t>& plane) {
    return std::vector<std::vector<uint8_t>>{
        {plane.memory().raw(), plane.memory().raw() + plane.memory().bytes()}};
  };
  ASSERT_EQ(harness::FirstDifference(memory(got), memory(want), dst_step), "")
      << exported.name << " to " << dst_size.width << "x" << dst_size.height << " pattern "
      << static_cast<int>(pattern) << " seed " << harness::Seed();
}

// Compares sizes with width ratio 2 : 1 and height ratio `rows` : 1; with `down` the source is the
// larger one.
template <class Export, class Model>
void CompareSizes(const Named<Export>& exported, const Model& model, bool down, int32_t rows) {
  harness::Random random(harness::Seed());
  for (int32_t width = 1; width <= 260; ++width) {
    const bool parallel = width == 200;
    const zepiSize small = {width, parallel ? 50 : 1 + width % 3};
    const zepiSize large = {2 * width, small.height * rows};
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      const Pattern pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
      Compare(exported, model, down ? large : small, down ? small : large, pattern, edge, random);
      if (::testing::Test::HasFailure()) return;
    }
  }
}

TEST(Sampling, EqualsModel) {
  CompareSizes(HARNESS_PAIR(zepiSampleDownH2V1_JPEG_8u_C1R), true, 1);
  CompareSizes(HARNESS_PAIR(zepiSampleDownH2V2_JPEG_8u_C1R), true, 2);
  CompareSizes(HARNESS_PAIR(zepiSampleUpH2V1_JPEG_8u_C1R), false, 1);
  CompareSizes(HARNESS_PAIR(zepiSampleUpH2V2_JPEG_8u_C1R), false, 2);
}

template <class Export>
void ExpectOrder(const Named<Export>& exported, zepiSize src_size, zepiSize dst_size) {
  uint8_t src[64] = {};
  uint8_t dst[64] = {};
  const zepiSize wide = {src_size.width + 1, src_size.height};
  const zepiSize high = {src_size.width, src_size.height + 1};
  CheckOrder(exported, static_cast<const uint8_t*>(src), 8, src_size, &dst[0], 8, dst_size)
      .template Null<0>()
      .template Step<1>()
      .template Null<3>()
      .template Step<4>()
      .template Size<2>()
      .template Size<5>()
      .template Bad<2>(zepStatusBadSize, {wide, high})
      .Output(dst, sizeof(dst))
      .Run();
}

TEST(Sampling, ChecksInOrder) {
  ExpectOrder(HARNESS_NAMED(zepiSampleDownH2V1_JPEG_8u_C1R), {8, 3}, {4, 3});
  ExpectOrder(HARNESS_NAMED(zepiSampleDownH2V2_JPEG_8u_C1R), {8, 6}, {4, 3});
  ExpectOrder(HARNESS_NAMED(zepiSampleUpH2V1_JPEG_8u_C1R), {4, 3}, {8, 3});
  ExpectOrder(HARNESS_NAMED(zepiSampleUpH2V2_JPEG_8u_C1R), {4, 3}, {8, 6});
}

// Compares rows of every width, halved with `down`, else doubled, from one or two rows, through
// call(function, sources, width, destination).
template <class Call, class Export, class Model>
void CompareRows(const Named<Export>& exported, const Model& model, bool down, const Call& call) {
  harness::Random random(harness::Seed());
  for (int32_t width = 1; width <= 300; ++width) {
    const int32_t results = down ? (width + 1) / 2 : 2 * width;
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      Plane<uint8_t> first({width, 1}, width, edge), second({width, 1}, width, edge);
      Plane<uint8_t> got({results, 1}, results, edge), want({results, 1}, results, edge);
      const Pattern pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
      first.Fill(pattern, random);
      second.Fill(Pattern::kRandom, random);
      const uint8_t* const src[] = {first.base(), second.base()};
      ASSERT_EQ(call(exported.call, src, width, got.base()), zepStatusOk);
      call(model, src, width, want.base());
      ASSERT_EQ(harness::FirstDifference(got.memory(), want.memory()), "")
          << exported.name << " width " << width << " seed " << harness::Seed();
    }
  }
}

TEST(Sampling, RowsEqualModel) {
  const auto one = [](auto f, auto src, int32_t width, uint8_t* dst) {
    return f(src[0], width, dst);
  };
  const auto two = [](auto f, auto src, int32_t width, uint8_t* dst) {
    return f(src[0], src[1], width, dst);
  };
  CompareRows(HARNESS_PAIR(zepiSampleDownRowH2V1_Box_JPEG_8u_C1), true, one);
  CompareRows(HARNESS_PAIR(zepiSampleDownRowH2V2_Box_JPEG_8u_C1), true, two);
  CompareRows(HARNESS_PAIR(zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1), false, one);
  CompareRows(HARNESS_PAIR(zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1), false, two);
}

TEST(Sampling, RowsCheckInOrder) {
  uint8_t src[2][64] = {}, dst[128] = {};
  const uint8_t* const first = src[0];
  const uint8_t* const second = src[1];
  const auto one = [&](auto exported) {
    CheckOrder(exported, first, 9, &dst[0])
        .template Null<0>()
        .template Null<2>()
        .template Bad<1>(zepStatusBadSize, {0, -1, INT_MIN})
        .Output(dst, sizeof(dst))
        .Run();
  };
  const auto two = [&](auto exported) {
    CheckOrder(exported, first, second, 9, &dst[0])
        .template Null<0>()
        .template Null<1>()
        .template Null<3>()
        .template Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
        .Output(dst, sizeof(dst))
        .Run();
  };
  one(HARNESS_NAMED(zepiSampleDownRowH2V1_Box_JPEG_8u_C1));
  two(HARNESS_NAMED(zepiSampleDownRowH2V2_Box_JPEG_8u_C1));
  one(HARNESS_NAMED(zepiSampleUpRowH2V1_Triangle_JPEG_8u_C1));
  two(HARNESS_NAMED(zepiSampleUpRowH2V2_Triangle_JPEG_8u_C1));
}

}  // namespace
