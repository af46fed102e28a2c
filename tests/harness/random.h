// SPDX-License-Identifier: MIT
// Input that is likely to reveal errors.
#ifndef ZEPJP_TESTS_HARNESS_RANDOM_H_
#define ZEPJP_TESTS_HARNESS_RANDOM_H_

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <vector>

namespace harness {

// The seed of random input: ZEPJP_TEST_SEED in the environment, or a fixed one. Print it with
// failures.
uint32_t Seed();

// Whether tests over a whole finite domain run in full; otherwise they take a sample.
inline bool Exhaustive() {
  static const bool is_emulated = std::getenv("ZEPJP_TEST_SAMPLE") != nullptr;
  return ZEPJP_EXHAUSTIVE != 0 && !is_emulated;
}

using Random = std::mt19937;

// All values where tests run in full, otherwise one of them.
template <class T>
std::vector<T> AllOrOne(const std::vector<T>& values, Random& random) {
  if (Exhaustive()) return values;
  return {values[random() % values.size()]};
}
template <class T>
std::vector<T> AllOrOne(std::initializer_list<T> values, Random& random) {
  return AllOrOne(std::vector<T>(values), random);
}

enum class Pattern { kMin, kMax, kAlternating, kRamp, kNearLimits, kSmall, kRandom };
constexpr Pattern kPatterns[] = {Pattern::kMin,   Pattern::kMax,        Pattern::kAlternating,
                                 Pattern::kRamp,  Pattern::kNearLimits, Pattern::kSmall,
                                 Pattern::kRandom};

template <class T>
T PatternValue(Pattern pattern, size_t index, Random& random) {
  constexpr auto kMin = std::numeric_limits<T>::min();
  constexpr auto kMax = std::numeric_limits<T>::max();
  const auto limit = [](bool low) { return low ? kMin : kMax; };
  switch (pattern) {
    case Pattern::kMin: return kMin;
    case Pattern::kMax: return kMax;
    case Pattern::kAlternating: return limit(index % 2 == 0);
    case Pattern::kRamp: return static_cast<T>(kMin + static_cast<T>(index * 7));
    case Pattern::kNearLimits: {
      const auto off = static_cast<T>(random() % 4);
      return random() % 2 ? static_cast<T>(kMin + off) : static_cast<T>(kMax - off);
    }
    case Pattern::kSmall: return static_cast<T>(static_cast<int>(random() % 7) - 3);
    case Pattern::kRandom: break;
  }
  return static_cast<T>(random());
}

// `data` may have any alignment.
template <class T>
void FillPattern(T* data, size_t count, Pattern pattern, Random& random) {
  auto* bytes = reinterpret_cast<uint8_t*>(data);
  for (size_t i = 0; i < count; ++i) {
    const T value = PatternValue<T>(pattern, i, random);
    std::memcpy(bytes + i * sizeof(T), &value, sizeof(T));
  }
}

// Compiled once, with the optimization of the libraries: the tests themselves may have none.
extern template void FillPattern(int8_t*, size_t, Pattern, Random&);
extern template void FillPattern(uint8_t*, size_t, Pattern, Random&);
extern template void FillPattern(int16_t*, size_t, Pattern, Random&);
extern template void FillPattern(uint16_t*, size_t, Pattern, Random&);
extern template void FillPattern(int32_t*, size_t, Pattern, Random&);
extern template void FillPattern(uint32_t*, size_t, Pattern, Random&);
extern template void FillPattern(float*, size_t, Pattern, Random&);

}  // namespace harness

#endif  // ZEPJP_TESTS_HARNESS_RANDOM_H_
