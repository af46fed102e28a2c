// SPDX-License-Identifier: MIT
// Comparisons that print the first difference with its place instead of both sequences:
//
//   EXPECT_EQ(harness::FirstDifference(got, want), "") << "seed " << harness::Seed();
#ifndef ZEPJP_TESTS_HARNESS_DIFFERENCE_H_
#define ZEPJP_TESTS_HARNESS_DIFFERENCE_H_

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <string>
#include <type_traits>
#include <vector>

#include "harness/guarded.h"

namespace harness {

inline bool SameBytes(const void* got, const void* want, size_t size) {
  return size == 0 || std::memcmp(got, want, size) == 0;
}

// Describes the first difference of two sequences of numbers; empty if they are equal. The place is
// an index or, with `width` elements in a row, a row and column.
template <class Got, class Want>
std::string FirstDifference(const Got* got, size_t count, const Want* want, size_t wanted,
                            size_t width) {
  if (count != wanted) {
    return std::to_string(count) + " elements instead of " + std::to_string(wanted);
  }
  // Much faster than element by element in builds that are not optimized.
  if (std::is_same_v<Got, Want> && SameBytes(got, want, count * sizeof(Got))) return "";
  const auto [first, second] = std::mismatch(got, got + count, want);
  if (first == got + count) return "";
  const auto index = static_cast<size_t>(first - got);
  const std::string place = width == 0 ? "index " + std::to_string(index)
                                       : "row " + std::to_string(index / width) + ", column " +
                                             std::to_string(index % width);
  return place + ": " + std::to_string(*first) + " instead of " + std::to_string(*second);
}
template <class Got, class Want>
std::string FirstDifference(const Got& got, const Want& want, size_t width = 0) {
  return FirstDifference(std::data(got), std::size(got), std::data(want), std::size(want), width);
}

// Compares `count` elements at two pointers.
template <class T>
std::string FirstDifferenceOf(const T* got, const T* want, size_t count, size_t width = 0) {
  return FirstDifference(got, count, want, count, width);
}

// Compares `size` bytes at two pointers.
inline std::string FirstByteDifference(const void* got, const void* want, size_t size) {
  return FirstDifferenceOf(static_cast<const uint8_t*>(got), static_cast<const uint8_t*>(want),
                           size);
}

// Compares the bytes of two memories. If `step` is not 0, rows are `step` bytes apart.
template <class T>
std::string FirstDifference(const Guarded<T>& got, const Guarded<T>& want, int32_t step = 0) {
  return FirstDifference(got.raw(), got.bytes(), want.raw(), want.bytes(),
                         static_cast<size_t>(step < 0 ? -step : step));
}

// Compares the bytes of the planes of two images.
inline std::string FirstDifference(const std::vector<std::vector<uint8_t>>& got,
                                   const std::vector<std::vector<uint8_t>>& want,
                                   int32_t step = 0) {
  for (size_t i = 0; i < got.size(); ++i) {
    const std::string difference =
        FirstDifference(got[i], want[i], static_cast<size_t>(step < 0 ? -step : step));
    if (!difference.empty()) return "plane " + std::to_string(i) + ", " + difference;
  }
  return "";
}

}  // namespace harness

#endif  // ZEPJP_TESTS_HARNESS_DIFFERENCE_H_
