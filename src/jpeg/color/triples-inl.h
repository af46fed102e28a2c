// SPDX-License-Identifier: MIT
// Three vectors of channels to bytes of three-byte pixels, within 128-bit blocks. Included once per
// instruction set.
#if defined(ZEPJP_SRC_JPEG_COLOR_TRIPLES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_COLOR_TRIPLES_INL_H_
#    undef ZEPJP_SRC_JPEG_COLOR_TRIPLES_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_COLOR_TRIPLES_INL_H_
#  endif

#  include "jpeg/color/vectors-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// The 48 bytes of a block's 16 pixels are three parts of 16 bytes. LaneOf(pixel) is the lane of a
// pixel in its vector.
//
// At each i, the three parts take the three channels. So one shuffle brings all bytes of a channel
// to their places, and the rest are selections. Without an instruction for these, a sum of shuffles
// for each part is faster.
constexpr bool kHasSelect = HWY_TARGET != HWY_SSSE3 && HWY_TARGET != HWY_SSE4;

template <int LaneOf(int)>
constexpr BlockBytes MakeTripleIndices(int part, int channel) {
  BlockBytes result = {};
  for (int i = 0; i < 16; ++i) {
    const int byte = 16 * part + i;
    result.bytes[i] = byte % 3 == channel ? static_cast<int8_t>(LaneOf(byte / 3)) : kZero;
  }
  return result;
}
template <int LaneOf(int)>
constexpr BlockBytes MakeChannelIndices(int channel) {
  BlockBytes result = {};
  for (int part = 0; part < 3; ++part) {
    const BlockBytes indices = MakeTripleIndices<LaneOf>(part, channel);
    for (int i = 0; i < 16; ++i) {
      if (indices.bytes[i] != kZero) result.bytes[i] = indices.bytes[i];
    }
  }
  return result;
}
// All bits of the bytes that come from a channel.
constexpr BlockBytes MakeChannelBytes(int part, int channel) {
  BlockBytes result = {};
  for (int i = 0; i < 16; ++i) result.bytes[i] = (16 * part + i) % 3 == channel ? -1 : 0;
  return result;
}

template <int LaneOf(int), int kPart>
HWY_INLINE V8 SumOfShuffles(V8 a, V8 b, V8 c) {
  static constexpr VectorBytes kA = MakeTripleIndices<LaneOf>(kPart, 0),
                               kB = MakeTripleIndices<LaneOf>(kPart, 1),
                               kC = MakeTripleIndices<LaneOf>(kPart, 2);
  return hn::Or(hn::Or(Shuffle(a, kA), Shuffle(b, kB)), Shuffle(c, kC));
}

template <int kPart>
HWY_INLINE V8 Selection(V8 a, V8 b, V8 c) {
  static constexpr VectorBytes kA = MakeChannelBytes(kPart, 0), kB = MakeChannelBytes(kPart, 1);
  return hn::IfThenElse(hn::MaskFromVec(kA.Load()), a,
                        hn::IfThenElse(hn::MaskFromVec(kB.Load()), b, c));
}

template <int LaneOf(int)>
HWY_INLINE void MakeTriples(V8 a, V8 b, V8 c, V8 (&parts)[3]) {
  if constexpr (kHasSelect) {
    static constexpr VectorBytes kA = MakeChannelIndices<LaneOf>(0),
                                 kB = MakeChannelIndices<LaneOf>(1),
                                 kC = MakeChannelIndices<LaneOf>(2);
    a = Shuffle(a, kA), b = Shuffle(b, kB), c = Shuffle(c, kC);
    parts[0] = Selection<0>(a, b, c);
    parts[1] = Selection<1>(a, b, c);
    parts[2] = Selection<2>(a, b, c);
  } else {
    parts[0] = SumOfShuffles<LaneOf, 0>(a, b, c);
    parts[1] = SumOfShuffles<LaneOf, 1>(a, b, c);
    parts[2] = SumOfShuffles<LaneOf, 2>(a, b, c);
  }
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
