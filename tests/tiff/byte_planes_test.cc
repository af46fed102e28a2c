// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <climits>
#include <cstring>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "harness/guarded.h"
#include "harness/random.h"
#include "reference/tiff.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;

TEST(BytePlanes, EqualModel) {
  harness::Random random(harness::Seed());
  for (int32_t width = 1; width <= 300; ++width) {
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      const size_t bytes = 2 * static_cast<size_t>(width);
      Guarded<uint8_t> words(bytes, edge), planes(bytes, edge), back(bytes, edge),
          want(bytes, edge);
      for (size_t i = 0; i < bytes; ++i) words.data()[i] = static_cast<uint8_t>(random());
      const auto* src = reinterpret_cast<const uint16_t*>(words.data());
      ASSERT_EQ(zepiSplitRow_TIFF_16u8u_C1(src, planes.data(), width), zepStatusOk);
      reference::zepiSplitRow_TIFF_16u8u_C1(src, want.data(), width);
      ASSERT_EQ(harness::FirstDifference(planes, want), "") << "width " << width;
      auto* dst = reinterpret_cast<uint16_t*>(back.data());
      ASSERT_EQ(zepiJoinRow_TIFF_8u16u_C1(planes.data(), dst, width), zepStatusOk);
      reference::zepiJoinRow_TIFF_8u16u_C1(planes.data(), reinterpret_cast<uint16_t*>(want.data()),
                                           width);
      ASSERT_EQ(harness::FirstDifference(back, want), "") << "width " << width;
      ASSERT_EQ(harness::FirstDifference(back, words), "") << "width " << width;
    }
  }
}

TEST(BytePlanes, CheckInOrder) {
  const uint16_t words[8] = {};
  uint8_t bytes[16] = {};
  uint16_t back[8] = {};
  CheckOrder(HARNESS_NAMED(zepiSplitRow_TIFF_16u8u_C1), &words[0], &bytes[0], 8)
      .Null<0>()
      .Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
      .Output(bytes, sizeof(bytes))
      .Run();
  const uint8_t* const planes = bytes;
  CheckOrder(HARNESS_NAMED(zepiJoinRow_TIFF_8u16u_C1), planes, &back[0], 8)
      .Null<0>()
      .Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
      .Output(back, sizeof(back))
      .Run();
}

}  // namespace
