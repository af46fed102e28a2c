// SPDX-License-Identifier: MIT
// Element access for scalar models: rows of any alignment and step.
#ifndef ZEPJP_TESTS_REFERENCE_PIXELS_H_
#define ZEPJP_TESTS_REFERENCE_PIXELS_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace reference {

template <class T>
T Get(const T* base, int32_t step, int32_t x, int32_t y) {
  T value;
  std::memcpy(&value,
              reinterpret_cast<const uint8_t*>(base) + ptrdiff_t{step} * y +
                  ptrdiff_t{x} * static_cast<ptrdiff_t>(sizeof(T)),
              sizeof(T));
  return value;
}

template <class T>
void Put(T* base, int32_t step, int32_t x, int32_t y, T value) {
  std::memcpy(reinterpret_cast<uint8_t*>(base) + ptrdiff_t{step} * y +
                  ptrdiff_t{x} * static_cast<ptrdiff_t>(sizeof(T)),
              &value, sizeof(T));
}

inline uint8_t Clamp255(int32_t value) { return static_cast<uint8_t>(std::clamp(value, 0, 255)); }

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_PIXELS_H_
