// SPDX-License-Identifier: MIT
// Decoding of BC7 blocks, one at a time (Khronos Data Format Specification, 20).
//
// A block has one of eight modes (bc7_modes.h): one to three subsets of pixels with two end points
// each, indexes of 2 to 4 bits, and in some modes a second set of indexes and a rotation of
// channels.
//
//   1. The end points of a subset become eight bytes, R R G G B B A A. Each is the stored bits, the
//      p-bit below them, and below that the upper bits again.
//   2. A byte shuffle gives each pixel the eight bytes of its subset; another gives the pair of
//      weights 64 - w, w for its index.
//   3. One multiply-add of bytes computes (64 - w) a + w b for all channels; then 32 is added, and
//      the sum is shifted right by 6. The sum is at most 64 * 255 = 16320, so it fits 16 bits.
//   4. A rotation exchanges alpha with a colour.
//
// The fields have other positions in each mode, so everything is a template of the mode, with
// shuffles made at compile time.
#include "frame/checks.h"
#include "simd/dispatch.h"
#include "texture/blocks.h"
#include "texture/bptc/bc7_modes.h"
#include "texture/bptc/bptc_tables.h"

#define HWY_TARGET_INCLUDE "texture/bptc/bc7_decoder.cc"
#include "hwy/foreach_target.h"
#include "texture/bptc/bptc-inl.h"

#ifndef ZEPJP_BC7_DECODING_KERNELS
#  define ZEPJP_BC7_DECODING_KERNELS
namespace zepjp {
namespace {

struct Kernels {
  DecodeBlocks decode;
};

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

// A block as two 64-bit words; bit 0 is the lowest bit of `low`.
struct Bc7Block {
  const uint8_t* bytes;
  uint64_t low, high;

  // The bits kFrom to kFrom + kCount - 1.
  template <int kFrom, int kCount>
  HWY_INLINE uint64_t Bits() const {
    uint64_t bits = 0;
    if constexpr (kFrom >= 64) {
      bits = high >> (kFrom - 64);
    } else {
      bits = low >> kFrom;
      if constexpr (kFrom + kCount > 64) bits |= high << (64 - kFrom);
    }
    return kCount == 64 ? bits : bits & ((uint64_t{1} << (kCount & 63)) - 1);
  }
};

// The first set of indexes, with the missing highest bits of the anchors inserted as 0.
template <int kMode>
HWY_INLINE uint64_t FirstIndexes(const Bc7Block& block, unsigned partition) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  constexpr int k = m.index_bits;
  uint64_t indexes = block.Bits<m.FirstIndexes(), 16 * k - m.subsets>();
  indexes = InsertAnchor<k>(indexes, 0);
  if constexpr (m.subsets == 2) indexes = InsertAnchor<k>(indexes, kAnchorOfTwo[partition]);
  if constexpr (m.subsets == 3) {
    const unsigned a = kAnchorOfThree1[partition], b = kAnchorOfThree2[partition];
    indexes = InsertAnchor<k>(indexes, HWY_MIN(a, b));
    indexes = InsertAnchor<k>(indexes, HWY_MAX(a, b));
  }
  return indexes;
}

template <int kMode>
HWY_INLINE uint64_t SecondIndexes(const Bc7Block& block) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  constexpr int k = m.second_bits;
  return InsertAnchor<k>(block.Bits<m.SecondIndexes(), 16 * k - 1>(), 0);
}

// All ones if the second set of indexes is that of the colours. Either choice is as likely as the
// other, so it selects weights and not a branch.
template <int kMode>
HWY_INLINE uint64_t SelectionMask(const Bc7Block& block) {
  if constexpr (kBc7Modes[kMode].selection_bits == 0) return 0;
  return uint64_t{0} - block.Bits<kMode + 3, 1>();
}

// Shuffles for the rotation: after interpolation alpha is exchanged with a colour.
constexpr Bytes16 kRotations[4] = {{{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15}},
                                   {{3, 1, 2, 0, 7, 5, 6, 4, 11, 9, 10, 8, 15, 13, 14, 12}},
                                   {{0, 3, 2, 1, 4, 7, 6, 5, 8, 11, 10, 9, 12, 15, 14, 13}},
                                   {{0, 1, 3, 2, 4, 5, 7, 6, 8, 9, 11, 10, 12, 13, 15, 14}}};

// Sums of products of unsigned bytes and small weights, rounded and divided by 64.
HWY_INLINE VI16 Mix(V8 ends, V8 weights) {
  return hn::MulFixedPoint15(PairSums(ends, weights), hn::Set(DI16(), 1 << 9));
}

#if HWY_TARGET == HWY_AVX3

struct alignas(32) Bytes32 {
  uint8_t lane[32];
};
struct alignas(64) Bytes64 {
  uint8_t lane[64];
};
HWY_INLINE __m256i Load32(const Bytes32& bytes) {
  return _mm256_load_si256(reinterpret_cast<const __m256i*>(bytes.lane));
}
HWY_INLINE __m512i Load64(const Bytes64& bytes) { return _mm512_load_si512(bytes.lane); }

// The plan that makes the end points of a mode from its bits. `from` selects eight bytes of the
// block for each subset. For each byte of the result, eight bits are read from them at two
// positions: those at `field` have the field at their top, those at `highest` have the highest bits
// of the field just below that. `kept` is the mask of the bits that come from the former.
struct EndPlan {
  Bytes32 from, field, highest, kept, p, is_p;
  uint32_t fields;
};

// Collects the bytes of the block that a subset needs in a 64-bit word.
struct Gather {
  int count = 0, last = -1;
  // Adds the bytes that contain the bits first_bit to last_bit; returns the position of the first
  // bit in the word.
  constexpr int Add(Bytes32* from, int subset, int first_bit, int last_bit) {
    if (first_bit / 8 != last)
      from->lane[8 * subset + count++] = static_cast<uint8_t>(first_bit / 8);
    const int at = 8 * (count - 1) + first_bit % 8;
    for (last = first_bit / 8; last < last_bit / 8;) {
      from->lane[8 * subset + count++] = static_cast<uint8_t>(++last);
    }
    return at;
  }
};

constexpr EndPlan PlanEnds(int mode) {
  const Bc7Mode m = kBc7Modes[mode];
  EndPlan plan = {};
  for (int subset = 0; subset < m.subsets; ++subset) {
    Gather gather;
    for (int channel = 0; channel < 4; ++channel) {
      const int n = m.Width(channel), total = n + (m.p_bits != kNoPBits ? 1 : 0);
      if (n == 0) continue;
      const int first = m.EndPoint(channel, subset, 0);
      const int at = gather.Add(&plan.from, subset, first, first + 2 * n - 1);
      for (int end = 0; end < 2; ++end) {
        const int byte = 8 * subset + 2 * channel + end, top = at + n * (end + 1);
        plan.fields |= 1U << byte;
        plan.field.lane[byte] = static_cast<uint8_t>((top - 8) & 63);
        plan.highest.lane[byte] = static_cast<uint8_t>((top - (8 - total)) & 63);
        plan.kept.lane[byte] = static_cast<uint8_t>(0xFF << (8 - n));
        if (m.p_bits == kNoPBits) continue;
        const int p = m.p_bits == kSharedPBits ? subset : 2 * subset + end;
        plan.p.lane[byte] = static_cast<uint8_t>((p - (7 - n)) & 63);
        plan.is_p.lane[byte] = static_cast<uint8_t>(1 << (7 - n));
      }
    }
  }
  return plan;
}

// The end points of all subsets, eight bytes for each.
template <int kMode>
HWY_INLINE __m256i EndPoints(const Bc7Block& block) {
  static constexpr EndPlan kPlan = PlanEnds(kMode);
  constexpr Bc7Mode m = kBc7Modes[kMode];
  const __m256i all =
      _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(block.bytes)));
  const __m256i from = _mm256_shuffle_epi8(all, Load32(kPlan.from));
  __m256i ends = _mm256_mask_multishift_epi64_epi8(_mm256_set1_epi8(-1), kPlan.fields,
                                                   Load32(kPlan.field), from);
  if constexpr (m.color_bits < 7 || m.p_bits == kNoPBits) {
    const __m256i highest = _mm256_mask_multishift_epi64_epi8(_mm256_set1_epi8(-1), kPlan.fields,
                                                              Load32(kPlan.highest), from);
    ends = _mm256_ternarylogic_epi32(Load32(kPlan.kept), ends, highest, 0xCA);  // a ? b : c
  }
  if constexpr (m.p_bits != kNoPBits) {
    const uint64_t p = block.Bits<m.FirstPBit(), 8>();
    const __m256i p_bits =
        _mm256_multishift_epi64_epi8(Load32(kPlan.p), _mm256_set1_epi64x(static_cast<int64_t>(p)));
    ends = _mm256_ternarylogic_epi32(Load32(kPlan.is_p), p_bits, ends, 0xCA);
  }
  return ends;
}

// Two registers hold the pixels 0 and 1, and the pixels 2 and 3, of each row, with eight bytes for
// each pixel.
constexpr Bytes64 ShiftsOfPixels(int bits, int less, int first) {
  Bytes64 shifts = {};
  for (int i = 0; i < 64; ++i) {
    const int pixel = i / 16 * 4 + first + i / 8 % 2;
    shifts.lane[i] = static_cast<uint8_t>((bits * pixel - less) & 63);
  }
  return shifts;
}

// The weights 64 - w in even bytes and w in odd ones. 64 - w is the weight of the index counted
// from the other end.
template <int kBits>
HWY_INLINE __m512i WeightPairs(__m512i indexes, int first) {
  static constexpr Bytes64 kShifts[2] = {ShiftsOfPixels(kBits, 0, 0), ShiftsOfPixels(kBits, 0, 2)};
  static constexpr Bytes16 kTable = WeightTable<kBits>();
  constexpr int kMax = (1 << kBits) - 1;
  const __m512i shifted = _mm512_multishift_epi64_epi8(Load64(kShifts[first / 2]), indexes);
  const __m512i place = _mm512_ternarylogic_epi32(shifted, _mm512_set1_epi8(kMax),
                                                  _mm512_set1_epi16(kMax), 0x6A);  // (a & b) ^ c
  return _mm512_shuffle_epi8(Each(kTable).raw, place);
}

template <int kMode>
HWY_INLINE __m512i Spread(__m256i ends, unsigned partition, int first) {
  constexpr int kSubsets = kBc7Modes[kMode].subsets;
  if constexpr (kSubsets == 1) {
    return _mm512_broadcastq_epi64(_mm256_castsi256_si128(ends));
  } else {
    static constexpr Bytes64 kShifts[2] = {ShiftsOfPixels(kSubsets - 1, 3, 0),
                                           ShiftsOfPixels(kSubsets - 1, 3, 2)};
    const uint32_t subsets = kSubsets == 2 ? kTwoSubsets[partition] : kThreeSubsets[partition];
    const __m512i shifted = _mm512_multishift_epi64_epi8(
        Load64(kShifts[first / 2]), _mm512_set1_epi64(static_cast<int64_t>(uint64_t{subsets})));
    const __m512i bytes = _mm512_set1_epi64(0x0706050403020100);
    const __m512i place = _mm512_ternarylogic_epi32(
        shifted, _mm512_set1_epi8(kSubsets == 2 ? 8 : 24), bytes, 0xEA);  // (a & b) | c
    return _mm512_permutexvar_epi8(place, _mm512_castsi256_si512(ends));
  }
}

// `from_second` has a bit for each byte whose weight is in the second set.
template <int kMode>
HWY_INLINE __m512i WeightsOfChannels(__m512i first_set, __m512i second_set, __mmask64 from_second,
                                     int first) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  const __m512i one = WeightPairs<m.index_bits>(first_set, first);
  if constexpr (m.second_bits == 0) return one;
  const __m512i other = WeightPairs < m.second_bits == 0 ? 2 : m.second_bits > (second_set, first);
  return _mm512_mask_mov_epi8(one, from_second, other);
}

template <int kMode>
HWY_INLINE void Interpolate(const Bc7Block& block, unsigned partition, uint8_t* dst,
                            ptrdiff_t step) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  const __m256i ends = EndPoints<kMode>(block);
  const __m512i first =
      _mm512_set1_epi64(static_cast<int64_t>(FirstIndexes<kMode>(block, partition)));
  __m512i second = first;
  if constexpr (m.second_bits != 0) {
    second = _mm512_set1_epi64(static_cast<int64_t>(SecondIndexes<kMode>(block)));
  }
  constexpr __mmask64 kAlpha = 0xC0C0C0C0C0C0C0C0;
  const __mmask64 from_second = kAlpha ^ SelectionMask<kMode>(block);
  VI16 mixed[2];
  for (int i = 0; i < 2; ++i) {
    const V8 weights = {WeightsOfChannels<kMode>(first, second, from_second, 2 * i)};
    mixed[i] = Mix(V8{Spread<kMode>(ends, partition, 2 * i)}, weights);
  }
  V8 rows = PackBlocks(mixed[0], mixed[1]);
  if constexpr (m.rotation_bits != 0) {
    rows = hn::TableLookupBytes(rows, Each(kRotations[block.Bits<kMode + 1, 2>()]));
  }
  StoreBlocks(rows, D8(), dst, step);
}

#else

// The plan that makes the end points of a subset, as words, from the bits of a mode: the two bytes
// that contain the field, and the factor that moves it to the top of the word; also for the p-bit,
// which is moved to the bit below the field.
struct EndPlan {
  Bytes16 from, p_from;
  Words8 to_top, kept, p_to_place, is_p, widen, rest;
};

constexpr EndPlan PlanEnds(int mode, int subset) {
  const Bc7Mode m = kBc7Modes[mode];
  EndPlan plan = {};
  for (int i = 0; i < 8; ++i) {
    const int n = m.Width(i / 2), total = n + (m.p_bits != kNoPBits ? 1 : 0);
    if (n == 0) {
      plan.rest.lane[i] = 255;
      continue;
    }
    const int at = m.EndPoint(i / 2, subset, i % 2);
    plan.from.lane[2 * i] = static_cast<uint8_t>(at / 8);
    plan.from.lane[2 * i + 1] = static_cast<uint8_t>(at / 8 + 1);
    plan.to_top.lane[i] = static_cast<uint16_t>(1 << (16 - n - at % 8));
    plan.kept.lane[i] = static_cast<uint16_t>(0xFFFF << (16 - n));
    plan.widen.lane[i] = static_cast<uint16_t>(256 + (total == 8 ? 0 : 256 >> total));
    if (m.p_bits == kNoPBits) continue;
    const int p = m.FirstPBit() + (m.p_bits == kSharedPBits ? subset : 2 * subset + i % 2);
    plan.p_from.lane[2 * i] = static_cast<uint8_t>(p / 8);
    plan.p_from.lane[2 * i + 1] = static_cast<uint8_t>(p / 8);
    plan.p_to_place.lane[i] = static_cast<uint16_t>(1 << (15 - n - p % 8));
    plan.is_p.lane[i] = static_cast<uint16_t>(1 << (15 - n));
  }
  return plan;
}

template <int kMode, int kSubset>
HWY_INLINE VQ16 EndsOfSubset(VQ8 block) {
  static constexpr EndPlan kPlan = PlanEnds(kMode, kSubset);
  constexpr Bc7Mode m = kBc7Modes[kMode];
  const VQ16 from = hn::BitCast(Q16(), hn::TableLookupBytes(block, Quarter(kPlan.from)));
  VQ16 ends = hn::And(hn::Mul(from, Quarter(kPlan.to_top)), Quarter(kPlan.kept));
  if constexpr (m.p_bits != kNoPBits) {
    const VQ16 p_from = hn::BitCast(Q16(), hn::TableLookupBytes(block, Quarter(kPlan.p_from)));
    const VQ16 p = hn::Mul(p_from, Quarter(kPlan.p_to_place));
    ends = hn::Or(ends, hn::And(p, Quarter(kPlan.is_p)));
  }
  ends = hn::MulHigh(ends, Quarter(kPlan.widen));
  return m.alpha_bits == 0 ? hn::Or(ends, Quarter(kPlan.rest)) : ends;
}

// Repeats 16 bytes in all 128-bit blocks of a register.
HWY_INLINE V8 InEach(VQ8 v) {
#  if HWY_TARGET == HWY_AVX2
  return V8{_mm256_broadcastsi128_si256(v.raw)};
#  else
  return v;
#  endif
}

HWY_INLINE VQ8 PackQuarters(VQ16 low, VQ16 high) {
  return PackBlocks(hn::BitCast(QI16(), low), hn::BitCast(QI16(), high));
}

// Gives each pixel of a mode with kSubsets subsets the end points of its subset.
template <int kSubsets>
class EndPoints {
 public:
  template <int kMode>
  static HWY_INLINE EndPoints Of(const Bc7Block& block, unsigned partition) {
    EndPoints ends;
    const VQ8 bytes = hn::LoadU(Q8(), block.bytes);
    const VQ16 first = EndsOfSubset<kMode, 0>(bytes);
    if constexpr (kSubsets == 1) {
      ends.low_ = InEach(PackQuarters(first, first));
    } else {
      ends.low_ = InEach(PackQuarters(first, EndsOfSubset<kMode, 1>(bytes)));
      ends.subsets_ = hn::LoadDup128(D8(), kFirstBytes<kSubsets>.of[partition].lane);
    }
    if constexpr (kSubsets == 3) {
      const VQ16 third = EndsOfSubset<kMode, 2>(bytes);
      ends.high_ = InEach(PackQuarters(third, third));
    }
    return ends;
  }

  // The end points for two pixels in each 128-bit block; `pixels` has each pixel's number eight
  // times.
  HWY_INLINE V8 Spread(V8 pixels) const {
    if constexpr (kSubsets == 1) {
      return low_;
    } else {
      static constexpr Bytes16 kChannels = {{0, 1, 2, 3, 4, 5, 6, 7, 0, 1, 2, 3, 4, 5, 6, 7}};
      const V8 place = hn::Add(hn::TableLookupBytes(subsets_, pixels), Each(kChannels));
      return kSubsets == 2 ? hn::TableLookupBytes(low_, place) : Spread3(place);
    }
  }

 private:
  // Places from 16 up give 0 from the first register, places below 16 from the second. On x86 only
  // indices from 128 up give 0, on other processors all from 16 up.
  HWY_INLINE V8 Spread3(V8 place) const {
#  if HWY_ARCH_X86
    const V8 low_place = hn::Add(place, hn::Set(D8(), 0x70));
#  else
    const V8 low_place = place;
#  endif
    const V8 high_place = hn::Sub(place, hn::Set(D8(), 16));
    return hn::Or(hn::TableLookupBytesOr0(low_, low_place),
                  hn::TableLookupBytesOr0(high_, high_place));
  }

  // For each partition, the byte at which the end points of each pixel begin.
  struct Places {
    Bytes16 of[64];
  };
  static constexpr Places MakePlaces(int subsets) {
    Places places = {};
    for (int partition = 0; partition < 64; ++partition) {
      for (int i = 0; i < 16; ++i) {
        const uint32_t subset = subsets == 2 ? kTwoSubsets[partition] >> i & 1
                                             : kThreeSubsets[partition] >> (2 * i) & 3;
        places.of[partition].lane[i] = static_cast<uint8_t>(8 * subset);
      }
    }
    return places;
  }
  template <int kCount>
  static constexpr Places kFirstBytes = MakePlaces(kCount);

  V8 low_, high_, subsets_;  // high_ only for three subsets, subsets_ for two or three
};

// 64 - w and w for each pixel, as words: pixels 0 to 7, then 8 to 15.
struct WeightWords {
  VQ16 low, high;
};
template <int kBits>
HWY_INLINE WeightWords WeightPairs(uint64_t indexes) {
  const VQ8 w = Weights<kBits>(indexes);
  const VQ8 rest = hn::Sub(hn::Set(Q8(), 64), w);
  return {hn::BitCast(Q16(), hn::InterleaveLower(Q8(), rest, w)),
          hn::BitCast(Q16(), hn::InterleaveUpper(Q8(), rest, w))};
}

// For each row, two words per pixel: the weights of colour and of alpha.
struct WeightRows {
  VQ8 row[4];
};
// `exchange` is all ones if the second set is that of the colours, else 0.
HWY_INLINE WeightRows JoinWeights(const WeightWords& first, const WeightWords& second,
                                  uint64_t exchange) {
  const Q16 d;
  const VQ16 mask = hn::BitCast(d, hn::Set(Q64(), exchange));
  const VQ16 low = hn::And(mask, hn::Xor(first.low, second.low));
  const VQ16 high = hn::And(mask, hn::Xor(first.high, second.high));
  const WeightWords color = {hn::Xor(first.low, low), hn::Xor(first.high, high)};
  const WeightWords alpha = {hn::Xor(second.low, low), hn::Xor(second.high, high)};
  return {{hn::BitCast(Q8(), hn::InterleaveLower(d, color.low, alpha.low)),
           hn::BitCast(Q8(), hn::InterleaveUpper(d, color.low, alpha.low)),
           hn::BitCast(Q8(), hn::InterleaveLower(d, color.high, alpha.high)),
           hn::BitCast(Q8(), hn::InterleaveUpper(d, color.high, alpha.high))}};
}

// The pixels 0 and 1, or 2 and 3, of all rows, each eight times.
constexpr uint8_t kPixelsOfRows[2][4][16] = {
    {{0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1},
     {4, 4, 4, 4, 4, 4, 4, 4, 5, 5, 5, 5, 5, 5, 5, 5},
     {8, 8, 8, 8, 8, 8, 8, 8, 9, 9, 9, 9, 9, 9, 9, 9},
     {12, 12, 12, 12, 12, 12, 12, 12, 13, 13, 13, 13, 13, 13, 13, 13}},
    {{2, 2, 2, 2, 2, 2, 2, 2, 3, 3, 3, 3, 3, 3, 3, 3},
     {6, 6, 6, 6, 6, 6, 6, 6, 7, 7, 7, 7, 7, 7, 7, 7},
     {10, 10, 10, 10, 10, 10, 10, 10, 11, 11, 11, 11, 11, 11, 11, 11},
     {14, 14, 14, 14, 14, 14, 14, 14, 15, 15, 15, 15, 15, 15, 15, 15}}};

// Indices that repeat words four times: 0 and 1, or 2 and 3, for an even row; 4 and 5, or 6 and 7,
// for an odd one.
constexpr uint8_t kWordsOfRows[2][2][16] = {
    {{0, 1, 0, 1, 0, 1, 0, 1, 2, 3, 2, 3, 2, 3, 2, 3},
     {8, 9, 8, 9, 8, 9, 8, 9, 10, 11, 10, 11, 10, 11, 10, 11}},
    {{4, 5, 4, 5, 4, 5, 4, 5, 6, 7, 6, 7, 6, 7, 6, 7},
     {12, 13, 12, 13, 12, 13, 12, 13, 14, 15, 14, 15, 14, 15, 14, 15}}};

constexpr int kRows = static_cast<int>(kRegisterBlocks);  // rows in a register: one or two

// The weights for all bytes of the pixels 2 kHalf and 2 kHalf + 1 of the register's rows.
template <int kHalf>
HWY_INLINE V8 SpreadWeights(const WeightWords& words, int row) {
  const V8 both = InEach(hn::BitCast(Q8(), row < 2 ? words.low : words.high));
  return hn::TableLookupBytes(both, hn::LoadU(D8(), kWordsOfRows[kHalf][row % 2]));
}
template <int kHalf>
HWY_INLINE V8 SpreadWeights(const WeightRows& rows, int row) {
  static constexpr Bytes16 kPairs[2] = {
      {{0, 1, 0, 1, 0, 1, 2, 3, 4, 5, 4, 5, 4, 5, 6, 7}},
      {{8, 9, 8, 9, 8, 9, 10, 11, 12, 13, 12, 13, 12, 13, 14, 15}}};
#  if HWY_TARGET == HWY_AVX2
  const V8 all = hn::Combine(D8(), rows.row[row + 1], rows.row[row]);
#  else
  const V8 all = rows.row[row];
#  endif
  return hn::TableLookupBytes(all, Each(kPairs[kHalf]));
}

template <class Weights, int kSubsets>
HWY_INLINE V8 MixRows(const EndPoints<kSubsets>& ends, const Weights& weights, int row) {
  const VI16 a =
      Mix(ends.Spread(hn::LoadU(D8(), kPixelsOfRows[0][row])), SpreadWeights<0>(weights, row));
  const VI16 b =
      Mix(ends.Spread(hn::LoadU(D8(), kPixelsOfRows[1][row])), SpreadWeights<1>(weights, row));
  return PackBlocks(a, b);
}

template <int kMode>
HWY_INLINE void Interpolate(const Bc7Block& block, unsigned partition, uint8_t* dst,
                            ptrdiff_t step) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  const auto ends = EndPoints<m.subsets>::template Of<kMode>(block, partition);
  const WeightWords first = WeightPairs<m.index_bits>(FirstIndexes<kMode>(block, partition));
  if constexpr (m.second_bits == 0) {
    for (int row = 0; row < 4; row += kRows) {
      StoreBlocks(MixRows(ends, first, row), D8(), dst + row * step, step);
    }
  } else {
    const WeightWords second = WeightPairs<m.second_bits>(SecondIndexes<kMode>(block));
    const WeightRows rows = JoinWeights(first, second, SelectionMask<kMode>(block));
    const V8 rotation = Each(kRotations[block.Bits<kMode + 1, 2>()]);
    for (int row = 0; row < 4; row += kRows) {
      const V8 mixed = MixRows(ends, rows, row);
      StoreBlocks(hn::TableLookupBytes(mixed, rotation), D8(), dst + row * step, step);
    }
  }
}

#endif

template <int kMode>
HWY_INLINE void DecodeMode(const Bc7Block& block, uint8_t* dst, ptrdiff_t step) {
  constexpr Bc7Mode m = kBc7Modes[kMode];
  unsigned partition = 0;
  if constexpr (m.partition_bits != 0) {
    partition = static_cast<unsigned>(block.Bits<kMode + 1, m.partition_bits>());
  }
  Interpolate<kMode>(block, partition, dst, step);
}

HWY_INLINE void ClearBlock(uint8_t* dst, ptrdiff_t step) {
  for (int y = 0; y < 4; ++y) hn::StoreU(hn::Zero(Q8()), Q8(), dst + y * step);
}

void Decode(const uint8_t* src, uint8_t* dst, ptrdiff_t step, size_t count) {
  for (size_t i = 0; i < count; ++i, src += 16, dst += 16) {
    const Bc7Block block = {src, LoadHalf(src), LoadHalf(src + 8)};
    switch (__builtin_ctz(static_cast<unsigned>(block.low & 255) | 256)) {
      case 0: DecodeMode<0>(block, dst, step); break;
      case 1: DecodeMode<1>(block, dst, step); break;
      case 2: DecodeMode<2>(block, dst, step); break;
      case 3: DecodeMode<3>(block, dst, step); break;
      case 4: DecodeMode<4>(block, dst, step); break;
      case 5: DecodeMode<5>(block, dst, step); break;
      case 6: DecodeMode<6>(block, dst, step); break;
      case 7: DecodeMode<7>(block, dst, step); break;
      default: ClearBlock(dst, step);
    }
  }
}

constexpr Kernels kKernels = {.decode = Decode};

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

zepStatus ZEP_CALL zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R(const uint8_t* pSrc, uint8_t* pDst,
                                                             int32_t dstStep, zepiSize roiSize) {
  return CheckAndDecode<TextureLayout<4, 16>>(kernels.decode, pSrc, pDst, dstStep, roiSize);
}
#endif  // HWY_ONCE
