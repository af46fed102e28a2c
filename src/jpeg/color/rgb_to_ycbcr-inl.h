// SPDX-License-Identifier: MIT
// The conversion of RGB to YCbCr (ITU-T T.871) on vectors. Included once per instruction set.
//
// Each output is (c0 x0 + c1 x1 + c2 x2 + round) >> shift, clamped to 0..255, as two dot products
// of 16-bit pairs in 32-bit lanes. `round` holds about half a unit, for chroma also the offset of
// 128. There are two sets of coefficients, scaled by 2^15 and by 2^14. Sums stay below 2^26, even
// for groups of four pixels.
//
// Variants need no other kernels: BGR order, inverted inks and sums over groups of pixels only
// change the coefficients, `round` or `shift`.
#ifndef ZEPJP_SRC_JPEG_COLOR_RGB_TO_YCBCR_RULES
#define ZEPJP_SRC_JPEG_COLOR_RGB_TO_YCBCR_RULES
#include <cstdint>
#include <initializer_list>

namespace zepjp {
namespace {

struct Component {
  int16_t c0, c1, c2;
  int32_t round;
};

struct Rule {
  int shift;
  Component y, cb, cr;
};

constexpr Rule k15Bits = {15,
                          {9798, 19235, 3736, 16266},
                          {-5529, -10855, 16384, 4210688},
                          {16384, -13720, -2664, 4210704}};
constexpr Rule k14Bits = {
    14, {4899, 9617, 1868, 8192}, {-2764, -5428, 8192, 2105344}, {8192, -6860, -1332, 2105344}};

constexpr Component Reversed(Component c) { return {c.c2, c.c1, c.c0, c.round}; }
constexpr Rule Reversed(Rule rule) {
  return {rule.shift, Reversed(rule.y), Reversed(rule.cb), Reversed(rule.cr)};
}

// The rule for inks: each channel v counts as 255 - v.
constexpr Component Inverted(Component c) {
  const auto minus = [](int16_t v) { return static_cast<int16_t>(-v); };
  return {minus(c.c0), minus(c.c1), minus(c.c2), c.round + 255 * (c.c0 + c.c1 + c.c2)};
}
constexpr Rule Inverted(Rule rule) {
  return {rule.shift, Inverted(rule.y), Inverted(rule.cb), Inverted(rule.cr)};
}

// The rule for sums over 2^log2 pixels: it also divides by their number.
constexpr Rule Summed(Rule rule, int log2) {
  for (Component* c : {&rule.y, &rule.cb, &rule.cr}) c->round <<= log2;
  rule.shift += log2;
  return rule;
}

}  // namespace
}  // namespace zepjp
#endif

#if defined(ZEPJP_SRC_JPEG_COLOR_RGB_TO_YCBCR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZEPJP_SRC_JPEG_COLOR_RGB_TO_YCBCR_INL_H_
#  undef ZEPJP_SRC_JPEG_COLOR_RGB_TO_YCBCR_INL_H_
#else
#  define ZEPJP_SRC_JPEG_COLOR_RGB_TO_YCBCR_INL_H_
#endif

#include "jpeg/color/pixels-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

HWY_INLINE V16 SetPairs(int16_t low, int16_t high) {
  const uint32_t pair = static_cast<uint16_t>(low) | uint32_t{static_cast<uint16_t>(high)} << 16;
  return hn::BitCast(D16(), hn::Set(hn::ScalableTag<uint32_t>(), pair));
}

template <int kShift>
HWY_INLINE V32 Dot(V16 first, V16 second, const Component& c) {
  const V32 sum = DotAcc(hn::Set(D32(), c.round), first, SetPairs(c.c0, c.c1));
  return hn::ShiftRight<kShift>(DotAcc(sum, second, SetPairs(c.c2, 0)));
}

template <int kShift>
HWY_INLINE V8 Convert(const Pairs& p, const Component& c) {
  return PackBlocks(
      PackBlocks(Dot<kShift>(p.first[0], p.second[0], c), Dot<kShift>(p.first[1], p.second[1], c)),
      PackBlocks(Dot<kShift>(p.first[2], p.second[2], c), Dot<kShift>(p.first[3], p.second[3], c)));
}

// Sums over groups of 2 x kRows pixels, as pairs of channels: kPixels / 2 groups from kPixels
// pixels of each row.
struct GroupPairs {
  V16 first[2], second[2];
};

template <class Source, int kRows, int kQuarter>
HWY_INLINE auto GroupSums(const typename Source::Raw (&raw)[kRows]) {
  V16 sums = Source::template CoupleSums<kQuarter>(raw[0]);
  if constexpr (kRows == 2) sums = hn::Add(sums, Source::template CoupleSums<kQuarter>(raw[1]));
  return hn::BitCast(hn::ScalableTag<uint64_t>(), sums);
}

template <class Source, int kRows>
HWY_INLINE GroupPairs SumGroups(const typename Source::Raw (&raw)[kRows]) {
  const auto q0 = GroupSums<Source, kRows, 0>(raw);
  const auto q1 = GroupSums<Source, kRows, 1>(raw);
  const auto q2 = GroupSums<Source, kRows, 2>(raw);
  const auto q3 = GroupSums<Source, kRows, 3>(raw);
  const hn::ScalableTag<uint64_t> d64;
  const D16 d16;
  return {{hn::BitCast(d16, hn::InterleaveLower(d64, q0, q1)),
           hn::BitCast(d16, hn::InterleaveLower(d64, q2, q3))},
          {hn::BitCast(d16, hn::InterleaveUpper(d64, q0, q1)),
           hn::BitCast(d16, hn::InterleaveUpper(d64, q2, q3))}};
}

template <int kShift>
HWY_INLINE V16 ConvertGroups(const GroupPairs& p, const Component& c) {
  return PackBlocks(Dot<kShift>(p.first[0], p.second[0], c),
                    Dot<kShift>(p.first[1], p.second[1], c));
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
