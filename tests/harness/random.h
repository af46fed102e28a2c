// SPDX-License-Identifier: MIT
// Input that is likely to reveal errors.
#ifndef ZEPJP_TESTS_HARNESS_RANDOM_H_
#define ZEPJP_TESTS_HARNESS_RANDOM_H_

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

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

}  // namespace harness

#endif  // ZEPJP_TESTS_HARNESS_RANDOM_H_
