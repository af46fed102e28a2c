// SPDX-License-Identifier: MIT
// The lifting steps of the 5/3 and the 9/7 filter on vectors (ITU-T T.800, F.3 and F.4). Included
// once per instruction set.
//
// Lifting splits a line into its even samples, which become the low coefficients L, and its odd
// samples, which become the high coefficients H. Each step changes one half by a function of its
// two neighbours l and r in the other half, so the inverse undoes it exactly, whatever rounding or
// wrapping occurred:
//
//   5/3   step 0   H = x - ((l + r) >> 1)          predict an odd sample from its neighbours
//         step 1   L = x + ((l + r + 2) >> 2)      keep the mean
//   9/7   step 0   H += alpha (l + r)              alpha = -1.586...
//         step 1   L += beta  (l + r)              beta  = -0.053...
//         step 2   H += gamma (l + r)              gamma =  0.883...
//         step 3   L += delta (l + r)              delta =  0.444...
//         scaling  L /= K, H *= K                  K     =  1.230...
//
// The 9/7 filter exists in floating point and in fixed point with the constants times 2^14, rounded
// to integers: a product is (s c + 2^13) >> 14 for the exact sum s of the two neighbours, and each
// step keeps the low 16 or 32 bits of its result. The specializations of Products97 compute that
// without lanes of twice the width.
#include "simd/ops-inl.h"

#if defined(ZEPJP_SRC_JPEG2K_WAVELET_FILTERS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_WAVELET_FILTERS_INL_H_
#    undef ZEPJP_SRC_JPEG2K_WAVELET_FILTERS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_WAVELET_FILTERS_INL_H_
#  endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

template <class T>
using Tag = hn::ScalableTag<T>;
template <class T>
using Vector = hn::Vec<Tag<T>>;
template <class T>
constexpr size_t kLanesOf = hn::MaxLanes(Tag<T>());

// Members of a filter:
//   Element                              the type of samples and coefficients
//   kSteps                               the number of lifting steps
//   kScales                              whether ForwardScale and InverseScale change the value
//   kPairRule                            whether lines of two samples have a rule of their own
//   Forward<step>(value, left, right)    the value after a step; Inverse undoes it

// T: int16_t or int32_t. Sums wrap.
template <class T>
struct Filter53 {
  using Element = T;
  using V = Vector<T>;
  static constexpr int kSteps = 2;
  static constexpr bool kScales = false;
  static constexpr bool kPairRule = true;

  template <int kStep>
  static HWY_INLINE V Change(V left, V right) {
    const V sum = hn::Add(left, right);
    if constexpr (kStep == 0) {
      return hn::ShiftRight<1>(sum);
    } else {
      return hn::ShiftRight<2>(hn::Add(sum, hn::Set(Tag<T>(), 2)));
    }
  }
  template <int kStep>
  static HWY_INLINE V Forward(V value, V left, V right) {
    const V change = Change<kStep>(left, right);
    return kStep == 0 ? hn::Sub(value, change) : hn::Add(value, change);
  }
  template <int kStep>
  static HWY_INLINE V Inverse(V value, V left, V right) {
    const V change = Change<kStep>(left, right);
    return kStep == 0 ? hn::Add(value, change) : hn::Sub(value, change);
  }
  template <bool kHigh>
  static HWY_INLINE V ForwardScale(V value) {
    return value;
  }
  template <bool kHigh>
  static HWY_INLINE V InverseScale(V value) {
    return value;
  }
};

// alpha, beta, gamma and delta, 1/K, K.
struct Constants97Float {
  static constexpr float kLift[] = {-1.5861343145370483F, -0.05298011749982834F,
                                    0.8829110860824585F, 0.4435068666934967F};
  static constexpr float kInverseK = 0.8128930926322937F;
  static constexpr float kK = 1.2301740646362305F;
};
// The constants times 2^14.
struct Constants97Fixed {
  static constexpr int32_t kLift[] = {-25987, -868, 14466, 7266};
  static constexpr int32_t kInverseK = 13318;
  static constexpr int32_t kK = 20155;
};

// Products of one value, or of the sum of two values, with a constant.
template <class T>
struct Products97;

template <>
struct Products97<float> {
  using Constants = Constants97Float;
  using V = Vector<float>;
  static HWY_INLINE V OfSum(V a, V b, float c) {
    return hn::Mul(hn::Set(Tag<float>(), c), hn::Add(a, b));
  }
  static HWY_INLINE V OfOne(V a, float c) { return hn::Mul(hn::Set(Tag<float>(), c), a); }
};

// `magnitude` with the sign of `like`, which is not 0.
template <class V>
HWY_INLINE V WithSignOf(V magnitude, V like) {
  const V sign = hn::ShiftRight<15>(like);
  return hn::Sub(hn::Xor(magnitude, sign), sign);
}
#  if HWY_ARCH_X86
HWY_INLINE hn::Vec128<int16_t> WithSignOf(hn::Vec128<int16_t> magnitude, hn::Vec128<int16_t> like) {
  return hn::Vec128<int16_t>{_mm_sign_epi16(magnitude.raw, like.raw)};
}
#  endif
#  if HWY_TARGET == HWY_AVX2
HWY_INLINE hn::Vec256<int16_t> WithSignOf(hn::Vec256<int16_t> magnitude, hn::Vec256<int16_t> like) {
  return hn::Vec256<int16_t>{_mm256_sign_epi16(magnitude.raw, like.raw)};
}
#  endif

// (s c + 2^13) >> 14 modulo 2^16 for s = a + b, in 16-bit lanes. Write 4c = 2^16 q + r with r from
// -2^15 to 2^15 - 2; r is even. Then the result is q s + ((r/2 s + 2^14) >> 15), where the second
// term is one rounding multiplication. If s does not fit 16 bits, the lane holds s - 2^16 o with o
// = 1 or -1. Modulo 2^16 the first term does not change, and the second one comes out too small by
// r o, which is added. Saturation detects this case, and the sign of the saturated sum is that of
// o.
template <>
struct Products97<int16_t> {
  using Constants = Constants97Fixed;
  using V = Vector<int16_t>;
  static constexpr int32_t WholePart(int32_t c) { return (4 * c + 32768) >> 16; }
  static HWY_INLINE V Times(V value, int32_t factor) {
    const V zero = hn::Zero(Tag<int16_t>());
    return factor == 0    ? zero
           : factor == 1  ? value
           : factor == -1 ? hn::Sub(zero, value)
                          : hn::Sub(zero, hn::Add(value, value));  // -2
  }
  static HWY_INLINE V OfOne(V a, int32_t c) {
    const int32_t q = WholePart(c), r = 4 * c - 65536 * q;
    const V half = hn::Set(Tag<int16_t>(), static_cast<int16_t>(r / 2));
    return hn::Add(Times(a, q), hn::MulFixedPoint15(a, half));
  }
  static HWY_INLINE V OfSum(V a, V b, int32_t c) {
    const int32_t q = WholePart(c), r = 4 * c - 65536 * q;
    const V sum = hn::Add(a, b), saturated = hn::SaturatedAdd(a, b);
    const V wrapped = WithSignOf(hn::Set(Tag<int16_t>(), static_cast<int16_t>(r)), saturated);
    return hn::Add(OfOne(sum, c), hn::IfThenZeroElse(hn::Eq(sum, saturated), wrapped));
  }
};

// (s c + 2^13) >> 14 modulo 2^32 for s = a + b, in 32-bit lanes. With both cut into a = 2^14 ah +
// al, 0 <= al < 2^14, it is (ah + bh) c + (((al + bl) c + 2^13) >> 14). al + bl < 2^15 fits a
// signed 16-bit lane, so the second product is one DotAcc.
template <>
struct Products97<int32_t> {
  using Constants = Constants97Fixed;
  using V = Vector<int32_t>;
  static HWY_INLINE V OfParts(V upper, V lower, int32_t c) {
    const Tag<int32_t> d;
    const hn::Repartition<int16_t, Tag<int32_t>> d16;
    const V c_in_lower_half = hn::Set(d, c & 0xFFFF);
    const V product =
        DotAcc(hn::Set(d, 1 << 13), hn::BitCast(d16, lower), hn::BitCast(d16, c_in_lower_half));
    return hn::Add(hn::Mul(upper, hn::Set(d, c)), hn::ShiftRight<14>(product));
  }
  static HWY_INLINE V Lower(V a) { return hn::And(a, hn::Set(Tag<int32_t>(), (1 << 14) - 1)); }
  static HWY_INLINE V OfOne(V a, int32_t c) { return OfParts(hn::ShiftRight<14>(a), Lower(a), c); }
  static HWY_INLINE V OfSum(V a, V b, int32_t c) {
    return OfParts(hn::Add(hn::ShiftRight<14>(a), hn::ShiftRight<14>(b)),
                   hn::Add(Lower(a), Lower(b)), c);
  }
};

// (s c + 2^13) >> 14 for values whose sums of two fit 16 bits: one DotAcc.
struct Products97Small {
  using Constants = Constants97Fixed;
  using V = Vector<int32_t>;
  static HWY_INLINE V OfOne(V a, int32_t c) {
    const Tag<int32_t> d;
    const hn::Repartition<int16_t, Tag<int32_t>> d16;
    const V c_in_lower_half = hn::Set(d, c & 0xFFFF);
    return hn::ShiftRight<14>(
        DotAcc(hn::Set(d, 1 << 13), hn::BitCast(d16, a), hn::BitCast(d16, c_in_lower_half)));
  }
  static HWY_INLINE V OfSum(V a, V b, int32_t c) { return OfOne(hn::Add(a, b), c); }
};

template <class T, class Products>
struct Steps97 {
  using Element = T;
  using V = Vector<T>;
  using Constants = typename Products::Constants;
  static constexpr int kSteps = 4;
  static constexpr bool kScales = true;
  static constexpr bool kPairRule = false;

  template <int kStep>
  static HWY_INLINE V Forward(V value, V left, V right) {
    return hn::Add(value, Products::OfSum(left, right, Constants::kLift[kStep]));
  }
  template <int kStep>
  static HWY_INLINE V Inverse(V value, V left, V right) {
    return hn::Sub(value, Products::OfSum(left, right, Constants::kLift[kStep]));
  }
  template <bool kHigh>
  static HWY_INLINE V ForwardScale(V value) {
    return Products::OfOne(value, kHigh ? Constants::kK : Constants::kInverseK);
  }
  template <bool kHigh>
  static HWY_INLINE V InverseScale(V value) {
    return Products::OfOne(value, kHigh ? Constants::kInverseK : Constants::kK);
  }
};

// T: int16_t, int32_t or float.
template <class T>
using Filter97 = Steps97<T, Products97<T>>;

// A faster form of a filter for rows of values from -2^11 to 2^11 - 1. In all steps, forward and
// inverse, values and sums of two grow by a factor of at most 13.5, so they stay within 16 bits.
template <class Filter>
struct ForSmallValues {
  using Steps = Filter;
};
template <>
struct ForSmallValues<Filter97<int32_t>> {
  using Steps = Steps97<int32_t, Products97Small>;
};
template <class Filter>
using SmallSteps = typename ForSmallValues<Filter>::Steps;
template <class Filter>
constexpr bool kHasSmallSteps = !hwy::IsSame<SmallSteps<Filter>, Filter>();

// Whether all values of a row are in that range; false for rows shorter than a vector.
inline bool AllSmall(const int32_t* row, size_t count) {
  const Tag<int32_t> d;
  constexpr size_t kLanes = kLanesOf<int32_t>;
  if (count < kLanes) return false;
  const auto offset = hn::Set(d, 1 << 11);
  auto bits = hn::Add(hn::LoadU(d, row + (count - kLanes)), offset);
  for (size_t i = 0; i + kLanes <= count; i += kLanes) {
    bits = hn::Or(bits, hn::Add(hn::LoadU(d, row + i), offset));
  }
  return hn::AllTrue(d, hn::Eq(hn::And(bits, hn::Set(d, -(1 << 12))), hn::Zero(d)));
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
