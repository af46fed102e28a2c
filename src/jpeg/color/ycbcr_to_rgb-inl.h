// SPDX-License-Identifier: MIT
// The conversion of YCbCr to RGB (ITU-T T.871) on vectors. Included once per instruction set.
//
// With u = Cb - 128 and v = Cr - 128:
//
//   R = Y + ((22970 v + 8192) >> 14)
//   G = Y + ((-5638 u - 11700 v + 8192) >> 14)
//   B = Y + ((29032 u + 8192) >> 14)
//
// each clamped to 0..255. Y is not part of the rounded sums, because 2^14 Y has no fraction to
// round. So the terms of u and v are computed once for all pixels that share them.
//
// Almost everything fits 16-bit lanes: the rounding fixed-point product (a b + 2^14) >> 15 is the
// term of R for a = 2v and that of B for a = 2u, with |a| <= 256. Only the sum of two products in
// G's term needs 32-bit lanes.
#if defined(ZEPJP_SRC_JPEG_COLOR_YCBCR_TO_RGB_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_COLOR_YCBCR_TO_RGB_INL_H_
#    undef ZEPJP_SRC_JPEG_COLOR_YCBCR_TO_RGB_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_COLOR_YCBCR_TO_RGB_INL_H_
#  endif

#  include "jpeg/color/vectors-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

struct Rgb {
  V8 r, g, b;
};

// What chroma adds to Y.
struct Terms {
  V16 r, g, b;
};

HWY_INLINE V16 GreenTerm(V16 u2, V16 v2) {
  const D16 d16;
  const D32 d32;
  constexpr uint32_t kPair =
      static_cast<uint16_t>(-5638 / 2) | uint32_t{static_cast<uint16_t>(-11700 / 2)} << 16;
  const V16 weights = hn::BitCast(d16, hn::Set(hn::ScalableTag<uint32_t>(), kPair));
  const auto round = hn::Set(d32, 8192);
  const auto low = DotAcc(round, hn::InterleaveLower(d16, u2, v2), weights);
  const auto high = DotAcc(round, hn::InterleaveUpper(d16, u2, v2), weights);
  return PackBlocks(hn::ShiftRight<14>(low), hn::ShiftRight<14>(high));
}

// The terms of 2u and 2v.
HWY_INLINE Terms TermsOf(V16 u2, V16 v2) {
  const D16 d16;
  return {hn::MulFixedPoint15(v2, hn::Set(d16, 22970)), GreenTerm(u2, v2),
          hn::MulFixedPoint15(u2, hn::Set(d16, 29032))};
}

// The first and the second pixels of PackBlocks.
HWY_INLINE Rgb AddTerms(V16 first_y, const Terms& first, V16 second_y, const Terms& second) {
  return {PackBlocks(hn::Add(first_y, first.r), hn::Add(second_y, second.r)),
          PackBlocks(hn::Add(first_y, first.g), hn::Add(second_y, second.g)),
          PackBlocks(hn::Add(first_y, first.b), hn::Add(second_y, second.b))};
}

HWY_INLINE Rgb Inks(const Rgb& p) {
  const V8 all = hn::Set(D8(), 255);
  return {hn::Xor(p.r, all), hn::Xor(p.g, all), hn::Xor(p.b, all)};
}
HWY_INLINE Rgb Reversed(const Rgb& p) { return {p.b, p.g, p.r}; }

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
