// SPDX-License-Identifier: MIT
#include "reference/optimal_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <vector>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "harness/random.h"

namespace {

using harness::CheckOrder;
using harness::Random;

TEST(OptimalTable, CostsLeast) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 500; ++trial) {
    std::vector<int32_t> counts(256);
    const uint32_t used = 1 + static_cast<uint32_t>(random() % 256),
                   kind = static_cast<uint32_t>(random() % 4);
    int32_t fibonacci[2] = {1, 1};
    for (uint32_t i = 0; i < used; ++i) {
      int32_t& count = counts[random() % 256];
      switch (kind) {
        case 0: count = static_cast<int32_t>(random() % 100); break;
        case 1: count = static_cast<int32_t>(random() & INT32_MAX); break;
        case 2: count = 7; break;
        default:  // these want codes of all lengths
          count = fibonacci[0];
          fibonacci[0] = fibonacci[1];
          fibonacci[1] = std::min(fibonacci[1], 1 << 28) + std::min(count, 1 << 28);
          break;
      }
    }
    uint8_t bits[16], values[256];
    ASSERT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusOk);
    zepiEncodeHuffmanSpec table;
    ASSERT_EQ(zepiEncodeHuffmanSpecInit_JPEG_8u(bits, values, &table), zepStatusOk);
    int64_t cost = 0;
    for (size_t i = 0; i < 256; ++i) {
      const uint32_t length = table.entry[i] >> 16;
      cost += int64_t{counts[i]} * length;
      ASSERT_TRUE(counts[i] == 0 || length > 0) << "no code";
      ASSERT_TRUE(length == 0 || (table.entry[i] & 0xFFFF) != (1u << length) - 1)
          << "a code of ones";
    }
    ASSERT_EQ(cost, reference::LeastCodeLength(counts.data())) << "seed " << harness::Seed();
  }
}

TEST(OptimalTable, NoneNegativeAndEqual) {
  std::vector<int32_t> counts(256);
  uint8_t bits[16], values[256];
  ASSERT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusOk);
  EXPECT_EQ(bits[0], 1);
  EXPECT_EQ(values[0], 0);
  counts[9] = counts[200] = counts[30] = 5;
  ASSERT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusOk);
  const uint8_t want[4] = {9, 30, 200, 0};
  EXPECT_EQ(harness::FirstByteDifference(values, want, 4), "");
  counts[3] = -1;
  bits[0] = 77;
  EXPECT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusError);
  EXPECT_EQ(bits[0], 77);
}

TEST(OptimalTable, ChecksInOrder) {
  const int32_t counts[256] = {};
  uint8_t bits[16] = {}, values[256] = {};
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanRawTableInit_JPEG_8u), &counts[0], &bits[0], &values[0])
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Output(bits, sizeof(bits))
      .Output(values, sizeof(values))
      .Run();
}

}  // namespace
