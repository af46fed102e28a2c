// SPDX-License-Identifier: MIT
// Shared by the tests of the passes along rows and along columns, which differ only in direction.
#ifndef ZEPJP_TESTS_JPEG2K_WAVELET_PASS_CASES_H_
#define ZEPJP_TESTS_JPEG2K_WAVELET_PASS_CASES_H_

#include <string>

#include "jpeg2k/wavelet/wavelet_cases.h"

namespace wavelet_cases {

// Passes along the rows of a region.
template <class Family>
struct AlongRows {
  using T = typename Family::T;
  static constexpr auto kName = Family::kName;
  static constexpr int kReach = Family::kReach;

  template <class... Args>
  static zepStatus Fwd(Args... args) {
    return Family::FwdRow(args...);
  }
  template <class... Args>
  static zepStatus Inv(Args... args) {
    return Family::InvRow(args...);
  }
  static constexpr auto kModelFwd = Family::Model::FwdRow;
  static constexpr auto kModelInv = Family::Model::InvRow;

  static int Pairs(zepiSize size) { return size.width; }
  // For each line of a region of `size`, the elements `first` to `last`.
  static Plane<T> Lines(zepiSize size, int first, int last, int32_t extra, Edge edge) {
    return Plane<T>({last - first + 1, size.height}, extra, edge, first);
  }
};

// Passes along the columns of a region.
template <class Family>
struct AlongColumns {
  using T = typename Family::T;
  static constexpr auto kName = Family::kName;
  static constexpr int kReach = Family::kReach;

  template <class... Args>
  static zepStatus Fwd(Args... args) {
    return Family::FwdCol(args...);
  }
  template <class... Args>
  static zepStatus Inv(Args... args) {
    return Family::InvCol(args...);
  }
  static constexpr auto kModelFwd = Family::Model::FwdCol;
  static constexpr auto kModelInv = Family::Model::InvCol;

  static int Pairs(zepiSize size) { return size.height; }
  static Plane<T> Lines(zepiSize size, int first, int last, int32_t extra, Edge edge) {
    return Plane<T>({size.width, last - first + 1}, extra, edge, 0, first);
  }
};

inline std::string Describe(const char* name, zepiSize size, int phase, Edge edge) {
  return std::string(name) + " " + std::to_string(size.width) + "x" + std::to_string(size.height) +
         " phase " + std::to_string(phase) + " edge " + std::to_string(static_cast<int>(edge));
}

// Compares a forward pass with its model. The source holds exactly the elements that may be read.
template <class Passes>
void ExpectForward(zepiSize size, int phase, Edge edge, Random& random) {
  using T = typename Passes::T;
  const int odd = phase != 0, first = odd - Passes::kReach;
  const int last = 2 * Passes::Pairs(size) - 2 + odd + Passes::kReach;
  Plane<T> src = Passes::Lines(size, first, last, AnyExtra(random), edge);
  src.FillAll(AnyPattern(random), random);
  const int32_t low_extra = AnyExtra(random), high_extra = AnyExtra(random);
  Plane<T> low(size, low_extra, edge), high(size, high_extra, edge);
  Plane<T> want_low(size, low_extra, edge), want_high(size, high_extra, edge);
  ASSERT_EQ(Passes::Fwd(src.base(), src.step(), low.base(), low.step(), high.base(), high.step(),
                        size, phase),
            zepStatusOk);
  Passes::kModelFwd(src.base(), src.step(), want_low.base(), low.step(), want_high.base(),
                    high.step(), size, phase);
  ExpectSame(low, want_low, Describe(Passes::kName, size, phase, edge) + " low");
  ExpectSame(high, want_high, Describe(Passes::kName, size, phase, edge) + " high");
}

// Compares an inverse pass with its model. The sources hold exactly the coefficients that may be
// read: in 5/3, L[0] to L[n] or L[-1] to L[n-1], and H[-1] to H[n]; in 9/7, one more on both sides.
template <class Passes>
void ExpectInverse(zepiSize size, int phase, Edge edge, Random& random) {
  using T = typename Passes::T;
  const int odd = phase != 0, n = Passes::Pairs(size);
  const int more = Passes::kReach / 2 - 1;
  Plane<T> low = Passes::Lines(size, -odd - more, n - odd + more, AnyExtra(random), edge);
  Plane<T> high = Passes::Lines(size, -1 - more, n + more, AnyExtra(random), edge);
  low.FillAll(AnyPattern(random), random);
  high.FillAll(AnyPattern(random), random);
  const int32_t extra = AnyExtra(random);
  Plane<T> got = Passes::Lines(size, 0, 2 * n - 1, extra, edge);
  Plane<T> want = Passes::Lines(size, 0, 2 * n - 1, extra, edge);
  ASSERT_EQ(Passes::Inv(low.base(), low.step(), high.base(), high.step(), size, got.base(),
                        got.step(), phase),
            zepStatusOk);
  Passes::kModelInv(low.base(), low.step(), high.base(), high.step(), size, want.base(),
                    want.step(), phase);
  ExpectSame(got, want, Describe(Passes::kName, size, phase, edge));
}

// Tests the order of checks of a forward and an inverse pass.
template <class T, class Forward, class Inverse>
void ExpectPassOrder(harness::Named<Forward> forward, harness::Named<Inverse> inverse) {
  T samples[64] = {}, low[16] = {}, high[16] = {};
  const zepiSize size = {2, 1};
  const auto row = static_cast<int32_t>(2 * sizeof(T));
  harness::CheckOrder(forward, static_cast<const T*>(samples + 16), row, &low[0], row, &high[0],
                      row, size, 0)
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
  harness::CheckOrder(inverse, static_cast<const T*>(low + 8), row, static_cast<const T*>(high + 8),
                      row, size, &samples[16], row, 0)
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

}  // namespace wavelet_cases

#endif  // ZEPJP_TESTS_JPEG2K_WAVELET_PASS_CASES_H_
