// SPDX-License-Identifier: MIT
// Decoding of DXT1, DXT3, DXT5, BC4 and BC5 blocks (Khronos Data Format Specification, 18 and 19).
//
// A block selects its pixels from a palette: four colours for a colour part, eight values for a
// channel part. zepjp.h, group texture, has the formulas. Each 128-bit block of a register decodes
// one block of the texture in three steps:
//
//   1. The palette is computed in 16-bit lanes: end points are widened by their own upper bits, and
//      divisions by 3, 5 and 7 are multiplications by the reciprocal.
//   2. The indexes of 2 or 3 bits are moved to separate bytes.
//   3. The pixels are a byte shuffle of the palette, 16 bytes, by the indexes.
#include <type_traits>

#include "simd/dispatch.h"
#include "texture/blocks.h"

#define HWY_TARGET_INCLUDE "texture/texture_decoder.cc"
#include "hwy/foreach_target.h"
#include "texture/lanes-inl.h"

#ifndef ZEPJP_TEXTURE_DECODING_KERNELS
#  define ZEPJP_TEXTURE_DECODING_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  DecodeBlocks dxt1, dxt3, dxt5, bc4, bc5;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// The eight bytes at byte kAt (0 or 8), in both halves of each 128-bit block.
template <uint8_t kAt>
HWY_INLINE V8 HalfTwice(V8 blocks) {
  static_assert(kAt == 0 || kAt == 8, "one half or the other");
  return kAt == 0 ? LowerHalves(blocks, blocks) : UpperHalves(blocks, blocks);
}

// The end points c0 and c1, stored in the bytes kAt to kAt + 3, as R G B A in 16 bits with alpha
// kAlpha.
#if HWY_TARGET == HWY_AVX3

template <uint8_t kAt, uint16_t kAlpha>
HWY_INLINE V16 EndColors(V8 blocks) {
  // Bit positions: bytes that begin there have the field at their top, or its highest bits just
  // below.
  static constexpr Bytes16 kField = {{8, 0, 3, 0, 61, 0, 0, 0, 24, 0, 19, 0, 13, 0, 0, 0}};
  static constexpr Bytes16 kHighest = {{13, 0, 9, 0, 2, 0, 0, 0, 29, 0, 25, 0, 18, 0, 0, 0}};
  static constexpr Words8 kKept = {{0xF8, 0xFC, 0xF8, 0, 0xF8, 0xFC, 0xF8, 0}};
  static constexpr Words8 kNoColor = {{0, 0, 0, kAlpha, 0, 0, 0, kAlpha}};
  constexpr __mmask64 kColorBytes = 0x1515151515151515;
  const __m512i rest = Each(kNoColor).raw, from = HalfTwice<kAt>(blocks).raw;
  const __m512i field =
      _mm512_mask_multishift_epi64_epi8(rest, kColorBytes, Each(kField).raw, from);
  const __m512i highest =
      _mm512_mask_multishift_epi64_epi8(rest, kColorBytes, Each(kHighest).raw, from);
  return V16{_mm512_ternarylogic_epi32(Each(kKept).raw, field, highest, 0xCA)};  // a ? b : c
}

// Selects the palette `three` if c0 <= c1, else `four`.
template <uint8_t kAt>
HWY_INLINE V16 ThreeOrFour(V8 blocks, V16 three, V16 four) {
  static constexpr Bytes16 kFirst = {{kAt, kAt + 1, 128, 128, kAt, kAt + 1, 128, 128, kAt, kAt + 1,
                                      128, 128, kAt, kAt + 1, 128, 128}};
  static constexpr Bytes16 kSecond = {{kAt + 2, kAt + 3, 128, 128, kAt + 2, kAt + 3, 128, 128,
                                       kAt + 2, kAt + 3, 128, 128, kAt + 2, kAt + 3, 128, 128}};
  const V8 c0 = hn::TableLookupBytesOr0(blocks, Each(kFirst));
  const V8 c1 = hn::TableLookupBytesOr0(blocks, Each(kSecond));
  return V16{_mm512_mask_mov_epi32(four.raw, _mm512_cmple_epu32_mask(c0.raw, c1.raw), three.raw)};
}

#else

// c0, then c1, each in four words.
template <uint8_t kAt>
HWY_INLINE V16 ColorWords(V8 blocks) {
  static constexpr Bytes16 kColors = {{kAt, kAt + 1, kAt, kAt + 1, kAt, kAt + 1, kAt, kAt + 1,
                                       kAt + 2, kAt + 3, kAt + 2, kAt + 3, kAt + 2, kAt + 3,
                                       kAt + 2, kAt + 3}};
  return AsWords(hn::TableLookupBytes(blocks, Each(kColors)));
}

template <uint8_t kAt, uint16_t kAlpha>
HWY_INLINE V16 EndColors(V8 blocks) {
  static constexpr Words8 kFields = {{0xF800, 0x07E0, 0x001F, 0, 0xF800, 0x07E0, 0x001F, 0}};
  static constexpr Words8 kToTop = {{1, 1 << 5, 1 << 11, 0, 1, 1 << 5, 1 << 11, 0}};
  // The upper half of the product with the field in the upper bits of its word: the field times
  // 2^3 + 2^-2 (5 bits) or 2^2 + 2^-4 (6 bits).
  static constexpr Words8 kWiden = {{264, 260, 264, 0, 264, 260, 264, 0}};
  static constexpr Words8 kNoColor = {{0, 0, 0, kAlpha, 0, 0, 0, kAlpha}};
  const V16 fields = hn::Mul(hn::And(ColorWords<kAt>(blocks), Each(kFields)), Each(kToTop));
  const V16 ends = hn::MulHigh(fields, Each(kWiden));
  return kAlpha == 0 ? ends : hn::Or(ends, Each(kNoColor));
}

template <uint8_t kAt>
HWY_INLINE V16 ThreeOrFour(V8 blocks, V16 three, V16 four) {
  const V16 colors = ColorWords<kAt>(blocks);
  const V16 others = AsWords(SwapHalves(AsBytes(colors)));
  const V16 not_above = hn::VecFromMask(
      D16(), hn::Eq(hn::SaturatedSub(colors, others), hn::Zero(D16())));  // c0 <= c1, c1 <= c0
  const V16 is_three = AsWords(LowerHalves(AsBytes(not_above), AsBytes(not_above)));
  return hn::IfVecThenElse(is_three, three, four);
}

#endif

// The four colours of each block from its eight bytes at kAt: the end points, then the two colours
// between them. In DXT1, whose alpha is 255 here (else 0), a block with c0 <= c1 has the mean and
// white instead of the latter two.
template <uint8_t kAt, bool kIsDxt1>
HWY_INLINE V8 Palette(V8 blocks) {
  constexpr uint16_t kAlpha = kIsDxt1 ? 255 : 0;
  const V16 ends = EndColors<kAt, kAlpha>(blocks);
  const V16 sums = hn::Add(ends, AsWords(SwapHalves(AsBytes(ends))));
  V16 between = hn::MulHigh(hn::Add(sums, ends), hn::Set(D16(), kThird));
  if constexpr (kIsDxt1) {
    static constexpr Words8 kWhite = {{0, 0, 0, 0, 255, 255, 255, 255}};
    const V16 three = hn::Or(hn::ShiftRight<1>(sums), Each(kWhite));
    between = ThreeOrFour<kAt>(blocks, three, between);
  }
  return PackWords(ends, between);
}

// ColorRows makes rows of pixels from palettes and the 2-bit indexes of the colour part at byte
// kAt.
constexpr Bytes16 kChannels = {{0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3}};

#if HWY_TARGET == HWY_AVX3

// For each byte of row kRow, the bit position two below the index of its pixel. The eight bits
// there have four times the index in bits 2 and 3.
template <int kRow>
constexpr Bytes16 BitsOfRow() {
  Bytes16 from = {};
  for (int i = 0; i < 16; ++i) from.lane[i] = static_cast<uint8_t>(30 + 8 * kRow + i / 4 * 2);
  return from;
}

template <uint8_t kAt>
class ColorRows {
 public:
  HWY_INLINE ColorRows(V8 palette, V8 blocks)
      : palette_(palette), colors_(HalfTwice<kAt>(blocks)) {}

  template <int kRow>
  HWY_INLINE V8 Row() const {
    static constexpr Bytes16 kBits = BitsOfRow<kRow>();
    const __m512i shifted = _mm512_multishift_epi64_epi8(Each(kBits).raw, colors_.raw);
    const V8 place = {_mm512_ternarylogic_epi32(shifted, hn::Set(D8(), 12).raw, Each(kChannels).raw,
                                                0xEA)};  // a & b | c
    return hn::TableLookupBytes(palette_, place);
  }

 private:
  V8 palette_, colors_;
};

#else

template <uint8_t kAt>
class ColorRows {
 public:
  HWY_INLINE ColorRows(V8 palette, V8 blocks) : palette_(palette) {
    constexpr uint8_t k = kAt + 4;
    static constexpr Bytes16 kBytes = {{k, k, k, k, k + 1, k + 1, k + 1, k + 1, k + 2, k + 2, k + 2,
                                        k + 2, k + 3, k + 3, k + 3, k + 3}};
    static constexpr Bytes16 kBits = {{0x03, 0x0C, 0x30, 0xC0, 0x03, 0x0C, 0x30, 0xC0, 0x03, 0x0C,
                                       0x30, 0xC0, 0x03, 0x0C, 0x30, 0xC0}};
    // The index i of the pixel is in the lower or the upper two bits: i or 4i.
    static constexpr Bytes16 kTimes4 = {{0, 4, 8, 12, 4, 0, 0, 0, 8, 0, 0, 0, 12, 0, 0, 0}};
    const V8 bits = hn::And(hn::TableLookupBytes(blocks, Each(kBytes)), Each(kBits));
    const V8 folded = hn::Or(bits, AsBytes(hn::ShiftRight<4>(AsWords(bits))));
    places_ = hn::TableLookupBytes(Each(kTimes4), hn::And(folded, hn::Set(D8(), 0x0F)));
  }

  template <int kRow>
  HWY_INLINE V8 Row() const {
    constexpr uint8_t k = 4 * kRow;
    static constexpr Bytes16 kPixels = {{k, k, k, k, k + 1, k + 1, k + 1, k + 1, k + 2, k + 2,
                                         k + 2, k + 2, k + 3, k + 3, k + 3, k + 3}};
    const V8 first = hn::TableLookupBytes(places_, Each(kPixels));
    return hn::TableLookupBytes(palette_, hn::Or(first, Each(kChannels)));
  }

 private:
  V8 palette_, places_;
};

#endif

// The alpha values of row kRow, from the sixteen of a block, in the alpha bytes of its pixels.
template <uint8_t kRow>
HWY_INLINE V8 AlphaRow(V8 alpha) {
  constexpr uint8_t k = 4 * kRow;
  static constexpr Bytes16 kPixels = {
      {128, 128, 128, k, 128, 128, 128, k + 1, 128, 128, 128, k + 2, 128, 128, 128, k + 3}};
  return hn::TableLookupBytesOr0(alpha, Each(kPixels));
}

// The sixteen 3-bit indexes of the channel part at byte kAt.
#if HWY_TARGET == HWY_AVX3

template <uint8_t kAt>
HWY_INLINE V8 ChannelIndexes(V8 blocks) {
  static constexpr Bytes16 kBits = {
      {16, 19, 22, 25, 28, 31, 34, 37, 40, 43, 46, 49, 52, 55, 58, 61}};
  const V8 shifted = {_mm512_multishift_epi64_epi8(Each(kBits).raw, HalfTwice<kAt>(blocks).raw)};
  return hn::And(shifted, hn::Set(D8(), 7));
}

#else

template <uint8_t kAt>
HWY_INLINE V8 ChannelIndexes(V8 blocks) {
  constexpr uint8_t a = kAt + 2, b = kAt + 3, c = kAt + 4, d = kAt + 5, e = kAt + 6, f = kAt + 7;
  static constexpr Bytes16 kLow = {{a, b, a, b, a, b, b, c, b, c, b, c, c, d, c, d}};
  static constexpr Bytes16 kHigh = {{d, e, d, e, d, e, e, f, e, f, e, f, f, f, f, f}};
  // Moves each index to the top of its word.
  static constexpr Words8 kToTop = {
      {1 << 13, 1 << 10, 1 << 7, 1 << 12, 1 << 9, 1 << 6, 1 << 11, 1 << 8}};
  const V16 low = hn::Mul(AsWords(hn::TableLookupBytes(blocks, Each(kLow))), Each(kToTop));
  const V16 high = hn::Mul(AsWords(hn::TableLookupBytes(blocks, Each(kHigh))), Each(kToTop));
  return PackWords(hn::ShiftRight<13>(low), hn::ShiftRight<13>(high));
}

#endif

// The sixteen values of the channel part at byte kAt. The palette has weighted means of a0 and a1
// in sevenths; if a0 <= a1 in fifths, and 0 and 255 as its last two.
template <uint8_t kAt>
HWY_INLINE V8 Channel(V8 blocks) {
  constexpr uint8_t a = kAt, b = kAt + 1;
  static constexpr Bytes16 kEnds = {{a, b, a, b, a, b, a, b, a, b, a, b, a, b, a, b}};
  static constexpr Bytes16 kInSevenths = {{7, 0, 0, 7, 6, 1, 5, 2, 4, 3, 3, 4, 2, 5, 1, 6}};
  static constexpr Bytes16 kInFifths = {{5, 0, 0, 5, 4, 1, 3, 2, 2, 3, 1, 4, 0, 0, 0, 0}};
  static constexpr Words8 kAddFifths = {{2, 2, 2, 2, 2, 2, 2, 5 * 255}};
  const D16 d;
  const DI16 di;
  const V8 ends = hn::TableLookupBytes(blocks, Each(kEnds));
  const V16 sevenths = hn::Add(hn::BitCast(d, PairSums(ends, kInSevenths)), hn::Set(d, 3));
  const V16 fifths = hn::Add(hn::BitCast(d, PairSums(ends, kInFifths)), Each(kAddFifths));
  const V16 a0 = hn::And(AsWords(ends), hn::Set(d, 255)), a1 = hn::ShiftRight<8>(AsWords(ends));
  const auto falls = hn::RebindMask(d, hn::Gt(hn::BitCast(di, a0), hn::BitCast(di, a1)));
  const V16 values = hn::IfThenElse(falls, hn::MulHigh(sevenths, hn::Set(d, kSeventh)),
                                    hn::MulHigh(fifths, hn::Set(d, kFifth)));
  return hn::TableLookupBytes(PackWords(values, values), ChannelIndexes<kAt>(blocks));
}

// Sixteen 4-bit values in the lower half of each block, times 16.
HWY_INLINE V8 Nibbles(V8 blocks) {
  const V8 mask = hn::Set(D8(), 0xF0);
  const V8 low = hn::And(AsBytes(hn::ShiftLeft<4>(AsWords(blocks))), mask);
  return hn::InterleaveLower(D8(), low, hn::And(blocks, mask));
}

HWY_INLINE void StoreRow(V8 row, uint8_t* dst, ptrdiff_t step, int y) {
  hn::StoreU(row, D8(), dst + y * step);
}

struct DecodeDxt1 {
  using Layout = Dxt1;
  static constexpr size_t kBlocks = kRegisterBlocks;

  static HWY_INLINE void Step(const uint8_t* src, uint8_t* dst, ptrdiff_t step) {
    const V8 blocks = LoadLowerHalves(src);
    const ColorRows<0> rows(Palette<0, true>(blocks), blocks);
    StoreRow(rows.Row<0>(), dst, step, 0);
    StoreRow(rows.Row<1>(), dst, step, 1);
    StoreRow(rows.Row<2>(), dst, step, 2);
    StoreRow(rows.Row<3>(), dst, step, 3);
  }
};

template <bool kIsDxt5>
struct DecodeDxt {
  using Layout = Dxt;
  static constexpr size_t kBlocks = kRegisterBlocks;

  static HWY_INLINE void Step(const uint8_t* src, uint8_t* dst, ptrdiff_t step) {
    const V8 blocks = hn::LoadU(D8(), src);
    const V8 alpha = kIsDxt5 ? Channel<0>(blocks) : Nibbles(blocks);
    const ColorRows<8> rows(Palette<8, false>(blocks), blocks);
    StoreRow(hn::Or(rows.Row<0>(), AlphaRow<0>(alpha)), dst, step, 0);
    StoreRow(hn::Or(rows.Row<1>(), AlphaRow<1>(alpha)), dst, step, 1);
    StoreRow(hn::Or(rows.Row<2>(), AlphaRow<2>(alpha)), dst, step, 2);
    StoreRow(hn::Or(rows.Row<3>(), AlphaRow<3>(alpha)), dst, step, 3);
  }
};

// BC4 and BC5: every 16 bytes are two channel parts. A row of both is eight bytes: in BC4 four
// pixels of one block, then four of the next; in BC5 R and G in turns.
template <class TLayout>
struct DecodeBc {
  using Layout = TLayout;
  static constexpr size_t kBlocks = 32 / Layout::kBlock * kRegisterBlocks;
  using Lane = std::conditional_t<Layout::kPixel == 1, uint32_t, uint8_t>;

  struct RowPairs {
    V64 rows01, rows23;
  };
  static HWY_INLINE RowPairs DecodeBoth(const uint8_t* src) {
    const hn::Repartition<Lane, D8> d;
    const V8 blocks = hn::LoadU(D8(), src);
    const auto first = hn::BitCast(d, Channel<0>(blocks));
    const auto second = hn::BitCast(d, Channel<8>(blocks));
    return {hn::BitCast(D64(), hn::InterleaveLower(d, first, second)),
            hn::BitCast(D64(), hn::InterleaveUpper(d, first, second))};
  }

  static HWY_INLINE void Step(const uint8_t* src, uint8_t* dst, ptrdiff_t step) {
    const D64 d;
    const RowPairs a = DecodeBoth(src), b = DecodeBoth(src + 16 * kRegisterBlocks);
    StoreRow(hn::BitCast(D8(), hn::ConcatEven(d, b.rows01, a.rows01)), dst, step, 0);
    StoreRow(hn::BitCast(D8(), hn::ConcatOdd(d, b.rows01, a.rows01)), dst, step, 1);
    StoreRow(hn::BitCast(D8(), hn::ConcatEven(d, b.rows23, a.rows23)), dst, step, 2);
    StoreRow(hn::BitCast(D8(), hn::ConcatOdd(d, b.rows23, a.rows23)), dst, step, 3);
  }
};

// Decodes `count` blocks. The last step overlaps the one before; fewer blocks than a step takes are
// decoded on copies.
template <class Format>
void Decode(const uint8_t* src, uint8_t* dst, ptrdiff_t step, size_t count) {
  using Layout = typename Format::Layout;
  constexpr size_t kBlocks = Format::kBlocks;
  if (count >= kBlocks) {
    for (size_t i = 0; i + kBlocks <= count; i += kBlocks) {
      Format::Step(src + i * Layout::kBlock, dst + i * Layout::kWidth, step);
    }
    if (count % kBlocks == 0) return;
    const size_t last = count - kBlocks;
    Format::Step(src + last * Layout::kBlock, dst + last * Layout::kWidth, step);
    return;
  }
  HWY_ALIGN uint8_t in[kBlocks * Layout::kBlock] = {};
  HWY_ALIGN uint8_t out[4 * kBlocks * Layout::kWidth];
  CopyBytes(src, in, count * Layout::kBlock);
  Format::Step(in, out, kBlocks * Layout::kWidth);
  for (int y = 0; y < 4; ++y) {
    CopyBytes(out + static_cast<size_t>(y) * kBlocks * Layout::kWidth, dst + y * step,
              count * Layout::kWidth);
  }
}

constexpr Kernels kKernels = {
    .dxt1 = Decode<DecodeDxt1>,
    .dxt3 = Decode<DecodeDxt<false>>,
    .dxt5 = Decode<DecodeDxt<true>>,
    .bc4 = Decode<DecodeBc<Bc4>>,
    .bc5 = Decode<DecodeBc<Bc5>>,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* pSrc, uint8_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize) {
  return CheckAndDecode<Dxt1>(kernels.dxt1, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* pSrc, uint8_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize) {
  return CheckAndDecode<Dxt>(kernels.dxt3, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* pSrc, uint8_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize) {
  return CheckAndDecode<Dxt>(kernels.dxt5, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlock_BC4_8u_C1R(const uint8_t* pSrc, uint8_t* pDst,
                                                     int32_t dstStep, zepiSize roiSize) {
  return CheckAndDecode<Bc4>(kernels.bc4, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(const uint8_t* pSrc, uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize) {
  return CheckAndDecode<Bc5>(kernels.bc5, pSrc, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
