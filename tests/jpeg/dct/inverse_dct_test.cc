// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "jpeg/dct/dct_cases.h"

namespace {

using dct_cases::Buffers;
using dct_cases::kRounds;
using harness::CheckOrder;
using harness::Named;
using harness::Random;

TEST(InverseDct, EqualsModel) {
  using dct_cases::CompareToSamples;
  dct_cases::CompareBlocks(HARNESS_PAIR(zepiDCTQuantInv8x8_JPEG_16s_C1));
  CompareToSamples<uint8_t>(HARNESS_PAIR(zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint16_t>(HARNESS_PAIR(zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R), 8);
  CompareToSamples<uint8_t>(HARNESS_PAIR(zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint8_t>(HARNESS_PAIR(zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint8_t>(HARNESS_PAIR(zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint8_t>(HARNESS_PAIR(zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R), 4);
  CompareToSamples<uint8_t>(HARNESS_PAIR(zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R), 2);
  const auto in_place = [](int16_t* block, const uint16_t* table) {
    reference::zepiDCTQuantInv8x8_JPEG_16s_C1(block, block, table);
  };
  dct_cases::CompareInPlace(HARNESS_NAMED(zepiDCTQuantInv8x8_JPEG_16s_C1I), in_place);
}

// The procedure of IEEE 1180, with its generator and limits.
class Ieee1180 {
 public:
  double worst_peak = 0, worst_mse = 0, mean_mse = 0, worst_mean = 0, mean_mean = 0;

  Ieee1180(int32_t low, int32_t high, int sign) {
    constexpr int kBlocks = 10000;
    double square[64] = {}, sum[64] = {};
    for (int block = 0; block < kBlocks; ++block) {
      reference::ExactBlock samples;
      for (auto& s : samples) s = sign * Next(low, high);
      auto coefficients = reference::ExactForward(samples);
      int16_t in[64], out[64];
      uint16_t ones[64];
      std::fill_n(ones, 64, uint16_t{1});
      for (size_t i = 0; i < 64; ++i) {
        coefficients[i] = std::clamp(std::round(coefficients[i]), -2048.0, 2047.0);
        in[i] = static_cast<int16_t>(coefficients[i]);
      }
      const auto exact = reference::ExactInverse(coefficients);
      zepiDCTQuantInv8x8_JPEG_16s_C1(in, out, ones);
      for (size_t i = 0; i < 64; ++i) {
        const double error =
            std::clamp<double>(out[i], -256, 255) - std::clamp(std::round(exact[i]), -256.0, 255.0);
        worst_peak = std::max(worst_peak, std::abs(error));
        square[i] += error * error / kBlocks;
        sum[i] += error / kBlocks;
      }
    }
    for (size_t i = 0; i < 64; ++i) {
      worst_mse = std::max(worst_mse, square[i]);
      worst_mean = std::max(worst_mean, std::abs(sum[i]));
      mean_mse += square[i] / 64;
      mean_mean += sum[i] / 64;
    }
  }

 private:
  double Next(int32_t low, int32_t high) {
    state_ = state_ * 1103515245U + 12345U;
    const double x = static_cast<double>(state_ & 0x7FFFFFFEU) / 0x7FFFFFFF;
    return static_cast<int32_t>(x * (high - low + 1)) + low;
  }
  uint32_t state_ = 1;
};

TEST(InverseDct, MeetsIeee1180_Exhaustive) {
  for (const int range : {256, 5, 300}) {
    for (const int sign : {1, -1}) {
      const Ieee1180 result(-range, range == 256 ? 255 : range, sign);
      EXPECT_LE(result.worst_peak, 1.0) << range;
      EXPECT_LE(result.worst_mse, 0.06) << range;
      EXPECT_LE(result.mean_mse, 0.02) << range;
      EXPECT_LE(result.worst_mean, 0.015) << range;
      EXPECT_LE(std::abs(result.mean_mean), 0.0015) << range;
    }
  }
}

// Compares the transforms to fewer points with the exact ones.
TEST(InverseDct, ReducedIsWithinOneOfExact) {
  Random random(harness::Seed());
  uint16_t ones[64];
  std::fill_n(ones, 64, uint16_t{1});
  for (int round = 0; round < kRounds; ++round) {
    int16_t in[64];
    reference::ExactBlock coefficients;
    for (size_t i = 0; i < 64; ++i) {
      const auto value = static_cast<int16_t>(static_cast<int>(random() % 401) - 200);
      in[i] = value;
      coefficients[i] = value;
    }
    uint8_t four[16], two[4];
    zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R(in, four, 4, ones);
    zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R(in, two, 2, ones);
    const auto exact4 = reference::ExactInverse(coefficients, 4);
    const auto exact2 = reference::ExactInverse(coefficients, 2);
    for (size_t i = 0; i < 16; ++i) {
      ASSERT_NEAR(four[i], std::clamp(exact4[i / 4 * 8 + i % 4] + 128, 0.0, 255.0), 0.6);
    }
    for (size_t i = 0; i < 4; ++i) {
      ASSERT_NEAR(two[i], std::clamp(exact2[i / 2 * 8 + i % 2] + 128, 0.0, 255.0), 0.51);
    }
  }
}

TEST(InverseDct, TwelveBitsRoundTrip) {
  Random random(harness::Seed());
  uint8_t raw[64];
  std::fill_n(raw, 64, uint8_t{1});
  uint16_t forward[64], inverse[64];
  ASSERT_EQ(zepiQuantFwdTableInit_JPEG_8u16u(raw, forward), zepStatusOk);
  ASSERT_EQ(zepiQuantInvTableInit_JPEG_8u16u(raw, inverse), zepStatusOk);
  for (int round = 0; round < kRounds; ++round) {
    uint16_t samples[64], back[64];
    for (auto& s : samples) s = static_cast<uint16_t>(random() % 4096);
    int16_t coefficients[64];
    zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(samples, 16, coefficients, forward);
    zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R(coefficients, back, 16, inverse);
    for (int i = 0; i < 64; ++i) ASSERT_NEAR(back[i], samples[i], 2);
  }
}

TEST(InverseDct, DcAloneKeepsItsWrap) {
  const auto fill = [](int16_t coefficient, uint16_t step) {
    int16_t block[64] = {coefficient};
    uint16_t table[64] = {step};
    uint8_t samples[64];
    zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R(block, samples, 8, table);
    EXPECT_TRUE(std::all_of(samples, samples + 64, [&](uint8_t s) { return s == samples[0]; }));
    return int{samples[0]};
  };
  EXPECT_EQ(fill(8, 1), 129);
  EXPECT_EQ(fill(-1, 1), 127);
  EXPECT_EQ(fill(2000, 16), 255);
  EXPECT_EQ(fill(32767, 255), 0);
  EXPECT_EQ(fill(0, 255), 128);
}

template <class Call>
void SamplesOrder(const Named<Call>& function, Buffers& b) {
  CheckOrder(function, static_cast<const int16_t*>(b.block), &b.samples[0], 8,
             static_cast<const uint16_t*>(b.table))
      .template Null<0>()
      .template Null<1>()
      .template Step<2>()
      .template Null<3>()
      .Output(b.samples, sizeof(b.samples))
      .Run();
}

TEST(InverseDct, ChecksInOrder) {
  dct_cases::ExpectBlocksOrder(HARNESS_NAMED(zepiDCTQuantInv8x8_JPEG_16s_C1));
  dct_cases::ExpectInPlaceOrder(HARNESS_NAMED(zepiDCTQuantInv8x8_JPEG_16s_C1I));
  Buffers b;
  const int16_t* const block = b.block;
  const uint16_t* const table = b.table;
  SamplesOrder(HARNESS_NAMED(zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R), b);
  SamplesOrder(HARNESS_NAMED(zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R), b);
  SamplesOrder(HARNESS_NAMED(zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R), b);
  SamplesOrder(HARNESS_NAMED(zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R), b);
  SamplesOrder(HARNESS_NAMED(zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R), b);
  SamplesOrder(HARNESS_NAMED(zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R), b);
  CheckOrder(HARNESS_NAMED(zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R), block, &b.words[0], 16, table)
      .Null<0>()
      .Null<1>()
      .Step<2>()
      .Null<3>()
      .Output(b.words, sizeof(b.words))
      .Run();
}

}  // namespace
