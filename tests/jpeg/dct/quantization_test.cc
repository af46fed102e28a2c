// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "jpeg/dct/dct_cases.h"

namespace {

using dct_cases::Buffers;
using harness::CheckOrder;

TEST(Quantization, EqualsModel) {
  dct_cases::CompareInPlace(HARNESS_PAIR(zepiQuantFwd8x8_JPEG_16s_C1I));
  dct_cases::CompareInPlace(HARNESS_PAIR(zepiQuantInv8x8_JPEG_16s_C1I));
}

TEST(Quantization, RawTableByQuality) {
  for (int quality : {1, 2, 10, 25, 49, 50, 51, 75, 92, 99, 100, 101, 1000, INT_MAX}) {
    for (int step = 0; step < 256; ++step) {
      uint8_t raw[64];
      std::fill_n(raw, 64, static_cast<uint8_t>(step));
      ASSERT_EQ(zepiQuantFwdRawTableInit_JPEG_8u(raw, quality), zepStatusOk);
      int expected = 1;
      if (quality < 50) expected = std::clamp((step * (5000 / quality) + 50) / 100, 1, 255);
      if (quality >= 50 && quality < 100) {
        expected = std::clamp((step * (200 - 2 * quality) + 50) / 100, 1, 255);
      }
      ASSERT_EQ(raw[0], expected) << quality << " " << step;
      ASSERT_EQ(raw[63], expected);
    }
  }
}

TEST(Quantization, TablesOfAllSteps) {
  for (int step = 0; step < 256; ++step) {
    uint8_t raw[64];
    for (int i = 0; i < 64; ++i) raw[i] = static_cast<uint8_t>(i == 5 ? step : i + 1);
    uint16_t forward[64], inverse[64];
    EXPECT_EQ(zepiQuantFwdTableInit_JPEG_8u16u(raw, forward),
              step == 0 ? zepStatusDivByZeroWarning : zepStatusOk);
    ASSERT_EQ(zepiQuantInvTableInit_JPEG_8u16u(raw, inverse), zepStatusOk);
    // Zigzag index 5 is at row 0, column 2.
    ASSERT_EQ(inverse[2], step);
    ASSERT_EQ(
        forward[2],
        step == 0 ? 65535 : static_cast<int>(std::nearbyint(32768.0F / static_cast<float>(step))));
    ASSERT_EQ(inverse[0], 1);
    ASSERT_EQ(inverse[63], 64);
    ASSERT_EQ(inverse[8], 3);
  }
}

TEST(Quantization, AllValuesAllSteps_Exhaustive) {
  const int stride = harness::Exhaustive() ? 1 : 31;
  for (int step = 1; step < 256; step += stride) {
    uint8_t raw[64];
    std::fill_n(raw, 64, static_cast<uint8_t>(step));
    uint16_t forward[64], inverse[64];
    zepiQuantFwdTableInit_JPEG_8u16u(raw, forward);
    zepiQuantInvTableInit_JPEG_8u16u(raw, inverse);
    for (int first = -32768; first < 32768; first += 64) {
      int16_t values[64], got[64], want[64];
      for (int i = 0; i < 64; ++i) values[i] = static_cast<int16_t>(first + i);
      std::copy_n(values, 64, got);
      std::copy_n(values, 64, want);
      zepiQuantFwd8x8_JPEG_16s_C1I(got, forward);
      reference::zepiQuantFwd8x8_JPEG_16s_C1I(want, forward);
      ASSERT_EQ(harness::FirstDifference(got, want), "") << step << " " << first;
      std::copy_n(values, 64, got);
      std::copy_n(values, 64, want);
      zepiQuantInv8x8_JPEG_16s_C1I(got, inverse);
      reference::zepiQuantInv8x8_JPEG_16s_C1I(want, inverse);
      ASSERT_EQ(harness::FirstDifference(got, want), "") << step << " " << first;
    }
  }
}

TEST(Quantization, ChecksInOrder) {
  dct_cases::ExpectInPlaceOrder(HARNESS_NAMED(zepiQuantFwd8x8_JPEG_16s_C1I));
  dct_cases::ExpectInPlaceOrder(HARNESS_NAMED(zepiQuantInv8x8_JPEG_16s_C1I));
  Buffers b;
  const uint8_t* const raw = b.raw;
  CheckOrder(HARNESS_NAMED(zepiQuantFwdRawTableInit_JPEG_8u), &b.raw[0], 50)
      .Null<0>()
      .Bad<1>(zepStatusBadArg, {0, -1, INT_MIN})
      .Output(b.raw, sizeof(b.raw))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiQuantFwdTableInit_JPEG_8u16u), raw, &b.table[0])
      .Null<0>()
      .Null<1>()
      .Output(b.table, sizeof(b.table))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiQuantInvTableInit_JPEG_8u16u), raw, &b.table[0])
      .Null<1>()
      .Null<0>()
      .Output(b.table, sizeof(b.table))
      .Run();
}

}  // namespace
