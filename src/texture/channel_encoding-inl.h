// SPDX-License-Identifier: MIT
// The channel parts: DXT5's alpha, BC4, BC5, and the alpha of DXT3. Each 32-bit lane belongs to one
// block: four bytes of a row. Included once per instruction set.
#if defined(ZEPJP_SRC_TEXTURE_CHANNEL_ENCODING_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_TEXTURE_CHANNEL_ENCODING_INL_H_
#    undef ZEPJP_SRC_TEXTURE_CHANNEL_ENCODING_INL_H_
#  else
#    define ZEPJP_SRC_TEXTURE_CHANNEL_ENCODING_INL_H_
#  endif

#  include "texture/encoding_lanes-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// Seven thresholds divide the range of a channel: t(m) = (m high + (7 - m) low) / 7 + bias for m
// from 0 to 6, where the bias is (high - low) / 14. They rise, so three comparisons find the number
// of thresholds below a value.
class ChannelFit {
 public:
  // High and low alternate in `ends`.
  HWY_INLINE explicit ChannelFit(V8 ends) {
    static constexpr Bytes16 kRange = {
        {1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255}};  // high - low
    const V16 range = hn::BitCast(D16(), PairSums(ends, kRange));
    const V16 bias = hn::MulHigh(range, hn::Set(D16(), kFourteenth));
    middle_ = BothBytes(Thresholds<3, 3>(ends, bias));
    first_fifth_ = AsBytes(Thresholds<1, 5>(ends, bias));
    even_ = AsBytes(
        hn::Or(Thresholds<0, 4>(ends, bias), hn::ShiftLeft<8>(Thresholds<2, 6>(ends, bias))));
  }

  // The indexes of four values, a byte each.
  HWY_INLINE V8 IndexesOf(V8 values) const {
    static constexpr Bytes16 kLane = {{0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12}};
    static constexpr Bytes16 kIndexOfCount = {{1, 7, 6, 5, 4, 3, 2, 0}};
    const V8 half = IsAbove(values, middle_);
    V8 at = hn::Add(Each(kLane), hn::Add(half, half));
    at = hn::Add(at, IsAbove(values, hn::TableLookupBytes(first_fifth_, at)));
    const V8 last = IsAbove(values, hn::TableLookupBytes(even_, at));
    const V8 count = hn::And(hn::Add(hn::Add(at, at), last), hn::Set(D8(), 7));
    return hn::TableLookupBytes(Each(kIndexOfCount), count);
  }

 private:
  // t(kFirst) and t(kSecond) in the words of each lane.
  template <uint8_t kFirst, uint8_t kSecond>
  static HWY_INLINE V16 Thresholds(V8 ends, V16 bias) {
    constexpr uint8_t a = kFirst, b = 7 - kFirst, c = kSecond, d = 7 - kSecond;
    static constexpr Bytes16 kWeights = {{a, b, c, d, a, b, c, d, a, b, c, d, a, b, c, d}};
    const V16 sums = hn::BitCast(D16(), PairSums(ends, kWeights));
    return hn::Add(hn::MulHigh(sums, hn::Set(D16(), kSeventh)), bias);
  }
  static HWY_INLINE V8 BothBytes(V16 v) { return AsBytes(hn::Or(v, hn::ShiftLeft<8>(v))); }
  // 1 where the value is above the threshold, else 0.
  static HWY_INLINE V8 IsAbove(V8 values, V8 thresholds) {
    return hn::Min(hn::SaturatedSub(values, thresholds), hn::Set(D8(), 1));
  }

  V8 middle_;       // t(3)
  V8 first_fifth_;  // t(1) and t(5), a word each
  V8 even_;         // t(0), t(2), t(4), t(6)
};

// The channel part of each block: the end points, then the indexes of 3 bits. The ends of a channel
// are in all bytes of its lane.
HWY_INLINE Halves ChannelBlocks(const Four& rows, const Ends& bounds) {
  const D32 d;
  const V8 is_high = AsBytes(hn::Set(D16(), 0x00FF));
  const V8 ends = hn::Or(hn::And(is_high, bounds.high), hn::AndNot(is_high, bounds.low));
  const ChannelFit fit(ends);
  V32 row[4];  // 12 bits of indexes
  for (int y = 0; y < 4; ++y) {
    const VI16 pairs = PairDot<1, 8>(fit.IndexesOf(rows.part[y]));
    row[y] = hn::BitCast(
        d, DotAcc(hn::Zero(DI32()), pairs, hn::BitCast(DI16(), hn::Set(d, 64 << 16 | 1))));
  }
  const V32 rows01 = hn::Or(row[0], hn::ShiftLeft<12>(row[1]));
  const V32 rows23 = hn::Or(row[2], hn::ShiftLeft<12>(row[3]));
  const V32 two_ends = hn::And(hn::BitCast(d, ends), hn::Set(d, 0xFFFF));
  return {hn::BitCast(D8(), hn::Or(two_ends, hn::ShiftLeft<16>(rows01))),
          hn::BitCast(D8(), hn::Or(hn::ShiftRight<16>(rows01), hn::ShiftLeft<8>(rows23)))};
}

// Alpha of DXT3: the upper four bits of sixteen values.
HWY_INLINE Halves NibbleBlocks(const Four& rows) {
  static constexpr Bytes16 kRowsOfBlock = {{0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15}};
  VI16 row[4];  // two values in each word
  for (int y = 0; y < 4; ++y) {
    const V8 upper = AsBytes(hn::ShiftRight<4>(AsWords(rows.part[y])));
    row[y] = PairDot<1, 16>(hn::And(upper, hn::Set(D8(), 0x0F)));
  }
  return {hn::TableLookupBytes(PackBlocks(row[0], row[1]), Each(kRowsOfBlock)),
          hn::TableLookupBytes(PackBlocks(row[2], row[3]), Each(kRowsOfBlock))};
}

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
