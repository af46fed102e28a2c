// SPDX-License-Identifier: MIT
#include <algorithm>

#include "jpeg2k/wavelet/wavelet_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using wavelet_cases::ExpectSame;
using wavelet_cases::Plane;

// A set of rows, each between protected pages.
template <class T>
class GuardedRows {
 public:
  GuardedRows(size_t count, int width, Edge edge) {
    for (size_t i = 0; i < count; ++i) {
      rows_.push_back(std::make_unique<Plane<T>>(zepiSize{width, 1}, 0, edge));
    }
  }
  void FillAll(Random& random) {
    for (auto& row : rows_) row->FillAll(wavelet_cases::AnyPattern(random), random);
  }
  void CopyFrom(GuardedRows& other) {
    for (size_t i = 0; i < rows_.size(); ++i) rows_[i]->CopyFrom(*other.rows_[i]);
  }
  T* operator[](size_t i) { return rows_[i]->base(); }
  void ExpectEqual(GuardedRows& want, const std::string& what) {
    for (size_t i = 0; i < rows_.size(); ++i) {
      ExpectSame(*rows_[i], *want.rows_[i], what + " row " + std::to_string(i));
    }
  }

 private:
  std::vector<std::unique_ptr<Plane<T>>> rows_;
};

std::string Describe(const char* name, int width) {
  return std::string(name) + " width " + std::to_string(width);
}

template <class Family>
class WaveletColumnLifting53 : public ::testing::Test {};
using Families53 = ::testing::Types<wavelet_cases::B53_16s, wavelet_cases::B53_32s>;
TYPED_TEST_SUITE(WaveletColumnLifting53, Families53);

// Rows 0 to 3 are inputs, 4 and 5 outputs. `low` and `high` are the rows of the two outputs.
template <class Family>
void ExpectLift53(int width, Edge edge, size_t first_out, size_t second_out, Random& random) {
  using T = typename Family::T;
  GuardedRows<T> got(6, width, edge), want(6, width, edge);
  for (const bool forward : {true, false}) {
    got.FillAll(random);
    want.CopyFrom(got);
    const T* const in[] = {want[0], want[1], want[2], want[3]};
    if (forward) {
      reference::FwdColLift53<T>(in, want[first_out], want[second_out], width);
      Family::FwdColLift(got[0], got[1], got[2], got[first_out], got[3], got[second_out], width);
    } else {
      reference::InvColLift53<T>(in, want[first_out], want[second_out], width);
      Family::InvColLift(got[0], got[1], got[2], got[3], got[first_out], got[second_out], width);
    }
    got.ExpectEqual(want, Describe(Family::kName, width) + (forward ? " forward" : " inverse") +
                              " outputs " + std::to_string(first_out) + ", " +
                              std::to_string(second_out));
  }
}

TYPED_TEST(WaveletColumnLifting53, EqualsModelAlsoInPlace) {
  Random random(harness::Seed());
  for (int width = 1; width <= 100 && !::testing::Test::HasFailure(); ++width) {
    const Edge edge = width % 2 == 0 ? Edge::kStart : Edge::kEnd;
    ExpectLift53<TypeParam>(width, edge, 4, 5, random);
    for (size_t first = 0; first < 4; ++first) {
      ExpectLift53<TypeParam>(width, edge, first, 5, random);
      ExpectLift53<TypeParam>(width, edge, 4, first, random);
      ExpectLift53<TypeParam>(width, edge, first, (first + 1) % 4, random);
    }
  }
}

template <class Family>
class WaveletColumnLifting97 : public ::testing::Test {};
using Families97 =
    ::testing::Types<wavelet_cases::D97_16s, wavelet_cases::D97_32s, wavelet_cases::D97_32f>;
TYPED_TEST_SUITE(WaveletColumnLifting97, Families97);

template <class Family, class Rows>
zepStatus CallForward(Rows& r, int width) {
  return Family::FwdColLift(r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7], width);
}
template <class Family, class Rows>
zepStatus CallInverse(Rows& r, int width) {
  return Family::InvColLift(r[0], r[1], r[2], r[3], r[4], r[5], r[6], r[7], width);
}

TYPED_TEST(WaveletColumnLifting97, EqualsModel) {
  using T = typename TypeParam::T;
  Random random(harness::Seed());
  for (int width = 1; width <= 100 && !::testing::Test::HasFailure(); ++width) {
    const Edge edge = width % 2 == 0 ? Edge::kStart : Edge::kEnd;
    for (const bool forward : {true, false}) {
      GuardedRows<T> got(8, width, edge), want(8, width, edge);
      got.FillAll(random);
      want.CopyFrom(got);
      T* const rows[] = {want[0], want[1], want[2], want[3], want[4], want[5], want[6], want[7]};
      if (forward) {
        reference::FwdColLift97<T>(rows, width);
        ASSERT_EQ(CallForward<TypeParam>(got, width), zepStatusOk);
      } else {
        reference::InvColLift97<T>(rows, width);
        ASSERT_EQ(CallInverse<TypeParam>(got, width), zepStatusOk);
      }
      got.ExpectEqual(want, Describe(TypeParam::kName, width) + (forward ? " forward" : ""));
    }
  }
}

// Outputs may be rows of the input: b[k] in place of x[2k], a[k] in place of x[2k+1], and so on.
TYPED_TEST(WaveletColumnLifting97, InPlace) {
  using T = typename TypeParam::T;
  Random random(harness::Seed());
  for (int width = 1; width <= 100 && !::testing::Test::HasFailure(); ++width) {
    GuardedRows<T> apart(8, width, Edge::kEnd), same(8, width, Edge::kEnd);
    apart.FillAll(random);
    same.CopyFrom(apart);
    const auto expect_same = [&](size_t row, size_t want) {
      const size_t bytes = static_cast<size_t>(width) * sizeof(T);
      EXPECT_EQ(harness::FirstByteDifference(same[row], apart[want], bytes), "") << width;
    };
    CallForward<TypeParam>(apart, width);
    TypeParam::FwdColLift(same[0], same[1], same[2], same[3], same[0], same[5], same[6], same[1],
                          width);
    expect_same(0, 4);
    expect_same(1, 7);
    expect_same(6, 6);
    apart.FillAll(random);
    same.CopyFrom(apart);
    CallInverse<TypeParam>(apart, width);
    TypeParam::InvColLift(same[0], same[1], same[2], same[3], same[4], same[5], same[0], same[1],
                          width);
    expect_same(0, 6);
    expect_same(1, 7);
    expect_same(4, 4);
  }
}

// The other forms of the vertical transform read rows -4 to 2n + 3 of the source, mirrored.
template <class T>
void Mirror(Plane<T>& rows, int count) {
  const size_t bytes = static_cast<size_t>(rows.size().width) * sizeof(T);
  for (int i = 1; i <= 4; ++i) {
    std::memcpy(rows.at(0, -i), rows.at(0, i), bytes);
    std::memcpy(rows.at(0, count - 1 + i), rows.at(0, count - 1 - i), bytes);
  }
}

// Transforms 2n rows forward by calls from k = -2 to n + 1, into rows k of `low` and `high`.
template <class Family, class T>
void StreamForward97(Plane<T>& x, int n, Plane<T>& low, Plane<T>& high) {
  const int width = x.size().width;
  Plane<T> rows({width, 32}, 3, Edge::kEnd);  // a, b, c of all calls live in a ring
  Random random(harness::Seed());
  rows.FillAll(harness::Pattern::kSmall, random);
  const auto b = [&](int k) { return rows.at(0, (k + 8) % 8); };
  const auto a = [&](int k) { return rows.at(0, 8 + (k + 8) % 8); };
  for (int k = -2; k <= n + 1; ++k) {
    const auto row = [&](int y) {
      const int last = 2 * n - 1;
      int p = y < 0 ? -y : y;
      p = p > last ? 2 * last - p : p;
      return x.at(0, p < 0 ? -p : p);
    };
    Family::FwdColLift(row(2 * k), row(2 * k + 1), row(2 * k + 2), b(k - 1), b(k), a(k - 2),
                       a(k - 1), a(k), width);
    const size_t bytes = static_cast<size_t>(width) * sizeof(T);
    if (k >= 1) std::memcpy(low.at(0, k - 1), b(k - 1), k <= n ? bytes : 0);
    if (k >= 2) std::memcpy(high.at(0, k - 2), a(k - 2), bytes);
  }
}

// A tile of one column at an even position has only a vertical transform. The columns of a wider
// tile are passed through it one by one.
TYPED_TEST(WaveletColumnLifting97, EqualsTileOrPass) {
  using T = typename TypeParam::T;
  Random random(harness::Seed());
  for (const int n : {3, 4, 9, 20}) {
    const int width = 37;
    Plane<T> x({width, 2 * n + 8}, 0, Edge::kEnd, 0, -4);
    x.FillAll(harness::Pattern::kRandom, random);
    Mirror(x, 2 * n);
    Plane<T> low({width, n}, 0, Edge::kEnd), high({width, n}, 0, Edge::kEnd);
    StreamForward97<TypeParam>(x, n, low, high);
    Plane<T> want_low({width, n}, 0, Edge::kEnd), want_high({width, n}, 0, Edge::kEnd);
    if constexpr (std::is_same_v<T, float>) {
      TypeParam::FwdCol(x.base(), x.step(), want_low.base(), want_low.step(), want_high.base(),
                        want_high.step(), zepiSize{width, n}, 0);
    } else {
      std::vector<uint8_t> buffer(8 * static_cast<size_t>(n) + 64);
      const zepiRect column = {0, 0, 1, 2 * n};
      for (int i = 0; i < width; ++i) {
        ASSERT_EQ(TypeParam::FwdInPlace(x.at(i, 0), x.step(), &column, buffer.data()), 0);
        for (int k = 0; k < n; ++k) {
          want_low.Set(i, k, x.Get(i, k));
          want_high.Set(i, k, x.Get(i, n + k));
        }
      }
    }
    ExpectSame(low, want_low, Describe(TypeParam::kName, n) + " low");
    ExpectSame(high, want_high, Describe(TypeParam::kName, n) + " high");
  }
}

// Transforms forward by calls, then inverse by calls on rows that advance by two.
TYPED_TEST(WaveletColumnLifting97, InverseByCallsUndoesThePass) {
  using T = typename TypeParam::T;
  Random random(harness::Seed());
  const int n = 12, width = 19;
  Plane<T> x({width, 2 * n + 8}, 0, Edge::kEnd, 0, -4);
  for (int y = 0; y < 2 * n; ++y) {
    for (int i = 0; i < width; ++i)
      x.Set(i, y, static_cast<T>(static_cast<int>(random() % 2000) - 1000));
  }
  Mirror(x, 2 * n);
  Plane<T> low({width, n + 4}, 0, Edge::kEnd, 0, -2), high({width, n + 4}, 0, Edge::kEnd, 0, -2);
  StreamForward97<TypeParam>(x, n, low, high);
  const size_t bytes = static_cast<size_t>(width) * sizeof(T);
  for (const int k : {1, 2}) {  // low at even, high at odd positions: mirrored about 0 and 2n - 1
    std::memcpy(low.at(0, -k), low.at(0, k), bytes);
    std::memcpy(high.at(0, -k), high.at(0, k - 1), bytes);
    std::memcpy(low.at(0, n - 1 + k), low.at(0, n - k), bytes);
    std::memcpy(high.at(0, n - 1 + k), high.at(0, n - 1 - k), bytes);
  }
  Plane<T> back({width, 2 * n + 12}, 0, Edge::kEnd, 0, -8);
  back.FillAll(harness::Pattern::kSmall, random);
  for (int k = -2; k <= n + 1; ++k) {
    const auto row = [&](int y) { return back.at(0, y); };
    TypeParam::InvColLift(low.at(0, k), high.at(0, k), row(2 * k - 4), row(2 * k - 3),
                          row(2 * k - 2), row(2 * k - 1), row(2 * k), row(2 * k + 1), width);
  }
  const double tolerance = std::is_same_v<T, float> ? 0.01 : 4;
  for (int y = 0; y < 2 * n; ++y) {
    for (int i = 0; i < width; ++i) {
      ASSERT_NEAR(static_cast<double>(back.Get(i, y)), static_cast<double>(x.Get(i, y)), tolerance)
          << i << ", " << y;
    }
  }
}

TYPED_TEST(WaveletColumnLifting53, CallsEqualThePass) {
  using T = typename TypeParam::T;
  Random random(harness::Seed());
  const int n = 9, width = 45;
  Plane<T> x({width, 2 * n + 8}, 0, Edge::kEnd, 0, -4);
  x.FillAll(harness::Pattern::kRandom, random);
  Mirror(x, 2 * n);
  Plane<T> low({width, n}, 0, Edge::kEnd), want_low({width, n}, 0, Edge::kEnd);
  Plane<T> high({width, n + 2}, 0, Edge::kEnd, 0, -1),
      want_high({width, n + 2}, 0, Edge::kEnd, 0, -1);
  TypeParam::FwdCol(x.base(), x.step(), want_low.base(), low.step(), want_high.base(), high.step(),
                    zepiSize{width, n}, 0);
  for (int k = -1; k < n; ++k) {
    Plane<T> scratch({width, 2}, 0, Edge::kEnd);
    TypeParam::FwdColLift(x.at(0, 2 * k), x.at(0, 2 * k + 1), x.at(0, 2 * k + 2),
                          k < 0 ? scratch.at(0, 0) : low.at(0, k),
                          k < 0 ? scratch.at(0, 1) : high.at(0, k - 1), high.at(0, k), width);
  }
  ExpectSame(low, want_low, "low");
  for (int k = 0; k < n; ++k) {
    EXPECT_EQ(harness::FirstByteDifference(high.at(0, k), want_high.at(0, k),
                                           static_cast<size_t>(width) * sizeof(T)),
              "");
  }
  Plane<T> back({width, 2 * n + 2}, 0, Edge::kEnd, 0, -2);
  for (int k = 0; k < n; ++k) {
    TypeParam::InvColLift(low.at(0, k), high.at(0, k - 1), high.at(0, k), back.at(0, 2 * k - 2),
                          back.at(0, 2 * k - 1), back.at(0, 2 * k), width);
  }
  for (int y = 0; y < 2 * n - 1; ++y) {
    EXPECT_EQ(harness::FirstByteDifference(back.at(0, y), x.at(0, y),
                                           static_cast<size_t>(width) * sizeof(T)),
              "")
        << y;
  }
}

template <class T, class Forward, class Inverse>
void ExpectOrder53(harness::Named<Forward> forward, harness::Named<Inverse> inverse) {
  T data[6] = {};
  const T* const in = data;
  CheckOrder(forward, in, in + 1, in + 2, data + 3, in + 4, data + 5, 1)
      .template Null<0>()
      .template Null<1>()
      .template Null<2>()
      .template Null<3>()
      .template Null<4>()
      .template Null<5>()
      .template Bad<6>(zepStatusBadSize, {0, -1, INT_MIN})
      .Output(data, sizeof(data))
      .Run();
  CheckOrder(inverse, in, in + 1, in + 2, in + 3, data + 4, data + 5, 1)
      .template Null<0>()
      .template Null<1>()
      .template Null<2>()
      .template Null<3>()
      .template Null<4>()
      .template Null<5>()
      .template Bad<6>(zepStatusBadSize, {0, -1, INT_MIN})
      .Output(data, sizeof(data))
      .Run();
}

template <class T, class Forward, class Inverse>
void ExpectOrder97(harness::Named<Forward> forward, harness::Named<Inverse> inverse) {
  T data[8] = {};
  const T* const in = data;
  const auto expect = [&](auto function) {
    CheckOrder(function, in, in + 1, in + 2, data + 3, data + 4, data + 5, data + 6, data + 7, 1)
        .template Null<0>()
        .template Null<1>()
        .template Null<2>()
        .template Null<3>()
        .template Null<4>()
        .template Null<5>()
        .template Null<6>()
        .template Null<7>()
        .template Bad<8>(zepStatusBadSize, {0, -1, INT_MIN})
        .Output(data, sizeof(data))
        .Run();
  };
  expect(forward);
  expect(inverse);
}

TEST(WaveletColumnLifting, ChecksInOrder) {
  ExpectOrder53<int16_t>(HARNESS_NAMED(zepiWTFwdColLift_B53_JPEG2K_16s_C1),
                         HARNESS_NAMED(zepiWTInvColLift_B53_JPEG2K_16s_C1));
  ExpectOrder53<int32_t>(HARNESS_NAMED(zepiWTFwdColLift_B53_JPEG2K_32s_C1),
                         HARNESS_NAMED(zepiWTInvColLift_B53_JPEG2K_32s_C1));
  ExpectOrder97<int16_t>(HARNESS_NAMED(zepiWTFwdColLift_D97_JPEG2K_16s_C1),
                         HARNESS_NAMED(zepiWTInvColLift_D97_JPEG2K_16s_C1));
  ExpectOrder97<int32_t>(HARNESS_NAMED(zepiWTFwdColLift_D97_JPEG2K_32s_C1),
                         HARNESS_NAMED(zepiWTInvColLift_D97_JPEG2K_32s_C1));
  ExpectOrder97<float>(HARNESS_NAMED(zepiWTFwdColLift_D97_JPEG2K_32f_C1),
                       HARNESS_NAMED(zepiWTInvColLift_D97_JPEG2K_32f_C1));
}

}  // namespace
