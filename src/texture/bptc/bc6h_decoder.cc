// SPDX-License-Identifier: MIT
// Decoding of BC6H blocks, one at a time (Khronos Data Format Specification, 21).
//
// A mode stores two or four end points of three channels, in fields whose pieces are scattered over
// the block (bc6h_modes.h). Decoding takes four steps:
//
//   1. The pieces are shifted into a 64-bit word for each end point, with 16 bits for each channel.
//      All positions are known at compile time.
//   2. In 16-bit lanes, differences are added to end point 0 modulo the width of the mode, signs
//      are extended, and the numbers are widened to 16 bits: 0 stays 0, the highest value becomes
//      0xFFFF (signed: 0x7FFF), and all others get half a unit added.
//   3. Each pixel is ((64 - w) a + w b + 32) >> 6 for the weight w of its index, in 32 bits.
//      Unsigned end points are stored minus 32768, so that one signed multiply-add of pairs serves
//      both kinds. With a and b in -32768..32767 and w up to 64, sums stay below 2^22.
//   4. The half float is (31 v) >> 6 for unsigned blocks, (31 |v|) >> 5 with the sign of v for
//      signed ones.
#include <utility>

#include "frame/checks.h"
#include "simd/dispatch.h"
#include "texture/blocks.h"
#include "texture/bptc/bc6h_modes.h"
#include "texture/bptc/bptc_tables.h"

#define HWY_TARGET_INCLUDE "texture/bptc/bc6h_decoder.cc"
#include "hwy/foreach_target.h"
#include "texture/bptc/bptc-inl.h"

#ifndef ZEPJP_BC6H_DECODING_KERNELS
#  define ZEPJP_BC6H_DECODING_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  DecodeBlocks with_sign, without_sign;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

struct Bc6hBlock {
  uint64_t low, high;
};

// Moves kCount bits at bit kFrom of the block to bit kTo.
template <int kFrom, int kCount, int kTo>
HWY_INLINE uint64_t Move(const Bc6hBlock& block) {
  uint64_t bits;
  if constexpr (kFrom >= 64) {
    bits = block.high >> (kFrom - 64);
  } else if constexpr (kFrom + kCount > 64) {
    bits = block.low >> kFrom | block.high << (64 - kFrom);
  } else {
    bits = block.low >> kFrom;
  }
  return (bits & ((uint64_t{1} << kCount) - 1)) << kTo;
}

// Joins the pieces of end point kEnd, with 16 bits for each channel.
template <int kMode, int kEnd, size_t... kPieces>
HWY_INLINE uint64_t EndPoint(const Bc6hBlock& block, std::index_sequence<kPieces...>) {
  constexpr Bc6hPieces pieces = PiecesOf(kMode, kEnd);
  return (uint64_t{0} | ... |
          Move<pieces.of[kPieces].from, pieces.of[kPieces].count, pieces.of[kPieces].to>(block));
}
template <int kMode, int kEnd>
HWY_INLINE uint64_t EndPoint(const Bc6hBlock& block) {
  return EndPoint<kMode, kEnd>(block, std::make_index_sequence<PiecesOf(kMode, kEnd).count>());
}

// Constants: a word for all lanes; or words for R, G and B of the first and of the second end
// point.
HWY_INLINE VQ16 Fixed(int value) { return hn::Set(Q16(), static_cast<uint16_t>(value)); }
constexpr Words8 Channels(int first, const int* second) {
  Words8 words = {};
  for (int c = 0; c < 3; ++c) {
    words.lane[c] = static_cast<uint16_t>(first);
    words.lane[4 + c] = static_cast<uint16_t>(second[c]);
  }
  return words;
}

// Sign-extends numbers whose sign is bit `sign`.
HWY_INLINE VQ16 SignExtend(VQ16 v, VQ16 sign) { return hn::Sub(hn::Xor(v, sign), sign); }

// Widens end points of kBits bits to 16.
template <int kBits>
HWY_INLINE VQ16 WidenUnsigned(VQ16 v) {
  if constexpr (kBits >= 15) return v;
  constexpr int kShift = kBits >= 15 ? 0 : 16 - kBits;
  const Q16 d;
  const VQ16 wide = hn::Add(hn::ShiftLeft<kShift>(v), Fixed(1 << kShift >> 1));
  const auto is_zero = hn::Eq(v, hn::Zero(d)), is_last = hn::Eq(v, Fixed((1 << kBits) - 1));
  return hn::Or(hn::IfThenZeroElse(is_zero, wide), hn::VecFromMask(d, is_last));
}

template <int kBits>
HWY_INLINE VQ16 WidenSigned(VQ16 v) {
  if constexpr (kBits >= 16) return v;
  constexpr int kShift = kBits >= 16 ? 0 : 16 - kBits;
  const Q16 d;
  const QI16 di;
  const VQ16 sign = hn::BitCast(d, hn::ShiftRight<15>(hn::BitCast(di, v)));
  const VQ16 magnitude = hn::Sub(hn::Xor(v, sign), sign);
  const VQ16 wide = hn::Add(hn::ShiftLeft<kShift>(magnitude), Fixed(1 << kShift >> 1));
  const auto is_zero = hn::Eq(v, hn::Zero(d));
  const auto is_last =
      hn::Gt(hn::BitCast(di, magnitude), hn::BitCast(di, Fixed((1 << (kBits - 1)) - 2)));
  const VQ16 clamped = hn::IfThenElse(hn::RebindMask(d, is_last), Fixed(0x7FFF), wide);
  return hn::Sub(hn::Xor(hn::IfThenZeroElse(is_zero, clamped), sign), sign);
}

// End points ready for interpolation, as signed words: of unsigned textures the value minus 32768.
template <int kMode, bool kSigned>
HWY_INLINE VQ16 Widen(VQ16 ends) {
  constexpr Bc6hMode m = kBc6hModes[kMode];
  if constexpr (kSigned) {
    return WidenSigned<m.end_bits>(ends);
  } else {
    return hn::Xor(WidenUnsigned<m.end_bits>(ends), Fixed(0x8000));
  }
}

// The end points of one or two regions, after differences were added.
struct Regions {
  VQ16 first, second;
};
template <int kMode, bool kSigned>
HWY_INLINE Regions EndPoints(const Bc6hBlock& block) {
  constexpr Bc6hMode m = kBc6hModes[kMode];
  constexpr int kOthers[3] = {1 << m.other_bits[0] >> 1, 1 << m.other_bits[1] >> 1,
                              1 << m.other_bits[2] >> 1};
  static constexpr Words8 kSigns = Channels(kSigned ? 1 << (m.end_bits - 1) : 0, kOthers);
  const Q16 d;
  const Q64 dq;
  const auto start = hn::Set(dq, EndPoint<kMode, 0>(block));
  const auto other = hn::Set(dq, EndPoint<kMode, 1>(block));
  VQ16 first = hn::BitCast(d, hn::InterleaveLower(dq, start, other));
  VQ16 second = first;
  if constexpr (m.regions == 2) {
    second = hn::BitCast(d, hn::InterleaveLower(dq, hn::Set(dq, EndPoint<kMode, 2>(block)),
                                                hn::Set(dq, EndPoint<kMode, 3>(block))));
  }
  if constexpr (kSigned || m.has_deltas) {
    const VQ16 signs = Quarter(kSigns);
    first = SignExtend(first, signs);
    const VQ16 others =
        hn::BitCast(d, hn::InterleaveUpper(dq, hn::BitCast(dq, signs), hn::BitCast(dq, signs)));
    second = SignExtend(second, others);
  }
  if constexpr (m.has_deltas) {
    const auto base = hn::BitCast(dq, first);
    const VQ16 bases = hn::BitCast(d, hn::InterleaveLower(dq, base, base));
    const VQ16 only_base = hn::BitCast(d, hn::InterleaveLower(dq, hn::Zero(dq), base));
    const VQ16 mask = Fixed((1 << m.end_bits) - 1);
    first = hn::And(hn::Add(first, only_base), mask);
    second = hn::And(hn::Add(second, bases), mask);
    if constexpr (kSigned) {
      first = SignExtend(first, Fixed(1 << (m.end_bits - 1)));
      second = SignExtend(second, Fixed(1 << (m.end_bits - 1)));
    }
  }
  return {Widen<kMode, kSigned>(first), Widen<kMode, kSigned>(second)};
}

// The number of rows in a register. The four pixels of a row are twelve values, in three registers.
constexpr int kRows = static_cast<int>(kRegisterBlocks);

// Indices for R G B R, G B R G and B R G B, each as a pair of both ends of a region.
constexpr Bytes16 kEndPairs[3] = {{{0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 0, 1, 8, 9}},
                                  {{2, 3, 10, 11, 4, 5, 12, 13, 0, 1, 8, 9, 2, 3, 10, 11}},
                                  {{4, 5, 12, 13, 0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13}}};
// The pixels to which those values belong, four bytes each.
constexpr Bytes16 kPixels[3] = {{{0, 1, 2, 3, 0, 1, 2, 3, 0, 1, 2, 3, 4, 5, 6, 7}},
                                {{4, 5, 6, 7, 4, 5, 6, 7, 8, 9, 10, 11, 8, 9, 10, 11}},
                                {{8, 9, 10, 11, 12, 13, 14, 15, 12, 13, 14, 15, 12, 13, 14, 15}}};

HWY_INLINE V8 InEach(VQ16 v) {
  const VQ8 bytes = hn::BitCast(Q8(), v);
#if HWY_TARGET == HWY_AVX3
  return V8{_mm512_broadcast_i32x4(bytes.raw)};
#elif HWY_TARGET == HWY_AVX2
  return V8{_mm256_broadcastsi128_si256(bytes.raw)};
#else
  return bytes;
#endif
}

// Selects the end points for each value of a row.
template <int kRegions>
class Bc6hEnds {
 public:
  HWY_INLINE explicit Bc6hEnds(const Regions& regions) {
    const V8 first = InEach(regions.first), second = InEach(regions.second);
    for (int i = 0; i < 3; ++i) {
      first_[i] = hn::TableLookupBytes(first, Each(kEndPairs[i]));
      if (kRegions == 2) {
        change_[i] = hn::Xor(first_[i], hn::TableLookupBytes(second, Each(kEndPairs[i])));
      }
    }
  }
  // `is_second` has four bytes of ones for each pixel of the second region.
  HWY_INLINE VI16 Of(int part, V8 is_second) const {
    if constexpr (kRegions == 1) {
      return hn::BitCast(DI16(), first_[part]);
    } else {
      const V8 changed = hn::TableLookupBytes(is_second, Each(kPixels[part]));
      return hn::BitCast(DI16(), hn::Xor(first_[part], hn::And(changed, change_[part])));
    }
  }

 private:
  V8 first_[3], change_[3];
};

// Half floats from interpolated values, which in unsigned textures are stored minus 32768.
template <bool kSigned>
HWY_INLINE V16 Finish(VI16 mixed) {
  const D16 d;
  if constexpr (kSigned) {
    const VI16 magnitude = hn::Abs(mixed);  // -32768 stays, which is 32768 as an unsigned number
    const V16 half = hn::MulHigh(hn::BitCast(d, magnitude), hn::Set(d, 31 << 11));
    const V16 sign = hn::And(hn::BitCast(d, mixed), hn::Set(d, 0x8000));
    return hn::IfThenZeroElse(hn::Eq(half, hn::Zero(d)), hn::Or(half, sign));
  } else {
    const V16 value = hn::Xor(hn::BitCast(d, mixed), hn::Set(d, 0x8000));
    return hn::MulHigh(value, hn::Set(d, 31 << 10));
  }
}

HWY_INLINE VI32 Mix(VI16 ends, V8 weights) {
  const VI32 half = hn::Set(DI32(), 32);
  return hn::ShiftRight<6>(DotAcc(half, ends, hn::BitCast(DI16(), weights)));
}

// Stores the twelve values of each row of the register: eight, then four.
HWY_INLINE void StoreRows(V8 eight, V8 four, uint8_t* dst, ptrdiff_t step) {
  HWY_ALIGN uint8_t first[HWY_MAX(kRows, 1) * 16], last[HWY_MAX(kRows, 1) * 16];
  hn::Store(eight, D8(), first);
  hn::Store(four, D8(), last);
  for (int y = 0; y < kRows; ++y) {
    CopyBytes(first + 16 * y, dst + y * step, 16);
    CopyBytes(last + 16 * y, dst + y * step + 16, 8);
  }
}

// The regions of the pixels by partition, as a byte mask for each pixel.
struct RegionBytes {
  Bytes16 of[32];
};
constexpr RegionBytes MakeRegionBytes() {
  RegionBytes bytes = {};
  for (int partition = 0; partition < 32; ++partition) {
    for (int i = 0; i < 16; ++i) {
      bytes.of[partition].lane[i] = (kTwoSubsets[partition] >> i & 1) != 0 ? 255 : 0;
    }
  }
  return bytes;
}
constexpr RegionBytes kRegionBytes = MakeRegionBytes();

// Repeats the byte of each pixel four times, for the rows from `row`.
HWY_INLINE VI32 PixelLanes(const uint8_t* pixels, int row) {
  const hn::Rebind<int8_t, DI32> d;
  return hn::PromoteTo(DI32(), hn::LoadU(d, reinterpret_cast<const int8_t*>(pixels) + 4 * row));
}

template <int kMode>
HWY_INLINE uint64_t Indexes(const Bc6hBlock& block, unsigned partition) {
  constexpr int kRegions = kBc6hModes[kMode].regions;
  if constexpr (kRegions == 1) {
    return InsertAnchor<4>(block.high >> 1, 0);
  } else {
    return InsertAnchor<3>(InsertAnchor<3>(block.high >> 18, 0), kAnchorOfTwo[partition]);
  }
}

template <int kMode, bool kSigned>
HWY_INLINE void DecodeMode(const Bc6hBlock& block, uint8_t* dst, ptrdiff_t step) {
  constexpr int kRegions = kBc6hModes[kMode].regions;
  const unsigned partition = kRegions == 2 ? static_cast<unsigned>(block.high >> 13 & 31) : 0;
  const Bc6hEnds<kRegions> ends(EndPoints<kMode, kSigned>(block));
  HWY_ALIGN uint8_t weights[16];
  hn::Store(Weights < kRegions == 1 ? 4 : 3 > (Indexes<kMode>(block, partition)), Q8(), weights);
  for (int row = 0; row < 4; row += kRows) {
    const VI32 w = PixelLanes(weights, row);
    const VI32 pairs = hn::Add(hn::ShiftLeft<16>(w), hn::Sub(hn::Set(DI32(), 64), w));
    V8 is_second = hn::Zero(D8());
    if constexpr (kRegions == 2) {
      is_second = hn::BitCast(D8(), PixelLanes(kRegionBytes.of[partition].lane, row));
    }
    VI32 mixed[3];
    for (int i = 0; i < 3; ++i) {
      const V8 own = hn::TableLookupBytes(hn::BitCast(D8(), pairs), Each(kPixels[i]));
      mixed[i] = Mix(ends.Of(i, is_second), own);
    }
    StoreRows(hn::BitCast(D8(), Finish<kSigned>(PackBlocks(mixed[0], mixed[1]))),
              hn::BitCast(D8(), Finish<kSigned>(PackBlocks(mixed[2], mixed[2]))), dst + row * step,
              step);
  }
}

HWY_INLINE void ClearBlock(uint8_t* dst, ptrdiff_t step) {
  const Q8 d;
  for (int y = 0; y < 4; ++y) {
    hn::StoreU(hn::Zero(d), d, dst + y * step);
    hn::StoreU(hn::Zero(d), d, dst + y * step + 8);
  }
}

template <bool kSigned>
void Decode(const uint8_t* src, uint8_t* dst, ptrdiff_t step, size_t count) {
  for (size_t i = 0; i < count; ++i, src += 16, dst += 24) {
    const Bc6hBlock block = {LoadHalf(src), LoadHalf(src + 8)};
    switch ((block.low & 3) < 2 ? block.low & 3 : block.low & 31) {
      case 0: DecodeMode<0, kSigned>(block, dst, step); break;
      case 1: DecodeMode<1, kSigned>(block, dst, step); break;
      case 2: DecodeMode<2, kSigned>(block, dst, step); break;
      case 6: DecodeMode<3, kSigned>(block, dst, step); break;
      case 10: DecodeMode<4, kSigned>(block, dst, step); break;
      case 14: DecodeMode<5, kSigned>(block, dst, step); break;
      case 18: DecodeMode<6, kSigned>(block, dst, step); break;
      case 22: DecodeMode<7, kSigned>(block, dst, step); break;
      case 26: DecodeMode<8, kSigned>(block, dst, step); break;
      case 30: DecodeMode<9, kSigned>(block, dst, step); break;
      case 3: DecodeMode<10, kSigned>(block, dst, step); break;
      case 7: DecodeMode<11, kSigned>(block, dst, step); break;
      case 11: DecodeMode<12, kSigned>(block, dst, step); break;
      case 15: DecodeMode<13, kSigned>(block, dst, step); break;
      default: ClearBlock(dst, step);
    }
  }
}

constexpr Kernels kKernels = {.with_sign = Decode<true>, .without_sign = Decode<false>};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

using Halves = TextureLayout<6, 16>;

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(const uint8_t* pSrc,
                                                                 uint16_t* pDst, int32_t dstStep,
                                                                 zepiSize roiSize) {
  return CheckAndDecode<Halves>(kernels.without_sign, pSrc, reinterpret_cast<uint8_t*>(pDst),
                                dstStep, roiSize);
}

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(const uint8_t* pSrc,
                                                                 uint16_t* pDst, int32_t dstStep,
                                                                 zepiSize roiSize) {
  return CheckAndDecode<Halves>(kernels.with_sign, pSrc, reinterpret_cast<uint8_t*>(pDst), dstStep,
                                roiSize);
}
#endif  // HWY_ONCE
