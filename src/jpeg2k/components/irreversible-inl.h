// SPDX-License-Identifier: MIT
// The irreversible transform (ICT) of vectors in floating point and in 16-bit fixed point. Included
// once per instruction set.
//
//   Y  =  0.299   R + 0.587   G + 0.114   B     R = Y + 1.402 Cr
//   Cb = -0.16875 R - 0.33126 G + 0.5     B     G = Y - 0.34413 Cb - 0.71414 Cr
//   Cr =  0.5     R - 0.41869 G - 0.08131 B     B = Y + 1.772 Cb
//
// In fixed point with weights times 2^14: (S + 2^13) >> 14 for a weighted sum S. One rounding
// multiplication makes a product of 16-bit lanes if 2w < 2^15:
//
//   (d w + 2^13) >> 14 = (d 2w + 2^14) >> 15
#if defined(ZEPJP_SRC_JPEG2K_COMPONENTS_IRREVERSIBLE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_COMPONENTS_IRREVERSIBLE_INL_H_
#    undef ZEPJP_SRC_JPEG2K_COMPONENTS_IRREVERSIBLE_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_COMPONENTS_IRREVERSIBLE_INL_H_
#  endif

#  include "jpeg2k/components/layouts-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

template <class V>
HWY_INLINE V Times(V v, float weight) {
  return hn::Mul(v, hn::Set(hn::DFromV<V>(), weight));
}

// One rounding for each product and each sum, from left to right.
struct IctForwardFloat {
  template <class D>
  static HWY_INLINE Three<D> Apply(const Three<D>& rgb) {
    return {
        hn::Add(hn::Add(Times(rgb.c0, 0.299f), Times(rgb.c1, 0.587f)), Times(rgb.c2, 0.114f)),
        hn::Add(hn::Sub(Times(rgb.c0, -0.16875f), Times(rgb.c1, 0.33126f)), Times(rgb.c2, 0.5f)),
        hn::Sub(hn::Sub(Times(rgb.c0, 0.5f), Times(rgb.c1, 0.41869f)), Times(rgb.c2, 0.08131f))};
  }
};

struct IctInverseFloat {
  template <class D>
  static HWY_INLINE Three<D> Apply(const Three<D>& ycc) {
    const auto green = hn::Sub(ycc.c0, Times(ycc.c1, 0.34413f));
    return {hn::Add(ycc.c0, Times(ycc.c2, 1.402f)), hn::Sub(green, Times(ycc.c2, 0.71414f)),
            hn::Add(ycc.c0, Times(ycc.c1, 1.772f))};
  }
};

// Weights of a pair of 16-bit lanes.
HWY_INLINE V16 Weights(int first, int second) {
  const auto pair = static_cast<uint32_t>(second) << 16 | (static_cast<uint32_t>(first) & 0xFFFF);
  return hn::BitCast(D16(), hn::Set(DU32(), pair));
}

constexpr int kRound = 1 << 13;

// Pairs of 16-bit lanes from two vectors; PackBlocks puts their dot products back in order.
struct Pairs {
  HWY_INLINE Pairs(V16 first, V16 second)
      : low(hn::InterleaveLower(D16(), first, second)),
        high(hn::InterleaveUpper(D16(), first, second)) {}
  V16 low, high;
};

HWY_INLINE V32 Descale(V32 sum) { return hn::ShiftRight<14>(sum); }

// Y = S / 2^14, then the differences B - Y and R - Y times 0.5 / (1 - weight of B or R). A
// difference is rounded on its own: (2^14 B - S + 2^13) >> 14 = B - ((S + 2^13 - 1) >> 14); it
// wraps at 16 bits.
struct IctForward16 {
  static HWY_INLINE Three<D16> Apply(Three<D16> rgb) {
    const Pairs rg(rgb.c0, rgb.c1);
    const Pairs b1(rgb.c2, hn::Set(D16(), 1));
    const V32 low = Rounded(rg.low, b1.low);
    const V32 high = Rounded(rg.high, b1.high);
    const V32 minus_one = hn::Set(D32(), -1);
    const V16 subtracted =
        PackBlocks(Descale(hn::Add(low, minus_one)), Descale(hn::Add(high, minus_one)));
    const V16 db = hn::Sub(rgb.c2, subtracted);
    const V16 dr = hn::Sub(rgb.c0, subtracted);
    return {PackBlocks(Descale(low), Descale(high)),
            hn::MulFixedPoint15(db, hn::Set(D16(), 2 * 9246)),
            hn::MulFixedPoint15(dr, hn::Set(D16(), 2 * 11686))};
  }

 private:
  static HWY_INLINE V32 Rounded(V16 rg, V16 b1) {
    const V32 sum = DotAcc(hn::Zero(D32()), rg, Weights(4899, 9617));
    return DotAcc(sum, b1, Weights(1868, kRound));
  }
};

// Weights above 2^14 are split into 2^14, which adds the chroma itself, and the rest, which is a
// multiplication. Both summands have the sign of the chroma, so the two saturating additions
// saturate in the same direction, like one addition of the exact sum.
struct IctInverse16 {
  static HWY_INLINE Three<D16> Apply(Three<D16> ycc) {
    const Pairs chroma(ycc.c1, ycc.c2);
    const Pairs y1(ycc.c0, hn::Set(D16(), 1));
    const V16 green = PackBlocks(Green(chroma.low, y1.low), Green(chroma.high, y1.high));
    return {AddScaled<22970>(ycc.c0, ycc.c2), green, AddScaled<29032>(ycc.c0, ycc.c1)};
  }

 private:
  template <int kWeight>
  static HWY_INLINE V16 AddScaled(V16 y, V16 chroma) {
    const V16 rest = hn::MulFixedPoint15(chroma, hn::Set(D16(), 2 * (kWeight - 16384)));
    return hn::SaturatedAdd(hn::SaturatedAdd(y, chroma), rest);
  }
  static HWY_INLINE V32 Green(V16 chroma, V16 y1) {
    const V32 sum = DotAcc(hn::Zero(D32()), chroma, Weights(-5638, -11700));
    return Descale(DotAcc(sum, y1, Weights(16384, kRound)));
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
