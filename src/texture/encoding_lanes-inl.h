// SPDX-License-Identifier: MIT
// Pixels and end points for the encoders. Each 128-bit block of a register holds a part of four
// blocks of the texture, a 32-bit lane for each. Included once per instruction set.
#if defined(ZEPJP_SRC_TEXTURE_ENCODING_LANES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_TEXTURE_ENCODING_LANES_INL_H_
#    undef ZEPJP_SRC_TEXTURE_ENCODING_LANES_INL_H_
#  else
#    define ZEPJP_SRC_TEXTURE_ENCODING_LANES_INL_H_
#  endif

#  include "texture/lanes-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// Rows of pixels of four bytes: part[y] of block[i] has a whole row of a block in each 128 bits.
struct Pixels {
  Four block[4];
};

// The same pixels with a lane for each block: part[c] of row[y] has channel c.
struct Planes {
  Four row[4];
};

// The first and the second 32 bits of each block, or of its colour or channel part.
struct Halves {
  V8 first, second;
};

HWY_INLINE Four SplitRow(const Pixels& pixels, int y) {
  static constexpr Bytes16 kApart = {{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
  Four apart;
  for (int i = 0; i < 4; ++i) {
    apart.part[i] = hn::TableLookupBytes(pixels.block[i].part[y], Each(kApart));
  }
  return TransposeDwords(apart);
}

HWY_INLINE Planes SplitChannels(const Pixels& pixels) {
  return {{SplitRow(pixels, 0), SplitRow(pixels, 1), SplitRow(pixels, 2), SplitRow(pixels, 3)}};
}

struct Least {
  HWY_INLINE V8 operator()(V8 a, V8 b) const { return hn::Min(a, b); }
};
struct Largest {
  HWY_INLINE V8 operator()(V8 a, V8 b) const { return hn::Max(a, b); }
};

template <class Better>
HWY_INLINE V8 OverRows(const Four& rows) {
  const Better better;
  return better(better(rows.part[0], rows.part[1]), better(rows.part[2], rows.part[3]));
}

// The best values of the four channels in the lane of the block.
template <class Better>
HWY_INLINE V8 OverPixels(const Pixels& pixels) {
  const Better better;
  V8 row[4];
  for (int i = 0; i < 4; ++i) row[i] = OverRows<Better>(pixels.block[i]);
  const V8 even = better(LowerDwords(row[0], row[2]), UpperDwords(row[0], row[2]));
  const V8 odd = better(LowerDwords(row[1], row[3]), UpperDwords(row[1], row[3]));
  return better(LowerDwords(even, odd), UpperDwords(even, odd));
}

// The best value of a channel in all bytes of the lane of the block.
template <class Better>
HWY_INLINE V8 OverChannel(const Four& rows) {
  static constexpr Bytes16 kOtherPair = {{2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13}};
  static constexpr Bytes16 kOther = {{1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14}};
  const Better better;
  const V8 column = OverRows<Better>(rows);
  const V8 pair = better(column, hn::TableLookupBytes(column, Each(kOtherPair)));
  return better(pair, hn::TableLookupBytes(pair, Each(kOther)));
}

struct Ends {
  V8 low, high;
};

// Moves the bounds towards each other by a sixteenth of their distance.
HWY_INLINE Ends Inwards(V8 low, V8 high) {
  const V8 sixteenth = AsBytes(hn::ShiftRight<4>(AsWords(hn::Sub(high, low))));
  const V8 inset = hn::And(sixteenth, hn::Set(D8(), 0x0F));
  return {hn::Add(low, inset), hn::Sub(high, inset)};
}

HWY_INLINE Ends EndsOfPixels(const Pixels& pixels) {
  return Inwards(OverPixels<Least>(pixels), OverPixels<Largest>(pixels));
}

HWY_INLINE Ends EndsOfChannel(const Four& rows) {
  return Inwards(OverChannel<Least>(rows), OverChannel<Largest>(rows));
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
