// SPDX-License-Identifier: MIT
// A 32-bit integer whose sums wrap, so that damaged files cannot cause undefined behaviour; its
// shifts are arithmetic.
#ifndef ZEPJP_CODECS_JPEGXR_WRAPPING_H_
#define ZEPJP_CODECS_JPEGXR_WRAPPING_H_

#include <cstdint>

namespace zepcodec::jpegxr {

struct Wrapping {
  int32_t value;

  Wrapping() = default;
  Wrapping(int32_t from) : value(from) {}  // NOLINT: conversions are meant
  static Wrapping Of(uint32_t bits) { return {static_cast<int32_t>(bits)}; }
  uint32_t bits() const { return static_cast<uint32_t>(value); }

  friend Wrapping operator+(Wrapping a, Wrapping b) { return Of(a.bits() + b.bits()); }
  friend Wrapping operator-(Wrapping a, Wrapping b) { return Of(a.bits() - b.bits()); }
  friend Wrapping operator-(Wrapping a) { return Of(0 - a.bits()); }
  friend Wrapping operator*(Wrapping a, int32_t b) {
    return Of(a.bits() * static_cast<uint32_t>(b));
  }
  friend Wrapping operator>>(Wrapping a, int shift) { return {a.value >> shift}; }
  friend Wrapping operator<<(Wrapping a, int shift) { return Of(a.bits() << shift); }
  Wrapping& operator+=(Wrapping b) { return *this = *this + b; }
  Wrapping& operator-=(Wrapping b) { return *this = *this - b; }
};

inline int32_t WrapAdd(int32_t a, int32_t b) { return (Wrapping(a) + b).value; }
inline int32_t WrapSub(int32_t a, int32_t b) { return (Wrapping(a) - b).value; }
inline int32_t WrapMul(int32_t a, int32_t b) { return (Wrapping(a) * b).value; }

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_WRAPPING_H_
