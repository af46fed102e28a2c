// SPDX-License-Identifier: MIT
// Encoding of DXT1, DXT3, DXT5, BC4 and BC5 blocks (Khronos Data Format Specification, 18 and 19)
// in one pass, without a search:
//
//   end points   the minimum and maximum of each channel, moved towards each other by
//                (hi - lo) >> 4: extremes are rare, and a slightly shorter palette fits the other
//                pixels better
//   colours      the nearest of the four palette colours by |R - r| + |G - g| + |B - b|. The four
//                lie on a line, so five comparisons of distances give the two bits of the index
//   channels     the number of thresholds, of seven, that are not below the value gives the index
//
// Everything is computed in 8- and 16-bit lanes. zepjp.h, group texture, defines the output of each
// encoder to the bit.
#include "frame/checks.h"
#include "simd/dispatch.h"
#include "texture/blocks.h"

#define HWY_TARGET_INCLUDE "texture/texture_encoder.cc"
#include "hwy/foreach_target.h"
#include "texture/channel_encoding-inl.h"
#include "texture/color_encoding-inl.h"

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

HWY_INLINE Four LoadRows(const uint8_t* src, ptrdiff_t step) {
  Four rows;
  for (int y = 0; y < 4; ++y) rows.part[y] = hn::LoadU(D8(), src + y * step);
  return rows;
}

HWY_INLINE Pixels LoadPixels(const uint8_t* src, ptrdiff_t step) {
  constexpr size_t kNext = 16 * kRegisterBlocks;
  return {{LoadRows(src, step), LoadRows(src + kNext, step), LoadRows(src + 2 * kNext, step),
           LoadRows(src + 3 * kNext, step)}};
}

struct EncodeDxt1 {
  using Layout = Dxt1;
  static constexpr size_t kBlocks = 4 * kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    const Pixels pixels = LoadPixels(src, step);
    const Halves color = ColorBlocks(SplitChannels(pixels), EndsOfPixels(pixels));
    const V8 lower = OrderHalves(LowerDwords(color.first, color.second));
    const V8 upper = OrderHalves(UpperDwords(color.first, color.second));
    hn::StoreU(lower, D8(), dst);
    hn::StoreU(upper, D8(), dst + 16 * kRegisterBlocks);
  }
};

HWY_INLINE Ends AlphaEnds(const Ends& ends) {
  static constexpr Bytes16 kAlpha = {{3, 3, 3, 3, 7, 7, 7, 7, 11, 11, 11, 11, 15, 15, 15, 15}};
  return {hn::TableLookupBytes(ends.low, Each(kAlpha)),
          hn::TableLookupBytes(ends.high, Each(kAlpha))};
}

template <bool kIsDxt5>
HWY_INLINE void StoreDxt(const Pixels& pixels, uint8_t* dst) {
  const Ends ends = EndsOfPixels(pixels);
  const Planes planes = SplitChannels(pixels);
  const Four alpha_rows = {
      {planes.row[0].part[3], planes.row[1].part[3], planes.row[2].part[3], planes.row[3].part[3]}};
  const Halves alpha =
      kIsDxt5 ? ChannelBlocks(alpha_rows, AlphaEnds(ends)) : NibbleBlocks(alpha_rows);
  const Halves color = ColorBlocks(planes, ends);
  const Four blocks = TransposeDwords({{alpha.first, alpha.second, color.first, color.second}});
  for (size_t i = 0; i < 4; ++i) hn::StoreU(blocks.part[i], D8(), dst + 16 * kRegisterBlocks * i);
}

template <bool kIsDxt5>
struct EncodeDxt {
  using Layout = Dxt;
  static constexpr size_t kBlocks = 4 * kRegisterBlocks;
  static constexpr size_t kMore = 0;

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    StoreDxt<kIsDxt5>(LoadPixels(src, step), dst);
  }
};

// Y Co Cg pixels to DXT5: Y becomes alpha, Co red, Cg green.
struct EncodeYCoCg {
  using Layout = YCoCgDxt5;
  static constexpr size_t kBlocks = 4 * kRegisterBlocks;
  static constexpr size_t kMore = 1;  // a load reads sixteen bytes and needs twelve

  static HWY_INLINE void Step(const uint8_t* src, ptrdiff_t step, uint8_t* dst) {
    constexpr size_t kNext = 12 * kRegisterBlocks;
    StoreDxt<true>({{Rows(src, step), Rows(src + kNext, step), Rows(src + 2 * kNext, step),
                     Rows(src + 3 * kNext, step)}},
                   dst);
  }

 private:
  static HWY_INLINE Four Rows(const uint8_t* src, ptrdiff_t step) {
    static constexpr Bytes16 kOrder = {{1, 2, 128, 0, 4, 5, 128, 3, 7, 8, 128, 6, 10, 11, 128, 9}};
    Four rows;
    for (int y = 0; y < 4; ++y) {
      rows.part[y] = hn::TableLookupBytesOr0(LoadBlocks(D8(), src + y * step, 12), Each(kOrder));
    }
    return rows;
  }
};

// Encodes four channels that lie side by side, four values of each in a row, and stores their
// blocks.
HWY_INLINE void StoreChannels(const Four& rows, uint8_t* dst) {
  const Halves blocks = ChannelBlocks(rows, EndsOfChannel(rows));
  StoreBlocks(LowerDwords(blocks.first, blocks.second), D8(), dst, 32);
  StoreBlocks(UpperDwords(blocks.first, blocks.second), D8(), dst + 16, 32);
}

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
    Four rows = LoadRows(src, step);
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
