// SPDX-License-Identifier: MIT
#include "reference/photo_core_transform.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace reference {
namespace {

// An integer whose sums wrap at its own width.
template <class T>
struct Wrapping {
  T value;
  static Wrapping Of(int64_t exact) { return {static_cast<T>(exact)}; }
  friend Wrapping operator+(Wrapping a, Wrapping b) { return Of(int64_t{a.value} + b.value); }
  friend Wrapping operator-(Wrapping a, Wrapping b) { return Of(int64_t{a.value} - b.value); }
  friend Wrapping operator-(Wrapping a) { return Of(-int64_t{a.value}); }
};

// (factor * x + round) >> shift
template <class T>
Wrapping<T> Scale(int factor, Wrapping<T> x, int round, int shift) {
  const auto sum = Wrapping<T>::Of(int64_t{x.value} * factor + round);
  return Wrapping<T>::Of(sum.value >> shift);
}
float Scale(int factor, float x, int, int shift) {
  return x * (static_cast<float>(factor) / static_cast<float>(1 << shift));
}

template <class E>
void H(E& a, E& b, E& c, E& d, int k) {
  const E old_c = c, old_d = d;
  a = a + d;
  b = b - c;
  const E t = Scale(1, a - b, k, 1) - old_d;
  b = b + t;
  d = d + t - old_c;
  a = a - d;
  c = t;
}

template <class E>
void O(E& a, E& b, E& c, E& d) {
  b = b - c;
  a = a + d;
  c = c + Scale(1, b, 1, 1);
  d = Scale(1, a, 1, 1) - d;
  b = b - Scale(3, a, 4, 3);
  a = a + Scale(3, b, 4, 3);
  d = d - Scale(3, c, 4, 3);
  c = c + Scale(3, d, 4, 3);
  d = d + Scale(1, b, 0, 1);
  c = c - Scale(1, a, 1, 1);
  b = b - d;
  a = a + c;
}

template <class E>
void InverseO(E& a, E& b, E& c, E& d) {
  a = a - c;
  b = b + d;
  c = c + Scale(1, a, 1, 1);
  d = d - Scale(1, b, 0, 1);
  c = c - Scale(3, d, 4, 3);
  d = d + Scale(3, c, 4, 3);
  a = a - Scale(3, b, 4, 3);
  b = b + Scale(3, a, 4, 3);
  d = Scale(1, a, 1, 1) - d;
  c = c - Scale(1, b, 1, 1);
  a = a - d;
  b = b + c;
}

template <class E>
void Oo(E& a, E& b, E& c, E& d) {
  b = -b;
  c = -c;
  d = d + a;
  c = c - b;
  const E t1 = Scale(1, d, 0, 1);
  a = a - t1;
  const E t2 = Scale(1, c, 0, 1);
  b = b + t2;
  a = a + Scale(3, b, 4, 3);
  b = b - Scale(3, a, 3, 2);
  a = a + Scale(3, b, 3, 3);
  b = b - t2;
  c = c + b;
  a = a + t1;
  d = d - a;
}

template <class E>
void InverseOo(E& a, E& b, E& c, E& d) {
  d = d + a;
  const E t1 = Scale(1, d, 0, 1);
  a = a - t1;
  c = c - b;
  const E t2 = Scale(1, c, 0, 1);
  b = b + t2;
  a = a - Scale(3, b, 3, 3);
  b = b + Scale(3, a, 3, 2);
  a = a - Scale(3, b, 4, 3);
  b = b - t2;
  a = a + t1;
  c = c + b;
  d = d - a;
  c = -c;
  b = -b;
}

template <class E>
void FirstStage(E (&x)[4][4]) {
  H(x[0][0], x[0][3], x[3][0], x[3][3], 0);
  H(x[0][1], x[0][2], x[3][1], x[3][2], 0);
  H(x[1][0], x[1][3], x[2][0], x[2][3], 0);
  H(x[1][1], x[1][2], x[2][1], x[2][2], 0);
}

template <class E>
void Transform(E (&x)[4][4], bool is_forward) {
  if (is_forward) FirstStage(x);
  H(x[0][0], x[0][1], x[1][0], x[1][1], 1);
  if (is_forward) {
    O(x[0][2], x[0][3], x[1][2], x[1][3]);
    O(x[2][0], x[3][0], x[2][1], x[3][1]);
    Oo(x[2][2], x[2][3], x[3][2], x[3][3]);
  } else {
    InverseO(x[0][2], x[0][3], x[1][2], x[1][3]);
    InverseO(x[2][0], x[3][0], x[2][1], x[3][1]);
    InverseOo(x[2][2], x[2][3], x[3][2], x[3][3]);
    FirstStage(x);
  }
}

template <class T>
zepStatus Region(T* data, int32_t step, zepiSize size, bool is_forward) {
  using E = std::conditional_t<std::is_floating_point_v<T>, float, Wrapping<int32_t>>;
  using Element = std::conditional_t<std::is_same_v<T, int16_t>, Wrapping<int16_t>, E>;
  auto* const bytes = reinterpret_cast<uint8_t*>(data);
  for (int32_t y = 0; y < size.height; y += 4) {
    for (int32_t x = 0; x < size.width; x += 4) {
      Element block[4][4];
      uint8_t* const at =
          bytes + ptrdiff_t{y} * step + ptrdiff_t{x} * static_cast<ptrdiff_t>(sizeof(T));
      for (int row = 0; row < 4; ++row)
        std::memcpy(block[row], at + ptrdiff_t{row} * step, sizeof(block[0]));
      Transform(block, is_forward);
      for (int row = 0; row < 4; ++row)
        std::memcpy(at + ptrdiff_t{row} * step, block[row], sizeof(block[0]));
    }
  }
  return zepStatusOk;
}

}  // namespace

#define ZEPJP_REFERENCE_DEFINE(direction, type, T, forward)                                   \
  zepStatus zepiPCT##direction##_JPEGXR_##type##_C1IR(T* data, int32_t step, zepiSize size) { \
    return Region(data, step, size, forward);                                                 \
  }                                                                                           \
  zepStatus zepiPCT##direction##16x16_JPEGXR_##type##_C1IR(T* data, int32_t step) {           \
    return Region(data, step, {16, 16}, forward);                                             \
  }                                                                                           \
  zepStatus zepiPCT##direction##8x16_JPEGXR_##type##_C1IR(T* data, int32_t step) {            \
    return Region(data, step, {8, 16}, forward);                                              \
  }                                                                                           \
  zepStatus zepiPCT##direction##8x8_JPEGXR_##type##_C1IR(T* data, int32_t step) {             \
    return Region(data, step, {8, 8}, forward);                                               \
  }

ZEPJP_REFERENCE_DEFINE(Fwd, 16s, int16_t, true)
ZEPJP_REFERENCE_DEFINE(Inv, 16s, int16_t, false)
ZEPJP_REFERENCE_DEFINE(Fwd, 32s, int32_t, true)
ZEPJP_REFERENCE_DEFINE(Inv, 32s, int32_t, false)
ZEPJP_REFERENCE_DEFINE(Fwd, 32f, float, true)
ZEPJP_REFERENCE_DEFINE(Inv, 32f, float, false)

}  // namespace reference
