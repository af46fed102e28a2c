// SPDX-License-Identifier: MIT
#include "reference/prediction.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "harness/region.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Pattern;
using Row = harness::Plane<int16_t>;

// A function with its source row, the row above and its last arguments.
template <class Export, class Model>
void Compare(const harness::Named<Export>& exported, const Model& model) {
  harness::Random random(harness::Seed());
  for (int32_t width = 1; width <= 140; ++width) {
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      for (const Pattern pattern : harness::kPatterns) {
        Row src({width, 1}, 2 * width, edge), above({width, 1}, 2 * width, edge);
        Row got({width, 1}, 2 * width, edge), want({width, 1}, 2 * width, edge);
        src.Fill(pattern, random);
        above.Fill(harness::kPatterns[random() % std::size(harness::kPatterns)], random);
        ASSERT_EQ(exported.call(src.base(), above.base(), got.base(), width), zepStatusOk);
        model(src.base(), above.base(), want.base(), width);
        ASSERT_EQ(harness::FirstDifference(got.memory(), want.memory()), "")
            << exported.name << " width " << width << " pattern " << static_cast<int>(pattern)
            << " seed " << harness::Seed();
        ASSERT_EQ(exported.call(src.base(), above.base(), src.base(), width), zepStatusOk);
        ASSERT_EQ(harness::FirstDifference(src.memory(), want.memory()), "")
            << exported.name << " in place, width " << width;
      }
    }
  }
}

TEST(Prediction, RowsEqualModel) {
  for (int32_t predictor = 1; predictor <= 7; ++predictor) {
    SCOPED_TRACE(predictor);
    Compare(harness::Named{"zepiDiffPredRow_JPEG_16s_C1",
                           [=](auto src, auto above, auto dst, int32_t width) {
                             return ::zepiDiffPredRow_JPEG_16s_C1(src, above, dst, width,
                                                                  predictor);
                           }},
            [=](auto src, auto above, auto dst, int32_t width) {
              return reference::zepiDiffPredRow_JPEG_16s_C1(src, above, dst, width, predictor);
            });
    Compare(harness::Named{"zepiReconstructPredRow_JPEG_16s_C1",
                           [=](auto src, auto above, auto dst, int32_t width) {
                             return ::zepiReconstructPredRow_JPEG_16s_C1(src, above, dst, width,
                                                                         predictor);
                           }},
            [=](auto src, auto above, auto dst, int32_t width) {
              return reference::zepiReconstructPredRow_JPEG_16s_C1(src, above, dst, width,
                                                                   predictor);
            });
  }
}

TEST(Prediction, FirstRowsEqualModel) {
  for (int32_t precision = 2; precision <= 16; ++precision) {
    const bool is_one_of_all = precision % 7 == 2;
    for (const int32_t shift : {0, precision - 1, precision, INT_MAX}) {
      if (shift > 0 && !is_one_of_all) continue;
      SCOPED_TRACE(precision);
      Compare(harness::Named{"zepiDiffPredFirstRow_JPEG_16s_C1",
                             [=](auto src, auto, auto dst, int32_t width) {
                               return ::zepiDiffPredFirstRow_JPEG_16s_C1(src, dst, width, precision,
                                                                         shift);
                             }},
              [=](auto src, auto, auto dst, int32_t width) {
                return reference::zepiDiffPredFirstRow_JPEG_16s_C1(src, dst, width, precision,
                                                                   shift);
              });
      Compare(harness::Named{"zepiReconstructPredFirstRow_JPEG_16s_C1",
                             [=](auto src, auto, auto dst, int32_t width) {
                               return ::zepiReconstructPredFirstRow_JPEG_16s_C1(src, dst, width,
                                                                                precision, shift);
                             }},
              [=](auto src, auto, auto dst, int32_t width) {
                return reference::zepiReconstructPredFirstRow_JPEG_16s_C1(src, dst, width,
                                                                          precision, shift);
              });
      if (::testing::Test::HasFailure()) return;
    }
  }
}

// All pairs of the two operands that predictors 5, 6 and 7 halve.
template <class Half>
void ExpectAllHalves(int32_t predictor, const Half& half) {
  constexpr size_t kCount = 65536;
  const size_t stride = harness::Exhaustive() ? 1 : 4099;
  // Pairs (i, other): left and above (7), left and corner (6), above and corner, one after the
  // other (5).
  std::vector<int16_t> src(2 * kCount), above(2 * kCount), got(2 * kCount);
  const size_t width = predictor == 5 ? 2 * kCount : kCount;
  for (size_t other = 0; other < kCount; other += stride) {
    const auto second = static_cast<uint16_t>(other);
    uint32_t differences = 0;
    for (size_t i = 0; i < kCount; ++i) {
      if (predictor == 5) {
        above[2 * i] = static_cast<int16_t>(second);
        above[2 * i + 1] = static_cast<int16_t>(i);
      } else {
        src[i] = static_cast<int16_t>(i);
        above[i] = static_cast<int16_t>(second);
      }
    }
    zepiDiffPredRow_JPEG_16s_C1(src.data(), above.data(), got.data(), static_cast<int32_t>(width),
                                predictor);
    for (size_t i = 0; i + 1 < kCount; ++i) {
      const auto value = static_cast<uint16_t>(i);
      const int32_t want = half(value, second);
      const int32_t sample = predictor == 5 ? 0 : static_cast<int32_t>(i) + 1;
      const int32_t difference = got[predictor == 5 ? 2 * i + 1 : i + 1];
      differences |= static_cast<uint16_t>(static_cast<uint32_t>(sample - want - difference));
    }
    ASSERT_EQ(differences, 0u) << "predictor " << predictor << " operand " << other;
  }
}

TEST(Prediction, AllHalves_Exhaustive) {
  ExpectAllHalves(5, [](uint16_t above, uint16_t corner) { return (above - corner) >> 1; });
  ExpectAllHalves(6, [](uint16_t left, uint16_t corner) {
    return corner + ((static_cast<int16_t>(left) - static_cast<int16_t>(corner)) >> 1);
  });
  ExpectAllHalves(7, [](uint16_t left, uint16_t above) { return (left + above) >> 1; });
}

TEST(Prediction, FirstSampleOfSixteenBits) {
  const int16_t src[1] = {0};
  int16_t dst[1];
  ASSERT_EQ(zepiDiffPredFirstRow_JPEG_16s_C1(src, dst, 1, 16, 0), zepStatusOk);
  EXPECT_EQ(dst[0], INT16_MIN);
}

TEST(Prediction, ChecksInOrder) {
  int16_t src[16] = {}, above[16] = {}, dst[16] = {};
  const int16_t* const from = src;
  const int16_t* const up = above;
  const auto first = [&](auto exported) {
    CheckOrder(exported, from, &dst[0], 8, 8, 0)
        .template Null<0>()
        .template Null<1>()
        .template Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
        .template Bad<3>(zepStatusBadArg, {1, 17, -3})
        .template Bad<4>(zepStatusBadArg, {-1, INT_MIN})
        .Output(dst, sizeof(dst))
        .Run();
  };
  first(HARNESS_NAMED(zepiDiffPredFirstRow_JPEG_16s_C1));
  first(HARNESS_NAMED(zepiReconstructPredFirstRow_JPEG_16s_C1));
  const auto later = [&](auto exported) {
    CheckOrder(exported, from, up, &dst[0], 8, 4)
        .template Null<0>()
        .template Null<1>()
        .template Null<2>()
        .template Bad<3>(zepStatusBadSize, {0, -1, INT_MIN})
        .template Bad<4>(zepStatusBadArg, {0, 8, -1})
        .Output(dst, sizeof(dst))
        .Run();
  };
  later(HARNESS_NAMED(zepiDiffPredRow_JPEG_16s_C1));
  later(HARNESS_NAMED(zepiReconstructPredRow_JPEG_16s_C1));
}

}  // namespace
