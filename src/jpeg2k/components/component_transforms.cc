// SPDX-License-Identifier: MIT
// The transforms of the first three components of a tile (ITU-T T.800, annex G): the reversible one
// (RCT) in integers, and the irreversible one (ICT) in floating point and in fixed point.
//
//   RCT   Y = (R + 2G + B) >> 2,  U = B - G,  V = R - G
//         G = Y - ((U + V) >> 2), R = V + G,  B = U + G
//   ICT   Y  =  0.299   R + 0.587   G + 0.114   B     R = Y + 1.402 Cr
//         Cb = -0.16875 R - 0.33126 G + 0.5     B     G = Y - 0.34413 Cb - 0.71414 Cr
//         Cr =  0.5     R - 0.41869 G - 0.08131 B     B = Y + 1.772 Cb
//         in fixed point with weights times 2^14: (S + 2^13) >> 14 for a weighted sum S
//
// Two identities keep 16-bit elements in 16-bit lanes:
//
//   floor((R + 2G + B) / 4) = floor((floor((R + B) / 2) + G) / 2)   a mean of means cannot wrap
//   (d w + 2^13) >> 14 = (d 2w + 2^14) >> 15                        one instruction if 2w < 2^15
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
#include "frame/checks.h"
#include "frame/rows.h"
#include "simd/dispatch.h"

#define HWY_TARGET_INCLUDE "jpeg2k/components/component_transforms.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

namespace zepjp {
#ifndef ZEPJP_COMPONENT_TRANSFORMS_KERNELS
#  define ZEPJP_COMPONENT_TRANSFORMS_KERNELS
namespace {

// Transforms a row of `width` pixels: a pointer for each plane, or one for interleaved pixels.
using ComponentRow = void (*)(const uint8_t* const* src, uint8_t* const* dst, size_t width);

struct Reversible {
  ComponentRow forward_planes, inverse_planes, forward_pixels, inverse_pixels;
};

struct Kernels {
  Reversible rct16, rct32;
  ComponentRow ict_forward16, ict_inverse16, ict_forward32, ict_inverse32;
  ComponentRow ict_forward_float, ict_inverse_float;
  ComponentRow ict_forward_float_pixels, ict_inverse_float_pixels;
};

}  // namespace
#endif
}  // namespace zepjp

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D8 = hn::ScalableTag<uint8_t>;
using D16 = hn::ScalableTag<int16_t>;
using D32 = hn::ScalableTag<int32_t>;
using DU32 = hn::ScalableTag<uint32_t>;
using DF = hn::ScalableTag<float>;
using V16 = hn::VFromD<D16>;
using V32 = hn::VFromD<D32>;
using VF = hn::VFromD<DF>;

template <class D>
struct Three {
  hn::VFromD<D> c0, c1, c2;
};

// The memory layouts. Elements may have any alignment, so addresses are computed in bytes.
template <class D>
struct PlanarPixels : Span<3, sizeof(hn::TFromD<D>)> {
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static HWY_INLINE hn::VFromD<D> LoadOne(const uint8_t* row, size_t x) {
    return hn::BitCast(D(), hn::LoadU(D8(), row + x * PlanarPixels::kBytes));
  }
  static HWY_INLINE void StoreOne(hn::VFromD<D> v, uint8_t* row, size_t x) {
    hn::StoreU(hn::BitCast(D8(), v), D8(), row + x * PlanarPixels::kBytes);
  }
  static HWY_INLINE Three<D> Load(const uint8_t* const* src, size_t x) {
    return {LoadOne(src[0], x), LoadOne(src[1], x), LoadOne(src[2], x)};
  }
  static HWY_INLINE void Store(Three<D> v, uint8_t* const* dst, size_t x) {
    StoreOne(v.c0, dst[0], x);
    StoreOne(v.c1, dst[1], x);
    StoreOne(v.c2, dst[2], x);
  }
};

template <class D>
struct InterleavedPixels : Span<1, 3 * sizeof(hn::TFromD<D>)> {
  static constexpr size_t kLanes = hn::MaxLanes(D());
  static HWY_INLINE Three<D> Load(const uint8_t* const* src, size_t x) {
    Three<D> v;
    const auto* from =
        reinterpret_cast<const hn::TFromD<D>*>(src[0] + x * InterleavedPixels::kBytes);
    hn::LoadInterleaved3(D(), from, v.c0, v.c1, v.c2);
    return v;
  }
  static HWY_INLINE void Store(Three<D> v, uint8_t* const* dst, size_t x) {
    auto* to = reinterpret_cast<hn::TFromD<D>*>(dst[0] + x * InterleavedPixels::kBytes);
    hn::StoreInterleaved3(v.c0, v.c1, v.c2, D(), to);
  }
};

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

// Whether a lane of a + 1, b + 1 or c + 1 comes from the saturated values -2^15 and 2^15 - 1. (As
// bytes, whose mask is one instruction on every set.)
HWY_INLINE bool AnySaturated(V16 a1, V16 b1, V16 c1) {
  const V16 least = hn::Min(hn::Min(a1, b1), c1);
  const V16 is_bad = hn::VecFromMask(D16(), hn::Lt(least, hn::Set(D16(), -32766)));
  return !hn::AllFalse(D8(), hn::MaskFromVec(hn::BitCast(D8(), is_bad)));
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
    if (AnySaturated(hn::Add(red, one), blue1, green1)) return false;
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
  // Replaces two vectors of each component, if the chroma fits 16 bits.
  static HWY_INLINE bool ApplyTo16(Three<D32>& low, Three<D32>& high) {
    const V16 one = hn::Set(D16(), 1);
    const V16 cb = PackBlocks(low.c1, high.c1);
    const V16 cr = PackBlocks(low.c2, high.c2);
    const V16 cb1 = hn::Add(cb, one);
    if (AnySaturated(cb1, cb1, hn::Add(cr, one))) return false;
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
  // R and B: 2^14 of the weight adds the chroma itself; the rest is a multiplication that rounds.
  static HWY_INLINE Three<D32> FromPairs(const Three<D32>& ycc, V16 chroma) {
    const V16 rest = hn::MulFixedPoint15(chroma, Weights(2 * (29032 - 16384), 2 * (22970 - 16384)));
    const V32 blue = DotAcc(hn::Add(ycc.c0, ycc.c1), rest, Weights(1, 0));
    const V32 red = hn::Add(hn::Add(ycc.c0, ycc.c2), hn::ShiftRight<16>(hn::BitCast(D32(), rest)));
    const V32 green = Descale(DotAcc(hn::Set(D32(), kRound), chroma, Weights(-5638, -11700)));
    return {red, hn::Add(ycc.c0, green), blue};
  }
};

// One rounding for each product and each sum, from left to right.
struct IctForwardFloat {
  static HWY_INLINE Three<DF> Apply(Three<DF> rgb) {
    return {
        hn::Add(hn::Add(Times(rgb.c0, 0.299f), Times(rgb.c1, 0.587f)), Times(rgb.c2, 0.114f)),
        hn::Add(hn::Sub(Times(rgb.c0, -0.16875f), Times(rgb.c1, 0.33126f)), Times(rgb.c2, 0.5f)),
        hn::Sub(hn::Sub(Times(rgb.c0, 0.5f), Times(rgb.c1, 0.41869f)), Times(rgb.c2, 0.08131f))};
  }
  static HWY_INLINE VF Times(VF v, float weight) { return hn::Mul(v, hn::Set(DF(), weight)); }
};

struct IctInverseFloat {
  static HWY_INLINE Three<DF> Apply(Three<DF> ycc) {
    const VF green = hn::Sub(ycc.c0, IctForwardFloat::Times(ycc.c1, 0.34413f));
    return {hn::Add(ycc.c0, IctForwardFloat::Times(ycc.c2, 1.402f)),
            hn::Sub(green, IctForwardFloat::Times(ycc.c2, 0.71414f)),
            hn::Add(ycc.c0, IctForwardFloat::Times(ycc.c1, 1.772f))};
  }
};

template <class Transform, class Source, class Target>
struct TransformStep {
  HWY_INLINE void operator()(const uint8_t* const* from, uint8_t* const* to, size_t x) const {
    Target::Store(Transform::Apply(Source::Load(from, x)), to, x);
  }
};

// Source and target may be the same rows: steps do not overlap, and the last one works on copies.
template <class Transform, class Source, class Target>
void TransformRow(const uint8_t* const* src, uint8_t* const* dst, size_t width) {
  constexpr size_t kStep = Source::kLanes;
  constexpr TransformStep<Transform, Source, Target> step;
  // Local copies of the pointers, which no store can change, so that they stay in registers.
  const uint8_t* from[Source::kPlanes];
  uint8_t* to[Target::kPlanes];
  for (int i = 0; i < Source::kPlanes; ++i) from[i] = src[i];
  for (int i = 0; i < Target::kPlanes; ++i) to[i] = dst[i];
  const size_t whole = width / kStep * kStep;
  for (size_t x = 0; x < whole; x += kStep) step(from, to, x);
  ForElements<kStep, Source, Target>(src, dst, whole, width, step);
}

// The rows of ICT `32s`: two vectors at a time with the arithmetic for 16 bits where it is possible.
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

template <class Transform, class D>
constexpr ComponentRow kPlanesRow = TransformRow<Transform, PlanarPixels<D>, PlanarPixels<D>>;
template <class Transform, class D>
constexpr ComponentRow kToPlanesRow =
    TransformRow<Transform, InterleavedPixels<D>, PlanarPixels<D>>;
template <class Transform, class D>
constexpr ComponentRow kToPixelsRow =
    TransformRow<Transform, PlanarPixels<D>, InterleavedPixels<D>>;

template <class D>
constexpr Reversible kReversible = {
    .forward_planes = kPlanesRow<RctForward, D>,
    .inverse_planes = kPlanesRow<RctInverse, D>,
    .forward_pixels = kToPlanesRow<RctForward, D>,
    .inverse_pixels = kToPixelsRow<RctInverse, D>,
};

constexpr Kernels kKernels = {
    .rct16 = kReversible<D16>,
    .rct32 = kReversible<D32>,
    .ict_forward16 = kPlanesRow<IctForward16, D16>,
    .ict_inverse16 = kPlanesRow<IctInverse16, D16>,
    .ict_forward32 = FixedPointRow<IctForward32>::Apply,
    .ict_inverse32 = FixedPointRow<IctInverse32>::Apply,
    .ict_forward_float = kPlanesRow<IctForwardFloat, DF>,
    .ict_inverse_float = kPlanesRow<IctInverseFloat, DF>,
    .ict_forward_float_pixels = kToPlanesRow<IctForwardFloat, DF>,
    .ict_inverse_float_pixels = kToPixelsRow<IctInverseFloat, DF>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <class T>
zepStatus InPlace(ComponentRow kernel, T* const* planes, int32_t step, zepiSize roi) {
  if (auto bad = Checks().Planes(planes, 3).Step(step).Size(roi).Failed()) return bad;
  for (int32_t y = 0; y < roi.height; ++y) {
    uint8_t* rows[3];
    for (int i = 0; i < 3; ++i) rows[i] = Row(reinterpret_cast<uint8_t*>(planes[i]), step, y);
    kernel(rows, rows, static_cast<size_t>(roi.width));
  }
  return zepStatusOk;
}

template <class T>
zepStatus ToPlanes(ComponentRow kernel, const T* src, int32_t src_step, T* const* dst,
                   int32_t dst_step, zepiSize roi) {
  if (auto bad =
          Checks().Ptr(src).Planes(dst, 3).Step(src_step).Step(dst_step).Size(roi).Failed()) {
    return bad;
  }
  for (int32_t y = 0; y < roi.height; ++y) {
    const uint8_t* const from = Row(reinterpret_cast<const uint8_t*>(src), src_step, y);
    uint8_t* to[3];
    for (int i = 0; i < 3; ++i) to[i] = Row(reinterpret_cast<uint8_t*>(dst[i]), dst_step, y);
    kernel(&from, to, static_cast<size_t>(roi.width));
  }
  return zepStatusOk;
}

template <class T>
zepStatus ToPixels(ComponentRow kernel, const T* const* src, int32_t src_step, T* dst,
                   int32_t dst_step, zepiSize roi) {
  if (auto bad =
          Checks().Planes(src, 3).Ptr(dst).Step(src_step).Step(dst_step).Size(roi).Failed()) {
    return bad;
  }
  for (int32_t y = 0; y < roi.height; ++y) {
    const uint8_t* from[3];
    for (int i = 0; i < 3; ++i) {
      from[i] = Row(reinterpret_cast<const uint8_t*>(src[i]), src_step, y);
    }
    uint8_t* const to = Row(reinterpret_cast<uint8_t*>(dst), dst_step, y);
    kernel(from, &to, static_cast<size_t>(roi.width));
  }
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct16.forward_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct16.inverse_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_16s_C3P3R(const int16_t* pSrc, int32_t srcStep,
                                               int16_t* const pDst[3], int32_t dstStep,
                                               zepiSize roiSize) {
  return ToPlanes(kernels.rct16.forward_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_16s_P3C3R(const int16_t* const pSrc[3], int32_t srcStep,
                                               int16_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ToPixels(kernels.rct16.inverse_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct32.forward_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.rct32.inverse_planes, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTFwd_JPEG2K_32s_C3P3R(const int32_t* pSrc, int32_t srcStep,
                                               int32_t* const pDst[3], int32_t dstStep,
                                               zepiSize roiSize) {
  return ToPlanes(kernels.rct32.forward_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiRCTInv_JPEG2K_32s_P3C3R(const int32_t* const pSrc[3], int32_t srcStep,
                                               int32_t* pDst, int32_t dstStep, zepiSize roiSize) {
  return ToPixels(kernels.rct32.inverse_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_forward16, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_16s_P3IR(int16_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_inverse16, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_forward32, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_32s_P3IR(int32_t* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_inverse32, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_forward_float, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3IR(float* const pSrcDst[3], int32_t srcDstStep,
                                              zepiSize roiSize) {
  return InPlace(kernels.ict_inverse_float, pSrcDst, srcDstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTFwd_JPEG2K_32f_C3P3R(const float* pSrc, int32_t srcStep,
                                               float* const pDst[3], int32_t dstStep,
                                               zepiSize roiSize) {
  return ToPlanes(kernels.ict_forward_float_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiICTInv_JPEG2K_32f_P3C3R(const float* const pSrc[3], int32_t srcStep,
                                               float* pDst, int32_t dstStep, zepiSize roiSize) {
  return ToPixels(kernels.ict_inverse_float_pixels, pSrc, srcStep, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
