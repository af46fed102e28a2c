// SPDX-License-Identifier: MIT
#include "reference/ycbcr_to_rgb.h"

#include <gtest/gtest.h>

#include <vector>

#include "harness/region.h"

namespace {

using harness::CheckOrder;
using harness::CompareRegions;
using harness::Interleaved;
using harness::Planar;

using C2 = Interleaved<uint8_t, 2>;
using C3 = Interleaved<uint8_t, 3>;
using C4 = Interleaved<uint8_t, 4>;
using P3 = Planar<uint8_t, 3>;
using P4 = Planar<uint8_t, 4>;
using Packed = Interleaved<uint16_t, 1>;
using Half411 = Planar<uint8_t, 3, 2, 2, true>;
using Half422 = Planar<uint8_t, 3, 2, 1, true>;
constexpr harness::Takes kEvenWidth = {false, 2};
constexpr uint8_t kAlpha = 0xA5;

TEST(YcbcrToRgb, EqualsModel) {
  CompareRegions<P3, C3>(HARNESS_PAIR(zepiYCbCrToRGB_JPEG_8u_P3C3R));
  CompareRegions<P3, C3>(HARNESS_PAIR(zepiYCbCrToBGR_JPEG_8u_P3C3R));
  CompareRegions<P3, P3>(HARNESS_PAIR(zepiYCbCrToRGB_JPEG_8u_P3R));
  CompareRegions<P4, C4>(HARNESS_PAIR(zepiYCCKToCMYK_JPEG_8u_P4C4R));
  CompareRegions<P4, P4>(HARNESS_PAIR(zepiYCCKToCMYK_JPEG_8u_P4R));
  CompareRegions<C2, C3>(HARNESS_PAIR(zepiYCbCr422ToRGB_JPEG_8u_C2C3R), kEvenWidth);
}

TEST(YcbcrToRgb, MorePixelsEqualModel) {
  CompareRegions<P3, C4>(HARNESS_PAIR_WITH(zepiYCbCrToRGB_JPEG_8u_P3C4R, kAlpha));
  CompareRegions<P3, Packed>(HARNESS_PAIR(zepiYCbCrToRGB555_JPEG_8u16u_P3C3R));
  CompareRegions<P3, Packed>(HARNESS_PAIR(zepiYCbCrToRGB565_JPEG_8u16u_P3C3R));
  CompareRegions<P3, C4>(HARNESS_PAIR_WITH(zepiYCbCrToBGR_JPEG_8u_P3C4R, kAlpha));
  CompareRegions<P3, Packed>(HARNESS_PAIR(zepiYCbCrToBGR555_JPEG_8u16u_P3C3R));
  CompareRegions<P3, Packed>(HARNESS_PAIR(zepiYCbCrToBGR565_JPEG_8u16u_P3C3R));
}

// Calls a function that takes a step for each plane.
#define WITH_STEPS(function, ...)                                                                 \
  harness::Named{#function,                                                                       \
                 [](auto src, int32_t step, auto dst, int32_t dst_step, zepiSize size) {          \
                   const int32_t steps[] = {step, step, step};                                    \
                   return ::function(src, steps, dst, dst_step, size __VA_OPT__(, ) __VA_ARGS__); \
                 }},                                                                              \
      [](auto src, int32_t step, auto dst, int32_t dst_step, zepiSize size) {                     \
        const int32_t steps[] = {step, step, step};                                               \
        return ::reference::function(src, steps, dst, dst_step, size __VA_OPT__(, ) __VA_ARGS__); \
      }

TEST(YcbcrToRgb, HalfChromaEqualsModel) {
  CompareRegions<Half411, C3>(WITH_STEPS(zepiYCbCr411ToRGB_JPEG_8u_P3C3R));
  CompareRegions<Half411, C4>(WITH_STEPS(zepiYCbCr411ToRGB_JPEG_8u_P3C4R, kAlpha));
  CompareRegions<Half411, C3>(WITH_STEPS(zepiYCbCr411ToBGR_JPEG_8u_P3C3R));
  CompareRegions<Half411, C4>(WITH_STEPS(zepiYCbCr411ToBGR_JPEG_8u_P3C4R, kAlpha));
  CompareRegions<Half422, C3>(WITH_STEPS(zepiYCbCr422ToRGB_JPEG_8u_P3C3R));
  CompareRegions<Half422, C4>(WITH_STEPS(zepiYCbCr422ToRGB_JPEG_8u_P3C4R, kAlpha));
  CompareRegions<Half422, C3>(WITH_STEPS(zepiYCbCr422ToBGR_JPEG_8u_P3C3R));
  CompareRegions<Half422, C4>(WITH_STEPS(zepiYCbCr422ToBGR_JPEG_8u_P3C4R, kAlpha));
}

TEST(YcbcrToRgb, PlanesHaveStepsOfTheirOwn) {
  harness::Random random(harness::Seed());
  std::vector<uint8_t> y(40 * 5), cb(30 * 3), cr(23 * 3), got(5 * 150), want(5 * 150);
  for (auto* plane : {&y, &cb, &cr}) {
    for (uint8_t& sample : *plane) sample = static_cast<uint8_t>(random());
  }
  const uint8_t* const src[] = {y.data(), cb.data(), cr.data()};
  const int32_t steps[] = {40, 30, 23};
  zepiYCbCr411ToRGB_JPEG_8u_P3C3R(src, steps, got.data(), 150, {39, 5});
  reference::zepiYCbCr411ToRGB_JPEG_8u_P3C3R(src, steps, want.data(), 150, {39, 5});
  EXPECT_EQ(harness::FirstDifference(got, want, 150), "");
}

TEST(YcbcrToRgb, AllColours_Exhaustive) {
  constexpr int32_t kWidth = 256;
  std::vector<uint8_t> ycc(3 * kWidth), got(3 * kWidth), want(3 * kWidth);
  const uint8_t* const src[] = {&ycc[0], &ycc[kWidth], &ycc[2 * kWidth]};
  const int32_t stride = harness::Exhaustive() ? 1 : 37;
  for (int32_t chroma = 0; chroma < 65536; chroma += stride) {
    for (size_t x = 0; x < kWidth; ++x) {
      ycc[x] = static_cast<uint8_t>(x);
      ycc[kWidth + x] = static_cast<uint8_t>(chroma >> 8);
      ycc[2 * kWidth + x] = static_cast<uint8_t>(chroma);
    }
    zepiYCbCrToRGB_JPEG_8u_P3C3R(src, kWidth, got.data(), 3 * kWidth, {kWidth, 1});
    reference::zepiYCbCrToRGB_JPEG_8u_P3C3R(src, kWidth, want.data(), 3 * kWidth, {kWidth, 1});
    ASSERT_EQ(harness::FirstDifference(got, want), "") << "chroma " << chroma;
  }
}

TEST(YcbcrToRgb, ChecksInOrder) {
  uint8_t src[4][64] = {};
  uint8_t dst[4][64] = {};
  const uint8_t* const src_planes[] = {src[0], src[1], src[2], src[3]};
  uint8_t* const dst_planes[] = {dst[0], dst[1], dst[2], dst[3]};
  const uint8_t* const* const from = src_planes;
  uint8_t* const* const to = dst_planes;
  constexpr zepiSize kSize = {4, 2};
  // The pointers come first, then the steps and the size.
  const auto expect = [&](auto& pointers) -> auto& {
    return pointers.template Step<1>().template Step<3>().template Size<4>().Output(dst,
                                                                                    sizeof(dst));
  };
  const auto pixels = [&](auto exported) {
    return CheckOrder(exported, from, 16, &dst[0][0], 16, kSize);
  };
  const auto planes = [&](auto exported) { return CheckOrder(exported, from, 16, to, 16, kSize); };
  expect(pixels(HARNESS_NAMED(zepiYCbCrToRGB_JPEG_8u_P3C3R)).Planes<0, 3>().Null<2>()).Run();
  expect(pixels(HARNESS_NAMED(zepiYCbCrToBGR_JPEG_8u_P3C3R)).Planes<0, 3>().Null<2>()).Run();
  expect(pixels(HARNESS_NAMED(zepiYCCKToCMYK_JPEG_8u_P4C4R)).Planes<0, 4>().Null<2>()).Run();
  expect(planes(HARNESS_NAMED(zepiYCbCrToRGB_JPEG_8u_P3R)).Planes<0, 3>().Planes<2, 3>()).Run();
  expect(planes(HARNESS_NAMED(zepiYCCKToCMYK_JPEG_8u_P4R)).Planes<0, 4>().Planes<2, 4>()).Run();
  const uint8_t* const interleaved = src[0];
  expect(CheckOrder(HARNESS_NAMED(zepiYCbCr422ToRGB_JPEG_8u_C2C3R), interleaved, 16, &dst[0][0], 16,
                    kSize)
             .Null<0>()
             .Null<2>())
      .template Bad<4>(zepStatusBadSize, {zepiSize{3, 2}})
      .Run();
}

TEST(YcbcrToRgb, MorePixelsCheckInOrder) {
  uint8_t src[3][64] = {}, bytes[64] = {};
  uint16_t words[64] = {};
  const uint8_t* const planes[] = {src[0], src[1], src[2]};
  const uint8_t* const* const from = planes;
  const auto expect = [&](auto exported, auto* dst, auto... alpha) {
    CheckOrder(exported, from, 16, dst, 16, zepiSize{4, 2}, alpha...)
        .template Planes<0, 3>()
        .template Null<2>()
        .template Step<1>()
        .template Step<3>()
        .template Size<4>()
        .Output(dst, 64 * sizeof(*dst))
        .Run();
  };
  expect(HARNESS_NAMED(zepiYCbCrToRGB_JPEG_8u_P3C4R), &bytes[0], kAlpha);
  expect(HARNESS_NAMED(zepiYCbCrToRGB555_JPEG_8u16u_P3C3R), &words[0]);
  expect(HARNESS_NAMED(zepiYCbCrToRGB565_JPEG_8u16u_P3C3R), &words[0]);
  expect(HARNESS_NAMED(zepiYCbCrToBGR_JPEG_8u_P3C4R), &bytes[0], kAlpha);
  expect(HARNESS_NAMED(zepiYCbCrToBGR555_JPEG_8u16u_P3C3R), &words[0]);
  expect(HARNESS_NAMED(zepiYCbCrToBGR565_JPEG_8u16u_P3C3R), &words[0]);
}

TEST(YcbcrToRgb, HalfChromaChecksInOrder) {
  uint8_t src[3][64] = {}, dst[64] = {};
  const uint8_t* const planes[] = {src[0], src[1], src[2]};
  const uint8_t* const* const from = planes;
  static constexpr int32_t kSteps[] = {16, 8, 8}, kBadY[] = {0, 8, 8}, kBadCb[] = {16, -1, 8},
                           kBadCr[] = {16, 8, 0};
  const int32_t* const steps = kSteps;
  const auto expect = [&](auto exported, auto... alpha) {
    CheckOrder(exported, from, steps, &dst[0], 16, zepiSize{4, 2}, alpha...)
        .template Planes<0, 3>()
        .template Null<1>()
        .template Null<2>()
        .template Bad<1>(zepStatusBadStep, {kBadY, kBadCb, kBadCr})
        .template Step<3>()
        .template Size<4>()
        .Output(dst, sizeof(dst))
        .Run();
  };
  expect(HARNESS_NAMED(zepiYCbCr411ToRGB_JPEG_8u_P3C3R));
  expect(HARNESS_NAMED(zepiYCbCr411ToRGB_JPEG_8u_P3C4R), kAlpha);
  expect(HARNESS_NAMED(zepiYCbCr411ToBGR_JPEG_8u_P3C3R));
  expect(HARNESS_NAMED(zepiYCbCr411ToBGR_JPEG_8u_P3C4R), kAlpha);
  expect(HARNESS_NAMED(zepiYCbCr422ToRGB_JPEG_8u_P3C3R));
  expect(HARNESS_NAMED(zepiYCbCr422ToRGB_JPEG_8u_P3C4R), kAlpha);
  expect(HARNESS_NAMED(zepiYCbCr422ToBGR_JPEG_8u_P3C3R));
  expect(HARNESS_NAMED(zepiYCbCr422ToBGR_JPEG_8u_P3C4R), kAlpha);
}

}  // namespace
