// SPDX-License-Identifier: MIT
#include "jpeg2k/wavelet/wavelet_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using wavelet_cases::ExpectSame;
using wavelet_cases::Plane;

template <class Family>
class WaveletColumnPasses : public ::testing::Test {};
using Families =
    ::testing::Types<wavelet_cases::B53_16s, wavelet_cases::B53_32s, wavelet_cases::D97_32f>;
TYPED_TEST_SUITE(WaveletColumnPasses, Families);

std::string Describe(const char* name, zepiSize size, int phase, Edge edge) {
  return std::string(name) + " " + std::to_string(size.width) + "x" + std::to_string(size.height) +
         " phase " + std::to_string(phase) + " edge " + std::to_string(static_cast<int>(edge));
}

// The source holds exactly the rows that may be read.
template <class Family>
void ExpectForward(zepiSize size, int phase, Edge edge, Random& random) {
  using T = typename Family::T;
  const int odd = phase != 0, first = odd - Family::kReach;
  const int last = 2 * size.height - 2 + odd + Family::kReach;
  const auto extra = [&] { return wavelet_cases::AnyExtra(random); };
  Plane<T> src({size.width, last - first + 1}, extra(), edge, 0, first);
  src.FillAll(wavelet_cases::AnyPattern(random), random);
  const int32_t low_extra = extra(), high_extra = extra();
  Plane<T> low(size, low_extra, edge), high(size, high_extra, edge);
  Plane<T> want_low(size, low_extra, edge), want_high(size, high_extra, edge);
  ASSERT_EQ(Family::FwdCol(src.base(), src.step(), low.base(), low.step(), high.base(), high.step(),
                           size, phase),
            zepStatusOk);
  Family::Model::FwdCol(src.base(), src.step(), want_low.base(), low.step(), want_high.base(),
                        high.step(), size, phase);
  ExpectSame(low, want_low, Describe(Family::kName, size, phase, edge) + " low");
  ExpectSame(high, want_high, Describe(Family::kName, size, phase, edge) + " high");
}

template <class Family>
void ExpectInverse(zepiSize size, int phase, Edge edge, Random& random) {
  using T = typename Family::T;
  const int odd = phase != 0, n = size.height;
  const int more = Family::kReach / 2 - 1;
  const int low_first = -odd - more, low_last = n - odd + more;
  const int high_first = -1 - more, high_last = n + more;
  const auto extra = [&] { return wavelet_cases::AnyExtra(random); };
  Plane<T> low({size.width, low_last - low_first + 1}, extra(), edge, 0, low_first);
  Plane<T> high({size.width, high_last - high_first + 1}, extra(), edge, 0, high_first);
  low.FillAll(wavelet_cases::AnyPattern(random), random);
  high.FillAll(wavelet_cases::AnyPattern(random), random);
  const int32_t dst_extra = extra();
  Plane<T> got({size.width, 2 * n}, dst_extra, edge), want({size.width, 2 * n}, dst_extra, edge);
  ASSERT_EQ(Family::InvCol(low.base(), low.step(), high.base(), high.step(), size, got.base(),
                           got.step(), phase),
            zepStatusOk);
  Family::Model::InvCol(low.base(), low.step(), high.base(), high.step(), size, want.base(),
                        want.step(), phase);
  ExpectSame(got, want, Describe(Family::kName, size, phase, edge));
}

TYPED_TEST(WaveletColumnPasses, EqualModelAndReadNoMore) {
  Random random(harness::Seed());
  const auto check = [&](zepiSize size) {
    for (const int phase : {0, 1, -3}) {
      for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
        ExpectForward<TypeParam>(size, phase, edge, random);
        ExpectInverse<TypeParam>(size, phase, edge, random);
      }
    }
  };
  for (int width = 1; width <= 70 && !::testing::Test::HasFailure(); ++width) {
    check({width, 1 + width % 12});
  }
  check({511, 9});
  check({1025, 4});  // more than a block of columns for every element type
  check({2080, 3});
}

template <class T, class Forward, class Inverse>
void ExpectOrder(harness::Named<Forward> forward, harness::Named<Inverse> inverse) {
  T samples[64] = {}, low[16] = {}, high[16] = {};
  const zepiSize size = {2, 1};
  const auto row = static_cast<int32_t>(2 * sizeof(T));
  CheckOrder(forward, static_cast<const T*>(samples + 16), row, &low[0], row, &high[0], row, size,
             0)
      .template Null<0>()
      .template Null<2>()
      .template Null<4>()
      .template Step<1>()
      .template Step<3>()
      .template Step<5>()
      .template Size<6>()
      .Output(low, sizeof(low))
      .Output(high, sizeof(high))
      .Run();
  CheckOrder(inverse, static_cast<const T*>(low + 8), row, static_cast<const T*>(high + 8), row,
             size, &samples[16], row, 0)
      .template Null<0>()
      .template Null<2>()
      .template Null<5>()
      .template Step<1>()
      .template Step<3>()
      .template Step<6>()
      .template Size<4>()
      .Output(samples, sizeof(samples))
      .Run();
}

TEST(WaveletColumnPasses, ChecksInOrder) {
  ExpectOrder<int16_t>(HARNESS_NAMED(zepiWTFwdCol_B53_JPEG2K_16s_C1R),
                       HARNESS_NAMED(zepiWTInvCol_B53_JPEG2K_16s_C1R));
  ExpectOrder<int32_t>(HARNESS_NAMED(zepiWTFwdCol_B53_JPEG2K_32s_C1R),
                       HARNESS_NAMED(zepiWTInvCol_B53_JPEG2K_32s_C1R));
  ExpectOrder<float>(HARNESS_NAMED(zepiWTFwdCol_D97_JPEG2K_32f_C1R),
                     HARNESS_NAMED(zepiWTInvCol_D97_JPEG2K_32f_C1R));
}

}  // namespace
