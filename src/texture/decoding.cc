// SPDX-License-Identifier: MIT
// Decoding of DXT1, DXT3, DXT5, BC4 and BC5 blocks. A block's palette fills 16 bytes, or eight, and
// byte shuffles by its indexes make the pixels.
#include "frame/checks.h"
#include "simd/dispatch.h"
#include "texture/blocks.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "texture/decoding.cc"
#include "hwy/foreach_target.h"
#include "texture/lanes-inl.h"

#ifndef ZEPJP_TEXTURE_DECODING_KERNELS
#  define ZEPJP_TEXTURE_DECODING_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  DecodeBlocks dxt1, dxt3, dxt5, bc4, bc5;
};

using Dxt1 = TextureLayout<4, 8>;
using Dxt = TextureLayout<4, 16>;
using Bc4 = TextureLayout<1, 8>;
using Bc5 = TextureLayout<2, 16>;

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp {
namespace HWY_NAMESPACE {
namespace {

// The four colours of each block, R G B and 0, from c0 and c1 in its bytes kAt .. kAt + 3. In 16 bits: the
// end points, then the two colours between them, of which DXT1 has only one where c0 <= c1.
template <uint8_t kAt, bool kIsDxt1>
HWY_INLINE V8 Palette(V8 blocks) {
  static constexpr Bytes16 kColors = {{kAt, kAt + 1, kAt, kAt + 1, kAt, kAt + 1, kAt, kAt + 1,
                                       kAt + 2, kAt + 3, kAt + 2, kAt + 3, kAt + 2, kAt + 3,
                                       kAt + 2, kAt + 3}};
  static constexpr Words8 kFields = {{0xF800, 0x07E0, 0x001F, 0, 0xF800, 0x07E0, 0x001F, 0}};
  static constexpr Words8 kToTop = {{1, 1 << 5, 1 << 11, 0, 1, 1 << 5, 1 << 11, 0}};
  static constexpr Words8 kRepeat = {{1 << 3, 1 << 2, 1 << 3, 0, 1 << 3, 1 << 2, 1 << 3, 0}};
  const V16 colors = AsWords(hn::TableLookupBytes(blocks, Each(kColors)));
  const V16 fields = hn::Mul(hn::And(colors, Each(kFields)), Each(kToTop));
  const V16 ends = hn::Or(hn::ShiftRight<8>(fields), hn::MulHigh(fields, Each(kRepeat)));
  const V16 swapped = AsWords(SwapHalves(AsBytes(ends)));
  const V16 sums = hn::Add(ends, swapped);
  V16 between = hn::MulHigh(hn::Add(sums, ends), hn::Set(D16(), kThird));
  if constexpr (kIsDxt1) {
    static constexpr Words8 kWhite = {{0, 0, 0, 0, 255, 255, 255, 255}};
    static constexpr Words8 kMiddle = {{0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0, 0, 0, 0}};
    const V16 others = AsWords(SwapHalves(AsBytes(colors)));
    const V16 not_above = hn::VecFromMask(
        D16(), hn::Eq(hn::SaturatedSub(colors, others), hn::Zero(D16())));  // c0 <= c1, c1 <= c0
    const V16 is_three = AsWords(LowerHalves(AsBytes(not_above), AsBytes(not_above)));
    const V16 three = hn::Or(hn::And(hn::ShiftRight<1>(sums), Each(kMiddle)), Each(kWhite));
    between = hn::IfVecThenElse(is_three, three, between);
  }
  return PackWords(ends, between);
}

// Four times the sixteen 2-bit indexes from byte kAt on.
template <uint8_t kAt>
HWY_INLINE V8 ColorIndexes(V8 blocks) {
  static constexpr Bytes16 kBytes = {{kAt, kAt, kAt, kAt, kAt + 1, kAt + 1, kAt + 1, kAt + 1,
                                      kAt + 2, kAt + 2, kAt + 2, kAt + 2, kAt + 3, kAt + 3, kAt + 3,
                                      kAt + 3}};
  static constexpr Bytes16 kBits = {{0x03, 0x0C, 0x30, 0xC0, 0x03, 0x0C, 0x30, 0xC0, 0x03, 0x0C,
                                     0x30, 0xC0, 0x03, 0x0C, 0x30, 0xC0}};
  // An index i comes as i or 4 i.
  static constexpr Bytes16 kTimes4 = {{0, 4, 8, 12, 4, 0, 0, 0, 8, 0, 0, 0, 12, 0, 0, 0}};
  const V8 bits = hn::And(hn::TableLookupBytes(blocks, Each(kBytes)), Each(kBits));
  const V8 folded = hn::Or(bits, AsBytes(hn::ShiftRight<4>(AsWords(bits))));
  return hn::TableLookupBytes(Each(kTimes4), hn::And(folded, hn::Set(D8(), 0x0F)));
}

// The pixels of row kRow of each block.
template <uint8_t kRow>
HWY_INLINE V8 ColorRow(V8 palette, V8 indexes) {
  constexpr uint8_t k = 4 * kRow;
  static constexpr Bytes16 kPixels = {{k, k, k, k, k + 1, k + 1, k + 1, k + 1, k + 2, k + 2, k + 2,
                                       k + 2, k + 3, k + 3, k + 3, k + 3}};
  static constexpr Bytes16 kChannels = {{0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3}};
  const V8 first = hn::TableLookupBytes(indexes, Each(kPixels));
  return hn::TableLookupBytes(palette, hn::Or(first, Each(kChannels)));
}

// Of sixteen alpha values, those of row kRow, where the pixels have them.
template <uint8_t kRow>
HWY_INLINE V8 AlphaRow(V8 alpha) {
  constexpr uint8_t k = 4 * kRow;
  static constexpr Bytes16 kPixels = {
      {128, 128, 128, k, 128, 128, 128, k + 1, 128, 128, 128, k + 2, 128, 128, 128, k + 3}};
  return hn::TableLookupBytesOr0(alpha, Each(kPixels));
}

// The sixteen values of a channel block in the lower half of each block: p[k] is a weighted mean of a0 and
// a1 in sevenths, or, where a0 <= a1, in fifths, with 0 and 255 as p[6] and p[7].
HWY_INLINE V8 Channel(V8 blocks) {
  static constexpr Bytes16 kFirst = {
      {0, 128, 0, 128, 0, 128, 0, 128, 0, 128, 0, 128, 0, 128, 0, 128}};
  static constexpr Bytes16 kSecond = {
      {1, 128, 1, 128, 1, 128, 1, 128, 1, 128, 1, 128, 1, 128, 1, 128}};
  static constexpr Words8 kFirst7 = {{7, 0, 6, 5, 4, 3, 2, 1}};
  static constexpr Words8 kFirst5 = {{5, 0, 4, 3, 2, 1, 0, 0}};
  static constexpr Words8 kSecond7 = {{0, 7, 1, 2, 3, 4, 5, 6}};
  static constexpr Words8 kSecond5 = {{0, 5, 1, 2, 3, 4, 0, 0}};
  static constexpr Words8 kAdd5 = {{2, 2, 2, 2, 2, 2, 2, 5 * 255}};
  const D16 d;
  const V16 a0 = AsWords(hn::TableLookupBytesOr0(blocks, Each(kFirst)));
  const V16 a1 = AsWords(hn::TableLookupBytesOr0(blocks, Each(kSecond)));
  const V16 is_five = hn::VecFromMask(d, hn::Eq(hn::SaturatedSub(a0, a1), hn::Zero(d)));
  const auto choose = [&](V16 five, V16 seven)
                          ZEP_ATTR { return hn::IfVecThenElse(is_five, five, seven); };
  const V16 sums = hn::Add(hn::Add(hn::Mul(a0, choose(Each(kFirst5), Each(kFirst7))),
                                   hn::Mul(a1, choose(Each(kSecond5), Each(kSecond7)))),
                           choose(Each(kAdd5), hn::Set(d, 3)));
  const V16 values = hn::MulHigh(sums, choose(hn::Set(d, kFifth), hn::Set(d, kSeventh)));
  const V8 palette = PackWords(values, values);

  // Each 3-bit index to the top of its word.
  static constexpr Bytes16 kLow = {{2, 3, 2, 3, 2, 3, 3, 4, 3, 4, 3, 4, 4, 5, 4, 5}};
  static constexpr Bytes16 kHigh = {{5, 6, 5, 6, 5, 6, 6, 7, 6, 7, 6, 7, 7, 8, 7, 8}};
  static constexpr Words8 kToTop = {
      {1 << 13, 1 << 10, 1 << 7, 1 << 12, 1 << 9, 1 << 6, 1 << 11, 1 << 8}};
  const V16 low = hn::Mul(AsWords(hn::TableLookupBytes(blocks, Each(kLow))), Each(kToTop));
  const V16 high = hn::Mul(AsWords(hn::TableLookupBytes(blocks, Each(kHigh))), Each(kToTop));
  return hn::TableLookupBytes(palette,
                              PackWords(hn::ShiftRight<13>(low), hn::ShiftRight<13>(high)));
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
    const V8 opaque = hn::BitCast(D8(), hn::Set(D32(), 0xFF000000));
    const V8 palette = hn::Or(Palette<0, true>(blocks), opaque);
    const V8 indexes = ColorIndexes<4>(blocks);
    StoreRow(ColorRow<0>(palette, indexes), dst, step, 0);
    StoreRow(ColorRow<1>(palette, indexes), dst, step, 1);
    StoreRow(ColorRow<2>(palette, indexes), dst, step, 2);
    StoreRow(ColorRow<3>(palette, indexes), dst, step, 3);
  }
};

template <bool kIsDxt5>
struct DecodeDxt {
  using Layout = Dxt;
  static constexpr size_t kBlocks = kRegisterBlocks;

  static HWY_INLINE void Step(const uint8_t* src, uint8_t* dst, ptrdiff_t step) {
    const V8 blocks = hn::LoadU(D8(), src);
    const V8 alpha = kIsDxt5 ? Channel(blocks) : Nibbles(blocks);
    const V8 palette = Palette<8, false>(blocks);
    const V8 indexes = ColorIndexes<12>(blocks);
    StoreRow(hn::Or(ColorRow<0>(palette, indexes), AlphaRow<0>(alpha)), dst, step, 0);
    StoreRow(hn::Or(ColorRow<1>(palette, indexes), AlphaRow<1>(alpha)), dst, step, 1);
    StoreRow(hn::Or(ColorRow<2>(palette, indexes), AlphaRow<2>(alpha)), dst, step, 2);
    StoreRow(hn::Or(ColorRow<3>(palette, indexes), AlphaRow<3>(alpha)), dst, step, 3);
  }
};

// Each 128-bit block of the registers takes four blocks that follow one another, so that its rows do.
struct DecodeBc4 {
  using Layout = Bc4;
  static constexpr size_t kBlocks = 4 * kRegisterBlocks;

  static HWY_INLINE void Step(const uint8_t* src, uint8_t* dst, ptrdiff_t step) {
    const V8 pair01 = LoadBlocks<32>(D8(), src);
    const V8 pair23 = LoadBlocks<32>(D8(), src + 16);
    const Four rows = TransposeDwords({{Channel(pair01), Channel(SwapHalves(pair01)),
                                        Channel(pair23), Channel(SwapHalves(pair23))}});
    for (int y = 0; y < 4; ++y) StoreRow(rows.part[y], dst, step, y);
  }
};

struct DecodeBc5 {
  using Layout = Bc5;
  static constexpr size_t kBlocks = 2 * kRegisterBlocks;

  static HWY_INLINE void Step(const uint8_t* src, uint8_t* dst, ptrdiff_t step) {
    const D8 d;
    const V8 first = LoadBlocks<32>(d, src);
    const V8 second = LoadBlocks<32>(d, src + 16);
    const V8 r0 = Channel(first), g0 = Channel(SwapHalves(first));
    const V8 r1 = Channel(second), g1 = Channel(SwapHalves(second));
    const V8 top0 = hn::InterleaveLower(d, r0, g0), bottom0 = hn::InterleaveUpper(d, r0, g0);
    const V8 top1 = hn::InterleaveLower(d, r1, g1), bottom1 = hn::InterleaveUpper(d, r1, g1);
    StoreRow(LowerHalves(top0, top1), dst, step, 0);
    StoreRow(UpperHalves(top0, top1), dst, step, 1);
    StoreRow(LowerHalves(bottom0, bottom1), dst, step, 2);
    StoreRow(UpperHalves(bottom0, bottom1), dst, step, 3);
  }
};

// The last step overlaps the one before; where there is none, it works on copies.
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

constexpr Kernels kKernels = {Decode<DecodeDxt1>, Decode<DecodeDxt<false>>, Decode<DecodeDxt<true>>,
                              Decode<DecodeBc4>, Decode<DecodeBc5>};

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
zepStatus CheckAndDecode(DecodeBlocks decode, const uint8_t* src, uint8_t* dst, int32_t step,
                         zepiSize size) {
  if (auto bad =
          Checks().Ptr(src).Ptr(dst).Refuse(step == 0, zepStatusBadStep).Size(size).Failed()) {
    return bad;
  }
  DecodeTexture<Layout>(decode, src, dst, step, size);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R(const uint8_t* pSrc, uint8_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize) {
  return zepjp::CheckAndDecode<zepjp::Dxt1>(zepjp::kernels.dxt1, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R(const uint8_t* pSrc, uint8_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize) {
  return zepjp::CheckAndDecode<zepjp::Dxt>(zepjp::kernels.dxt3, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R(const uint8_t* pSrc, uint8_t* pDst,
                                                              int32_t dstStep, zepiSize roiSize) {
  return zepjp::CheckAndDecode<zepjp::Dxt>(zepjp::kernels.dxt5, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlock_BC4_8u_C1R(const uint8_t* pSrc, uint8_t* pDst,
                                                     int32_t dstStep, zepiSize roiSize) {
  return zepjp::CheckAndDecode<zepjp::Bc4>(zepjp::kernels.bc4, pSrc, pDst, dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlockToRG_BC5_8u_C1C2R(const uint8_t* pSrc, uint8_t* pDst,
                                                           int32_t dstStep, zepiSize roiSize) {
  return zepjp::CheckAndDecode<zepjp::Bc5>(zepjp::kernels.bc5, pSrc, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
