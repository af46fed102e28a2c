// SPDX-License-Identifier: MIT
// Encoding of DXT1, DXT3, DXT5, BC4 and BC5 blocks (Khronos Data Format Specification, 18 and 19)
// in one pass, without a search:
//
//   end points   the minimum and maximum of each channel, moved towards each other by
//                (hi - lo) >> 4: extremes are rare, and a slightly shorter palette fits the other
//                pixels better
//   colours      the nearest of the four palette colours by |R - r| + |G - g| + |B - b|. The four
//                lie on a line, so a few comparisons of distances give the two bits of the index
//   channels     the number of thresholds, of seven, that are not below the value gives the index
//
// Everything is computed in 8- and 16-bit lanes. zepjp.h, group texture, defines the output of each
// encoder to the bit.
#include "frame/checks.h"
#include "simd/dispatch.h"
#include "texture/blocks.h"

#define HWY_TARGET_INCLUDE "texture/texture_encoder.cc"
#include "hwy/foreach_target.h"
#include "texture/lanes-inl.h"

#ifndef ZEPJP_TEXTURE_ENCODING_KERNELS
#  define ZEPJP_TEXTURE_ENCODING_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  EncodeBlocks dxt1, dxt3, dxt5, ycocg, bc4, bc5;
};

using YCoCgDxt5 = TextureLayout<3, 16>;

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// Four rows of four pixels each; the fourth byte of a pixel is alpha.
using Rows = Four;

constexpr Bytes16 kLowerHalfNot = {
    {0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255}};

// The minimum and maximum of each channel, moved towards each other by a sixteenth of their
// distance, in 16 bits: the maxima in the lower half of each 128-bit block, the minima in the upper
// half.
HWY_INLINE V16 EndsOf(const Rows& rows) {
  static constexpr Bytes16 kWiden = {
      {0, 128, 1, 128, 2, 128, 3, 128, 8, 128, 9, 128, 10, 128, 11, 128}};
  static constexpr Words8 kInwards = {{1, 1, 1, 1, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF}};
  const V8 low = hn::Min(hn::Min(rows.part[0], rows.part[1]), hn::Min(rows.part[2], rows.part[3]));
  const V8 high = hn::Max(hn::Max(rows.part[0], rows.part[1]), hn::Max(rows.part[2], rows.part[3]));
  // The minimum is the complement of the largest complement, so one maximum finds both.
  const V8 not_low = hn::Not(low);
  const V8 pairs = hn::Max(LowerHalves(high, not_low), UpperHalves(high, not_low));
  const V8 largest = hn::Max(pairs, hn::BitCast(D8(), hn::Shuffle2301(hn::BitCast(D32(), pairs))));
  const V8 bounds = hn::Xor(largest, Each(kLowerHalfNot));
  const V16 wide = AsWords(hn::TableLookupBytesOr0(bounds, Each(kWiden)));
  const V16 other = AsWords(SwapHalves(AsBytes(wide)));
  const V16 range = hn::BitCast(D16(), hn::Abs(hn::BitCast(DI16(), hn::Sub(wide, other))));
  return hn::Sub(wide, hn::Mul(hn::ShiftRight<4>(range), Each(kInwards)));
}

// Red and blue cut to 5 bits, green to 6; alpha is 0.
HWY_INLINE V16 CutEnds(V16 ends) {
  static constexpr Words8 kKept = {{0xF8, 0xFC, 0xF8, 0, 0xF8, 0xFC, 0xF8, 0}};
  return hn::And(ends, Each(kKept));
}

// c0 and c1 in the first four bytes of each block, then zeros. A cut channel v is moved to bit p of
// the colour by a factor of 2^(p - 3), for green 2^(p - 2). All factors are multiplied by 8 because
// blue's is 2^-3.
HWY_INLINE V8 EndWords(V16 cut) {
  static constexpr Words8 kPlaces = {{1 << 11, 1 << 6, 1, 0, 1 << 11, 1 << 6, 1, 0}};
  static constexpr Bytes16 kTwoOf8 = {
      {0, 1, 8, 9, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128}};
  const V64 sums = hn::BitCast(D64(), DotAcc(hn::Zero(DI32()), hn::BitCast(DI16(), cut),
                                             hn::BitCast(DI16(), Each(kPlaces))));
  const V32 words = hn::BitCast(D32(), hn::Add(sums, hn::ShiftRight<32>(sums)));
  return hn::TableLookupBytesOr0(hn::BitCast(D8(), hn::ShiftRight<3>(words)), Each(kTwoOf8));
}

// The four colours of the decoder, each as R G B 0 in four bytes.
HWY_INLINE V8 PaletteOf(V16 cut) {
  static constexpr Words8 kRepeat = {{1 << 11, 1 << 10, 1 << 11, 0, 1 << 11, 1 << 10, 1 << 11, 0}};
  const V16 ends = hn::Or(cut, hn::MulHigh(cut, Each(kRepeat)));
  const V16 sum = hn::Add(hn::Add(ends, ends), AsWords(SwapHalves(AsBytes(ends))));
  return PackWords(ends, hn::MulHigh(sum, hn::Set(D16(), kThird)));
}

// TwoRows::DistancesTo<k> gives |R - r| + |G - g| + |B - b| for the eight pixels of two rows and
// palette colour k. The pixels of the two rows alternate.
#if HWY_TARGET == HWY_AVX3

// The instruction dbsad sums four absolute differences. In each 64 bits, 16-bit lane j compares a
// pixel with the four bytes of the repeated colour that begin at byte j, so the pixel must be
// rotated by j bytes.
constexpr Bytes16 RotatedPixels(int row) {
  Bytes16 from = {};
  for (int i = 0; i < 16; ++i) {
    const int channel = (i + i / 4 % 2 * 2 + row) % 4;
    from.lane[i] = static_cast<uint8_t>(channel == 3 ? 128 : i / 4 * 4 + channel);
  }
  return from;
}

class TwoRows {
 public:
  HWY_INLINE TwoRows(V8 row0, V8 row1)
      : even_(hn::TableLookupBytesOr0(row0, Each(kEven))),
        odd_(hn::TableLookupBytesOr0(row1, Each(kOdd))) {}

  template <int k>
  HWY_INLINE VI16 DistancesTo(V8 palette) const {
    const __m512i even = _mm512_dbsad_epu8(even_.raw, palette.raw, k * 0x55);
    return VI16{_mm512_mask_dbsad_epu8(even, 0xAAAAAAAA, odd_.raw, palette.raw, k * 0x55)};
  }

 private:
  static constexpr Bytes16 kEven = RotatedPixels(0), kOdd = RotatedPixels(1);
  V8 even_, odd_;
};

#else

class TwoRows {
 public:
  HWY_INLINE TwoRows(V8 row0, V8 row1) {
    static constexpr Bytes16 kApart = {
        {0, 1, 4, 5, 8, 9, 12, 13, 2, 128, 6, 128, 10, 128, 14, 128}};
    const V16 first = AsWords(hn::TableLookupBytesOr0(row0, Each(kApart)));
    const V16 second = AsWords(hn::TableLookupBytesOr0(row1, Each(kApart)));
    red_green_ = AsBytes(hn::InterleaveLower(D16(), first, second));
    blue_ = hn::BitCast(DI16(), hn::InterleaveUpper(D16(), first, second));
  }

  template <uint8_t k>
  HWY_INLINE VI16 DistancesTo(V8 palette) const {
    constexpr uint8_t r = 4 * k, g = r + 1, b = r + 2;
    static constexpr Bytes16 kRedGreen = {{r, g, r, g, r, g, r, g, r, g, r, g, r, g, r, g}};
    static constexpr Bytes16 kBlue = {
        {b, 128, b, 128, b, 128, b, 128, b, 128, b, 128, b, 128, b, 128}};
    const V8 red_green = hn::TableLookupBytes(palette, Each(kRedGreen));
    const VI16 blue = hn::BitCast(DI16(), hn::TableLookupBytesOr0(palette, Each(kBlue)));
    const V8 difference = hn::Sub(hn::Max(red_green_, red_green), hn::Min(red_green_, red_green));
    return hn::Add(PairDot<1, 1>(difference), hn::Abs(hn::Sub(blue_, blue)));
  }

 private:
  V8 red_green_;
  VI16 blue_;
};

#endif

// The indexes of eight pixels: the nearest of four colours on a line from colour 0 to colour 1.
// With d the distances, bit 0 is min(d0, d2) > d3, and bit 1 is min(d0, d1) > min(d2, d3).
HWY_INLINE V16 NearestOf8(V8 row0, V8 row1, V8 palette) {
  const DI16 d;
  const TwoRows rows(row0, row1);
  const VI16 d0 = rows.DistancesTo<0>(palette), d1 = rows.DistancesTo<1>(palette);
  const VI16 d2 = rows.DistancesTo<2>(palette), d3 = rows.DistancesTo<3>(palette);
  const VI16 bit0 = hn::VecFromMask(d, hn::Gt(hn::Min(d0, d2), d3));
  const VI16 bit1 = hn::VecFromMask(d, hn::Gt(hn::Min(d0, d1), hn::Min(d2, d3)));
  return hn::BitCast(D16(), hn::Or(hn::And(bit0, hn::Set(d, 1)), hn::And(bit1, hn::Set(d, 2))));
}

// The colour part, c0, c1 and the indexes, in the lower half of each 128-bit block.
HWY_INLINE V8 ColorBlock(const Rows& rows, V16 ends) {
  static constexpr Bytes16 kRowByRow = {{0, 2, 4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15}};
  static constexpr Bytes16 kFirstOf4 = {
      {128, 128, 128, 128, 0, 4, 8, 12, 128, 128, 128, 128, 128, 128, 128, 128}};
  const V16 cut = CutEnds(ends);
  const V8 palette = PaletteOf(cut);
  const V8 in_turn = PackWords(NearestOf8(rows.part[0], rows.part[1], palette),
                               NearestOf8(rows.part[2], rows.part[3], palette));
  const V8 indexes = hn::TableLookupBytes(in_turn, Each(kRowByRow));
  // A byte for each row: i0 + 4 i1 + 16 (i2 + 4 i3).
  const VI32 bytes = DotAcc(hn::Zero(DI32()), PairDot<1, 4>(indexes),
                            hn::BitCast(DI16(), hn::Set(D32(), 16 << 16 | 1)));
  return hn::Or(EndWords(cut), hn::TableLookupBytesOr0(hn::BitCast(D8(), bytes), Each(kFirstOf4)));
}

// The sixteen alpha values of each block.
HWY_INLINE V8 AlphaOf(const Rows& rows) {
  VI32 alpha[4];
  for (int y = 0; y < 4; ++y) {
    alpha[y] = hn::BitCast(DI32(), hn::ShiftRight<24>(hn::BitCast(D32(), rows.part[y])));
  }
  return PackBlocks(PackBlocks(alpha[0], alpha[1]), PackBlocks(alpha[2], alpha[3]));
}

// The alpha part of DXT3, in the lower half of each 128-bit block: the upper four bits of sixteen
// bytes, the first one lowest.
HWY_INLINE V8 NibbleBlock(V8 values) {
  const V16 words = AsWords(values);
  const V16 even = hn::And(hn::ShiftRight<4>(words), hn::Set(D16(), 0x0F));
  const V16 odd = hn::And(hn::ShiftRight<8>(words), hn::Set(D16(), 0xF0));
  return PackWords(hn::Or(even, odd), hn::Zero(D16()));
}

// The number of thresholds, of seven, that are not below each value. One threshold is low + bias;
// the others are at 6/7 to 1/7 of the way from low to high, plus the bias.
HWY_INLINE V8 CountThresholds(V8 values, V8 ends) {
  static constexpr Bytes16 kSevenths = {{0, 7, 6, 1, 5, 2, 4, 3, 3, 4, 2, 5, 1, 6, 0, 7}};
  static constexpr Bytes16 kRange = {
      {1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255, 1, 255}};  // high - low
  const D8 d8;
  const D16 d;
  const V16 sums = hn::BitCast(d, PairSums(ends, kSevenths));
  const V16 range = hn::BitCast(d, PairSums(ends, kRange));
  const V16 bias = hn::MulHigh(range, hn::Set(d, kFourteenth));
  const V8 thresholds = AsBytes(hn::Add(hn::MulHigh(sums, hn::Set(d, kSeventh)), bias));
  V8 count = hn::Zero(d8);
  for (uint8_t j = 0; j < 7; ++j) {
    const V8 threshold = hn::TableLookupBytes(thresholds, hn::Set(d8, static_cast<uint8_t>(2 * j)));
    const auto is_below = hn::Eq(hn::Max(values, threshold), threshold);
    count = hn::Sub(count, hn::VecFromMask(d8, is_below));  // + 1
  }
  return count;
}

// The channel part for sixteen values, in the lower half of each 128-bit block: the end points,
// then the indexes. High and low alternate in `ends`.
HWY_INLINE V8 ChannelBlock(V8 values, V8 ends) {
  static constexpr Bytes16 kIndexOfCount = {{0, 2, 3, 4, 5, 6, 7, 1, 0, 0, 0, 0, 0, 0, 0, 0}};
  const V8 indexes = hn::TableLookupBytes(Each(kIndexOfCount), CountThresholds(values, ends));
  // Joins two indexes in 6 bits, four in 12, eight in 24.
  const VI32 fours = DotAcc(hn::Zero(DI32()), PairDot<1, 8>(indexes),
                            hn::BitCast(DI16(), hn::Set(D32(), 64 << 16 | 1)));
  const V64 pairs = hn::BitCast(D64(), fours);
  const V8 eights = hn::BitCast(D8(), hn::Or(pairs, hn::ShiftRight<20>(pairs)));
  static constexpr Bytes16 kThreeOf8 = {
      {128, 128, 0, 1, 2, 8, 9, 10, 128, 128, 128, 128, 128, 128, 128, 128}};
  static constexpr Bytes16 kFirstTwo = {{255, 255}};
  return hn::Or(hn::And(ends, Each(kFirstTwo)), hn::TableLookupBytesOr0(eights, Each(kThreeOf8)));
}

// The end points of four channels, with high and low in turns; a channel has four bytes of each
// row.
HWY_INLINE V32 EndsOfFour(const Rows& rows) {
  const auto across = [&](auto combine) ZEP_ATTR {
    const D32 d;
    const V32 column = hn::BitCast(
        d, combine(combine(rows.part[0], rows.part[1]), combine(rows.part[2], rows.part[3])));
    const V8 halves = combine(hn::BitCast(D8(), hn::ShiftRight<16>(column)),
                              hn::BitCast(D8(), column));  // in the lower two bytes
    const V8 one = combine(AsBytes(hn::ShiftRight<8>(AsWords(halves))), halves);
    static constexpr Bytes16 kFirstOf4 = {{0, 0, 0, 0, 4, 4, 4, 4, 8, 8, 8, 8, 12, 12, 12, 12}};
    return hn::TableLookupBytes(one, Each(kFirstOf4));
  };
  const V8 low = across([](V8 a, V8 b) ZEP_ATTR { return hn::Min(a, b); });
  const V8 high = across([](V8 a, V8 b) ZEP_ATTR { return hn::Max(a, b); });
  const V8 sixteenth = AsBytes(hn::ShiftRight<4>(AsWords(hn::Sub(high, low))));
  const V8 inset = hn::And(sixteenth, hn::Set(D8(), 0x0F));
  const V8 is_high = AsBytes(hn::Set(D16(), 0x00FF));
  return hn::BitCast(D32(), hn::Or(hn::And(is_high, hn::Sub(high, inset)),
                                   hn::AndNot(is_high, hn::Add(low, inset))));
}

// Encodes four channels that lie side by side, four values of each in a row, and stores their
// blocks.
HWY_INLINE void StoreChannels(const Rows& rows, uint8_t* dst) {
  const V32 ends = EndsOfFour(rows);
  const Four channels = TransposeDwords(rows);
  const V8 first = ChannelBlock(channels.part[0], hn::BitCast(D8(), hn::Broadcast<0>(ends)));
  const V8 second = ChannelBlock(channels.part[1], hn::BitCast(D8(), hn::Broadcast<1>(ends)));
  StoreBlocks(LowerHalves(first, second), D8(), dst, 32);
  const V8 third = ChannelBlock(channels.part[2], hn::BitCast(D8(), hn::Broadcast<2>(ends)));
  const V8 fourth = ChannelBlock(channels.part[3], hn::BitCast(D8(), hn::Broadcast<3>(ends)));
  StoreBlocks(LowerHalves(third, fourth), D8(), dst + 16, 32);
}

HWY_INLINE Rows LoadRows(const uint8_t* src, ptrdiff_t step) {
  Rows rows;
  for (int y = 0; y < 4; ++y) rows.part[y] = hn::LoadU(D8(), src + y * step);
  return rows;
}

struct EncodeDxt1 {
  using Layout = Dxt1;
  static constexpr size_t kBlocks = kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    const Rows rows = LoadRows(src, step);
    StoreLowerHalves(ColorBlock(rows, EndsOf(rows)), dst);
  }
};

template <bool kIsDxt5>
HWY_INLINE void StoreDxt(const Rows& rows, uint8_t* dst) {
  static constexpr Bytes16 kAlphaEnds = {{6, 14, 6, 14, 6, 14, 6, 14, 6, 14, 6, 14, 6, 14, 6, 14}};
  const V16 ends = EndsOf(rows);
  const V8 color = ColorBlock(rows, ends);
  const V8 alpha = AlphaOf(rows);
  const V8 alpha_block =
      kIsDxt5 ? ChannelBlock(alpha, hn::TableLookupBytes(AsBytes(ends), Each(kAlphaEnds)))
              : NibbleBlock(alpha);
  hn::StoreU(LowerHalves(alpha_block, color), D8(), dst);
}

template <bool kIsDxt5>
struct EncodeDxt {
  using Layout = Dxt;
  static constexpr size_t kBlocks = kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    StoreDxt<kIsDxt5>(LoadRows(src, step), dst);
  }
};

// Y Co Cg pixels to DXT5: Y becomes alpha, Co red, Cg green.
struct EncodeYCoCg {
  using Layout = YCoCgDxt5;
  static constexpr size_t kBlocks = kRegisterBlocks;
  static constexpr size_t kMore =
      1;  // a load of sixteen bytes reads past the twelve that are needed

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    static constexpr Bytes16 kOrder = {{1, 2, 128, 0, 4, 5, 128, 3, 7, 8, 128, 6, 10, 11, 128, 9}};
    Rows rows;
    for (int y = 0; y < 4; ++y) {
      rows.part[y] = hn::TableLookupBytesOr0(LoadBlocks(D8(), src + y * step, 12), Each(kOrder));
    }
    StoreDxt<true>(rows, dst);
  }
};

// BC4: each 128-bit block of the registers takes four consecutive blocks of the texture.
struct EncodeBc4 {
  using Layout = Bc4;
  static constexpr size_t kBlocks = 4 * kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    StoreChannels(LoadRows(src, step), dst);
  }
};

struct EncodeBc5 {
  using Layout = Bc5;
  static constexpr size_t kBlocks = 2 * kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    static constexpr Bytes16 kApart = {{0, 2, 4, 6, 1, 3, 5, 7, 8, 10, 12, 14, 9, 11, 13, 15}};
    Rows rows = LoadRows(src, step);
    for (V8& row : rows.part) row = hn::TableLookupBytes(row, Each(kApart));
    StoreChannels(rows, dst);  // R, G, and those of the next block
  }
};

// Encodes `count` blocks. The last step overlaps the one before; if there are too few blocks, or
// the format reads past the end, it works on copies.
template <class Format>
void Encode(const uint8_t* src, ptrdiff_t step, uint8_t* dst, size_t count) {
  using Layout = typename Format::Layout;
  constexpr size_t kBlocks = Format::kBlocks;
  constexpr size_t kWidth = Layout::kWidth;
  size_t i = 0;
  for (; i + kBlocks + Format::kMore <= count; i += kBlocks) {
    Format::Step(src + i * kWidth, step, dst + i * Layout::kBlock);
  }
  if (i == count || kBlocks + Format::kMore == 1) return;  // a step of one block leaves none
  if (Format::kMore == 0 && count >= kBlocks) {
    const size_t last = count - kBlocks;
    Format::Step(src + last * kWidth, step, dst + last * Layout::kBlock);
    return;
  }
  constexpr size_t kInWidth = (kBlocks + Format::kMore) * kWidth;
  HWY_ALIGN uint8_t in[4][kInWidth] = {};
  HWY_ALIGN uint8_t out[kBlocks * Layout::kBlock];
  for (int y = 0; y < 4; ++y) CopyBytes(src + i * kWidth + y * step, in[y], (count - i) * kWidth);
  Format::Step(in[0], kInWidth, out);
  CopyBytes(out, dst + i * Layout::kBlock, (count - i) * Layout::kBlock);
}

constexpr Kernels kKernels = {
    .dxt1 = Encode<EncodeDxt1>,
    .dxt3 = Encode<EncodeDxt<false>>,
    .dxt5 = Encode<EncodeDxt<true>>,
    .ycocg = Encode<EncodeYCoCg>,
    .bc4 = Encode<EncodeBc4>,
    .bc5 = Encode<EncodeBc5>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

template <class Layout>
zepStatus CheckAndEncode(EncodeBlocks encode, const uint8_t* src, int32_t step, zepiSize size,
                         uint8_t* dst) {
  if (auto bad =
          Checks().Ptr(src).Ptr(dst).Refuse(step == 0, zepStatusBadStep).Size(size).Failed()) {
    return bad;
  }
  EncodeTexture<Layout>(encode, src, step, size, dst);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* pSrc,
                                                                int32_t srcStep, zepiSize roiSize,
                                                                uint8_t* pDst) {
  return CheckAndEncode<Dxt1>(kernels.dxt1, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* pSrc,
                                                                int32_t srcStep, zepiSize roiSize,
                                                                uint8_t* pDst) {
  return CheckAndEncode<Dxt>(kernels.dxt3, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* pSrc,
                                                                int32_t srcStep, zepiSize roiSize,
                                                                uint8_t* pDst) {
  return CheckAndEncode<Dxt>(kernels.dxt5, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* pSrc,
                                                                 int32_t srcStep, zepiSize roiSize,
                                                                 uint8_t* pDst) {
  return CheckAndEncode<YCoCgDxt5>(kernels.ycocg, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlock_BC4_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                     zepiSize roiSize, uint8_t* pDst) {
  return CheckAndEncode<Bc4>(kernels.bc4, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(const uint8_t* pSrc, int32_t srcStep,
                                                             zepiSize roiSize, uint8_t* pDst) {
  return CheckAndEncode<Bc5>(kernels.bc5, pSrc, srcStep, roiSize, pDst);
}
#endif  // HWY_ONCE
