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
// round.
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

// Half of the pixels of a step: block b (128 bits) of half h holds the pixels 16b + 8h to
// 16b + 8h + 7.
struct Half {
  V16 y, u2, v2;  // Y, 2 (Cb - 128), 2 (Cr - 128)
};

struct Rgb {
  V8 r, g, b;
};

struct RgbHalf {
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

HWY_INLINE RgbHalf ConvertHalf(const Half& h) {
  const D16 d16;
  return {hn::Add(h.y, hn::MulFixedPoint15(h.v2, hn::Set(d16, 22970))),
          hn::Add(h.y, GreenTerm(h.u2, h.v2)),
          hn::Add(h.y, hn::MulFixedPoint15(h.u2, hn::Set(d16, 29032)))};
}

HWY_INLINE Rgb Convert(const Half& low, const Half& high) {
  const RgbHalf a = ConvertHalf(low);
  const RgbHalf b = ConvertHalf(high);
  return {PackBlocks(a.r, b.r), PackBlocks(a.g, b.g), PackBlocks(a.b, b.b)};
}

// 2 (chroma - 128) as signed 16-bit lanes.
HWY_INLINE V16 Centred(V16 chroma) {
  return hn::Sub(hn::ShiftLeft<1>(chroma), hn::Set(D16(), 256));
}

// Bytes as two halves of 16-bit lanes.
HWY_INLINE V16 LowerWords(V8 v) {
  return hn::BitCast(D16(), hn::InterleaveLower(D8(), v, hn::Zero(D8())));
}
HWY_INLINE V16 UpperWords(V8 v) {
  return hn::BitCast(D16(), hn::InterleaveUpper(D8(), v, hn::Zero(D8())));
}
HWY_INLINE Rgb Convert(V8 y, V8 cb, V8 cr) {
  return Convert({LowerWords(y), Centred(LowerWords(cb)), Centred(LowerWords(cr))},
                 {UpperWords(y), Centred(UpperWords(cb)), Centred(UpperWords(cr))});
}

HWY_INLINE Rgb Inks(const Rgb& p) {
  const auto invert = [](V8 v) ZEP_ATTR { return hn::Xor(v, hn::Set(D8(), 255)); };
  return {invert(p.r), invert(p.g), invert(p.b)};
}
HWY_INLINE Rgb Reversed(const Rgb& p) { return {p.b, p.g, p.r}; }

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
