// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "jpeg/dct/dct_cases.h"

namespace {

using dct_cases::Buffers;
using dct_cases::kRounds;
using harness::CheckOrder;
using harness::Pattern;
using harness::Random;

TEST(ForwardDct, EqualsModel) {
  dct_cases::CompareBlocks(HARNESS_PAIR(zepiDCTQuantFwd8x8_JPEG_16s_C1));
  dct_cases::CompareFromSamples<uint8_t>(HARNESS_PAIR(zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R));
  dct_cases::CompareFromSamples<uint16_t>(HARNESS_PAIR(zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R));
  const auto in_place = [](int16_t* block, const uint16_t* table) {
    reference::zepiDCTQuantFwd8x8_JPEG_16s_C1(block, block, table);
  };
  dct_cases::CompareInPlace(HARNESS_NAMED(zepiDCTQuantFwd8x8_JPEG_16s_C1I), in_place);
}

reference::ExactBlock ExactCoefficients(const uint8_t (&samples)[64]) {
  reference::ExactBlock block;
  for (size_t i = 0; i < 64; ++i) block[i] = samples[i] - 128.0;
  return reference::ExactForward(block);
}

std::array<int16_t, 64> Coefficients(const uint8_t (&samples)[64]) {
  uint16_t ones[64];
  std::fill_n(ones, 64, uint16_t{32768});
  std::array<int16_t, 64> coefficients;
  EXPECT_EQ(zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples, 8, coefficients.data(), ones),
            zepStatusOk);
  return coefficients;
}

// Compares the transform alone, with steps of 1, with the exact one.
TEST(ForwardDct, IsWithinOneOfExact) {
  Random random(harness::Seed());
  double worst = 0;
  for (int round = 0; round < kRounds; ++round) {
    uint8_t samples[64];
    const auto pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
    harness::FillPattern(samples, 64, pattern, random);
    const auto exact = ExactCoefficients(samples);
    const auto got = Coefficients(samples);
    for (size_t i = 0; i < 64; ++i) worst = std::max(worst, std::abs(got[i] - exact[i]));
  }
  EXPECT_LE(worst, 1.0);
}

// The 16-bit columns add almost nothing to the error of rounding the exact coefficients, neither in
// the mean square nor in the mean.
TEST(ForwardDct, ErrorIsThatOfRounding) {
  constexpr int kBlocks = 20000;
  Random random(harness::Seed());
  double square = 0, mean[64] = {};
  for (int block = 0; block < kBlocks; ++block) {
    uint8_t samples[64];
    harness::FillPattern(samples, 64, Pattern::kRandom, random);
    const auto exact = ExactCoefficients(samples);
    const auto got = Coefficients(samples);
    for (size_t i = 0; i < 64; ++i) {
      const double error = got[i] - exact[i];
      const double rounding = std::floor(exact[i] + 0.5 + 1e-9) - exact[i];  // halves up
      square += (error * error - rounding * rounding) / (64.0 * kBlocks);
      mean[i] += (error - rounding) / kBlocks;
    }
  }
  EXPECT_LE(square, 0.0008);
  for (size_t i = 0; i < 64; ++i) EXPECT_LE(std::abs(mean[i]), 0.055) << i;
}

// The results for values beyond 8 bits and a sign, with steps of 1. Coefficients in range come
// within 2 of the exact ones; others saturate, with the sign of the exact one.
struct Extremes {
  std::array<int16_t, 64> got;
  reference::ExactBlock exact;

  explicit Extremes(const std::array<int16_t, 64>& values) {
    uint16_t ones[64];
    std::fill_n(ones, 64, uint16_t{32768});
    EXPECT_EQ(zepiDCTQuantFwd8x8_JPEG_16s_C1(values.data(), got.data(), ones), zepStatusOk);
    std::array<int16_t, 64> model;
    reference::zepiDCTQuantFwd8x8_JPEG_16s_C1(values.data(), model.data(), ones);
    EXPECT_EQ(harness::FirstDifference(got, model, 8), "");
    auto in_place = values;
    EXPECT_EQ(zepiDCTQuantFwd8x8_JPEG_16s_C1I(in_place.data(), ones), zepStatusOk);
    EXPECT_EQ(harness::FirstDifference(got, in_place, 8), "");
    std::copy(values.begin(), values.end(), exact.begin());
    exact = reference::ExactForward(exact);
  }
};

TEST(ForwardDct, OfConstantValuesSaturates) {
  for (const int value :
       {0,    1,    -1,    100,   255,   256,  257,  300,  511,  512,   1023,   4095,
        4096, 8192, 16384, 32766, 32767, -255, -256, -257, -512, -8193, -32767, -32768}) {
    std::array<int16_t, 64> values;
    values.fill(static_cast<int16_t>(value));
    const Extremes block(values);
    EXPECT_EQ(block.got[0], std::clamp(8 * value, -2048, 2048)) << value;
    EXPECT_TRUE(std::all_of(block.got.begin() + 1, block.got.end(), [](int16_t v) {
      return v == 0;
    })) << value;
  }
}

// Signs of a row times signs of a column, all 2^14 combinations, with amplitudes of up to ten bits,
// for which columns saturate only in their last sums.
TEST(ForwardDct, OfAlternatingValuesSaturates) {
  const int stride = harness::Exhaustive() ? 1 : 13;
  for (const int amplitude : {255, 256, 600, 1023}) {
    for (int signs = 0; signs < 1 << 14; signs += stride) {
      std::array<int16_t, 64> values;
      for (int i = 0; i < 64; ++i) {
        const bool is_negative = ((signs >> (i % 8) ^ signs >> (7 + i / 8)) & 1) != 0;
        const int value = is_negative ? -amplitude - 1 : amplitude;
        values[static_cast<size_t>(i)] = static_cast<int16_t>(value);
      }
      const Extremes block(values);
      for (size_t i = 0; i < 64; ++i) {
        if (amplitude < 256) {
          ASSERT_NEAR(block.got[i], block.exact[i], 2) << i << " signs " << signs;
        } else if (std::abs(block.exact[i]) >= 2048) {
          ASSERT_EQ(block.got[i] < 0, block.exact[i] < 0) << i << " signs " << signs;
          ASSERT_GE(std::abs(block.got[i]), 512) << i << " signs " << signs;
        }
      }
    }
  }
}

// The pattern of each frequency alone, up to the largest values: only its own coefficient
// saturates.
TEST(ForwardDct, OfFrequenciesSaturates) {
  for (const int amplitude : {256, 1000, 5000, 20000, 32767, -256, -5000, -32767}) {
    for (size_t frequency = 0; frequency < 64; ++frequency) {
      reference::ExactBlock alone = {};
      alone[frequency] = 1;
      const auto waves = reference::ExactInverse(alone);
      std::array<int16_t, 64> values;
      for (size_t i = 0; i < 64; ++i) {
        values[i] = static_cast<int16_t>(waves[i] < 0 ? -amplitude : amplitude);
      }
      const Extremes block(values);
      const double exact = block.exact[frequency];
      EXPECT_EQ(block.got[frequency] < 0, exact < 0) << frequency << " of " << amplitude;
      EXPECT_GE(std::abs(block.got[frequency]), 1024) << frequency << " of " << amplitude;
      EXPECT_LE(std::abs(block.got[frequency]), std::abs(exact) + 2);
    }
  }
}

TEST(ForwardDct, OfFlatBlocks) {
  uint16_t table[64];
  std::fill_n(table, 64, uint16_t{32768});
  for (int value = 0; value < 256; ++value) {
    uint8_t samples[64];
    std::fill_n(samples, 64, static_cast<uint8_t>(value));
    int16_t got[64];
    zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R(samples, 8, got, table);
    ASSERT_EQ(got[0], 8 * (value - 128));
    ASSERT_TRUE(std::all_of(got + 1, got + 64, [](int16_t v) { return v == 0; })) << value;
  }
}

// Samples of 8 bits in the transform for 12 bits give the exact coefficients, divided and rounded
// once.
TEST(ForwardDct, SamplesOf8BitsIn12AreRoundedOnce) {
  Random random(harness::Seed());
  uint16_t table[64];
  std::fill_n(table, 64, uint16_t{16384});
  for (int round = 0; round < kRounds; ++round) {
    uint8_t samples[64];
    const auto pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
    harness::FillPattern(samples, 64, pattern, random);
    uint16_t words[64];
    std::transform(samples, samples + 64, words,
                   [](uint8_t s) { return static_cast<uint16_t>(s + 1920); });
    int16_t got[64];
    ASSERT_EQ(zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R(words, 16, got, table), zepStatusOk);
    const auto exact = ExactCoefficients(samples);
    for (size_t i = 0; i < 64; ++i) ASSERT_NEAR(got[i], exact[i] / 2, 0.5001) << i;
  }
}

TEST(ForwardDct, ChecksInOrder) {
  dct_cases::ExpectBlocksOrder(HARNESS_NAMED(zepiDCTQuantFwd8x8_JPEG_16s_C1));
  dct_cases::ExpectInPlaceOrder(HARNESS_NAMED(zepiDCTQuantFwd8x8_JPEG_16s_C1I));
  Buffers b;
  const uint16_t* const table = b.table;
  const uint8_t* const samples = b.samples;
  const uint16_t* const words = b.words;
  CheckOrder(HARNESS_NAMED(zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R), samples, 8, &b.result[0], table)
      .Null<0>()
      .Null<2>()
      .Step<1>()
      .Null<3>()
      .Output(b.result, sizeof(b.result))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R), words, 16, &b.result[0], table)
      .Null<0>()
      .Null<2>()
      .Step<1>()
      .Null<3>()
      .Output(b.result, sizeof(b.result))
      .Run();
}

}  // namespace
