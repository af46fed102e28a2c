// SPDX-License-Identifier: MIT
// The irreversible transform (ICT) of 32-bit elements in fixed point, with weights times 2^14 (the
// formulas are in irreversible-inl.h). Included once per instruction set.
//
// 32-bit elements with 14-bit weights would need products of 46 bits. Values that fit 16 bits, as
// those of images do, need one dot product of pairs of 16-bit lanes for each result, because the
// weights of Y add up to 2^14 and those of a chroma component to 0:
//
//   (S + 2^13) >> 14 = G + ((w_r (R - G) + w_b (B - G) + 2^13) >> 14)   without "G +" for chroma
//
// Otherwise each value is cut into halves, v = 2^16 h + l with 0 <= l < 2^16. The weighted sum is
// then S = 2^16 H + L, and
//
//   (S + 2^13) >> 14 = 4H + ((L + 2^13) >> 14)
//
// H and L are dot products of signed 16-bit lanes, with l held as l - 2^15. |L| < 2^31, because the
// magnitudes of the weights of each formula add up to less than 2^15. H may exceed 32 bits, but
// only its low 30 bits affect the result, which keeps 32 bits.
#if defined(ZEPJP_SRC_JPEG2K_COMPONENTS_FIXED_POINT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG2K_COMPONENTS_FIXED_POINT_INL_H_
#    undef ZEPJP_SRC_JPEG2K_COMPONENTS_FIXED_POINT_INL_H_
#  else
#    define ZEPJP_SRC_JPEG2K_COMPONENTS_FIXED_POINT_INL_H_
#  endif

#  include "jpeg2k/components/irreversible-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// Two vectors as pairs of their low halves, minus 2^15, and pairs of their high halves.
struct HalfWords {
  HWY_INLINE HalfWords(V32 first, V32 second) {
    const DU32 du;
    const auto a = hn::BitCast(du, first);
    const auto b = hn::BitCast(du, second);
    const auto low = hn::Or(hn::And(a, hn::Set(du, 0xFFFF)), hn::ShiftLeft<16>(b));
    const auto high = hn::Or(hn::ShiftRight<16>(a), hn::And(b, hn::Set(du, 0xFFFF0000)));
    l = hn::BitCast(D16(), hn::Xor(low, hn::Set(du, 0x80008000)));
    h = hn::BitCast(D16(), high);
  }
  V16 l, h;
};

struct HalfSums {
  V32 l, h;
};

HWY_INLINE HalfSums AddWeighed(HalfSums sums, const HalfWords& v, V16 weights) {
  return {DotAcc(sums.l, v.l, weights), DotAcc(sums.h, v.h, weights)};
}

// The initial sums: the rounding term, and 2^15 times the weights for the 2^15 that each low half
// lacks.
HWY_INLINE HalfSums StartSums(int sum_of_weights) {
  return {hn::Set(D32(), kRound + sum_of_weights * 32768), hn::Zero(D32())};
}

HWY_INLINE V32 Join(HalfSums sums) { return hn::Add(hn::ShiftLeft<2>(sums.h), Descale(sums.l)); }

// Whether a lane is negative. Up to AVX2 a mask has a bit for each byte; those of the upper bytes
// are the signs.
HWY_INLINE bool AnyNegative(V16 v) {
#  if HWY_TARGET == HWY_AVX2
  return (static_cast<uint32_t>(_mm256_movemask_epi8(v.raw)) & 0xAAAAAAAA) != 0;
#  elif HWY_TARGET == HWY_SSE4 || HWY_TARGET == HWY_SSSE3
  return (_mm_movemask_epi8(v.raw) & 0xAAAA) != 0;
#  else
  return !hn::AllFalse(D16(), hn::Lt(v, hn::Zero(D16())));
#  endif
}

struct IctForward32 {
  static HWY_INLINE Three<D32> ApplyToHalves(const Three<D32>& rgb) {
    const HalfWords rg(rgb.c0, rgb.c1);
    const HalfWords b0(rgb.c2, hn::Zero(D32()));
    return {WeighHalves<4899, 9617, 1868>(rg, b0), WeighHalves<-2765, -5427, 8192>(rg, b0),
            WeighHalves<8192, -6860, -1332>(rg, b0)};
  }
  // Replaces two vectors of each component, if they and their differences fit 16 bits.
  static HWY_INLINE bool ApplyTo16(Three<D32>& low, Three<D32>& high) {
    const V16 one = hn::Set(D16(), 1);
    const V16 red = PackBlocks(hn::Sub(low.c0, low.c1), hn::Sub(high.c0, high.c1));
    const V16 blue = PackBlocks(hn::Sub(low.c2, low.c1), hn::Sub(high.c2, high.c1));
    const V16 blue1 = hn::Add(blue, one);
    // If G is small, no difference has wrapped.
    const V16 green1 = hn::Add(PackBlocks(low.c1, high.c1), one);
    // The saturated values -2^15 and 2^15 - 1, plus 1, are the two lowest ones.
    const V16 least = hn::Min(hn::Min(hn::Add(red, one), blue1), green1);
    if (AnyNegative(hn::VecFromMask(D16(), hn::Lt(least, hn::Set(D16(), -32766))))) return false;
    const Pairs pairs(red, blue1);
    low = FromDifferences(low.c1, pairs.low);
    high = FromDifferences(high.c1, pairs.high);
    return true;
  }

 private:
  template <int kRed, int kGreen, int kBlue>
  static HWY_INLINE V32 WeighHalves(const HalfWords& rg, const HalfWords& b0) {
    const HalfSums sums = AddWeighed(StartSums(kRed + kGreen + kBlue), rg, Weights(kRed, kGreen));
    return Join(AddWeighed(sums, b0, Weights(kBlue, 0)));
  }
  // The pairs are R - G and B - G + 1. In Cb, the weight of the 1 is the rounding term.
  static HWY_INLINE Three<D32> FromDifferences(V32 green, V16 pairs) {
    return {hn::Add(green, Weigh<4899, 1868>(pairs)), Weigh<-2765, 8192>(pairs),
            Weigh<8192, -1332>(pairs)};
  }
  template <int kRed, int kBlue>
  static HWY_INLINE V32 Weigh(V16 pairs) {
    return Descale(DotAcc(hn::Set(D32(), kRound - kBlue), pairs, Weights(kRed, kBlue)));
  }
};

struct IctInverse32 {
  static HWY_INLINE Three<D32> ApplyToHalves(const Three<D32>& ycc) {
    const HalfWords chroma(ycc.c1, ycc.c2);
    return {hn::Add(ycc.c0, WeighHalves<0, 22970>(chroma)),
            hn::Add(ycc.c0, WeighHalves<-5638, -11700>(chroma)),
            hn::Add(ycc.c0, WeighHalves<29032, 0>(chroma))};
  }
  // Replaces two vectors of each component, if the magnitudes of the chroma are below 2^14.
  static HWY_INLINE bool ApplyTo16(Three<D32>& low, Three<D32>& high) {
    const hn::RebindToUnsigned<D16> du;
    const V16 cb = PackBlocks(low.c1, high.c1);
    const V16 cr = PackBlocks(low.c2, high.c2);
    const auto bits = hn::BitCast(du, hn::Or(hn::Abs(cb), hn::Abs(cr)));
    const auto sum = hn::SaturatedAdd(bits, hn::Set(du, 1 << 14));
    if (AnyNegative(hn::BitCast(D16(), sum))) return false;
    const Pairs pairs(cb, cr);
    low = FromPairs(low, pairs.low);
    high = FromPairs(high, pairs.high);
    return true;
  }

 private:
  template <int kBlue, int kRed>
  static HWY_INLINE V32 WeighHalves(const HalfWords& chroma) {
    return Join(AddWeighed(StartSums(kBlue + kRed), chroma, Weights(kBlue, kRed)));
  }
  // R and B: 2^14 of the weight is the chroma itself; the rest is a multiplication that rounds.
  static HWY_INLINE Three<D32> FromPairs(const Three<D32>& ycc, V16 chroma) {
    const V16 rest = hn::MulFixedPoint15(chroma, Weights(2 * (29032 - 16384), 2 * (22970 - 16384)));
    const V16 product = hn::Add(chroma, rest);
    const V32 blue = DotAcc(ycc.c0, product, Weights(1, 0));
    const V32 red = hn::Add(ycc.c0, hn::ShiftRight<16>(hn::BitCast(D32(), product)));
    const V32 green = Descale(DotAcc(hn::Set(D32(), kRound), chroma, Weights(-5638, -11700)));
    return {red, hn::Add(ycc.c0, green), blue};
  }
};

// The rows of ICT `32s`: two vectors at a time, with the arithmetic for 16 bits where possible.
template <class Transform>
class FixedPointRow {
  using Planes = PlanarPixels<D32>;
  static constexpr size_t kStep = 2 * Planes::kLanes;

 public:
  static void Apply(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
    const size_t whole = width / kStep * kStep;
    ApplySteps(src, dst, whole);
    ForElements<kStep, Planes, Planes>(src, dst, whole, width, Last());
  }

 private:
  struct Last {
    HWY_INLINE void operator()(const uint8_t* const* from, uint8_t* const* to, size_t) const {
      ApplySteps(from, to, kStep);
    }
  };

  static HWY_INLINE void ApplySteps(const uint8_t* const* src, uint8_t* const* dst, size_t whole) {
    for (size_t x = ApplyTo16(src, dst, 0, whole); x < whole;
         x = ApplyTo16(src, dst, x + kStep, whole)) {
      for (size_t i = x; i < x + kStep; i += Planes::kLanes) {
        Planes::Store(Transform::ApplyToHalves(Planes::Load(src, i)), dst, i);
      }
    }
  }

  // Stops at the first step that needs more than 16 bits, and returns where. Not inlined, so that
  // the constants of the other arithmetic take no registers.
  static HWY_NOINLINE size_t ApplyTo16(const uint8_t* const* src, uint8_t* const* dst, size_t x,
                                       size_t whole) {
    const uint8_t* const from[3] = {src[0], src[1], src[2]};
    uint8_t* const to[3] = {dst[0], dst[1], dst[2]};
    for (; x < whole; x += kStep) {
      Three<D32> low = Planes::Load(from, x), high = Planes::Load(from, x + Planes::kLanes);
      if (HWY_UNLIKELY(!Transform::ApplyTo16(low, high))) break;
      Planes::Store(low, to, x);
      Planes::Store(high, to, x + Planes::kLanes);
    }
    return x;
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
