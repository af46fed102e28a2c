// SPDX-License-Identifier: MIT
#include "jpeg2k/wavelet/pass_cases.h"

namespace {

using harness::Edge;
using harness::Random;
using wavelet_cases::AlongColumns;
using wavelet_cases::ExpectPassOrder;

template <class Passes>
class WaveletColumnPasses : public ::testing::Test {};
using Families =
    ::testing::Types<AlongColumns<wavelet_cases::B53_16s>, AlongColumns<wavelet_cases::B53_32s>,
                     AlongColumns<wavelet_cases::D97_32f>>;
TYPED_TEST_SUITE(WaveletColumnPasses, Families);

TYPED_TEST(WaveletColumnPasses, EqualModelAndReadNoMore) {
  Random random(harness::Seed());
  const auto check = [&](zepiSize size) {
    for (const int phase : {0, 1, -3}) {
      for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
        wavelet_cases::ExpectForward<TypeParam>(size, phase, edge, random);
        wavelet_cases::ExpectInverse<TypeParam>(size, phase, edge, random);
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

TEST(WaveletColumnPasses, ChecksInOrder) {
  ExpectPassOrder<int16_t>(HARNESS_NAMED(zepiWTFwdCol_B53_JPEG2K_16s_C1R),
                           HARNESS_NAMED(zepiWTInvCol_B53_JPEG2K_16s_C1R));
  ExpectPassOrder<int32_t>(HARNESS_NAMED(zepiWTFwdCol_B53_JPEG2K_32s_C1R),
                           HARNESS_NAMED(zepiWTInvCol_B53_JPEG2K_32s_C1R));
  ExpectPassOrder<float>(HARNESS_NAMED(zepiWTFwdCol_D97_JPEG2K_32f_C1R),
                         HARNESS_NAMED(zepiWTInvCol_D97_JPEG2K_32f_C1R));
}

}  // namespace
