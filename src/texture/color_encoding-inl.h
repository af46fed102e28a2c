// SPDX-License-Identifier: MIT
// The colour part of DXT blocks. Each 32-bit lane belongs to one block: four bytes of a row, or the
// four channels of a colour. Included once per instruction set.
//
// The colours 0, 2, 3, 1 fall in each channel: q0 >= q1 >= q2 >= q3. They divide the range of the
// channel into three steps, and a value x covers u = clamp(x, q1, q0) - q1 of the first step, v of
// the second and w of the third. Let u, v, w be the sums over the channels, and U, V, W the sums of
// the whole steps. With D the distance from the pixel to a colour of the line,
//
//   D0 > D1   2 u < U               D3 > D2   2 w > W
//   D1 > D2   2 v < V               D3 > D1   2 (v + w) > V + W
//   D0 > D2   2 (u + v) < U + V
//
// A step of a channel is at most 85, so all sums fit a byte. The mixed colours are rounded down, so
// W <= V <= U.
#if defined(ZEPJP_SRC_TEXTURE_COLOR_ENCODING_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_TEXTURE_COLOR_ENCODING_INL_H_
#    undef ZEPJP_SRC_TEXTURE_COLOR_ENCODING_INL_H_
#  else
#    define ZEPJP_SRC_TEXTURE_COLOR_ENCODING_INL_H_
#  endif

#  include "texture/encoding_lanes-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// The line of colours 0, 2, 3, 1 as R G B 0 in each lane, and its ends cut to 5 and 6 bits.
struct ColorLine {
  V8 color[4];
  V8 cut_high, cut_low;
};

HWY_INLINE V8 CutColor(V8 end) {
  return hn::And(end, hn::BitCast(D8(), hn::Set(D32(), 0x00F8FCF8)));
}

// Fills the lower bits of cut channels with the upper ones.
HWY_INLINE V8 WidenColor(V8 cut) {
  const V8 five = AsBytes(hn::ShiftRight<5>(AsWords(cut)));
  const V8 six = AsBytes(hn::ShiftRight<6>(AsWords(cut)));
  return hn::Or(cut, hn::Or(hn::And(five, hn::BitCast(D8(), hn::Set(D32(), 0x00070007))),
                            hn::And(six, hn::BitCast(D8(), hn::Set(D32(), 0x00000300)))));
}

// floor(v * kFactor / 2^16) of each byte.
template <uint16_t kFactor>
HWY_INLINE V8 Fraction(V8 v) {
  const V16 odd_bytes = hn::Set(D16(), 0xFF00), factor = hn::Set(D16(), kFactor);
  const V16 even = hn::MulHigh(hn::AndNot(odd_bytes, AsWords(v)), factor);
  const V16 odd = hn::MulHigh(hn::And(odd_bytes, AsWords(v)), factor);
  return AsBytes(hn::Or(even, hn::And(odd, odd_bytes)));
}

HWY_INLINE ColorLine LineOf(const Ends& ends) {
  const V8 cut_high = CutColor(ends.high), cut_low = CutColor(ends.low);
  const V8 high = WidenColor(cut_high), low = WidenColor(cut_low);
  const V8 range = hn::Sub(high, low);
  return {
      {high, hn::Add(low, Fraction<kTwoThirds>(range)), hn::Add(low, Fraction<kThird>(range)), low},
      cut_high,
      cut_low};
}

// Eight times the 16-bit code of a cut colour.
HWY_INLINE V32 ColorCode(V8 cut) {
  const V32 red_blue = hn::And(hn::BitCast(D32(), cut), hn::Set(D32(), 0x00FF00FF));
  const V32 green = hn::And(hn::BitCast(D32(), cut), hn::Set(D32(), 0x0000FF00));
  return hn::BitCast(
      D32(), DotAcc(hn::BitCast(DI32(), hn::ShiftRight<2>(green)), hn::BitCast(DI16(), red_blue),
                    hn::BitCast(DI16(), hn::Set(D32(), 1 << 16 | 1 << 11))));
}

HWY_INLINE V8 ColorCodes(const ColorLine& line) {
  return hn::BitCast(D8(), hn::Or(hn::ShiftRight<3>(ColorCode(line.cut_high)),
                                  hn::ShiftLeft<13>(ColorCode(line.cut_low))));
}

// The line with each channel apart, in all bytes of its lane, and the limits for u, v, w.
class ColorFit {
 public:
  HWY_INLINE explicit ColorFit(const ColorLine& line) {
    static constexpr Bytes16 kChannel[3] = {
        {{0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12}},
        {{1, 1, 1, 1, 5, 5, 5, 5, 9, 9, 9, 9, 13, 13, 13, 13}},
        {{2, 2, 2, 2, 6, 6, 6, 6, 10, 10, 10, 10, 14, 14, 14, 14}}};
    V8 sum[4];  // modulo 256, as their differences fit
    for (int k = 0; k < 4; ++k) {
      for (int c = 0; c < 3; ++c) {
        color_[k][c] = hn::TableLookupBytes(line.color[k], Each(kChannel[c]));
      }
      sum[k] = hn::Add(hn::Add(color_[k][0], color_[k][1]), color_[k][2]);
    }
    const V8 first = hn::Sub(sum[0], sum[1]), second = hn::Sub(sum[1], sum[2]);
    const V8 third = hn::Sub(sum[2], sum[3]), zero = hn::Zero(D8());
    u_limit_ = hn::AverageRound(first, zero);
    v_limit_ = hn::AverageRound(second, zero);
    uv_limit_ = hn::AverageRound(first, second);
    w_limit_ = HalfDown(zero, third);
    vw_limit_ = HalfDown(third, second);
  }

  // The indexes of the pixels of a row, a byte each.
  HWY_INLINE V8 IndexesOf(const Four& row) const {
    V8 u, v, w;
    for (int c = 0; c < 3; ++c) {
      V8 rest = hn::Min(row.part[c], color_[0][c]);
      const V8 in_first = hn::SaturatedSub(rest, color_[1][c]);
      rest = hn::Sub(rest, in_first);
      const V8 in_second = hn::SaturatedSub(rest, color_[2][c]);
      rest = hn::Sub(rest, in_second);
      const V8 in_third = hn::SaturatedSub(rest, color_[3][c]);
      u = c == 0 ? in_first : hn::Add(u, in_first);
      v = c == 0 ? in_second : hn::Add(v, in_second);
      w = c == 0 ? in_third : hn::Add(w, in_third);
    }
    // Conditions hold where these are not zero.
    const V8 d0_d1 = hn::SaturatedSub(u_limit_, u), d1_d2 = hn::SaturatedSub(v_limit_, v);
    const V8 d0_d2 = hn::SaturatedSub(hn::SaturatedSub(uv_limit_, v), u);
    const V8 d3_d2 = hn::SaturatedSub(w, w_limit_);
    const V8 d3_d1 = hn::SaturatedSub(v, hn::SaturatedSub(vw_limit_, w));
    const V8 one = hn::Set(D8(), 1);
    const V8 bit0 = hn::Min(hn::Min(d0_d2, d1_d2), one);
    const V8 bit1 = hn::Min(hn::Or(hn::Min(d3_d1, d0_d1), hn::Min(d0_d2, d3_d2)), one);
    return hn::Add(hn::Add(bit1, bit1), bit0);
  }

 private:
  // (a + b) >> 1 for a <= b.
  static HWY_INLINE V8 HalfDown(V8 a, V8 b) {
    return hn::AverageRound(a, hn::SaturatedSub(b, hn::Set(D8(), 1)));
  }

  V8 color_[4][3];
  V8 u_limit_, v_limit_, uv_limit_, w_limit_, vw_limit_;
};

// The colour codes, then the indexes.
HWY_INLINE Halves ColorBlocks(const Planes& planes, const Ends& ends) {
  static constexpr Bytes16 kRowsOfBlock = {{0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15}};
  const ColorLine line = LineOf(ends);
  const ColorFit fit(line);
  VI16 nibbles[4];
  for (int y = 0; y < 4; ++y) nibbles[y] = PairDot<1, 4>(fit.IndexesOf(planes.row[y]));
  const VI16 rows01 = PairDot<1, 16>(PackBlocks(nibbles[0], nibbles[1]));
  const VI16 rows23 = PairDot<1, 16>(PackBlocks(nibbles[2], nibbles[3]));
  return {ColorCodes(line), hn::TableLookupBytes(PackBlocks(rows01, rows23), Each(kRowsOfBlock))};
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
