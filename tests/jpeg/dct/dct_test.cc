// SPDX-License-Identifier: MIT
#include "reference/dct.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "harness/check_order.h"
#include "harness/guarded.h"
#include "harness/random.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;
using harness::Named;
using harness::Pattern;
using harness::Random;

// Room for a block, and for one more byte where `odd` is, so that its start lies at an odd address.
size_t BlockBytes(int odd) { return 128 + static_cast<size_t>(odd % 2); }

// Input blocks and tables of all kinds, at odd addresses too.
struct Inputs {
  explicit Inputs(Random& random, int round)
      : edge(round % 2 == 0 ? Edge::kEnd : Edge::kStart),
        block(BlockBytes(round % 3), edge),
        table(BlockBytes(round % 5), edge) {
    const auto pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
    harness::FillPattern(src(), 64, pattern, random);
    harness::FillPattern(steps(), 64, Pattern::kRandom, random);
    const uint32_t kind = random() % 4;
    for (int i = 0; i < 64; ++i) {
      int16_t value;
      uint16_t step;
      std::memcpy(&value, block.raw() + 2 * i, 2);
      std::memcpy(&step, table.raw() + 2 * i, 2);
      if (kind == 0) value = static_cast<int16_t>(value % 300);  // what codecs see
      if (kind == 0) step = static_cast<uint16_t>(1 + step % 20);
      if (kind == 1) step = 1;
      if (kind == 2) value = random() % 8 == 0 ? value : int16_t{0};
      if (kind == 3) step = random() % 2 == 0 ? 32768 : 65535;
      std::memcpy(block.raw() + 2 * i, &value, 2);
      std::memcpy(table.raw() + 2 * i, &step, 2);
    }
  }
  int16_t* src() { return reinterpret_cast<int16_t*>(block.raw()); }
  uint16_t* steps() { return reinterpret_cast<uint16_t*>(table.raw()); }

  Edge edge;
  Guarded<uint8_t> block, table;
};

constexpr int kRounds = 4000;

std::vector<uint8_t> Bytes(const Guarded<uint8_t>& memory) {
  return {memory.raw(), memory.raw() + memory.bytes()};
}

// From a block to a block.
template <class Call, class Model>
void CompareBlocks(const Named<Call>& exported, const Model& model) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    Guarded<uint8_t> got(BlockBytes(round % 7), in.edge), want(got.bytes(), in.edge);
    const int16_t* const src = in.src();
    const uint16_t* const table = in.steps();
    exported.call(src, reinterpret_cast<int16_t*>(got.raw()), table);
    model(src, reinterpret_cast<int16_t*>(want.raw()), table);
    ASSERT_EQ(Bytes(got), Bytes(want))
        << exported.name << " round " << round << " seed " << harness::Seed();
  }
}

// In place; the model works on a copy.
template <class Call, class Model>
void CompareInPlace(const Named<Call>& exported, const Model& model) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    std::vector<uint8_t> want = Bytes(in.block);
    const uint16_t* const table = in.steps();
    model(reinterpret_cast<int16_t*>(want.data()), table);
    exported.call(in.src(), table);
    ASSERT_EQ(Bytes(in.block), want)
        << exported.name << " round " << round << " seed " << harness::Seed();
  }
}

template <class Sample>
size_t RegionBytes(int32_t step, int32_t size) {
  return static_cast<size_t>(step * (size - 1)) + static_cast<size_t>(size) * sizeof(Sample);
}

// From a block to size x size samples.
template <class Sample, class Call, class Model>
void CompareToSamples(const Named<Call>& exported, const Model& model, int32_t size) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    // Steps below a row make rows overlap; they are written top to bottom.
    const int32_t step =
        round % 9 == 0 ? 1 + round % 5 : size * static_cast<int32_t>(sizeof(Sample)) + round % 5;
    Guarded<uint8_t> got(RegionBytes<Sample>(step, size), in.edge), want(got.bytes(), in.edge);
    const int16_t* const src = in.src();
    const uint16_t* const table = in.steps();
    exported.call(src, reinterpret_cast<Sample*>(got.raw()), step, table);
    model(src, reinterpret_cast<Sample*>(want.raw()), step, table);
    ASSERT_EQ(Bytes(got), Bytes(want))
        << exported.name << " round " << round << " step " << step << " seed " << harness::Seed();
  }
}

// From 8x8 samples to a block.
template <class Sample, class Call, class Model>
void CompareFromSamples(const Named<Call>& exported, const Model& model) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    const int32_t step = 8 * static_cast<int32_t>(sizeof(Sample)) + round % 5;
    Guarded<uint8_t> samples(RegionBytes<Sample>(step, 8), in.edge);
    const auto pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
    harness::FillPattern(samples.raw(), samples.bytes(), pattern, random);
    Guarded<uint8_t> got(BlockBytes(round % 7), in.edge), want(got.bytes(), in.edge);
    const auto* const src = reinterpret_cast<const Sample*>(samples.raw());
    const uint16_t* const table = in.steps();
    exported.call(src, step, reinterpret_cast<int16_t*>(got.raw()), table);
    model(src, step, reinterpret_cast<int16_t*>(want.raw()), table);
    ASSERT_EQ(Bytes(got), Bytes(want))
        << exported.name << " round " << round << " seed " << harness::Seed();
  }
}

#define PAIR(function) \
  HARNESS_NAMED(function), [](auto... args) { return ::reference::function(args...); }

TEST(Dct, EqualsModel) {
  CompareBlocks(PAIR(zepiDCTQuantFwd8x8_JPEG_16s_C1));
  CompareFromSamples<uint8_t>(PAIR(zepiDCTQuantFwd8x8LS_JPEG_8u16s_C1R));
  CompareFromSamples<uint16_t>(PAIR(zepiDCTQuantFwd8x8LS_JPEG_16u16s_C1R));
  CompareBlocks(PAIR(zepiDCTQuantInv8x8_JPEG_16s_C1));
  CompareToSamples<uint8_t>(PAIR(zepiDCTQuantInv8x8LS_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint16_t>(PAIR(zepiDCTQuantInv8x8LS_JPEG_16s16u_C1R), 8);
  CompareToSamples<uint8_t>(PAIR(zepiDCTQuantInv8x8LS_1x1_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint8_t>(PAIR(zepiDCTQuantInv8x8LS_2x2_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint8_t>(PAIR(zepiDCTQuantInv8x8LS_4x4_JPEG_16s8u_C1R), 8);
  CompareToSamples<uint8_t>(PAIR(zepiDCTQuantInv8x8To4x4LS_JPEG_16s8u_C1R), 4);
  CompareToSamples<uint8_t>(PAIR(zepiDCTQuantInv8x8To2x2LS_JPEG_16s8u_C1R), 2);
}

TEST(Dct, InPlaceEqualsModel) {
  CompareInPlace(PAIR(zepiQuantFwd8x8_JPEG_16s_C1I));
  CompareInPlace(PAIR(zepiQuantInv8x8_JPEG_16s_C1I));
  const auto forward = [](int16_t* block, const uint16_t* table) {
    reference::zepiDCTQuantFwd8x8_JPEG_16s_C1(block, block, table);
  };
  CompareInPlace(HARNESS_NAMED(zepiDCTQuantFwd8x8_JPEG_16s_C1I), forward);
  const auto inverse = [](int16_t* block, const uint16_t* table) {
    reference::zepiDCTQuantInv8x8_JPEG_16s_C1(block, block, table);
  };
  CompareInPlace(HARNESS_NAMED(zepiDCTQuantInv8x8_JPEG_16s_C1I), inverse);
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

// The transform alone, with steps of 1, against the exact one.
TEST(Dct, ForwardIsWithinOneOfExact) {
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

// What the columns' 16 bits add to the error of rounding the exact coefficients: next to nothing in
// the mean square, and no drift.
TEST(Dct, ForwardErrorIsThatOfRounding) {
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

// Values beyond 8 bits and a sign, with steps of 1: what the sums hold comes within 2 of the exact
// coefficient; what is beyond saturates, with the sign of the exact one.
struct Extremes {
  std::array<int16_t, 64> got;
  reference::ExactBlock exact;

  explicit Extremes(const std::array<int16_t, 64>& values) {
    uint16_t ones[64];
    std::fill_n(ones, 64, uint16_t{32768});
    EXPECT_EQ(zepiDCTQuantFwd8x8_JPEG_16s_C1(values.data(), got.data(), ones), zepStatusOk);
    auto in_place = values;
    EXPECT_EQ(zepiDCTQuantFwd8x8_JPEG_16s_C1I(in_place.data(), ones), zepStatusOk);
    EXPECT_EQ(got, in_place);
    std::copy(values.begin(), values.end(), exact.begin());
    exact = reference::ExactForward(exact);
  }
};

TEST(Dct, ForwardOfConstantValuesSaturates) {
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

// Signs of a row times signs of a column: each of a pair's 2^14 products at up to ten bits and a sign,
// for which columns saturate in their last sums only.
TEST(Dct, ForwardOfAlternatingValuesSaturates) {
  const int stride = harness::Exhaustive() ? 1 : 13;
  for (const int amplitude : {255, 256, 600, 1023}) {
    for (int signs = 0; signs < 1 << 14; signs += stride) {
      std::array<int16_t, 64> values;
      for (int i = 0; i < 64; ++i) {
        const bool is_negative = ((signs >> (i % 8) ^ signs >> (7 + i / 8)) & 1) != 0;
        values[static_cast<size_t>(i)] = static_cast<int16_t>(is_negative ? -amplitude : amplitude);
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

// The pattern of each frequency alone, up to the largest values: its own coefficient saturates.
TEST(Dct, ForwardOfFrequenciesSaturates) {
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

TEST(Dct, ForwardOfFlatBlocks) {
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

// The procedure of IEEE 1180 (its generator and limits).
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

TEST(Dct, InverseMeetsIeee1180_Exhaustive) {
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

// Transforms to fewer points, against the exact ones.
TEST(Dct, ReducedIsWithinOneOfExact) {
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

// Samples of 8 bits through the transform of 12 bits: the exact coefficients, divided and rounded once.
TEST(Dct, SamplesOf8BitsIn12AreRoundedOnce) {
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

TEST(Dct, TwelveBitsRoundTrip) {
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

TEST(Dct, DcAloneKeepsItsWrap) {
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
      ASSERT_TRUE(std::equal(got, got + 64, want)) << step << " " << first;
      std::copy_n(values, 64, got);
      std::copy_n(values, 64, want);
      zepiQuantInv8x8_JPEG_16s_C1I(got, inverse);
      reference::zepiQuantInv8x8_JPEG_16s_C1I(want, inverse);
      ASSERT_TRUE(std::equal(got, got + 64, want)) << step << " " << first;
    }
  }
}

struct Buffers {
  int16_t block[64] = {}, result[64] = {};
  uint8_t samples[64] = {}, raw[64] = {};
  uint16_t words[64] = {}, table[64] = {};
};

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

TEST(Dct, ChecksInOrder) {
  Buffers b;
  const int16_t* const block = b.block;
  const uint16_t* const table = b.table;
  const uint8_t* const samples = b.samples;
  const uint16_t* const words = b.words;
  for (const bool forward : {true, false}) {
    const auto order = [&](auto function) {
      CheckOrder(function, block, &b.result[0], table)
          .template Null<0>()
          .template Null<1>()
          .template Null<2>()
          .Output(b.result, sizeof(b.result))
          .Run();
    };
    forward ? order(HARNESS_NAMED(zepiDCTQuantFwd8x8_JPEG_16s_C1))
            : order(HARNESS_NAMED(zepiDCTQuantInv8x8_JPEG_16s_C1));
  }
  const auto in_place = [&](auto function) {
    CheckOrder(function, &b.result[0], table)
        .template Null<0>()
        .template Null<1>()
        .Output(b.result, sizeof(b.result))
        .Run();
  };
  in_place(HARNESS_NAMED(zepiDCTQuantFwd8x8_JPEG_16s_C1I));
  in_place(HARNESS_NAMED(zepiDCTQuantInv8x8_JPEG_16s_C1I));
  in_place(HARNESS_NAMED(zepiQuantFwd8x8_JPEG_16s_C1I));
  in_place(HARNESS_NAMED(zepiQuantInv8x8_JPEG_16s_C1I));
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

TEST(Quantization, ChecksInOrder) {
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
