// SPDX-License-Identifier: MIT
// The contexts of 64 samples at once, for the encoder, which knows all bits before it codes them.
//
// Words hold 16 columns of a stripe in scan order (stripes.h). A context becomes known in four
// words, one for each of its bits. A pass changes the significance during the scan. A sample sees
// the new significance of samples that come earlier in the scan (above, left), and the old one of
// samples that come later (below, right):
//
//   new  new  old       the row above the stripe and the word to the left are already new,
//   new   x   old       the row below and the word to the right are still old
//   new  old  old
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_CONTEXTS_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_CONTEXTS_H_

#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "jpeg2k/codeblock/stripes.h"
#include "jpeg2k/codeblock/tables.h"

namespace zepjp::codeblock {

// Words of a block with a border of zeros: one word on either side of a stripe, and one stripe
// above and below the block.
struct BorderedWords {
  uint64_t* words = nullptr;
  size_t step = 0;  // of stripes

  static size_t Count(size_t stripe_count, size_t words_of_stripe) {
    return (stripe_count + 2) * (words_of_stripe + 2);
  }
  uint64_t* At(size_t stripe, size_t g) const { return words + (stripe + 1) * step + g + 1; }
};

// A bit of the neighbours for each sample of a word, by direction.
struct Neighbours {
  uint64_t nw, n, ne, w, e, sw, s, se;

  HWY_INLINE uint64_t Any() const { return nw | n | ne | w | e | sw | s | se; }
  // Any neighbour outside the sample's column of four.
  HWY_INLINE uint64_t AnyBeside() const { return nw | (n & kRow0) | ne | w | e | sw | s | se; }
};

// The bits above and below the samples of a word.
HWY_INLINE uint64_t Above(uint64_t word, uint64_t up) {
  return (word << 1 & ~kRow0) | (up & kRow3) >> 3;
}
HWY_INLINE uint64_t Below(uint64_t word, uint64_t down) {
  return (word >> 1 & ~kRow3) | (down & kRow0) << 3;
}

// `word` is the old word in its place. `seen` is all ones, or zero if the stripe below is not seen
// (vertically causal contexts).
HWY_INLINE Neighbours NeighboursOf(const uint64_t* word, size_t step, uint64_t now, uint64_t seen) {
  const uint64_t* up = word - step;
  const uint64_t* down = word + step;
  const uint64_t left = word[-1], before = word[0], right = word[1];
  const uint64_t above = Above(now, up[0]), below = Below(now, down[0] & seen);
  const uint64_t old_above = Above(before, up[0]), old_below = Below(before, down[0] & seen);
  Neighbours near;
  near.nw = above << 4 | Above(left, up[-1]) >> 60;
  near.n = above;
  near.ne = old_above >> 4 | Above(right, up[1]) << 60;
  near.w = now << 4 | left >> 60;
  near.e = before >> 4 | right << 60;
  near.sw = below << 4 | Below(left, down[-1] & seen) >> 60;
  near.s = old_below;
  near.se = old_below >> 4 | Below(right, down[1] & seen) << 60;
  return near;
}

// The bits of 64 symbols, lowest first: the bit to code, then the context.
template <size_t kBits>
struct SymbolBits {
  uint64_t of[kBits];
};

// Table D.1 for the bands LL and LH. With h and v exchanged it is valid for HL.
HWY_INLINE SymbolBits<5> ZeroSymbols(uint64_t bits, uint64_t h_any, uint64_t h_both, uint64_t v_any,
                                     uint64_t v_both, uint64_t d_any, uint64_t d_two) {
  const uint64_t h_one = h_any & ~h_both, v_one = v_any & ~v_both;
  const uint64_t only_d = ~v_any & d_two, one_d = ~v_any & d_any & ~d_two;
  return {{bits, (h_one & (v_any | ~d_any)) | (~h_any & (v_one | one_d)),
           (h_one & (v_any | d_any)) | (~h_any & (v_one | only_d)), h_one | (~h_any & v_both),
           h_both}};
}

// Table D.1 for HH.
HWY_INLINE SymbolBits<5> DiagonalSymbols(uint64_t bits, uint64_t hv_any, uint64_t hv_two,
                                         uint64_t d_any, uint64_t d_two, uint64_t d_three) {
  const uint64_t one = d_any & ~d_two, two = d_two & ~d_three;
  return {{bits, (two & hv_any) | (one & (~hv_any | hv_two)) | (~d_any & hv_any & ~hv_two),
           two | (one & ~hv_any) | (~d_any & hv_two), two | (one & hv_any), d_three}};
}

HWY_INLINE SymbolBits<5> SignificanceSymbols(const Neighbours& near, int subband, uint64_t bits) {
  const uint64_t h_any = near.w | near.e, h_both = near.w & near.e;
  const uint64_t v_any = near.n | near.s, v_both = near.n & near.s;
  const uint64_t up = near.nw ^ near.ne, up_both = near.nw & near.ne;
  const uint64_t down = near.sw ^ near.se, down_both = near.sw & near.se;
  const uint64_t d_any = up | up_both | down | down_both;
  const uint64_t d_two = up_both | down_both | (up & down);
  if (subband != 3) {
    return subband == 2 ? ZeroSymbols(bits, v_any, v_both, h_any, h_both, d_any, d_two)
                        : ZeroSymbols(bits, h_any, h_both, v_any, v_both, d_any, d_two);
  }
  const uint64_t d_three = (up_both & (down | down_both)) | (down_both & up);
  return DiagonalSymbols(bits, h_any | v_any, h_both | v_both | (h_any & v_any), d_any, d_two,
                         d_three);
}

// Tables D.2 and D.3. `negative` is the word of signs in its place.
HWY_INLINE SymbolBits<5> SignSymbols(const Neighbours& near, const uint64_t* negative,
                                     size_t step) {
  const uint64_t own = *negative;
  const uint64_t n = Above(own, *(negative - step)), s = Below(own, *(negative + step));
  const uint64_t w = own << 4 | negative[-1] >> 60, e = own >> 4 | negative[1] << 60;
  const uint64_t v_plus = (near.n & ~n) | (near.s & ~s), v_minus = (near.n & n) | (near.s & s);
  const uint64_t h_plus = (near.w & ~w) | (near.e & ~e), h_minus = (near.w & w) | (near.e & e);
  const uint64_t h = h_plus ^ h_minus, v = v_plus ^ v_minus;  // the sum is not 0
  const uint64_t opposite = h & v & (h_minus ^ v_minus);
  const uint64_t is_inverted = (h & h_minus) | (~h & v & v_minus);
  return {{own ^ is_inverted, ~(h ^ v), (~h & v) | opposite, h & ~opposite, ~uint64_t{0}}};
}

// Without `kRefinementBase`. The context is 14; it is 15 with neighbours, and 16 after the first
// refinement.
constexpr Symbol kRefinementBase = 2 * kFirstRefinement;
HWY_INLINE SymbolBits<3> RefinementSymbols(uint64_t bits, uint64_t neighbours, uint64_t again) {
  return {{bits, neighbours & ~again, again}};
}

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_CONTEXTS_H_
