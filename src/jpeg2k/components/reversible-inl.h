// SPDX-License-Identifier: MIT
// The reversible transform (RCT) of vectors. Included once per instruction set.
//
//   Y = (R + 2G + B) >> 2,  U = B - G,  V = R - G
//   G = Y - ((U + V) >> 2), R = V + G,  B = U + G
//
// A mean of means keeps 16-bit elements in 16-bit lanes, because it cannot wrap:
//
//   floor((R + 2G + B) / 4) = floor((floor((R + B) / 2) + G) / 2)
#if defined(ZEPJP_SRC_JPEG2K_COMPONENTS_REVERSIBLE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_COMPONENTS_REVERSIBLE_INL_H_
#    undef ZEPJP_SRC_JPEG2K_COMPONENTS_REVERSIBLE_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_COMPONENTS_REVERSIBLE_INL_H_
#  endif

#  include "jpeg2k/components/layouts-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// floor((a + b) / 2)
template <class V>
HWY_INLINE V Mean(V a, V b) {
  return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}

// D: a tag of 16-bit or 32-bit lanes.
template <class D>
constexpr bool kIs16 = sizeof(hn::TFromD<D>) == 2;

struct RctForward {
  template <class D>
  static HWY_INLINE Three<D> Apply(const Three<D>& rgb) {
    return {Luma<D>(rgb), hn::Sub(rgb.c2, rgb.c1), hn::Sub(rgb.c0, rgb.c1)};
  }

 private:
  template <class D>
  static HWY_INLINE hn::VFromD<D> Luma(const Three<D>& rgb) {
    if constexpr (kIs16<D>) return Mean(Mean(rgb.c0, rgb.c2), rgb.c1);
    return hn::ShiftRight<2>(hn::Add(hn::Add(rgb.c0, rgb.c2), hn::Add(rgb.c1, rgb.c1)));
  }
};

struct RctInverse {
  template <class D>
  static HWY_INLINE Three<D> Apply(const Three<D>& yuv) {
    const auto green = hn::Sub(yuv.c0, Quarter<D>(yuv));
    return {hn::Add(yuv.c2, green), green, hn::Add(yuv.c1, green)};
  }

 private:
  template <class D>
  static HWY_INLINE hn::VFromD<D> Quarter(const Three<D>& yuv) {
    if constexpr (kIs16<D>) return hn::ShiftRight<1>(Mean(yuv.c1, yuv.c2));
    return hn::ShiftRight<2>(hn::Add(yuv.c1, yuv.c2));
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
