// SPDX-License-Identifier: MIT
// Loads pixels as pairs of 16-bit lanes for dot products over their three colour channels. Included
// once per instruction set.
//
// A step loads N pixels, where N is the number of bytes in a vector. They become four quarters of N
// / 4 pixels, each of two registers with one pair for each pixel: (c0, c1) and (c2, 0). Block b
// (128 bits) of quarter q holds the pixels 16b + 4q to 16b + 4q + 3. Then PackBlocks of the results
// of quarters 0 and 1, of 2 and 3, and of both, leaves N bytes in the order of the pixels, without
// a permutation across blocks.
#if defined(ZEPJP_SRC_JPEG_COLOR_PIXELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#  ifdef ZEPJP_SRC_JPEG_COLOR_PIXELS_INL_H_
#    undef ZEPJP_SRC_JPEG_COLOR_PIXELS_INL_H_
#  else
#    define ZEPJP_SRC_JPEG_COLOR_PIXELS_INL_H_
#  endif

#  include "jpeg/color/vectors-inl.h"

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

struct Pairs {
  V16 first[4];   // (c0, c1)
  V16 second[4];  // (c2, 0)
};

// Indices for TableLookupBytesOr0. They pick, from four pixels of `pixel_bytes` bytes that begin at
// byte `shift`, the channels `first` and `second` as pairs of 16-bit lanes; a negative channel
// gives 0.
constexpr BlockBytes MakePairIndices(int pixel_bytes, int shift, int first, int second) {
  BlockBytes result = {};
  for (int pixel = 0; pixel < 4; ++pixel) {
    const int start = shift + pixel * pixel_bytes;
    result.bytes[4 * pixel] = static_cast<int8_t>(start + first);
    result.bytes[4 * pixel + 1] = kZero;
    result.bytes[4 * pixel + 2] = second < 0 ? kZero : static_cast<int8_t>(start + second);
    result.bytes[4 * pixel + 3] = kZero;
  }
  return result;
}

// Indices for sums of two neighbouring pixels. For both couples of four pixels they pick
// (c0, c0', c1, c1') to the lower half of the block and (c2, c2', 0, 0) to the upper half.
constexpr BlockBytes MakeCoupleIndices(int pixel_bytes, int shift) {
  BlockBytes result = {};
  for (int couple = 0; couple < 2; ++couple) {
    const int start = shift + couple * 2 * pixel_bytes;
    for (int pixel = 0; pixel < 2; ++pixel) {
      const int byte = start + pixel * pixel_bytes;
      result.bytes[4 * couple + pixel] = static_cast<int8_t>(byte);
      result.bytes[4 * couple + 2 + pixel] = static_cast<int8_t>(byte + 1);
      result.bytes[8 + 4 * couple + pixel] = static_cast<int8_t>(byte + 2);
      result.bytes[8 + 4 * couple + 2 + pixel] = kZero;
    }
  }
  return result;
}

// Interleaved pixels of kChannels bytes, 3 or 4; the fourth is ignored.
//
// A load of 16 bytes for four three-byte pixels reads four bytes too many. So in every other
// quarter the load starts four bytes earlier, and no half of the pixels reads beyond its end; the
// pixels begin at byte 4 of the block.
template <int kChannels>
struct Interleaved : Span<1, kChannels> {
  // The bytes of N pixels, four pixels in each block of a quarter.
  struct Raw {
    V8 quarters[4];
  };
  static constexpr int Shift(int quarter) { return kChannels == 3 && quarter % 2 != 0 ? 4 : 0; }

  template <int kQuarter, class Parts>
  static HWY_INLINE V8 LoadQuarter(Parts parts, const uint8_t* from) {
    return LoadBlocksFrom<4 * kQuarter, kChannels>(parts, from, Shift(kQuarter));
  }
  template <class Parts>
  static HWY_INLINE Raw LoadRaw(Parts parts, const uint8_t* const* src, size_t x) {
    const uint8_t* from = src[0] + x * kChannels;
    return {{LoadQuarter<0>(parts, from), LoadQuarter<1>(parts, from), LoadQuarter<2>(parts, from),
             LoadQuarter<3>(parts, from)}};
  }

  template <int kQuarter>
  static HWY_INLINE void MakePairs(const Raw& raw, Pairs& pairs) {
    static constexpr VectorBytes kFirst = MakePairIndices(kChannels, Shift(kQuarter), 0, 1);
    static constexpr VectorBytes kSecond = MakePairIndices(kChannels, Shift(kQuarter), 2, -1);
    pairs.first[kQuarter] = hn::BitCast(D16(), Shuffle(raw.quarters[kQuarter], kFirst));
    pairs.second[kQuarter] = hn::BitCast(D16(), Shuffle(raw.quarters[kQuarter], kSecond));
  }
  static HWY_INLINE Pairs MakePairs(const Raw& raw) {
    Pairs pairs;
    MakePairs<0>(raw, pairs);
    MakePairs<1>(raw, pairs);
    MakePairs<2>(raw, pairs);
    MakePairs<3>(raw, pairs);
    return pairs;
  }
  template <class Parts>
  static HWY_INLINE Pairs Load(Parts parts, const uint8_t* const* src, size_t x) {
    return MakePairs(LoadRaw(parts, src, x));
  }

  // Sums of horizontal neighbours among the four pixels of each block, ordered as in
  // MakeCoupleIndices.
  template <int kQuarter>
  static HWY_INLINE V16 CoupleSums(const Raw& raw) {
    static constexpr VectorBytes kCouples = MakeCoupleIndices(kChannels, Shift(kQuarter));
    return PairDot<1, 1>(Shuffle(raw.quarters[kQuarter], kCouples));
  }
};

// Pairs (a, b) of 16-bit lanes from a vector of bytes of each channel.
HWY_INLINE void PairsOfBytes(V8 a, V8 b, V16 (&pairs)[4]) {
  const D8 d8;
  const auto zero = hn::Zero(d8);
  const V8 low = hn::InterleaveLower(d8, a, b);
  const V8 high = hn::InterleaveUpper(d8, a, b);
  pairs[0] = hn::BitCast(D16(), hn::InterleaveLower(d8, low, zero));
  pairs[1] = hn::BitCast(D16(), hn::InterleaveUpper(d8, low, zero));
  pairs[2] = hn::BitCast(D16(), hn::InterleaveLower(d8, high, zero));
  pairs[3] = hn::BitCast(D16(), hn::InterleaveUpper(d8, high, zero));
}

// Three separate planes.
struct Planar : Span<3, 1> {
  template <class Parts>
  static HWY_INLINE Pairs Load(Parts parts, const uint8_t* const* src, size_t x) {
    Pairs pairs;
    PairsOfBytes(LoadPixels(parts, src[0] + x), LoadPixels(parts, src[1] + x), pairs.first);
    PairsOfBytes(LoadPixels(parts, src[2] + x), hn::Zero(D8()), pairs.second);
    return pairs;
  }
};

// 16-bit pixels with fields of 5, kGreenBits and 5 bits, the first channel highest. A field is
// widened to 8 bits by appending its own upper bits.
template <int kGreenBits>
struct Packed : Span<1, 2> {
  template <int kHalf, class Parts>
  static HWY_INLINE void LoadHalf(Parts parts, const uint8_t* from, Pairs& pairs) {
    const D16 d16;
    const V16 word = hn::BitCast(d16, LoadBlocksFrom<8 * kHalf, 2>(parts, from));
    const auto bits = [&](auto v, int mask) { return hn::And(v, hn::Set(d16, int16_t(mask))); };
    constexpr int kHighShift = kGreenBits + 5 - 3;  // moves the first field to bits 7..3
    const V16 c0 = hn::Or(bits(hn::ShiftRight<kHighShift>(word), 0xF8),
                          bits(hn::ShiftRight<kHighShift + 5>(word), 0x07));
    const V16 c1 =
        kGreenBits == 6
            ? hn::Or(bits(hn::ShiftRight<3>(word), 0xFC), bits(hn::ShiftRight<9>(word), 0x03))
            : hn::Or(bits(hn::ShiftRight<2>(word), 0xF8), bits(hn::ShiftRight<7>(word), 0x07));
    const V16 c2 = hn::Or(bits(hn::ShiftLeft<3>(word), 0xF8), bits(hn::ShiftRight<2>(word), 0x07));
    const auto zero = hn::Zero(d16);
    pairs.first[2 * kHalf] = hn::InterleaveLower(d16, c0, c1);
    pairs.first[2 * kHalf + 1] = hn::InterleaveUpper(d16, c0, c1);
    pairs.second[2 * kHalf] = hn::InterleaveLower(d16, c2, zero);
    pairs.second[2 * kHalf + 1] = hn::InterleaveUpper(d16, c2, zero);
  }

  template <class Parts>
  static HWY_INLINE Pairs Load(Parts parts, const uint8_t* const* src, size_t x) {
    Pairs pairs;
    LoadHalf<0>(parts, src[0] + 2 * x, pairs);
    LoadHalf<1>(parts, src[0] + 2 * x, pairs);
    return pairs;
  }
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // per-target include guard
