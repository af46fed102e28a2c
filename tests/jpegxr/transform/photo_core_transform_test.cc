// SPDX-License-Identifier: MIT
#include "reference/photo_core_transform.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "harness/region.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Pattern;
using harness::Plane;
using harness::Random;

// Random floats of many magnitudes without infinities, for signs and zeros of all kinds of sums.
template <class T>
void Fill(Plane<T>& plane, zepiSize size, int32_t step, Pattern pattern, Random& random) {
  if constexpr (!std::is_floating_point_v<T>) {
    plane.Fill(pattern, random);
    return;
  }
  for (int32_t y = 0; y < size.height; ++y) {
    for (int32_t x = 0; x < size.width; ++x) {
      const auto mantissa = static_cast<float>(static_cast<int32_t>(random()));
      const auto value = std::ldexp(mantissa, static_cast<int>(random() % 60) - 30);
      auto* const row = reinterpret_cast<uint8_t*>(plane.base()) + ptrdiff_t{y} * step;
      std::memcpy(row + static_cast<size_t>(x) * sizeof(T), &value, sizeof(T));
    }
  }
}

// Compares export and model on the same plane with all its memory, called as (data, step, size).
template <class T, class Export, class Model>
void CompareOne(const harness::Named<Export>& exported, const Model& model, zepiSize size,
                int32_t step, Edge edge, Pattern pattern, Random& random) {
  Plane<T> got(size, step, edge), want(size, step, edge);
  Fill(got, size, step, pattern, random);
  std::memcpy(want.memory().raw(), got.memory().raw(), got.memory().bytes());
  ASSERT_EQ(exported.call(got.base(), step, size), zepStatusOk);
  ASSERT_EQ(model(want.base(), step, size), zepStatusOk);
  const auto bytes = [](auto& memory) {
    return std::vector<std::vector<uint8_t>>{{memory.raw(), memory.raw() + memory.bytes()}};
  };
  ASSERT_EQ(harness::FirstDifference(bytes(got.memory()), bytes(want.memory()), step), "")
      << exported.name << " " << size.width << "x" << size.height << " step " << step << " pattern "
      << static_cast<int>(pattern) << " seed " << harness::Seed();
}

template <class T, class Export, class Model>
void CompareRegions(const harness::Named<Export>& exported, const Model& model) {
  Random random(harness::Seed());
  for (int32_t width = 4; width <= 4 * 70; width += 4) {
    const zepiSize size = {width, 4 * (1 + static_cast<int32_t>(random() % 5))};
    const auto row = width * static_cast<int32_t>(sizeof(T));
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      for (const int32_t step : {row, row + 1, row + 64}) {
        const Pattern pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
        CompareOne<T>(exported, model, size, step, edge, pattern, random);
        if (::testing::Test::HasFailure()) return;
      }
    }
  }
}

template <class T, int kWidth, int kHeight, class Export, class Model>
void CompareAreas(const harness::Named<Export>& exported, const Model& model) {
  Random random(harness::Seed());
  const auto sized = [](auto call) {
    return [call](T* data, int32_t step, zepiSize) { return call(data, step); };
  };
  const harness::Named named{exported.name, sized(exported.call)};
  const int32_t row = kWidth * static_cast<int32_t>(sizeof(T));
  for (int i = 0; i < 40; ++i) {
    for (const Pattern pattern : harness::kPatterns) {
      for (const int32_t step : {row, row + 3, row + 32}) {
        const Edge edge = i % 2 == 0 ? Edge::kStart : Edge::kEnd;
        CompareOne<T>(named, sized(model), {kWidth, kHeight}, step, edge, pattern, random);
        if (::testing::Test::HasFailure()) return;
      }
    }
  }
}

#define COMPARE_ALL(T, region, area16x16, area8x16, area8x8) \
  CompareRegions<T>(HARNESS_PAIR(region));                   \
  CompareAreas<T, 16, 16>(HARNESS_PAIR(area16x16));          \
  CompareAreas<T, 8, 16>(HARNESS_PAIR(area8x16));            \
  CompareAreas<T, 8, 8>(HARNESS_PAIR(area8x8))

TEST(PhotoCoreTransform, Forward16EqualsModel) {
  COMPARE_ALL(int16_t, zepiPCTFwd_JPEGXR_16s_C1IR, zepiPCTFwd16x16_JPEGXR_16s_C1IR,
              zepiPCTFwd8x16_JPEGXR_16s_C1IR, zepiPCTFwd8x8_JPEGXR_16s_C1IR);
}
TEST(PhotoCoreTransform, Inverse16EqualsModel) {
  COMPARE_ALL(int16_t, zepiPCTInv_JPEGXR_16s_C1IR, zepiPCTInv16x16_JPEGXR_16s_C1IR,
              zepiPCTInv8x16_JPEGXR_16s_C1IR, zepiPCTInv8x8_JPEGXR_16s_C1IR);
}
TEST(PhotoCoreTransform, Forward32EqualsModel) {
  COMPARE_ALL(int32_t, zepiPCTFwd_JPEGXR_32s_C1IR, zepiPCTFwd16x16_JPEGXR_32s_C1IR,
              zepiPCTFwd8x16_JPEGXR_32s_C1IR, zepiPCTFwd8x8_JPEGXR_32s_C1IR);
}
TEST(PhotoCoreTransform, Inverse32EqualsModel) {
  COMPARE_ALL(int32_t, zepiPCTInv_JPEGXR_32s_C1IR, zepiPCTInv16x16_JPEGXR_32s_C1IR,
              zepiPCTInv8x16_JPEGXR_32s_C1IR, zepiPCTInv8x8_JPEGXR_32s_C1IR);
}
TEST(PhotoCoreTransform, ForwardFloatEqualsModel) {
  COMPARE_ALL(float, zepiPCTFwd_JPEGXR_32f_C1IR, zepiPCTFwd16x16_JPEGXR_32f_C1IR,
              zepiPCTFwd8x16_JPEGXR_32f_C1IR, zepiPCTFwd8x8_JPEGXR_32f_C1IR);
}
TEST(PhotoCoreTransform, InverseFloatEqualsModel) {
  COMPARE_ALL(float, zepiPCTInv_JPEGXR_32f_C1IR, zepiPCTInv16x16_JPEGXR_32f_C1IR,
              zepiPCTInv8x16_JPEGXR_32f_C1IR, zepiPCTInv8x8_JPEGXR_32f_C1IR);
}

template <class T>
std::vector<T> RandomBlocks(size_t count, Random& random) {
  std::vector<T> values(16 * count);
  for (size_t i = 0; i < values.size(); i += 16) {
    const Pattern pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
    harness::FillPattern(&values[i], 16, pattern, random);
  }
  return values;
}

// The inverse returns the input even if sums wrap.
template <class T, class Forward, class Inverse>
void ExpectReversible(Forward forward, Inverse inverse) {
  Random random(harness::Seed());
  const int32_t blocks = 4096;
  std::vector<T> values = RandomBlocks<T>(blocks, random);
  const std::vector<T> before = values;
  const int32_t step = 4 * blocks * static_cast<int32_t>(sizeof(T));
  ASSERT_EQ(forward(values.data(), step, zepiSize{4 * blocks, 4}), zepStatusOk);
  EXPECT_NE(values, before);
  ASSERT_EQ(inverse(values.data(), step, zepiSize{4 * blocks, 4}), zepStatusOk);
  EXPECT_EQ(values, before) << "seed " << harness::Seed();
}

TEST(PhotoCoreTransform, InverseReturnsTheInput) {
  ExpectReversible<int16_t>([](auto... a) { return zepiPCTFwd_JPEGXR_16s_C1IR(a...); },
                            [](auto... a) { return zepiPCTInv_JPEGXR_16s_C1IR(a...); });
  ExpectReversible<int32_t>([](auto... a) { return zepiPCTFwd_JPEGXR_32s_C1IR(a...); },
                            [](auto... a) { return zepiPCTInv_JPEGXR_32s_C1IR(a...); });
}

TEST(PhotoCoreTransform, InverseReturnsFloats) {
  Random random(harness::Seed());
  float values[256], before[256];
  for (int i = 0; i < 256; ++i) {
    values[i] = before[i] = static_cast<float>(static_cast<int32_t>(random() % 2001) - 1000);
  }
  ASSERT_EQ(zepiPCTFwd16x16_JPEGXR_32f_C1IR(values, 64), zepStatusOk);
  ASSERT_EQ(zepiPCTInv16x16_JPEGXR_32f_C1IR(values, 64), zepStatusOk);
  for (int i = 0; i < 256; ++i) ASSERT_NEAR(values[i], before[i], 0.01f) << i;
}

template <class T, class Call>
void ExpectConstant(Call forward) {
  std::vector<T> values(256, T{10});
  ASSERT_EQ(forward(values.data(), static_cast<int32_t>(16 * sizeof(T))), zepStatusOk);
  for (size_t i = 0; i < 256; ++i) {
    ASSERT_EQ(values[i], i / 16 % 4 == 0 && i % 4 == 0 ? T{40} : T{0}) << i;
  }
}

TEST(PhotoCoreTransform, ConstantBlocks) {
  ExpectConstant<int16_t>([](auto... a) { return zepiPCTFwd16x16_JPEGXR_16s_C1IR(a...); });
  ExpectConstant<int32_t>([](auto... a) { return zepiPCTFwd16x16_JPEGXR_32s_C1IR(a...); });
  ExpectConstant<float>([](auto... a) { return zepiPCTFwd16x16_JPEGXR_32f_C1IR(a...); });
}

// Rows 2^31 bytes and more from the start need addresses of 64 bits.
TEST(PhotoCoreTransform, WideRegionsAreRefused) {
  int32_t value = 7;
  EXPECT_EQ(zepiPCTFwd_JPEGXR_32s_C1IR(&value, INT32_MAX, {INT32_MAX - 3, 4}), zepStatusBadStep);
  EXPECT_EQ(zepiPCTInv_JPEGXR_32s_C1IR(&value, 16, {1 << 30, 4}), zepStatusBadStep);
  EXPECT_EQ(value, 7);
}

template <class T, class Call>
void ExpectRegionChecks(harness::Named<Call> function) {
  T values[64] = {};
  const auto row = static_cast<int32_t>(8 * sizeof(T));
  CheckOrder(function, &values[0], row, zepiSize{8, 8})
      .template Null<0>()
      .template Size<2>()
      .template Bad<1>(zepStatusBadStep, {row - 1, 0, -row, INT32_MIN})
      .Output(values, sizeof(values))
      .Run();
  CheckOrder(function, &values[0], row, zepiSize{8, 8})
      .template Null<0>()
      .template Bad<1>(zepStatusBadStep, {static_cast<int32_t>(4 * sizeof(T)), 0, -row})
      .template Bad<2>(zepStatusBadSize, {zepiSize{6, 4}, zepiSize{8, 7}, zepiSize{5, 1}})
      .Output(values, sizeof(values))
      .Run();
}

template <class T, int kWidth, class Call>
void ExpectAreaChecks(harness::Named<Call> function) {
  T values[256] = {};
  const auto row = static_cast<int32_t>(kWidth * sizeof(T));
  CheckOrder(function, &values[0], row)
      .template Null<0>()
      .template Bad<1>(zepStatusBadStep, {row - 1, 0, -row, INT32_MIN})
      .Output(values, sizeof(values))
      .Run();
}

#define EXPECT_CHECKS(T, region, area16x16, area8x16, area8x8) \
  ExpectRegionChecks<T>(HARNESS_NAMED(region));                \
  ExpectAreaChecks<T, 16>(HARNESS_NAMED(area16x16));           \
  ExpectAreaChecks<T, 8>(HARNESS_NAMED(area8x16));             \
  ExpectAreaChecks<T, 8>(HARNESS_NAMED(area8x8))

TEST(PhotoCoreTransform, ChecksInOrder) {
  EXPECT_CHECKS(int16_t, zepiPCTFwd_JPEGXR_16s_C1IR, zepiPCTFwd16x16_JPEGXR_16s_C1IR,
                zepiPCTFwd8x16_JPEGXR_16s_C1IR, zepiPCTFwd8x8_JPEGXR_16s_C1IR);
  EXPECT_CHECKS(int16_t, zepiPCTInv_JPEGXR_16s_C1IR, zepiPCTInv16x16_JPEGXR_16s_C1IR,
                zepiPCTInv8x16_JPEGXR_16s_C1IR, zepiPCTInv8x8_JPEGXR_16s_C1IR);
  EXPECT_CHECKS(int32_t, zepiPCTFwd_JPEGXR_32s_C1IR, zepiPCTFwd16x16_JPEGXR_32s_C1IR,
                zepiPCTFwd8x16_JPEGXR_32s_C1IR, zepiPCTFwd8x8_JPEGXR_32s_C1IR);
  EXPECT_CHECKS(int32_t, zepiPCTInv_JPEGXR_32s_C1IR, zepiPCTInv16x16_JPEGXR_32s_C1IR,
                zepiPCTInv8x16_JPEGXR_32s_C1IR, zepiPCTInv8x8_JPEGXR_32s_C1IR);
  EXPECT_CHECKS(float, zepiPCTFwd_JPEGXR_32f_C1IR, zepiPCTFwd16x16_JPEGXR_32f_C1IR,
                zepiPCTFwd8x16_JPEGXR_32f_C1IR, zepiPCTFwd8x8_JPEGXR_32f_C1IR);
  EXPECT_CHECKS(float, zepiPCTInv_JPEGXR_32f_C1IR, zepiPCTInv16x16_JPEGXR_32f_C1IR,
                zepiPCTInv8x16_JPEGXR_32f_C1IR, zepiPCTInv8x8_JPEGXR_32f_C1IR);
}

}  // namespace
