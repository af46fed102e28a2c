// SPDX-License-Identifier: MIT
#include "reference/level_shift.h"

#include <gtest/gtest.h>

#include <vector>

#include "harness/region.h"

namespace {

using harness::CheckOrder;
using harness::CompareRegions;
using harness::Interleaved;

TEST(LevelShift, EqualsModel) {
  CompareRegions<Interleaved<int16_t, 1>, Interleaved<uint8_t, 1>>(
      HARNESS_PAIR(zepiAdd128_JPEG_16s8u_C1R));
  CompareRegions<Interleaved<uint8_t, 1>, Interleaved<int16_t, 1>>(
      HARNESS_PAIR(zepiSub128_JPEG_8u16s_C1R));
}

TEST(LevelShift, AllValues) {
  std::vector<int16_t> values(65536);
  for (int i = 0; i < 65536; ++i) values[static_cast<size_t>(i)] = static_cast<int16_t>(i - 32768);
  std::vector<uint8_t> samples(65536);
  ASSERT_EQ(zepiAdd128_JPEG_16s8u_C1R(values.data(), 2, samples.data(), 1, {65536, 1}), 0);
  for (int i = 0; i < 65536; ++i) {
    ASSERT_EQ(samples[static_cast<size_t>(i)], std::clamp(i - 32768 + 128, 0, 255)) << i;
  }
}

TEST(LevelShift, ChecksInOrder) {
  int16_t values[8] = {};
  uint8_t samples[8] = {};
  CheckOrder(HARNESS_NAMED(zepiAdd128_JPEG_16s8u_C1R), static_cast<const int16_t*>(values), 16,
             &samples[0], 8, zepiSize{8, 1})
      .Null<0>()
      .Step<1>()
      .Null<2>()
      .Step<3>()
      .Size<4>()
      .Output(samples, sizeof(samples))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiSub128_JPEG_8u16s_C1R), static_cast<const uint8_t*>(samples), 8,
             &values[0], 16, zepiSize{8, 1})
      .Null<0>()
      .Step<1>()
      .Null<2>()
      .Step<3>()
      .Size<4>()
      .Output(values, sizeof(values))
      .Run();
}

}  // namespace
