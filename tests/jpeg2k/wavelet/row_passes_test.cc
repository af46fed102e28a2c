// SPDX-License-Identifier: MIT
#include <cmath>
#include <cstring>
#include <vector>

#include "jpeg2k/wavelet/pass_cases.h"

namespace {

using harness::Edge;
using harness::Random;
using wavelet_cases::AlongRows;
using wavelet_cases::ExpectPassOrder;
using wavelet_cases::Plane;

template <class Passes>
class WaveletRowPasses : public ::testing::Test {};
using Families =
    ::testing::Types<AlongRows<wavelet_cases::B53_16s>, AlongRows<wavelet_cases::B53_32s>,
                     AlongRows<wavelet_cases::D97_16s>, AlongRows<wavelet_cases::D97_32s>,
                     AlongRows<wavelet_cases::D97_32f>>;
TYPED_TEST_SUITE(WaveletRowPasses, Families);

TYPED_TEST(WaveletRowPasses, EqualModelAndReadNoMore) {
  Random random(harness::Seed());
  for (int width = 1; width <= 150 && !::testing::Test::HasFailure(); ++width) {
    for (const int phase : {0, 1, -1, 2}) {
      for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
        const zepiSize size = {width, 1 + width % 3};
        wavelet_cases::ExpectForward<TypeParam>(size, phase, edge, random);
        wavelet_cases::ExpectInverse<TypeParam>(size, phase, edge, random);
      }
    }
  }
  wavelet_cases::ExpectForward<TypeParam>({1031, 5}, 0, Edge::kEnd, random);
  wavelet_cases::ExpectInverse<TypeParam>({1031, 5}, 1, Edge::kEnd, random);
}

// The filter taps are equivalent to the lifting steps: both give nearly the same result.
TEST(WaveletRowPasses, TapsAreTheLiftingSteps) {
  Random random(harness::Seed());
  Plane<float> src({64 + 8, 1}, 0, Edge::kEnd, -4), inner({40 + 8, 1}, 0, Edge::kEnd, -4);
  for (int x = -4; x < 68; ++x) src.Set(x, 0, static_cast<float>(random() % 256));
  for (int x = -4; x < 44; ++x) inner.Set(x, 0, src.Get(x + 10, 0));
  Plane<float> low({32, 1}, 0, Edge::kEnd), high({32, 1}, 0, Edge::kEnd);
  Plane<float> inner_low({20, 1}, 0, Edge::kEnd), inner_high({20, 1}, 0, Edge::kEnd);
  wavelet_cases::D97_32f::FwdRow(src.base(), 400, low.base(), 200, high.base(), 200,
                                 zepiSize{32, 1}, 0);
  wavelet_cases::D97_32f::FwdRow(inner.base(), 400, inner_low.base(), 200, inner_high.base(), 200,
                                 zepiSize{20, 1}, 0);
  for (int k = 0; k < 20; ++k) {
    EXPECT_NEAR(inner_low.Get(k, 0), low.Get(k + 5, 0), 1e-3) << k;
    EXPECT_NEAR(inner_high.Get(k, 0), high.Get(k + 5, 0), 1e-3) << k;
  }
}

// On constant rows the low filter has a gain of 1 and the high filter of 0; on alternating rows, 0
// and 2.
TEST(WaveletRowPasses, Gains) {
  Plane<float> src({24, 1}, 0, Edge::kEnd, -4), low({8, 1}, 0, Edge::kEnd),
      high({8, 1}, 0, Edge::kEnd);
  const auto run = [&](float even, float odd) {
    for (int x = -4; x < 20; ++x) src.Set(x, 0, x % 2 == 0 ? even : odd);
    wavelet_cases::D97_32f::FwdRow(src.base(), 200, low.base(), 200, high.base(), 200,
                                   zepiSize{8, 1}, 0);
  };
  run(100, 100);
  for (int k = 0; k < 8; ++k) {
    EXPECT_NEAR(low.Get(k, 0), 100, 1e-3);
    EXPECT_NEAR(high.Get(k, 0), 0, 1e-3);
  }
  run(100, -100);
  for (int k = 0; k < 8; ++k) {
    EXPECT_NEAR(low.Get(k, 0), 0, 1e-3);
    EXPECT_NEAR(high.Get(k, 0), -200, 2e-3);
  }
}

TEST(WaveletRowPasses, ChecksInOrder) {
  ExpectPassOrder<int16_t>(HARNESS_NAMED(zepiWTFwdRow_B53_JPEG2K_16s_C1R),
                           HARNESS_NAMED(zepiWTInvRow_B53_JPEG2K_16s_C1R));
  ExpectPassOrder<int32_t>(HARNESS_NAMED(zepiWTFwdRow_B53_JPEG2K_32s_C1R),
                           HARNESS_NAMED(zepiWTInvRow_B53_JPEG2K_32s_C1R));
  ExpectPassOrder<int16_t>(HARNESS_NAMED(zepiWTFwdRow_D97_JPEG2K_16s_C1R),
                           HARNESS_NAMED(zepiWTInvRow_D97_JPEG2K_16s_C1R));
  ExpectPassOrder<int32_t>(HARNESS_NAMED(zepiWTFwdRow_D97_JPEG2K_32s_C1R),
                           HARNESS_NAMED(zepiWTInvRow_D97_JPEG2K_32s_C1R));
  ExpectPassOrder<float>(HARNESS_NAMED(zepiWTFwdRow_D97_JPEG2K_32f_C1R),
                         HARNESS_NAMED(zepiWTInvRow_D97_JPEG2K_32f_C1R));
}

// In floats the results that are NaN are the same everywhere, for rows and columns, but not their
// payload. All other results have the same bits.
void ExpectSameButPayloads(const std::vector<float>& got, const std::vector<float>& want) {
  int nans = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    ASSERT_EQ(std::isnan(got[i]), std::isnan(want[i])) << i;
    nans += std::isnan(want[i]) ? 1 : 0;
    const bool is_same = std::memcmp(&got[i], &want[i], 4) == 0;
    ASSERT_TRUE(is_same || std::isnan(want[i])) << i;
  }
  EXPECT_GT(nans, 10);
}

TEST(WaveletPasses32f, NansAreWhereTheModelHasThem) {
  using Family = wavelet_cases::D97_32f;
  constexpr int kSide = 80, kStep = 4 * kSide, kPairs = 32;  // with eight more samples on each side
  constexpr size_t kFirst = 8 * kSide + 8;
  Random random(harness::Seed());
  std::vector<float> src(kSide * kSide);
  for (float& v : src) {
    const auto kind = random() % 200;
    v = static_cast<float>(static_cast<int>(random() % 2000) - 1000) / 8;
    uint32_t bits = 0x7F800000 | static_cast<uint32_t>(random()) << 31;
    if (kind == 0) bits |= static_cast<uint32_t>(1 + random() % 0x7FFFFF);
    if (kind <= 1) std::memcpy(&v, &bits, 4);
  }
  const float* const in = src.data() + kFirst;
  for (const int phase : {0, 1}) {
    std::vector<float> got(src.size()), want(src.size()), got_high(src.size()), high(src.size());
    const zepiSize rows = {kPairs, 64}, columns = {64, kPairs};
    Family::FwdRow(in, kStep, got.data(), kStep, got_high.data(), kStep, rows, phase);
    Family::Model::FwdRow(in, kStep, want.data(), kStep, high.data(), kStep, rows, phase);
    ExpectSameButPayloads(got, want);
    ExpectSameButPayloads(got_high, high);
    Family::FwdCol(in, kStep, got.data(), kStep, got_high.data(), kStep, columns, phase);
    Family::Model::FwdCol(in, kStep, want.data(), kStep, high.data(), kStep, columns, phase);
    ExpectSameButPayloads(got, want);
    ExpectSameButPayloads(got_high, high);
    Family::InvRow(in, kStep, in, kStep, rows, got.data(), kStep, phase);
    Family::Model::InvRow(in, kStep, in, kStep, rows, want.data(), kStep, phase);
    ExpectSameButPayloads(got, want);
    Family::InvCol(in, kStep, in, kStep, columns, got.data(), kStep, phase);
    Family::Model::InvCol(in, kStep, in, kStep, columns, want.data(), kStep, phase);
    ExpectSameButPayloads(got, want);
  }
}

}  // namespace
