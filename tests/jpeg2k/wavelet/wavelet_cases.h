// SPDX-License-Identifier: MIT
// Shared by the wavelet tests: the functions of each filter and element type, planes, and
// comparisons of planes.
#ifndef ZEPJP_TESTS_JPEG2K_WAVELET_WAVELET_CASES_H_
#define ZEPJP_TESTS_JPEG2K_WAVELET_WAVELET_CASES_H_

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "harness/check_order.h"
#include "harness/region.h"
#include "reference/wavelet.h"

namespace wavelet_cases {

using harness::Edge;
using harness::Pattern;
using harness::Random;

// The exports called `zepiWT<operation>_<suffix>` as static members named by the operation.
// (Templates, because calling conventions do not pass through pointers.)
#define WAVELET_FUNCTION(operation, suffix)         \
  template <class... Args>                          \
  static zepStatus operation(Args... args) {        \
    return ::zepiWT##operation##_##suffix(args...); \
  }
#define WAVELET_TILE_FUNCTIONS(filter, type)                                        \
  template <class... Args>                                                          \
  static zepStatus FwdInPlace(Args... args) {                                       \
    return ::zepiWTFwd_##filter##_JPEG2K_##type##_C1IR(args...);                    \
  }                                                                                 \
  template <class... Args>                                                          \
  static zepStatus InvInPlace(Args... args) {                                       \
    return ::zepiWTInv_##filter##_JPEG2K_##type##_C1IR(args...);                    \
  }                                                                                 \
  WAVELET_FUNCTION(Fwd, filter##_JPEG2K_##type##_C1R)                               \
  WAVELET_FUNCTION(Inv, filter##_JPEG2K_##type##_C1R)                               \
  static int32_t InPlaceSize(const zepiRect& tile) {                                \
    int32_t size = -1;                                                              \
    EXPECT_EQ(::zepiWTGetBufSize_##filter##_JPEG2K_##type##_C1IR(&tile, &size), 0); \
    return size;                                                                    \
  }                                                                                 \
  static int32_t PlanesSize(const zepiRect& tile) {                                 \
    int32_t size = -1;                                                              \
    EXPECT_EQ(::zepiWTGetBufSize_##filter##_JPEG2K_##type##_C1R(&tile, &size), 0);  \
    return size;                                                                    \
  }
#define WAVELET_FAMILY(filter, filter_name, type, element)                                         \
  using T = element;                                                                               \
  using Model = reference::Wavelet<reference::filter, element>;                                    \
  static constexpr char kName[] = #filter "_" #type;                                               \
  static constexpr bool kReversible = std::is_same_v<reference::filter<int>, reference::B53<int>>; \
  static constexpr int kReach = kReversible ? 2 : 4;                                               \
  WAVELET_FUNCTION(FwdRow, filter##_JPEG2K_##type##_C1R)                                           \
  WAVELET_FUNCTION(InvRow, filter##_JPEG2K_##type##_C1R)                                           \
  WAVELET_FUNCTION(FwdColLift, filter##_JPEG2K_##type##_C1)                                        \
  WAVELET_FUNCTION(InvColLift, filter##_JPEG2K_##type##_C1)

struct B53_16s {
  WAVELET_FAMILY(B53, B53, 16s, int16_t)
  WAVELET_TILE_FUNCTIONS(B53, 16s)
  WAVELET_FUNCTION(FwdCol, B53_JPEG2K_16s_C1R)
  WAVELET_FUNCTION(InvCol, B53_JPEG2K_16s_C1R)
};
struct B53_32s {
  WAVELET_FAMILY(B53, B53, 32s, int32_t)
  WAVELET_TILE_FUNCTIONS(B53, 32s)
  WAVELET_FUNCTION(FwdCol, B53_JPEG2K_32s_C1R)
  WAVELET_FUNCTION(InvCol, B53_JPEG2K_32s_C1R)
};
struct D97_16s {
  WAVELET_FAMILY(D97, D97, 16s, int16_t)
  WAVELET_TILE_FUNCTIONS(D97, 16s)
};
struct D97_32s {
  WAVELET_FAMILY(D97, D97, 32s, int32_t)
  WAVELET_TILE_FUNCTIONS(D97, 32s)
};
struct D97_32f {
  WAVELET_FAMILY(D97, D97, 32f, float)
  WAVELET_FUNCTION(FwdCol, D97_JPEG2K_32f_C1R)
  WAVELET_FUNCTION(InvCol, D97_JPEG2K_32f_C1R)
};

// Values at any alignment. Floats take the patterns of integers, with fractions.
template <class T>
void Fill(T* data, size_t count, Pattern pattern, Random& random) {
  if constexpr (std::is_same_v<T, float>) {
    auto* bytes = reinterpret_cast<uint8_t*>(data);
    for (size_t i = 0; i < count; ++i) {
      const float value =
          static_cast<float>(harness::PatternValue<int32_t>(pattern, i, random)) / 98304.0F;
      std::memcpy(bytes + i * sizeof(T), &value, sizeof(T));
    }
  } else {
    harness::FillPattern(data, count, pattern, random);
  }
}

// A plane between protected pages. Element (0, 0) may lie inside: columns from `left` and rows from
// `top` on, which may be negative, exist too.
template <class T>
class Plane {
 public:
  Plane(zepiSize size, int32_t extra_step, Edge edge, int left = 0, int top = 0)
      : size_(size),
        step_(std::max(size.width, 1) * static_cast<int32_t>(sizeof(T)) + extra_step),
        left_(left),
        top_(top),
        plane_(size, step_, edge) {}

  T* at(int64_t x, int64_t y) {
    auto* row = reinterpret_cast<uint8_t*>(plane_.base()) + (y - top_) * step_;
    return reinterpret_cast<T*>(row + (x - left_) * static_cast<int64_t>(sizeof(T)));
  }
  T* base() { return at(0, 0); }
  int32_t step() const { return step_; }
  zepiSize size() const { return size_; }

  // Rows of 32-bit integers often have 12 bits, with some values of 13 or 32 bits among them,
  // because small values have their own kernels.
  void FillAll(Pattern pattern, Random& random) {
    const bool small = random() % 2 != 0;
    for (int y = 0; y < size_.height; ++y) {
      Fill(at(left_, top_ + y), static_cast<size_t>(size_.width), pattern, random);
      if constexpr (std::is_same_v<T, int32_t>) {
        const int other = random() % 32 == 0 ? 19 : random() % 32 == 0 ? 0 : 20;
        for (int x = left_; small && x < left_ + size_.width; ++x) {
          Set(x, top_ + y, Get(x, top_ + y) >> other);
        }
      }
    }
  }
  T Get(int64_t x, int64_t y) {
    T value;
    std::memcpy(&value, at(x, y), sizeof(T));
    return value;
  }
  void Set(int64_t x, int64_t y, T value) { std::memcpy(at(x, y), &value, sizeof(T)); }
  void CopyFrom(Plane& other) {
    for (int y = 0; y < size_.height; ++y) {
      std::memcpy(at(left_, top_ + y), other.at(left_, top_ + y),
                  static_cast<size_t>(size_.width) * sizeof(T));
    }
  }
  std::vector<uint8_t> Bytes() {
    auto& memory = plane_.memory();
    return {memory.raw(), memory.raw() + memory.bytes()};
  }

 private:
  zepiSize size_;
  int32_t step_;
  int left_, top_;
  harness::Plane<T> plane_;
};

// Compares bytes, so that floats are equal only bit by bit and the bytes between rows are compared
// too.
template <class T>
void ExpectSame(Plane<T>& got, Plane<T>& want, const std::string& what) {
  EXPECT_EQ(harness::FirstDifference({got.Bytes()}, {want.Bytes()}, got.step()), "")
      << what << " seed " << harness::Seed();
}

inline Pattern AnyPattern(Random& random) {
  return harness::kPatterns[random() % std::size(harness::kPatterns)];
}
inline int32_t AnyExtra(Random& random) {
  constexpr int32_t kExtra[] = {0, 1, 7, 64};
  return kExtra[random() % std::size(kExtra)];
}

}  // namespace wavelet_cases

#endif  // ZEPJP_TESTS_JPEG2K_WAVELET_WAVELET_CASES_H_
