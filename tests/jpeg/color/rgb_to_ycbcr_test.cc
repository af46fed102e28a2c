// SPDX-License-Identifier: MIT
#include "reference/rgb_to_ycbcr.h"

#include <gtest/gtest.h>

#include <vector>

#include "harness/region.h"
#include "zepcore.h"

namespace {

using harness::CheckOrder;
using harness::CompareRegions;
using harness::Interleaved;
using harness::Named;
using harness::Planar;

using C1 = Interleaved<uint8_t, 1>;
using C3 = Interleaved<uint8_t, 3>;
using C4 = Interleaved<uint8_t, 4>;
using Words = Interleaved<uint16_t, 1>;
using P3 = Planar<uint8_t, 3>;
using P4 = Planar<uint8_t, 4>;
using P422 = Planar<uint8_t, 3, 2, 1>;
using P411 = Planar<uint8_t, 3, 2, 2>;
constexpr harness::Takes kAnyStep = {true};
constexpr harness::Takes kGroups422 = {true, 1, {2, 1}};
constexpr harness::Takes kGroups411 = {true, 1, {2, 2}};

TEST(RgbToYcbcr, EqualsModel) {
  CompareRegions<C3, P3>(HARNESS_PAIR(zepiRGBToYCbCr_JPEG_8u_C3P3R));
  CompareRegions<C3, P3>(HARNESS_PAIR(zepiBGRToYCbCr_JPEG_8u_C3P3R));
  CompareRegions<P3, P3>(HARNESS_PAIR(zepiRGBToYCbCr_JPEG_8u_P3R));
  CompareRegions<C4, P3>(HARNESS_PAIR(zepiRGBToYCbCr_JPEG_8u_C4P3R), kAnyStep);
  CompareRegions<C4, P3>(HARNESS_PAIR(zepiBGRToYCbCr_JPEG_8u_C4P3R), kAnyStep);
}

TEST(RgbToYcbcr, LuminanceEqualsModel) {
  CompareRegions<C3, C1>(HARNESS_PAIR(zepiRGBToY_JPEG_8u_C3C1R));
  CompareRegions<C3, C1>(HARNESS_PAIR(zepiBGRToY_JPEG_8u_C3C1R));
  CompareRegions<P3, C1>(HARNESS_PAIR(zepiRGBToY_JPEG_8u_P3C1R));
}

TEST(RgbToYcbcr, CmykEqualsModel) {
  CompareRegions<C4, P4>(HARNESS_PAIR(zepiCMYKToYCCK_JPEG_8u_C4P4R));
  CompareRegions<P4, P4>(HARNESS_PAIR(zepiCMYKToYCCK_JPEG_8u_P4R));
}

TEST(RgbToYcbcr, PackedEqualsModel) {
  CompareRegions<Words, P3>(HARNESS_PAIR(zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R));
  CompareRegions<Words, P3>(HARNESS_PAIR(zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R));
  CompareRegions<Words, P3>(HARNESS_PAIR(zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R));
  CompareRegions<Words, P3>(HARNESS_PAIR(zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R));
}

TEST(RgbToYcbcr, ReducingEqualsModel) {
  CompareRegions<C3, P411>(HARNESS_PAIR(zepiRGBToYCbCr411_JPEG_8u_C3P3R), kGroups411);
  CompareRegions<C4, P411>(HARNESS_PAIR(zepiRGBToYCbCr411_JPEG_8u_C4P3R), kGroups411);
  CompareRegions<C3, P411>(HARNESS_PAIR(zepiBGRToYCbCr411_JPEG_8u_C3P3R), kGroups411);
  CompareRegions<C4, P411>(HARNESS_PAIR(zepiBGRToYCbCr411_JPEG_8u_C4P3R), kGroups411);
  CompareRegions<C3, P422>(HARNESS_PAIR(zepiRGBToYCbCr422_JPEG_8u_C3P3R), kGroups422);
  CompareRegions<C4, P422>(HARNESS_PAIR(zepiRGBToYCbCr422_JPEG_8u_C4P3R), kGroups422);
  CompareRegions<C3, P422>(HARNESS_PAIR(zepiBGRToYCbCr422_JPEG_8u_C3P3R), kGroups422);
  CompareRegions<C4, P422>(HARNESS_PAIR(zepiBGRToYCbCr422_JPEG_8u_C4P3R), kGroups422);
}

// All colours: in rows of 263 pixels, 256 take the 15-bit rule and the last 7 the 14-bit rule.
TEST(RgbToYcbcr, AllColours_Exhaustive) {
  constexpr int32_t kWidth = 263;
  std::vector<uint8_t> rgb(kWidth * 3);
  std::vector<uint8_t> got(3 * kWidth), want(3 * kWidth);
  uint8_t* const got_planes[] = {&got[0], &got[kWidth], &got[2 * kWidth]};
  uint8_t* const want_planes[] = {&want[0], &want[kWidth], &want[2 * kWidth]};
  const int32_t stride = harness::Exhaustive() ? 1 : 37;
  for (int32_t red_green = 0; red_green < 65536; red_green += stride) {
    for (int32_t x = 0; x < kWidth; ++x) {
      rgb[static_cast<size_t>(3 * x)] = static_cast<uint8_t>(red_green >> 8);
      rgb[static_cast<size_t>(3 * x + 1)] = static_cast<uint8_t>(red_green);
      // The last 7 pixels take turns, so that they get all values too.
      rgb[static_cast<size_t>(3 * x + 2)] =
          static_cast<uint8_t>(x < 256 ? x : (x - 256) * 37 + red_green);
    }
    const zepiSize size = {kWidth, 1};
    zepiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), kWidth * 3, got_planes, kWidth, size);
    reference::zepiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), kWidth * 3, want_planes, kWidth, size);
    ASSERT_EQ(harness::FirstDifference(got, want), "") << "red, green " << red_green;
  }
}

TEST(RgbToYcbcr, AllColoursBy14Bits_Exhaustive) {
  constexpr int32_t kWidth = 256;
  std::vector<uint8_t> cmyk(kWidth * 4);
  std::vector<uint8_t> got(4 * kWidth), want(4 * kWidth);
  uint8_t* const got_planes[] = {&got[0], &got[kWidth], &got[2 * kWidth], &got[3 * kWidth]};
  uint8_t* const want_planes[] = {&want[0], &want[kWidth], &want[2 * kWidth], &want[3 * kWidth]};
  const int32_t stride = harness::Exhaustive() ? 1 : 37;
  for (int32_t first_two = 0; first_two < 65536; first_two += stride) {
    for (int32_t x = 0; x < kWidth; ++x) {
      auto* pixel = &cmyk[static_cast<size_t>(4 * x)];
      pixel[0] = static_cast<uint8_t>(first_two >> 8);
      pixel[1] = static_cast<uint8_t>(first_two);
      pixel[2] = static_cast<uint8_t>(x);
      pixel[3] = static_cast<uint8_t>(x * 3);
    }
    const zepiSize size = {kWidth, 1};
    zepiCMYKToYCCK_JPEG_8u_C4P4R(cmyk.data(), kWidth * 4, got_planes, kWidth, size);
    reference::zepiCMYKToYCCK_JPEG_8u_C4P4R(cmyk.data(), kWidth * 4, want_planes, kWidth, size);
    ASSERT_EQ(harness::FirstDifference(got, want), "") << "first two inks " << first_two;
  }
}

template <class Call, class Model>
void AllWords(const Named<Call>& exported, const Model& model) {
  std::vector<uint16_t> words(65536);
  for (size_t i = 0; i < words.size(); ++i) words[i] = static_cast<uint16_t>(i);
  std::vector<uint8_t> got(3 * 65536), want(3 * 65536);
  uint8_t* const got_planes[] = {&got[0], &got[65536], &got[2 * 65536]};
  uint8_t* const want_planes[] = {&want[0], &want[65536], &want[2 * 65536]};
  const zepiSize size = {65536, 1};
  const uint16_t* const src = words.data();
  ASSERT_EQ(exported.call(src, 131072, &got_planes[0], 65536, size), zepStatusOk);
  model(src, 131072, &want_planes[0], 65536, size);
  EXPECT_EQ(harness::FirstDifference(got, want, 65536), "") << exported.name;
}

TEST(RgbToYcbcr, AllPackedWords) {
  AllWords(HARNESS_PAIR(zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R));
  AllWords(HARNESS_PAIR(zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R));
  AllWords(HARNESS_PAIR(zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R));
  AllWords(HARNESS_PAIR(zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R));
}

// A row of 8 pixels takes the 15-bit rule, one of 4 the 14-bit rule.
TEST(RgbToYcbcr, EdgesOfTheRules) {
  const std::vector<uint8_t> four = {255, 255, 255, 0, 0, 0, 0, 0, 1, 0, 0, 255};
  std::vector<uint8_t> eight = four;
  eight.insert(eight.end(), four.begin(), four.end());
  for (const auto& rgb : {eight, four}) {
    const auto width = static_cast<int32_t>(rgb.size() / 3);
    uint8_t y[8], cb[8], cr[8];
    uint8_t* const planes[] = {y, cb, cr};
    ASSERT_EQ(zepiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), 3 * width, planes, 8, {width, 1}),
              zepStatusOk);
    for (int32_t x = 0; x < width; x += 4) {
      // White and black are exact. (0, 0, 1) has Y = 0, and a Cb one above that of black: the sum
      // is exactly 129 units. Pure blue gives 256 units of Cb, which are clamped.
      EXPECT_EQ(std::vector<int>(y + x, y + x + 4), (std::vector<int>{255, 0, 0, 29})) << width;
      EXPECT_EQ(std::vector<int>(cb + x, cb + x + 4), (std::vector<int>{128, 128, 129, 255}));
      EXPECT_EQ(std::vector<int>(cr + x, cr + x + 4), (std::vector<int>{128, 128, 128, 107}));
    }
  }
}

TEST(RgbToYcbcr, ReducingWarnsOfOddSizes) {
  std::vector<uint8_t> rgb(3 * 4 * 3, 7), planes(3 * 16);
  uint8_t* const dst[] = {&planes[0], &planes[16], &planes[32]};
  EXPECT_EQ(zepiRGBToYCbCr411_JPEG_8u_C3P3R(rgb.data(), 9, dst, 4, {3, 4}),
            zepStatusOddSizeWarning);
  EXPECT_EQ(zepiRGBToYCbCr411_JPEG_8u_C3P3R(rgb.data(), 9, dst, 4, {2, 3}),
            zepStatusOddSizeWarning);
  EXPECT_EQ(zepiRGBToYCbCr411_JPEG_8u_C3P3R(rgb.data(), 9, dst, 4, {1, 4}), zepStatusBadSize);
  EXPECT_EQ(zepiRGBToYCbCr422_JPEG_8u_C3P3R(rgb.data(), 9, dst, 4, {2, 1}), zepStatusOk);
  EXPECT_EQ(zepiRGBToYCbCr422_JPEG_8u_C3P3R(rgb.data(), 9, dst, 4, {3, 1}),
            zepStatusOddSizeWarning);
  EXPECT_EQ(zepiRGBToYCbCr411_JPEG_8u_C3P3R(rgb.data(), 0, dst, 0, {2, 2}), zepStatusOk);
}

TEST(RgbToYcbcr, ThreadsDoNotMatter) {
  for (const zepiSize size : {zepiSize{8192, 1}, zepiSize{8193, 1}, zepiSize{640, 480}}) {
    std::vector<uint8_t> rgb(static_cast<size_t>(size.width * size.height * 3));
    harness::Random random(harness::Seed());
    harness::FillPattern(rgb.data(), rgb.size(), harness::Pattern::kRandom, random);
    const size_t plane = rgb.size() / 3;
    std::vector<uint8_t> serial(rgb.size()), parallel(rgb.size());
    zepSetNumThreads(1);
    uint8_t* const a[] = {&serial[0], &serial[plane], &serial[2 * plane]};
    zepiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), size.width * 3, a, size.width, size);
    zepSetNumThreads(5);
    uint8_t* const b[] = {&parallel[0], &parallel[plane], &parallel[2 * plane]};
    zepiRGBToYCbCr_JPEG_8u_C3P3R(rgb.data(), size.width * 3, b, size.width, size);
    zepSetNumThreads(0);
    EXPECT_EQ(harness::FirstDifference(parallel, serial, static_cast<size_t>(size.width)), "");
  }
}

// The buffers to which the pointers of the tested calls lead.
struct Buffers {
  uint8_t src[4][256] = {};
  uint16_t words[64] = {};
  uint8_t dst[4][256] = {};
  const uint8_t* src_planes[4] = {src[0], src[1], src[2], src[3]};
  uint8_t* dst_planes[4] = {dst[0], dst[1], dst[2], dst[3]};
};

constexpr zepiSize kSize = {4, 2};

TEST(RgbToYcbcr, ChecksInOrder) {
  Buffers b;
  const uint8_t* const* const planes = b.src_planes;
  uint8_t* const* const dst = b.dst_planes;
  // The pointers come first, then the steps and the size.
  const auto expect = [&](auto& pointers) {
    pointers.template Step<1>().template Step<3>().template Size<4>().Output(b.dst, sizeof(b.dst));
    pointers.Run();
  };
  const auto to_planes = [&](auto exported, auto* src) {
    return CheckOrder(exported, src, 32, dst, 8, kSize);
  };
  const auto to_y = [&](auto exported, auto* src) {
    return CheckOrder(exported, src, 32, &b.dst[0][0], 8, kSize);
  };
  const uint8_t* const src = b.src[0];
  const uint16_t* const words = b.words;
  expect(to_planes(HARNESS_NAMED(zepiRGBToYCbCr_JPEG_8u_C3P3R), src).Null<0>().Planes<2, 3>());
  expect(to_planes(HARNESS_NAMED(zepiBGRToYCbCr_JPEG_8u_C3P3R), src).Null<0>().Planes<2, 3>());
  expect(
      to_planes(HARNESS_NAMED(zepiRGB555ToYCbCr_JPEG_16u8u_C3P3R), words).Null<0>().Planes<2, 3>());
  expect(
      to_planes(HARNESS_NAMED(zepiBGR555ToYCbCr_JPEG_16u8u_C3P3R), words).Null<0>().Planes<2, 3>());
  expect(
      to_planes(HARNESS_NAMED(zepiRGB565ToYCbCr_JPEG_16u8u_C3P3R), words).Null<0>().Planes<2, 3>());
  expect(
      to_planes(HARNESS_NAMED(zepiBGR565ToYCbCr_JPEG_16u8u_C3P3R), words).Null<0>().Planes<2, 3>());
  expect(to_planes(HARNESS_NAMED(zepiCMYKToYCCK_JPEG_8u_C4P4R), src).Null<0>().Planes<2, 4>());
  expect(
      to_planes(HARNESS_NAMED(zepiRGBToYCbCr_JPEG_8u_P3R), planes).Planes<0, 3>().Planes<2, 3>());
  expect(
      to_planes(HARNESS_NAMED(zepiCMYKToYCCK_JPEG_8u_P4R), planes).Planes<0, 4>().Planes<2, 4>());
  expect(to_y(HARNESS_NAMED(zepiRGBToY_JPEG_8u_C3C1R), src).Null<0>().Null<2>());
  expect(to_y(HARNESS_NAMED(zepiBGRToY_JPEG_8u_C3C1R), src).Null<0>().Null<2>());
  expect(to_y(HARNESS_NAMED(zepiRGBToY_JPEG_8u_P3C1R), planes).Planes<0, 3>().Null<2>());
}

// These functions do not check steps.
template <class Call>
void StepsNotChecked(const Named<Call>& function, int min_width, int min_height, Buffers& b) {
  CheckOrder(function, static_cast<const uint8_t*>(b.src[0]), 0,
             static_cast<uint8_t* const*>(b.dst_planes), 0, kSize)
      .template Null<0>()
      .template Planes<2, 3>()
      .template Size<4>(min_width, min_height)
      .Output(b.dst, sizeof(b.dst))
      .Run();
}

TEST(RgbToYcbcr, ChecksInOrderWithoutSteps) {
  Buffers b;
  StepsNotChecked(HARNESS_NAMED(zepiRGBToYCbCr_JPEG_8u_C4P3R), 1, 1, b);
  StepsNotChecked(HARNESS_NAMED(zepiBGRToYCbCr_JPEG_8u_C4P3R), 1, 1, b);
  StepsNotChecked(HARNESS_NAMED(zepiRGBToYCbCr411_JPEG_8u_C3P3R), 2, 2, b);
  StepsNotChecked(HARNESS_NAMED(zepiRGBToYCbCr411_JPEG_8u_C4P3R), 2, 2, b);
  StepsNotChecked(HARNESS_NAMED(zepiBGRToYCbCr411_JPEG_8u_C3P3R), 2, 2, b);
  StepsNotChecked(HARNESS_NAMED(zepiBGRToYCbCr411_JPEG_8u_C4P3R), 2, 2, b);
  StepsNotChecked(HARNESS_NAMED(zepiRGBToYCbCr422_JPEG_8u_C3P3R), 2, 1, b);
  StepsNotChecked(HARNESS_NAMED(zepiRGBToYCbCr422_JPEG_8u_C4P3R), 2, 1, b);
  StepsNotChecked(HARNESS_NAMED(zepiBGRToYCbCr422_JPEG_8u_C3P3R), 2, 1, b);
  StepsNotChecked(HARNESS_NAMED(zepiBGRToYCbCr422_JPEG_8u_C4P3R), 2, 1, b);
}

}  // namespace
