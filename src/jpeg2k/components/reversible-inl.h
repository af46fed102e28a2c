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
HWY_INLINE V16 Mean(V16 a, V16 b) {
  return hn::Add(hn::And(a, b), hn::ShiftRight<1>(hn::Xor(a, b)));
}

struct RctForward {
  static HWY_INLINE Three<D16> Apply(Three<D16> rgb) {
    return {Mean(Mean(rgb.c0, rgb.c2), rgb.c1), hn::Sub(rgb.c2, rgb.c1), hn::Sub(rgb.c0, rgb.c1)};
  }
  static HWY_INLINE Three<D32> Apply(Three<D32> rgb) {
    const V32 sum = hn::Add(hn::Add(rgb.c0, rgb.c2), hn::Add(rgb.c1, rgb.c1));
    return {hn::ShiftRight<2>(sum), hn::Sub(rgb.c2, rgb.c1), hn::Sub(rgb.c0, rgb.c1)};
  }
};

struct RctInverse {
  template <class D>
  static HWY_INLINE Three<D> FromGreen(hn::VFromD<D> green, const Three<D>& yuv) {
    return {hn::Add(yuv.c2, green), green, hn::Add(yuv.c1, green)};
  }
  static HWY_INLINE Three<D16> Apply(Three<D16> yuv) {
    const V16 quarter = hn::ShiftRight<1>(Mean(yuv.c1, yuv.c2));
    return FromGreen<D16>(hn::Sub(yuv.c0, quarter), yuv);
  }
  static HWY_INLINE Three<D32> Apply(Three<D32> yuv) {
    const V32 quarter = hn::ShiftRight<2>(hn::Add(yuv.c1, yuv.c2));
    return FromGreen<D32>(hn::Sub(yuv.c0, quarter), yuv);
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
