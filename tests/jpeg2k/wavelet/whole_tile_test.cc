// SPDX-License-Identifier: MIT
#include <algorithm>

#include "jpeg2k/wavelet/wavelet_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;
using harness::Pattern;
using harness::Random;
using wavelet_cases::ExpectSame;
using wavelet_cases::Plane;

template <class Family>
class WaveletWholeTile : public ::testing::Test {};
using Families = ::testing::Types<wavelet_cases::B53_16s, wavelet_cases::B53_32s,
                                  wavelet_cases::D97_16s, wavelet_cases::D97_32s>;
TYPED_TEST_SUITE(WaveletWholeTile, Families);

std::string Describe(const char* name, const zepiRect& tile) {
  return std::string(name) + " " + std::to_string(tile.width) + "x" + std::to_string(tile.height) +
         " at " + std::to_string(tile.x) + ", " + std::to_string(tile.y);
}

// The four planes of a tile with their sizes, each between protected pages.
template <class T>
class FourPlanes {
 public:
  FourPlanes(const zepiRect& tile, int32_t extra_step, Edge edge) {
    const int32_t right = tile.width / 2, left = tile.width - right;
    const int32_t bottom = tile.height / 2, top = tile.height - bottom;
    const zepiSize sizes[] = {{left, top}, {left, bottom}, {right, top}, {right, bottom}};
    for (int i = 0; i < 4; ++i) {
      planes_[i] = std::make_unique<Plane<T>>(sizes[i], extra_step + i, edge);
      const_pointers_[i] = pointers_[i] = planes_[i]->base();
      steps_[i] = planes_[i]->step();
    }
  }
  void FillAll(Pattern pattern, Random& random) {
    for (auto& plane : planes_) plane->FillAll(pattern, random);
  }
  T* const* pointers() { return pointers_; }
  const T* const* const_pointers() { return const_pointers_; }
  const int32_t* steps() const { return steps_; }
  Plane<T>& plane(int i) { return *planes_[i]; }

 private:
  std::unique_ptr<Plane<T>> planes_[4];
  T* pointers_[4];
  const T* const_pointers_[4];
  int32_t steps_[4];
};

// Compares both directions in both layouts with the model, with work buffers of exactly the size
// that GetBufSize gives.
template <class Family>
void ExpectEqualsModel(const zepiRect& tile, Random& random) {
  using T = typename Family::T;
  const std::string what = Describe(Family::kName, tile);
  const zepiSize size = {tile.width, tile.height};
  const Edge edge = random() % 2 != 0 ? Edge::kStart : Edge::kEnd;
  const int32_t extra = wavelet_cases::AnyExtra(random);
  const Pattern pattern = wavelet_cases::AnyPattern(random);
  Guarded<uint8_t> line(static_cast<size_t>(Family::InPlaceSize(tile)), edge);
  Guarded<uint8_t> buffer(static_cast<size_t>(Family::PlanesSize(tile)), edge);

  Plane<T> src(size, extra, edge), got(size, extra, edge), want(size, extra, edge);
  src.FillAll(pattern, random);
  for (const bool forward : {true, false}) {
    got.CopyFrom(src);
    want.CopyFrom(src);
    if (forward) {
      ASSERT_EQ(Family::FwdInPlace(got.base(), got.step(), &tile, line.raw()), zepStatusOk);
      Family::Model::FwdInPlace(want.base(), want.step(), &tile);
    } else {
      ASSERT_EQ(Family::InvInPlace(got.base(), got.step(), &tile, line.raw()), zepStatusOk);
      Family::Model::InvInPlace(want.base(), want.step(), &tile);
    }
    ExpectSame(got, want, what + (forward ? " forward in place" : " inverse in place"));
  }

  FourPlanes<T> planes(tile, extra, edge), want_planes(tile, extra, edge);
  got.CopyFrom(src);
  ASSERT_EQ(Family::Fwd(static_cast<const T*>(got.base()), got.step(), &tile, planes.pointers(),
                        planes.steps(), buffer.raw()),
            zepStatusOk);
  ExpectSame(got, src, what + " source");
  Family::Model::Fwd(src.base(), src.step(), &tile, want_planes.pointers(), want_planes.steps());
  for (int i = 0; i < 4; ++i) {
    ExpectSame(planes.plane(i), want_planes.plane(i),
               what + " forward, plane " + std::to_string(i));
  }
  planes.FillAll(pattern, random);
  ASSERT_EQ(Family::Inv(planes.const_pointers(), planes.steps(), got.base(), got.step(), &tile,
                        buffer.raw()),
            zepStatusOk);
  Family::Model::Inv(planes.const_pointers(), planes.steps(), want.base(), want.step(), &tile);
  ExpectSame(got, want, what + " inverse from planes");
}

TYPED_TEST(WaveletWholeTile, EqualsModel) {
  Random random(harness::Seed());
  for (int side = 1; side <= 70 && !::testing::Test::HasFailure(); ++side) {
    for (const int other : {1, 2, 3, 4, 5, 8, 21}) {
      const int x = static_cast<int>(random() % 2), y = static_cast<int>(random() % 2);
      ExpectEqualsModel<TypeParam>({x, y, side, other}, random);
      ExpectEqualsModel<TypeParam>({-x, 7 + y, other, side}, random);
    }
  }
  for (const zepiRect& tile :
       {zepiRect{0, 0, 300, 7}, zepiRect{1, 1, 1031, 9}, zepiRect{1, 0, 1300, 12},
        zepiRect{INT32_MIN, -1, 13, 500}, zepiRect{INT32_MAX, 0, 40, 513}}) {
    ExpectEqualsModel<TypeParam>(tile, random);
  }
}

TYPED_TEST(WaveletWholeTile, EverySizeAndParity_Exhaustive) {
  Random random(harness::Seed());
  for (int width = 1; width <= 70 && !::testing::Test::HasFailure(); ++width) {
    for (int height = 1; height <= 70; ++height) {
      if (!harness::Exhaustive() && random() % 64 != 0) continue;
      const int parity = static_cast<int>(random() % 4);
      ExpectEqualsModel<TypeParam>({parity & 1, parity >> 1, width, height}, random);
    }
  }
}

template <class Family>
void ExpectReversible(const zepiRect& tile, Random& random) {
  using T = typename Family::T;
  const std::string what = Describe(Family::kName, tile);
  const zepiSize size = {tile.width, tile.height};
  Plane<T> src(size, 1, Edge::kEnd), got(size, 1, Edge::kEnd);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      src.Set(x, y, static_cast<T>(static_cast<int>(random() % 8192) - 4096));
    }
  }
  got.CopyFrom(src);
  std::vector<uint8_t> buffer(static_cast<size_t>(Family::PlanesSize(tile)) + 1);
  ASSERT_EQ(Family::FwdInPlace(got.base(), got.step(), &tile, buffer.data()), zepStatusOk);
  ASSERT_EQ(Family::InvInPlace(got.base(), got.step(), &tile, buffer.data()), zepStatusOk);
  ExpectSame(got, src, what + " in place");
  FourPlanes<T> planes(tile, 0, Edge::kEnd);
  got.FillAll(Pattern::kMax, random);
  ASSERT_EQ(Family::Fwd(static_cast<const T*>(src.base()), src.step(), &tile, planes.pointers(),
                        planes.steps(), buffer.data()),
            zepStatusOk);
  ASSERT_EQ(Family::Inv(planes.const_pointers(), planes.steps(), got.base(), got.step(), &tile,
                        buffer.data()),
            zepStatusOk);
  ExpectSame(got, src, what + " in planes");
}

TEST(WaveletWholeTile53, ReversibleForAllSizesAndParities_Exhaustive) {
  Random random(harness::Seed());
  for (int width = 1; width <= 70; ++width) {
    for (int height = 1; height <= 70; ++height) {
      if (!harness::Exhaustive() && random() % 16 != 0) continue;
      for (int parity = 0; parity < 4; ++parity) {
        const zepiRect tile = {parity & 1, parity >> 1, width, height};
        ExpectReversible<wavelet_cases::B53_16s>(tile, random);
        ExpectReversible<wavelet_cases::B53_32s>(tile, random);
      }
    }
    if (::testing::Test::HasFailure()) return;
  }
}

// Sums that wrap are undone too: lines longer than one sample come back for any values.
TYPED_TEST(WaveletWholeTile, AnyValuesComeBackFrom53) {
  using T = typename TypeParam::T;
  if (!TypeParam::kReversible) return;
  Random random(harness::Seed());
  for (const Pattern pattern : harness::kPatterns) {
    for (const int side : {2, 3, 17, 64}) {
      const zepiRect tile = {side & 1, 1, side, 67 - side};
      Plane<T> src({side, 67 - side}, 0, Edge::kEnd), got({side, 67 - side}, 0, Edge::kEnd);
      src.FillAll(pattern, random);
      got.CopyFrom(src);
      std::vector<uint8_t> line(static_cast<size_t>(TypeParam::InPlaceSize(tile)));
      TypeParam::FwdInPlace(got.base(), got.step(), &tile, line.data());
      TypeParam::InvInPlace(got.base(), got.step(), &tile, line.data());
      ExpectSame(got, src, Describe(TypeParam::kName, tile));
    }
  }
}

// A tile of the irreversible transform comes back nearly unchanged.
TYPED_TEST(WaveletWholeTile, NearlyReversible97) {
  using T = typename TypeParam::T;
  if (TypeParam::kReversible) return;
  Random random(harness::Seed());
  const zepiRect tile = {1, 0, 101, 58};
  Plane<T> src({101, 58}, 0, Edge::kEnd), got({101, 58}, 0, Edge::kEnd);
  for (int y = 0; y < 58; ++y) {
    for (int x = 0; x < 101; ++x) src.Set(x, y, static_cast<T>(random() % 4096));
  }
  got.CopyFrom(src);
  std::vector<uint8_t> line(static_cast<size_t>(TypeParam::InPlaceSize(tile)));
  TypeParam::FwdInPlace(got.base(), got.step(), &tile, line.data());
  TypeParam::InvInPlace(got.base(), got.step(), &tile, line.data());
  for (int y = 0; y < 58; ++y) {
    for (int x = 0; x < 101; ++x) ASSERT_NEAR(got.Get(x, y), src.Get(x, y), 10) << x << ", " << y;
  }
}

// The passes on mirrored rows give the same as the rows of a tile.
TYPED_TEST(WaveletWholeTile, EqualsRowPasses) {
  using T = typename TypeParam::T;
  Random random(harness::Seed());
  for (const int phase : {0, 1}) {
    const int n = 29, height = 5, reach = 8;
    const zepiSize half = {n, height};
    Plane<T> x({2 * n + 2 * reach, height}, 0, Edge::kEnd, -reach);
    x.FillAll(Pattern::kRandom, random);
    for (int y = 0; y < height; ++y) {
      for (int i = 1; i <= reach; ++i) {
        x.Set(-i, y, x.Get(i, y));
        x.Set(2 * n - 1 + i, y, x.Get(2 * n - 1 - i, y));
      }
    }
    Plane<T> low(half, 0, Edge::kEnd), high(half, 0, Edge::kEnd);
    TypeParam::FwdRow(x.base(), x.step(), low.base(), low.step(), high.base(), high.step(), half,
                      phase);
    for (int y = 0; y < height; ++y) {
      const zepiRect row = {phase, 0, 2 * n, 1};
      std::vector<uint8_t> line(static_cast<size_t>(TypeParam::InPlaceSize(row)));
      TypeParam::FwdInPlace(x.at(0, y), x.step(), &row, line.data());
      for (int k = 0; k < n; ++k) {
        ASSERT_EQ(x.Get(k, y), low.Get(k, y)) << TypeParam::kName << " " << k;
        ASSERT_EQ(x.Get(n + k, y), high.Get(k, y)) << TypeParam::kName << " " << k;
      }
    }
  }
}

TEST(WaveletWholeTile53, ShortLines) {
  int16_t pair[] = {10, 13};
  const zepiRect row = {0, 0, 2, 1}, odd_row = {1, 0, 2, 1}, odd_sample = {1, 0, 1, 1};
  uint8_t none;
  EXPECT_EQ(zepiWTFwd_B53_JPEG2K_16s_C1IR(pair, 4, &row, &none), zepStatusOk);
  EXPECT_EQ(pair[0], 12);
  EXPECT_EQ(pair[1], 3);
  EXPECT_EQ(zepiWTInv_B53_JPEG2K_16s_C1IR(pair, 4, &row, &none), zepStatusOk);
  EXPECT_EQ(pair[0], 10);
  EXPECT_EQ(pair[1], 13);
  zepiWTFwd_B53_JPEG2K_16s_C1IR(pair, 4, &odd_row, &none);
  EXPECT_EQ(pair[0], 12);  // 13 + ((-3 + 1) >> 1)
  EXPECT_EQ(pair[1], -3);
  int16_t one = -7;
  zepiWTFwd_B53_JPEG2K_16s_C1IR(&one, 2, &odd_sample, &none);
  EXPECT_EQ(one, -14);
  one = -7;
  zepiWTInv_B53_JPEG2K_16s_C1IR(&one, 2, &odd_sample, &none);
  EXPECT_EQ(one, -3);
}

// An empty tile in place is not changed, whatever its other side is.
TYPED_TEST(WaveletWholeTile, EmptyTiles) {
  using T = typename TypeParam::T;
  T value = 5;
  uint8_t none = 3;
  for (const zepiRect& tile : {zepiRect{0, 0, 0, 1}, zepiRect{1, 1, 1, 0}, zepiRect{1, 1, -4, 1},
                               zepiRect{1, 1, 1, INT32_MIN}, zepiRect{0, 0, 0, 0}}) {
    EXPECT_EQ(TypeParam::FwdInPlace(&value, 4, &tile, &none), zepStatusOk);
    EXPECT_EQ(TypeParam::InvInPlace(&value, 4, &tile, &none), zepStatusOk);
  }
  EXPECT_EQ(value, 5);
  EXPECT_EQ(none, 3);
}

struct Sizes {
  decltype(zepiWTGetBufSize_B53_JPEG2K_16s_C1IR)* in_place;
  decltype(zepiWTGetBufSize_B53_JPEG2K_16s_C1R)* with_planes;
  int64_t bytes, extension, smallest;
};
const Sizes kSizes[] = {
    {zepiWTGetBufSize_B53_JPEG2K_16s_C1IR, zepiWTGetBufSize_B53_JPEG2K_16s_C1R, 2, 8, 3},
    {zepiWTGetBufSize_B53_JPEG2K_32s_C1IR, zepiWTGetBufSize_B53_JPEG2K_32s_C1R, 4, 16, 3},
    {zepiWTGetBufSize_D97_JPEG2K_16s_C1IR, zepiWTGetBufSize_D97_JPEG2K_16s_C1R, 2, 16, 2},
    {zepiWTGetBufSize_D97_JPEG2K_32s_C1IR, zepiWTGetBufSize_D97_JPEG2K_32s_C1R, 4, 32, 2}};

TEST(WaveletBufferSize, Formula) {
  for (const Sizes& f : kSizes) {
    for (const int32_t w : {1, 2, 3, 15, 16, 17, 300, 20000, 0, -7, INT32_MAX / 4, INT32_MAX}) {
      for (const int32_t h : {1, 2, 3, 16, 299, 70000, 0, INT32_MIN, INT32_MAX}) {
        const int64_t width = w, height = h;
        const bool small = width < f.smallest && height < f.smallest;
        const int64_t line = small ? 0 : std::max(f.bytes * width, f.bytes * height) + f.extension;
        const int64_t row = (f.bytes * width + 31) / 32 * 32;
        const bool huge = static_cast<double>(row) * h > 1e10;
        const int64_t copy = width < 1 || height < 1 ? 0 : huge ? int64_t{1} << 40 : row * height;
        const zepiRect tile = {-3, 4, w, h};
        for (const bool planes : {false, true}) {
          const int64_t want = planes ? line + copy : line;
          int32_t got = -12345;
          const zepStatus status = (planes ? f.with_planes : f.in_place)(&tile, &got);
          EXPECT_EQ(status, want > INT32_MAX ? zepStatusBadSize : zepStatusOk) << w << "x" << h;
          EXPECT_EQ(got, want > INT32_MAX ? -12345 : want) << w << "x" << h;
        }
      }
    }
  }
}

template <class Call>
void ExpectSizeOrder(harness::Named<Call> call) {
  const zepiRect tile = {0, 0, 8, 8};
  int32_t size = 0;
  CheckOrder(call, &tile, &size).template Null<0>().template Null<1>().Output(&size, 4).Run();
}

TEST(WaveletBufferSize, ChecksInOrder) {
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_B53_JPEG2K_16s_C1IR));
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_B53_JPEG2K_32s_C1IR));
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_B53_JPEG2K_16s_C1R));
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_B53_JPEG2K_32s_C1R));
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_D97_JPEG2K_16s_C1IR));
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_D97_JPEG2K_32s_C1IR));
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_D97_JPEG2K_16s_C1R));
  ExpectSizeOrder(HARNESS_NAMED(zepiWTGetBufSize_D97_JPEG2K_32s_C1R));
}

template <class T, class Call>
void ExpectInPlaceOrder(harness::Named<Call> call) {
  T data[64] = {};
  const zepiRect tile = {0, 0, 8, 8};
  uint8_t buffer[256] = {};
  CheckOrder(call, &data[0], static_cast<int32_t>(8 * sizeof(T)), &tile, &buffer[0])
      .template Null<0>()
      .template Step<1>()
      .template Null<2>()
      .template Null<3>()
      .Output(data, sizeof(data))
      .Output(buffer, sizeof(buffer))
      .Run();
}

TEST(WaveletWholeTileChecks, InPlace) {
  ExpectInPlaceOrder<int16_t>(HARNESS_NAMED(zepiWTFwd_B53_JPEG2K_16s_C1IR));
  ExpectInPlaceOrder<int32_t>(HARNESS_NAMED(zepiWTFwd_B53_JPEG2K_32s_C1IR));
  ExpectInPlaceOrder<int16_t>(HARNESS_NAMED(zepiWTInv_B53_JPEG2K_16s_C1IR));
  ExpectInPlaceOrder<int32_t>(HARNESS_NAMED(zepiWTInv_B53_JPEG2K_32s_C1IR));
  ExpectInPlaceOrder<int16_t>(HARNESS_NAMED(zepiWTFwd_D97_JPEG2K_16s_C1IR));
  ExpectInPlaceOrder<int32_t>(HARNESS_NAMED(zepiWTFwd_D97_JPEG2K_32s_C1IR));
  ExpectInPlaceOrder<int16_t>(HARNESS_NAMED(zepiWTInv_D97_JPEG2K_16s_C1IR));
  ExpectInPlaceOrder<int32_t>(HARNESS_NAMED(zepiWTInv_D97_JPEG2K_32s_C1IR));
}

// Good arguments for the functions with planes, and bad ones of each kind after the pointers.
template <class T>
struct PlaneArguments {
  T single[64] = {};
  T planes[4][16] = {};
  T* pointers[4] = {planes[0], planes[1], planes[2], planes[3]};
  const T* const_pointers[4] = {planes[0], planes[1], planes[2], planes[3]};
  T* bad_pointers[4][4];
  const T* bad_const_pointers[4][4];
  int32_t step = static_cast<int32_t>(8 * sizeof(T));
  int32_t steps[4] = {step / 2, step / 2, step / 2, step / 2};
  int32_t bad_steps[4][4];
  zepiRect tile = {0, 0, 8, 8};
  zepiRect bad_tiles[4] = {{0, 0, 0, 8}, {0, 0, 8, 0}, {0, 0, INT32_MIN, 8}, {0, 0, 8, -1}};
  uint8_t buffer[1024] = {};

  PlaneArguments() {
    for (int bad = 0; bad < 4; ++bad) {
      for (int i = 0; i < 4; ++i) {
        bad_pointers[bad][i] = i == bad ? nullptr : pointers[i];
        bad_const_pointers[bad][i] = bad_pointers[bad][i];
        bad_steps[bad][i] = i == bad ? -bad : steps[i];
      }
    }
  }
};

template <class T, class Call>
void ExpectForwardOrder(harness::Named<Call> call) {
  PlaneArguments<T> a;
  const auto order = [&] {
    return CheckOrder(call, static_cast<const T*>(a.single), a.step,
                      static_cast<const zepiRect*>(&a.tile), static_cast<T* const*>(a.pointers),
                      static_cast<const int32_t*>(a.steps), &a.buffer[0]);
  };
  order()
      .template Null<0>()
      .template Null<3>()
      .template Null<4>()
      .template Null<2>()
      .template Null<5>()
      .template Step<1>()
      .Output(a.planes, sizeof(a.planes))
      .Run();
  order()
      .template Step<1>()
      .template Bad<3>(zepStatusNullPtr,
                       {a.bad_pointers[0], a.bad_pointers[1], a.bad_pointers[2], a.bad_pointers[3]})
      .template Bad<4>(zepStatusBadStep,
                       {a.bad_steps[0], a.bad_steps[1], a.bad_steps[2], a.bad_steps[3]})
      .template Bad<2>(zepStatusBadSize,
                       {&a.bad_tiles[0], &a.bad_tiles[1], &a.bad_tiles[2], &a.bad_tiles[3]})
      .Output(a.planes, sizeof(a.planes))
      .Run();
}

template <class T, class Call>
void ExpectInverseOrder(harness::Named<Call> call) {
  PlaneArguments<T> a;
  const auto order = [&] {
    return CheckOrder(call, static_cast<const T* const*>(a.const_pointers),
                      static_cast<const int32_t*>(a.steps), &a.single[0], a.step,
                      static_cast<const zepiRect*>(&a.tile), &a.buffer[0]);
  };
  order()
      .template Null<0>()
      .template Null<2>()
      .template Null<1>()
      .template Null<4>()
      .template Null<5>()
      .template Step<3>()
      .Output(a.single, sizeof(a.single))
      .Run();
  order()
      .template Step<3>()
      .template Bad<0>(zepStatusNullPtr, {a.bad_const_pointers[0], a.bad_const_pointers[1],
                                          a.bad_const_pointers[2], a.bad_const_pointers[3]})
      .template Bad<1>(zepStatusBadStep,
                       {a.bad_steps[0], a.bad_steps[1], a.bad_steps[2], a.bad_steps[3]})
      .template Bad<4>(zepStatusBadSize,
                       {&a.bad_tiles[0], &a.bad_tiles[1], &a.bad_tiles[2], &a.bad_tiles[3]})
      .Output(a.single, sizeof(a.single))
      .Run();
}

TEST(WaveletWholeTileChecks, WithPlanes) {
  ExpectForwardOrder<int16_t>(HARNESS_NAMED(zepiWTFwd_B53_JPEG2K_16s_C1R));
  ExpectForwardOrder<int32_t>(HARNESS_NAMED(zepiWTFwd_B53_JPEG2K_32s_C1R));
  ExpectInverseOrder<int16_t>(HARNESS_NAMED(zepiWTInv_B53_JPEG2K_16s_C1R));
  ExpectInverseOrder<int32_t>(HARNESS_NAMED(zepiWTInv_B53_JPEG2K_32s_C1R));
  ExpectForwardOrder<int16_t>(HARNESS_NAMED(zepiWTFwd_D97_JPEG2K_16s_C1R));
  ExpectForwardOrder<int32_t>(HARNESS_NAMED(zepiWTFwd_D97_JPEG2K_32s_C1R));
  ExpectInverseOrder<int16_t>(HARNESS_NAMED(zepiWTInv_D97_JPEG2K_16s_C1R));
  ExpectInverseOrder<int32_t>(HARNESS_NAMED(zepiWTInv_D97_JPEG2K_32s_C1R));
}

}  // namespace
