// SPDX-License-Identifier: MIT
#include "reference/component_transforms.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <vector>

#include "harness/region.h"

namespace {

using harness::CheckOrder;
using harness::CompareRegions;
using harness::Interleaved;
using harness::Planar;
using harness::Random;

// Makes a function from planes to planes of one that works in place: copies the samples, then calls
// it.
template <class T, class Call>
zepStatus OnCopy(const Call& in_place, const T* const* src, int32_t src_step, T* const* dst,
                 int32_t dst_step, zepiSize size) {
  for (int plane = 0; plane < 3; ++plane) {
    for (int32_t y = 0; y < size.height; ++y) {
      std::memcpy(reinterpret_cast<uint8_t*>(dst[plane]) + ptrdiff_t{dst_step} * y,
                  reinterpret_cast<const uint8_t*>(src[plane]) + ptrdiff_t{src_step} * y,
                  static_cast<size_t>(size.width) * sizeof(T));
    }
  }
  return in_place(dst, dst_step, size);
}

template <class T, class Export, class Model>
void CompareInPlace(harness::Named<Export> exported, Model model) {
  const auto on_copy = [](auto call) {
    return [call](const T* const* src, int32_t src_step, T* const* dst, int32_t dst_step,
                  zepiSize size) { return OnCopy(call, src, src_step, dst, dst_step, size); };
  };
  CompareRegions<Planar<T, 3>, Planar<T, 3>>(harness::Named{exported.name, on_copy(exported.call)},
                                             on_copy(model));
}

TEST(ComponentTransforms, ReversibleEqualsModel) {
  CompareInPlace<int16_t>(HARNESS_PAIR(zepiRCTFwd_JPEG2K_16s_P3IR));
  CompareInPlace<int16_t>(HARNESS_PAIR(zepiRCTInv_JPEG2K_16s_P3IR));
  CompareInPlace<int32_t>(HARNESS_PAIR(zepiRCTFwd_JPEG2K_32s_P3IR));
  CompareInPlace<int32_t>(HARNESS_PAIR(zepiRCTInv_JPEG2K_32s_P3IR));
  CompareRegions<Interleaved<int16_t, 3>, Planar<int16_t, 3>>(
      HARNESS_PAIR(zepiRCTFwd_JPEG2K_16s_C3P3R));
  CompareRegions<Interleaved<int32_t, 3>, Planar<int32_t, 3>>(
      HARNESS_PAIR(zepiRCTFwd_JPEG2K_32s_C3P3R));
  CompareRegions<Planar<int16_t, 3>, Interleaved<int16_t, 3>>(
      HARNESS_PAIR(zepiRCTInv_JPEG2K_16s_P3C3R));
  CompareRegions<Planar<int32_t, 3>, Interleaved<int32_t, 3>>(
      HARNESS_PAIR(zepiRCTInv_JPEG2K_32s_P3C3R));
}

TEST(ComponentTransforms, IrreversibleEqualsModel) {
  CompareInPlace<int16_t>(HARNESS_PAIR(zepiICTFwd_JPEG2K_16s_P3IR));
  CompareInPlace<int16_t>(HARNESS_PAIR(zepiICTInv_JPEG2K_16s_P3IR));
  CompareInPlace<int32_t>(HARNESS_PAIR(zepiICTFwd_JPEG2K_32s_P3IR));
  CompareInPlace<int32_t>(HARNESS_PAIR(zepiICTInv_JPEG2K_32s_P3IR));
  CompareInPlace<float>(HARNESS_PAIR(zepiICTFwd_JPEG2K_32f_P3IR));
  CompareInPlace<float>(HARNESS_PAIR(zepiICTInv_JPEG2K_32f_P3IR));
  CompareRegions<Interleaved<float, 3>, Planar<float, 3>>(
      HARNESS_PAIR(zepiICTFwd_JPEG2K_32f_C3P3R));
  CompareRegions<Planar<float, 3>, Interleaved<float, 3>>(
      HARNESS_PAIR(zepiICTInv_JPEG2K_32f_P3C3R));
}

// Numbers, infinities and NaNs of any payload.
std::vector<float> WithNans(size_t count, Random& random) {
  std::vector<float> values(count);
  for (float& v : values) {
    uint32_t bits = static_cast<uint32_t>(random()) << 9;
    const auto kind = random() % 8;
    if (kind == 0) bits |= 0x7F800001;
    if (kind == 1) bits = (bits & 0x80000000) | 0x7F800000;
    std::memcpy(&v, &bits, 4);
    if (kind > 1) v = static_cast<float>(static_cast<int>(random() % 2000) - 1000) / 8;
  }
  return values;
}

// The results that are NaN are the same everywhere, but not their payload. All other results have
// the same bits.
TEST(ComponentTransforms, NansAreWhereTheModelHasThem) {
  constexpr size_t kCount = 611;
  Random random(harness::Seed());
  int nans = 0;
  const auto compare = [&](auto exported, auto model) {
    std::vector<float> got[3], want[3];
    for (size_t c = 0; c < 3; ++c) got[c] = want[c] = WithNans(kCount, random);
    float* const got_planes[3] = {got[0].data(), got[1].data(), got[2].data()};
    float* const want_planes[3] = {want[0].data(), want[1].data(), want[2].data()};
    const zepiSize size = {static_cast<int32_t>(kCount), 1};
    ASSERT_EQ(exported(got_planes, 4 * size.width, size), zepStatusOk);
    model(want_planes, 4 * size.width, size);
    for (size_t c = 0; c < 3; ++c) {
      for (size_t i = 0; i < kCount; ++i) {
        ASSERT_EQ(std::isnan(got[c][i]), std::isnan(want[c][i])) << c << " " << i;
        nans += std::isnan(want[c][i]) ? 1 : 0;
        const bool is_same = std::memcmp(&got[c][i], &want[c][i], 4) == 0;
        ASSERT_TRUE(is_same || std::isnan(want[c][i])) << c << " " << i;
      }
    }
  };
  compare([](auto... args) { return ::zepiICTFwd_JPEG2K_32f_P3IR(args...); },
          [](auto... args) { return reference::zepiICTFwd_JPEG2K_32f_P3IR(args...); });
  compare([](auto... args) { return ::zepiICTInv_JPEG2K_32f_P3IR(args...); },
          [](auto... args) { return reference::zepiICTInv_JPEG2K_32f_P3IR(args...); });
  EXPECT_GT(nans, 200);
}

// The inverse for 16 bits by its formula, saturated.
int16_t Sample(int32_t y, int32_t sum) {
  return static_cast<int16_t>(std::clamp(y + ((sum + 8192) >> 14), -32768, 32767));
}

constexpr size_t kValues = 65536;

// Compares rows of pixels of the inverse for 16 bits with the formula.
class Inverse16 {
 public:
  Inverse16() {
    for (auto& plane : got_) plane.resize(kValues);
    for (auto& plane : want_) plane.resize(kValues);
  }

  // Fills each component with a function of the pixel's index.
  template <class Y, class Cb, class Cr>
  void Expect(Y y, Cb cb, Cr cr) {
    for (uint32_t i = 0; i < kValues; ++i) {
      const auto luma = static_cast<int16_t>(y(i));
      const auto blue = static_cast<int16_t>(cb(i));
      const auto red = static_cast<int16_t>(cr(i));
      got_[0][i] = luma;
      got_[1][i] = blue;
      got_[2][i] = red;
      want_[0][i] = Sample(luma, 22970 * red);
      want_[1][i] = Sample(luma, -11700 * red - 5638 * blue);
      want_[2][i] = Sample(luma, 29032 * blue);
    }
    int16_t* pointers[3] = {got_[0].data(), got_[1].data(), got_[2].data()};
    ASSERT_EQ(zepiICTInv_JPEG2K_16s_P3IR(pointers, 2 * kValues, {kValues, 1}), zepStatusOk);
    for (int i = 0; i < 3; ++i) {
      ASSERT_EQ(harness::FirstDifference(got_[i], want_[i]), "")
          << "component " << i << " Cr " << cr(0) << " Cb " << cb(0);
    }
  }

 private:
  std::vector<int16_t> got_[3], want_[3];
};

// All pairs of Y and a chroma value, and of both chroma values; in a sample, some values with all
// others.
TEST(ComponentTransforms, IrreversibleInverse16_Exhaustive) {
  Random random(harness::Seed());
  Inverse16 inverse;
  const auto all = [](uint32_t i) { return i; };
  for (uint32_t a = 0; a < kValues && !HasFatalFailure();) {
    const auto one = [a](uint32_t) { return a; };
    inverse.Expect(
        all, [a](uint32_t) { return a ^ 0x5A5A; }, one);
    inverse.Expect([a](uint32_t) { return a * 40503; }, all, one);
    a += harness::Exhaustive() ? 1 : 1 + static_cast<uint32_t>(random() % 4096);
  }
}

// Three planes of `count` values in a row.
template <class T>
struct Row {
  explicit Row(int32_t count) : width(count) {
    for (auto& plane : planes) plane.resize(static_cast<size_t>(count));
  }
  int32_t width;
  std::vector<T> planes[3];
};

TEST(ComponentTransforms, ReversibleReturnsTheInput) {
  Random random(harness::Seed());
  Row<int32_t> pixels(4099);
  for (auto& plane : pixels.planes) {
    for (int32_t& value : plane) value = static_cast<int32_t>(random()) / 4;
  }
  const Row<int32_t> before = pixels;
  int32_t* planes[3] = {pixels.planes[0].data(), pixels.planes[1].data(), pixels.planes[2].data()};
  const zepiSize size = {pixels.width, 1};
  ASSERT_EQ(zepiRCTFwd_JPEG2K_32s_P3IR(planes, 4 * pixels.width, size), zepStatusOk);
  EXPECT_FALSE(pixels.planes[0] == before.planes[0]);
  ASSERT_EQ(zepiRCTInv_JPEG2K_32s_P3IR(planes, 4 * pixels.width, size), zepStatusOk);
  for (int i = 0; i < 3; ++i)
    EXPECT_EQ(harness::FirstDifference(pixels.planes[i], before.planes[i]), "") << i;
}

// Passes one pixel through a function in place.
template <class T, class Call>
std::vector<T> One(Call call, T c0, T c1, T c2) {
  T values[3] = {c0, c1, c2};
  T* planes[3] = {&values[0], &values[1], &values[2]};
  EXPECT_EQ(call(planes, static_cast<int32_t>(sizeof(T)), zepiSize{1, 1}), zepStatusOk);
  return {values, values + 3};
}
#define ONE(T, function, ...) One<T>([](auto... args) { return function(args...); }, __VA_ARGS__)

TEST(ComponentTransforms, KnownPixels) {
  using V16 = std::vector<int16_t>;
  using V32 = std::vector<int32_t>;
  EXPECT_EQ(ONE(int16_t, zepiRCTFwd_JPEG2K_16s_P3IR, 100, -3, 50), (V16{36, 53, 103}));
  EXPECT_EQ(ONE(int16_t, zepiRCTInv_JPEG2K_16s_P3IR, 36, 53, 103), (V16{100, -3, 50}));
  EXPECT_EQ(ONE(int16_t, zepiICTFwd_JPEG2K_16s_P3IR, 32767, 32767, 32767), (V16{32767, 0, 0}));
  EXPECT_EQ(ONE(int16_t, zepiICTFwd_JPEG2K_16s_P3IR, -32768, -32768, -32768), (V16{-32768, 0, 0}));
  // B - Y is 65535 - 7471, whose low 16 bits are -7472.
  EXPECT_EQ(ONE(int16_t, zepiICTFwd_JPEG2K_16s_P3IR, -32768, -32768, 32767)[1], -4217);
  EXPECT_EQ(ONE(int16_t, zepiICTInv_JPEG2K_16s_P3IR, 32000, 0, 1000), (V16{32767, 31286, 32000}));
  EXPECT_EQ(ONE(int32_t, zepiICTFwd_JPEG2K_32s_P3IR, 255, 0, 0), (V32{76, -43, 128}));
  EXPECT_EQ(ONE(int32_t, zepiICTInv_JPEG2K_32s_P3IR, 76, -43, 128), (V32{255, -1, 0}));
  EXPECT_EQ(ONE(int32_t, zepiICTFwd_JPEG2K_32s_P3IR, INT32_MAX, INT32_MAX, INT32_MAX)[0],
            INT32_MAX);
}

// All triples of values near the limits of 16 and 32 bits, where other arithmetic begins: one of
// them among small values, and all together.
TEST(ComponentTransforms, FixedPointAroundItsLimits) {
  std::vector<int32_t> limits = {INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX};
  for (const int32_t limit :
       {-65536, -32768, -16384, 0, 16384, 32767, 65536, -(1 << 30), 1 << 30}) {
    for (const int32_t offset : {-1, 0, 1}) limits.push_back(limit + offset);
  }
  constexpr size_t kCount = 64;
  const auto compare = [&](auto exported, auto model) {
    std::vector<int32_t> all[3];
    for (const int32_t a : limits) {
      for (const int32_t b : limits) {
        for (const int32_t c : limits) {
          const int32_t triple[3] = {a, b, c};
          int32_t got[3][kCount] = {}, want[3][kCount] = {};
          for (size_t i = 0; i < 3; ++i) {
            got[i][37] = want[i][37] = triple[i];
            all[i].push_back(triple[i]);
          }
          int32_t* const got_planes[3] = {got[0], got[1], got[2]};
          int32_t* const want_planes[3] = {want[0], want[1], want[2]};
          const zepiSize size = {static_cast<int32_t>(kCount), 1};
          ASSERT_EQ(exported(got_planes, 4 * size.width, size), zepStatusOk);
          model(want_planes, 4 * size.width, size);
          ASSERT_EQ(std::memcmp(got, want, sizeof(got)), 0) << a << " " << b << " " << c;
        }
      }
    }
    std::vector<int32_t> want[3] = {all[0], all[1], all[2]};
    int32_t* const got_planes[3] = {all[0].data(), all[1].data(), all[2].data()};
    int32_t* const want_planes[3] = {want[0].data(), want[1].data(), want[2].data()};
    const zepiSize size = {static_cast<int32_t>(all[0].size()), 1};
    ASSERT_EQ(exported(got_planes, 4 * size.width, size), zepStatusOk);
    model(want_planes, 4 * size.width, size);
    for (size_t i = 0; i < 3; ++i) EXPECT_EQ(all[i], want[i]) << i;
  };
  compare([](auto... args) { return ::zepiICTFwd_JPEG2K_32s_P3IR(args...); },
          [](auto... args) { return reference::zepiICTFwd_JPEG2K_32s_P3IR(args...); });
  compare([](auto... args) { return ::zepiICTInv_JPEG2K_32s_P3IR(args...); },
          [](auto... args) { return reference::zepiICTInv_JPEG2K_32s_P3IR(args...); });
}

template <class T, class Call>
void ExpectChecksInPlace(harness::Named<Call> function) {
  T planes[3][8] = {};
  T* pointers[3] = {planes[0], planes[1], planes[2]};
  T* const* const argument = pointers;
  CheckOrder(function, argument, static_cast<int32_t>(8 * sizeof(T)), zepiSize{8, 1})
      .template Planes<0, 3>()
      .template Step<1>()
      .template Size<2>()
      .Output(planes, sizeof(planes))
      .Run();
}

template <class T, class Call>
void ExpectChecksToPlanes(harness::Named<Call> function) {
  const T pixels[24] = {};
  T planes[3][8] = {};
  T* pointers[3] = {planes[0], planes[1], planes[2]};
  T* const* const argument = pointers;
  CheckOrder(function, &pixels[0], static_cast<int32_t>(sizeof(pixels)), argument,
             static_cast<int32_t>(8 * sizeof(T)), zepiSize{8, 1})
      .template Null<0>()
      .template Planes<2, 3>()
      .template Step<1>()
      .template Step<3>()
      .template Size<4>()
      .Output(planes, sizeof(planes))
      .Run();
}

template <class T, class Call>
void ExpectChecksToPixels(harness::Named<Call> function) {
  T pixels[24] = {};
  const T planes[3][8] = {};
  const T* pointers[3] = {planes[0], planes[1], planes[2]};
  const T* const* const argument = pointers;
  CheckOrder(function, argument, static_cast<int32_t>(8 * sizeof(T)), &pixels[0],
             static_cast<int32_t>(sizeof(pixels)), zepiSize{8, 1})
      .template Planes<0, 3>()
      .template Null<2>()
      .template Step<1>()
      .template Step<3>()
      .template Size<4>()
      .Output(pixels, sizeof(pixels))
      .Run();
}

TEST(ComponentTransforms, ChecksInOrder) {
  ExpectChecksInPlace<int16_t>(HARNESS_NAMED(zepiRCTFwd_JPEG2K_16s_P3IR));
  ExpectChecksInPlace<int16_t>(HARNESS_NAMED(zepiRCTInv_JPEG2K_16s_P3IR));
  ExpectChecksInPlace<int32_t>(HARNESS_NAMED(zepiRCTFwd_JPEG2K_32s_P3IR));
  ExpectChecksInPlace<int32_t>(HARNESS_NAMED(zepiRCTInv_JPEG2K_32s_P3IR));
  ExpectChecksInPlace<int16_t>(HARNESS_NAMED(zepiICTFwd_JPEG2K_16s_P3IR));
  ExpectChecksInPlace<int16_t>(HARNESS_NAMED(zepiICTInv_JPEG2K_16s_P3IR));
  ExpectChecksInPlace<int32_t>(HARNESS_NAMED(zepiICTFwd_JPEG2K_32s_P3IR));
  ExpectChecksInPlace<int32_t>(HARNESS_NAMED(zepiICTInv_JPEG2K_32s_P3IR));
  ExpectChecksInPlace<float>(HARNESS_NAMED(zepiICTFwd_JPEG2K_32f_P3IR));
  ExpectChecksInPlace<float>(HARNESS_NAMED(zepiICTInv_JPEG2K_32f_P3IR));
  ExpectChecksToPlanes<int16_t>(HARNESS_NAMED(zepiRCTFwd_JPEG2K_16s_C3P3R));
  ExpectChecksToPlanes<int32_t>(HARNESS_NAMED(zepiRCTFwd_JPEG2K_32s_C3P3R));
  ExpectChecksToPlanes<float>(HARNESS_NAMED(zepiICTFwd_JPEG2K_32f_C3P3R));
  ExpectChecksToPixels<int16_t>(HARNESS_NAMED(zepiRCTInv_JPEG2K_16s_P3C3R));
  ExpectChecksToPixels<int32_t>(HARNESS_NAMED(zepiRCTInv_JPEG2K_32s_P3C3R));
  ExpectChecksToPixels<float>(HARNESS_NAMED(zepiICTInv_JPEG2K_32f_P3C3R));
}

}  // namespace
