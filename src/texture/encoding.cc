// SPDX-License-Identifier: MIT
// Encoding of DXT1, DXT3, DXT5, BC4 and BC5 blocks in one pass: the bounds of each channel, drawn in by a
// sixteenth, are the end points; comparisons with the palette, or with thresholds, make the indexes.
#include "frame/checks.h"
#include "simd/dispatch.h"
#include "texture/blocks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "texture/encoding.cc"
#include "hwy/foreach_target.h"
#include "texture/lanes-inl.h"

#ifndef ZEPJP_TEXTURE_ENCODING_KERNELS
#  define ZEPJP_TEXTURE_ENCODING_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  EncodeBlocks dxt1, dxt3, dxt5, ycocg, bc4, bc5;
};

using Dxt1 = TextureLayout<4, 8>;
using Dxt = TextureLayout<4, 16>;
using YCoCgDxt5 = TextureLayout<3, 16>;
using Bc4 = TextureLayout<1, 8>;
using Bc5 = TextureLayout<2, 16>;

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

// The bounds of channels, drawn in by a sixteenth of what lies between them.
struct Bounds {
  V8 low, high;
};
HWY_INLINE Bounds DrawnIn(V8 low, V8 high) {
  const V8 range = hn::Sub(high, low);
  const V8 inset = hn::And(AsBytes(hn::ShiftRight<4>(AsWords(range))), hn::Set(D8(), 0x0F));
  return {hn::SaturatedAdd(low, inset), hn::SaturatedSub(high, inset)};
}

// Four rows of four pixels each; the fourth byte of a pixel is alpha.
using Rows = Four;

// Of the four channels, in each pixel.
HWY_INLINE Bounds BoundsOf(const Rows& rows) {
  const auto across = [&](auto combine) ZEP_ATTR {
    const V8 column =
        combine(combine(rows.part[0], rows.part[1]), combine(rows.part[2], rows.part[3]));
    const V8 pair = combine(column, SwapHalves(column));
    return combine(pair, hn::BitCast(D8(), hn::Shuffle2301(hn::BitCast(D32(), pair))));
  };
  const V8 low = across([](V8 a, V8 b) ZEP_ATTR { return hn::Min(a, b); });
  const V8 high = across([](V8 a, V8 b) ZEP_ATTR { return hn::Max(a, b); });
  return DrawnIn(low, high);
}

// Red and blue cut to 5 bits, green to 6, and back to 8; no alpha.
HWY_INLINE V8 Quantized(V8 colors) {
  const auto dword = [](uint32_t v) ZEP_ATTR { return hn::BitCast(D8(), hn::Set(D32(), v)); };
  const V16 words = AsWords(colors);
  const V8 high = hn::And(colors, dword(0x00F8FCF8));
  const V8 red_blue = hn::And(AsBytes(hn::ShiftRight<5>(words)), dword(0x00070007));
  const V8 green = hn::And(AsBytes(hn::ShiftRight<6>(words)), dword(0x00000300));
  return hn::Or(high, hn::Or(red_blue, green));
}

// (2 a + b) / 3 of pixels that are all the same.
HWY_INLINE V8 TwoThirds(V8 a, V8 b) {
  const D8 d;
  const V16 wide_a = AsWords(hn::InterleaveLower(d, a, hn::Zero(d)));
  const V16 wide_b = AsWords(hn::InterleaveLower(d, b, hn::Zero(d)));
  const V16 sum = hn::Add(hn::Add(wide_a, wide_a), wide_b);
  const V16 third = hn::MulHigh(sum, hn::Set(D16(), kThird));
  return PackWords(third, third);
}

// |R - r| + |G - g| + |B - b| of the eight pixels of two rows.
HWY_INLINE VI16 Distances(V8 row0, V8 row1, V8 color) {
  const DI32 d;
  const auto distance = [&](V8 row) ZEP_ATTR {
    const V8 difference = hn::Sub(hn::Max(row, color), hn::Min(row, color));
    return DotAcc(hn::Zero(d), PairDot<1, 1>(difference), hn::Set(DI16(), 1));
  };
  return PackBlocks(distance(row0), distance(row1));
}

struct Colors {
  V8 p[4];
};

// Indexes of eight pixels: of colours on one line, p[0] and p[1] its ends, the nearest.
HWY_INLINE V16 NearestOf8(V8 row0, V8 row1, const Colors& colors) {
  const DI16 d;
  VI16 distance[4];
  for (int k = 0; k < 4; ++k) distance[k] = Distances(row0, row1, colors.p[k]);
  const auto above = [&](int i, int k)
                         ZEP_ATTR { return hn::VecFromMask(d, hn::Gt(distance[i], distance[k])); };
  const VI16 is_03 = above(0, 3);
  const VI16 bit0 = hn::And(is_03, above(2, 3));
  const VI16 bit1 = hn::Or(hn::And(above(1, 2), above(0, 2)), hn::And(is_03, above(1, 3)));
  return hn::BitCast(D16(), hn::Or(hn::And(bit0, hn::Set(d, 1)), hn::And(bit1, hn::Set(d, 2))));
}

// c0, c1 and the indexes, in the lower half of each block.
HWY_INLINE V8 ColorBlock(const Rows& rows, const Bounds& bounds) {
  const D32 d32;
  const V8 no_alpha = hn::BitCast(D8(), hn::Set(d32, 0x00FFFFFF));
  Colors colors;
  colors.p[0] = Quantized(bounds.high);
  colors.p[1] = Quantized(bounds.low);
  colors.p[2] = TwoThirds(colors.p[0], colors.p[1]);
  colors.p[3] = TwoThirds(colors.p[1], colors.p[0]);
  V8 opaque[4];
  for (int y = 0; y < 4; ++y) opaque[y] = hn::And(rows.part[y], no_alpha);
  const V8 indexes =
      PackWords(NearestOf8(opaque[0], opaque[1], colors), NearestOf8(opaque[2], opaque[3], colors));
  // i0 + 4 i1, then + 16 (i2 + 4 i3): a byte for each row.
  const VI32 bytes = DotAcc(hn::Zero(DI32()), PairDot<1, 4>(indexes),
                            hn::BitCast(DI16(), hn::Set(d32, 16 << 16 | 1)));
  static constexpr Bytes16 kFirstOf4 = {
      {0, 4, 8, 12, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128}};
  const V8 index_word = hn::TableLookupBytesOr0(hn::BitCast(D8(), bytes), Each(kFirstOf4));

  const V32 ends =
      hn::InterleaveLower(d32, hn::BitCast(d32, bounds.high), hn::BitCast(d32, bounds.low));
  const V32 red = hn::ShiftLeft<8>(hn::And(ends, hn::Set(d32, 0xF8)));
  const V32 green = hn::And(hn::ShiftRight<5>(ends), hn::Set(d32, 0x07E0));
  const V32 blue = hn::And(hn::ShiftRight<19>(ends), hn::Set(d32, 0x1F));
  const V8 c0_c1 = hn::BitCast(D8(), hn::Or(red, hn::Or(green, blue)));
  static constexpr Bytes16 kTwoOf4 = {
      {0, 1, 4, 5, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128, 128}};
  const V8 end_word = hn::TableLookupBytesOr0(c0_c1, Each(kTwoOf4));
  return hn::BitCast(
      D8(), hn::InterleaveLower(d32, hn::BitCast(d32, end_word), hn::BitCast(d32, index_word)));
}

// The sixteen alpha values.
HWY_INLINE V8 AlphaOf(const Rows& rows) {
  VI32 alpha[4];
  for (int y = 0; y < 4; ++y) {
    alpha[y] = hn::BitCast(DI32(), hn::ShiftRight<24>(hn::BitCast(D32(), rows.part[y])));
  }
  return PackBlocks(PackBlocks(alpha[0], alpha[1]), PackBlocks(alpha[2], alpha[3]));
}

// The upper halves of sixteen bytes, the first one lowest, in the lower half of each block.
HWY_INLINE V8 NibbleBlock(V8 values) {
  const V16 words = AsWords(values);
  const V16 even = hn::And(hn::ShiftRight<4>(words), hn::Set(D16(), 0x0F));
  const V16 odd = hn::And(hn::ShiftRight<8>(words), hn::Set(D16(), 0xF0));
  return PackWords(hn::Or(even, odd), hn::Zero(D16()));
}

// Of sixteen values, in each byte. The lower half of a register looks for the smallest value, the upper
// half for the smallest complement.
HWY_INLINE Bounds BoundsOfChannel(V8 values) {
  static constexpr Bytes16 kSwapDwords = {{4, 5, 6, 7, 0, 1, 2, 3, 12, 13, 14, 15, 8, 9, 10, 11}};
  static constexpr Bytes16 kSwapWords = {{2, 3, 0, 1, 6, 7, 4, 5, 10, 11, 8, 9, 14, 15, 12, 13}};
  static constexpr Bytes16 kLowest = {{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
  static constexpr Bytes16 kLowestNext = {{1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1}};
  static constexpr Bytes16 kUpper = {{8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8, 8}};
  static constexpr Bytes16 kUpperNext = {{9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9, 9}};
  const V8 ones = hn::Set(D8(), 255);
  const V8 low = hn::Min(values, SwapHalves(values));
  const V8 high = hn::Max(values, SwapHalves(values));
  V8 both = LowerHalves(low, hn::Xor(high, ones));
  both = hn::Min(both, hn::TableLookupBytes(both, Each(kSwapDwords)));
  both = hn::Min(both, hn::TableLookupBytes(both, Each(kSwapWords)));
  const V8 lowest = hn::Min(hn::TableLookupBytes(both, Each(kLowest)),
                            hn::TableLookupBytes(both, Each(kLowestNext)));
  const V8 highest = hn::Min(hn::TableLookupBytes(both, Each(kUpper)),
                             hn::TableLookupBytes(both, Each(kUpperNext)));
  return DrawnIn(lowest, hn::Xor(highest, ones));
}

// How many of the seven thresholds between the end points are not below each value. In 16 bits and lane
// j - 1, threshold j is (7 - j + 1) / 7 of the way from low to high (the first one is low), plus a bias.
HWY_INLINE V8 CountThresholds(V8 values, const Bounds& bounds) {
  static constexpr Words8 kHigh = {{0, 6, 5, 4, 3, 2, 1, 0}};
  static constexpr Words8 kLow = {{7, 1, 2, 3, 4, 5, 6, 7}};
  const D8 d8;
  const D16 d;
  const V16 low = AsWords(hn::InterleaveLower(d8, bounds.low, hn::Zero(d8)));
  const V16 high = AsWords(hn::InterleaveLower(d8, bounds.high, hn::Zero(d8)));
  const V16 bias = hn::MulHigh(hn::Sub(high, low), hn::Set(d, kFourteenth));
  const V16 sums = hn::Add(hn::Mul(high, Each(kHigh)), hn::Mul(low, Each(kLow)));
  const V16 words = hn::Add(hn::MulHigh(sums, hn::Set(d, kSeventh)), bias);
  const V8 thresholds = PackWords(words, words);
  V8 count = hn::Zero(d8);
  for (uint8_t j = 0; j < 7; ++j) {
    const V8 threshold = hn::TableLookupBytes(thresholds, hn::Set(d8, j));
    const auto is_below = hn::Eq(hn::Max(values, threshold), threshold);
    count = hn::Sub(count, hn::VecFromMask(d8, is_below));  // + 1
  }
  return count;
}

// A channel's end points and indexes, in the lower half of each block.
HWY_INLINE V8 ChannelBlock(V8 values) {
  static constexpr Bytes16 kIndexOfCount = {{0, 2, 3, 4, 5, 6, 7, 1, 0, 0, 0, 0, 0, 0, 0, 0}};
  const Bounds bounds = BoundsOfChannel(values);
  const V8 indexes = hn::TableLookupBytes(Each(kIndexOfCount), CountThresholds(values, bounds));
  // Two indexes in 6 bits, four in 12, eight in 24.
  const VI32 fours = DotAcc(hn::Zero(DI32()), PairDot<1, 8>(indexes),
                            hn::BitCast(DI16(), hn::Set(D32(), 64 << 16 | 1)));
  const V64 pairs = hn::BitCast(D64(), fours);
  const V8 eights = hn::BitCast(D8(), hn::Or(pairs, hn::ShiftRight<20>(pairs)));
  static constexpr Bytes16 kThreeOf8 = {
      {128, 128, 0, 1, 2, 8, 9, 10, 128, 128, 128, 128, 128, 128, 128, 128}};
  static constexpr Bytes16 kFirst = {{255}};
  static constexpr Bytes16 kSecond = {{0, 255}};
  const V8 ends = hn::Or(hn::And(bounds.high, Each(kFirst)), hn::And(bounds.low, Each(kSecond)));
  return hn::Or(ends, hn::TableLookupBytesOr0(eights, Each(kThreeOf8)));
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
    StoreLowerHalves(ColorBlock(rows, BoundsOf(rows)), dst);
  }
};

template <bool kIsDxt5>
HWY_INLINE void StoreDxt(const Rows& rows, uint8_t* dst) {
  const V8 color = ColorBlock(rows, BoundsOf(rows));
  const V8 alpha = kIsDxt5 ? ChannelBlock(AlphaOf(rows)) : NibbleBlock(AlphaOf(rows));
  hn::StoreU(LowerHalves(alpha, color), D8(), dst);
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

// Y becomes alpha, Co red, Cg green.
struct EncodeYCoCg {
  using Layout = YCoCgDxt5;
  static constexpr size_t kBlocks = kRegisterBlocks;
  static constexpr size_t kMore = 1;  // sixteen bytes are loaded where twelve count

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    static constexpr Bytes16 kOrder = {{1, 2, 128, 0, 4, 5, 128, 3, 7, 8, 128, 6, 10, 11, 128, 9}};
    Rows rows;
    for (int y = 0; y < 4; ++y) {
      rows.part[y] = hn::TableLookupBytesOr0(LoadBlocks<12>(D8(), src + y * step), Each(kOrder));
    }
    StoreDxt<true>(rows, dst);
  }
};

// Each 128-bit block of the registers takes four blocks that follow one another.
struct EncodeBc4 {
  using Layout = Bc4;
  static constexpr size_t kBlocks = 4 * kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    const Four blocks = TransposeDwords(LoadRows(src, step));
    StoreBlocks<32>(LowerHalves(ChannelBlock(blocks.part[0]), ChannelBlock(blocks.part[1])), D8(),
                    dst);
    StoreBlocks<32>(LowerHalves(ChannelBlock(blocks.part[2]), ChannelBlock(blocks.part[3])), D8(),
                    dst + 16);
  }
};

struct EncodeBc5 {
  using Layout = Bc5;
  static constexpr size_t kBlocks = 2 * kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    static constexpr Bytes16 kApart = {{0, 2, 4, 6, 8, 10, 12, 14, 1, 3, 5, 7, 9, 11, 13, 15}};
    Rows rows = LoadRows(src, step);
    for (V8& row : rows.part) row = hn::TableLookupBytes(row, Each(kApart));
    const Four channels = TransposeDwords(rows);  // R and R of the next block, then G and G
    StoreBlocks<32>(LowerHalves(ChannelBlock(channels.part[0]), ChannelBlock(channels.part[2])),
                    D8(), dst);
    StoreBlocks<32>(LowerHalves(ChannelBlock(channels.part[1]), ChannelBlock(channels.part[3])),
                    D8(), dst + 16);
  }
};

// The last step overlaps the one before; where there is none, or the format reads on, it works on copies.
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

constexpr Kernels kKernels = {Encode<EncodeDxt1>,      Encode<EncodeDxt<false>>,
                              Encode<EncodeDxt<true>>, Encode<EncodeYCoCg>,
                              Encode<EncodeBc4>,       Encode<EncodeBc5>};

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace zepjp
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

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R(const uint8_t* pSrc,
                                                                int32_t srcStep, zepiSize roiSize,
                                                                uint8_t* pDst) {
  return zepjp::CheckAndEncode<zepjp::Dxt1>(zepjp::kernels.dxt1, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R(const uint8_t* pSrc,
                                                                int32_t srcStep, zepiSize roiSize,
                                                                uint8_t* pDst) {
  return zepjp::CheckAndEncode<zepjp::Dxt>(zepjp::kernels.dxt3, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R(const uint8_t* pSrc,
                                                                int32_t srcStep, zepiSize roiSize,
                                                                uint8_t* pDst) {
  return zepjp::CheckAndEncode<zepjp::Dxt>(zepjp::kernels.dxt5, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R(const uint8_t* pSrc,
                                                                 int32_t srcStep, zepiSize roiSize,
                                                                 uint8_t* pDst) {
  return zepjp::CheckAndEncode<zepjp::YCoCgDxt5>(zepjp::kernels.ycocg, pSrc, srcStep, roiSize,
                                                 pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlock_BC4_8u_C1R(const uint8_t* pSrc, int32_t srcStep,
                                                     zepiSize roiSize, uint8_t* pDst) {
  return zepjp::CheckAndEncode<zepjp::Bc4>(zepjp::kernels.bc4, pSrc, srcStep, roiSize, pDst);
}

zepStatus ZEP_CALL zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R(const uint8_t* pSrc, int32_t srcStep,
                                                             zepiSize roiSize, uint8_t* pDst) {
  return zepjp::CheckAndEncode<zepjp::Bc5>(zepjp::kernels.bc5, pSrc, srcStep, roiSize, pDst);
}
#endif  // HWY_ONCE
