// SPDX-License-Identifier: MIT
// Encoding of blocks of coefficients (ITU-T T.832 | ISO/IEC 29199-2); vlc_decoder.cc describes the
// order of the stream.
//
// With m model bits, vectors split the sixteen coefficients c into levels, |c| >> m with the sign
// of c, limited to a byte, and refinement, the m bits below. A byte shuffle brings the levels into
// scan order, and a comparison makes a mask of 16 bits of the significant ones. The loop goes
// through the mask: the count of trailing zeros is the run, and one look-up by the level and by
// what follows (vlc_encoding_tables.h) gives the bits of index, sign and level, and the changes of
// the counters.
//
// Processors with AVX-512 run the kernels for AVX2 too: comparisons into mask registers take longer.
#include <cstring>

#include "frame/checks.h"
#include "jpegxr/vlc/vlc_encoding_tables.h"
#include "jpegxr/vlc/vlc_writer.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS HWY_AVX3
#define HWY_TARGET_INCLUDE "jpegxr/vlc/vlc_encoder.cc"
#include "hwy/foreach_target.h"
#include "simd/ops-inl.h"

#ifndef ZEPJP_VLC_ENCODER_KERNELS
#  define ZEPJP_VLC_ENCODER_KERNELS
namespace zepjp {
namespace {

struct BlockSource {
  const uint8_t* block;
  size_t step;
  uint32_t model_bits, trim_bits;
};

struct Kernels {
  decltype(zepiVLCEncode4x4_JPEGXR_16s1u_C1R)* encode_16s;
  decltype(zepiVLCEncode4x4_JPEGXR_32s1u_C1R)* encode_32s;
  decltype(zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R)* encode_flex_16s;
  decltype(zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R)* encode_flex_32s;
  // Returns the number of pairs.
  uint32_t (*scan_lowpass)(const uint8_t* values, uint32_t model_bits, VlcState* state,
                           uint8_t* pairs, uint8_t* packed);
  void (*encode_lowpass)(const uint8_t* pairs, uint32_t count, uint32_t first_slot, VlcState* state,
                         bool is_chroma, const BitTarget& to);
};

// The first checks of every encoder.
inline Checks CheckPointers(const void* source, const BitTarget& to, const zepiVLCState* state) {
  Checks checks;
  return to.Check(checks.Ptr(static_cast<const uint8_t*>(source))).Ptr(state);
}

// Magnitudes are limited to this, so that n, the number of bits below the highest one of
// magnitude - 2, is 4 to 29.
constexpr uint32_t kMaxEscaped = 2 + (1u << 30) - 1;

HWY_NOINLINE void PutEscaped(uint32_t magnitude, VlcWriter* to) {
  const uint32_t value = (magnitude < kMaxEscaped ? magnitude : kMaxEscaped) - 2;
  const auto n = static_cast<uint32_t>(31 - __builtin_clz(value));
  if (n < 19) {
    to->Put(n - 4, 4);
  } else if (n < 22) {
    to->Put(15u << 2 | (n - 19), 6);
  } else {
    to->Put(15u << 5 | 3u << 3 | (n - 22), 9);
  }
  to->Put(value & ((1u << n) - 1), n);
}

// The value of `next` for a coefficient, by the mask of the slots after it: 0 if nothing follows, 1
// if another coefficient follows immediately, 2 if one follows after zeros.
HWY_INLINE uint32_t NextAmong(uint32_t rest) {
  const uint32_t next = 2 - (rest & 1);
  return rest == 0 ? 0 : next;
}

HWY_INLINE uint32_t MagnitudeOf(int32_t level) {
  const auto value = static_cast<uint32_t>(level);
  return level < 0 ? 0 - value : value;
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_NAMESPACE();
namespace zepjp::HWY_NAMESPACE {
namespace {

using D32 = hn::Simd<int32_t, 4, 0>;
using DU32 = hn::Simd<uint32_t, 4, 0>;
using D8 = hn::Simd<uint8_t, 16, 0>;
using V32 = hn::VFromD<D32>;
using VU32 = hn::VFromD<DU32>;
using V8 = hn::VFromD<D8>;

// The codes of a context: for slots up to 13, and for the last two.
struct SlotCodes {
  const CoefficientCodes *usual, *at14, *at15;
  HWY_INLINE const CoefficientCodes& At(uint32_t slot) const {
    const CoefficientCodes* const last = slot == kLastSlot ? at15 : at14;
    return slot >= kLastSlot - 1 ? *last : *usual;
  }
};
HWY_INLINE SlotCodes CodesIn(uint32_t context, const BlockTables& tables, uint32_t levels) {
  const CodesOfKind* const in0 = kCodesOfContext<0>;
  const CodesOfKind* const all = context != 0 ? kCodesOfContext<1> : in0;
  const uint32_t index = context != 0 ? tables.index[1]->index : tables.index[0]->index;
  return {&all[index].of[levels], &all[kIndexAt14].of[levels], &in0[kIndexAt15].of[levels]};
}

// Encodes one block. `levels` gives the level of each slot as a byte, and the magnitudes of escaped
// levels.
template <class Levels>
class VlcBlockEncoder {
 public:
  HWY_INLINE VlcBlockEncoder(const BlockTables& tables, const Levels& levels, const BitTarget& to)
      : tables_(tables),
        levels_(levels),
        level_tables_(tables.level[0]->index | tables.level[1]->index << 1),
        writer_(to) {}

  // `slots` has bit k set for a coefficient at slot k; at least one, and none before `first_slot`.
  HWY_INLINE void Encode(uint32_t slots, uint32_t first_slot, const BitTarget& to) {
    EncodeFirst(slots, first_slot);
    if (rest_ != 0) {
      const SlotCodes in0 = CodesIn(0, tables_, level_tables_);
      SlotCodes codes = CodesIn(context_, tables_, level_tables_);
      do {
        const bool is_followed = EncodeNext(codes);
        codes.usual = is_followed ? codes.usual : in0.usual;
        codes.at14 = is_followed ? codes.at14 : in0.at14;
      } while (rest_ != 0);
    }
    counters_.template AddTo<0>(tables_);
    if (context_ != 0) counters_.template AddTo<1>(tables_);
    writer_.Finish(to);
  }

 private:
  HWY_INLINE void EncodeFirst(uint32_t slots, uint32_t first_slot) {
    slot_ = static_cast<uint32_t>(__builtin_ctz(slots));
    rest_ = slots >> slot_ >> 1;
    const uint32_t run = slot_ - first_slot, no_run = run == 0 ? 1 : 0, next = NextAmong(rest_);
    const uint32_t level = levels_.Byte(slot_), index = tables_.first->index;
    const EncodingEntry code = kFirstCodesToWrite[index]
                                   .of[level_tables_]
                                   .of[(2 * next + no_run) * kNumLevelBytes + level];
    const uint32_t has_level = level % kNegative > 1 ? 1 : 0;
    const uint32_t symbol = 4 * next + 2 * has_level + no_run;
    tables_.first->delta1 += static_cast<uint32_t>(kFirstDeltas.of[index][symbol][0]);
    tables_.first->delta2 += static_cast<uint32_t>(kFirstDeltas.of[index][symbol][1]);
    context_ = next & no_run;
    counters_.Add(code.word());
    writer_.Put(code.bits(), code.length());
    if (HWY_UNLIKELY(IsEscaped(level))) PutEscape();
    // The run of the first coefficient comes last.
    const RunCode run_code = kRunCodesToWrite.of[kLastSlot - first_slot][run];
    writer_.Put(run_code.bits, run_code.length);
    levels_.Leave(slot_);
  }

  // Encodes a coefficient after the first; returns whether another one follows immediately.
  HWY_INLINE bool EncodeNext(const SlotCodes& codes) {
    const auto zeros = static_cast<uint32_t>(__builtin_ctz(rest_));
    const RunCode run = kRunCodesToWrite.of[kLastSlot - 1 - slot_][zeros];
    slot_ += 1 + zeros;
    rest_ = rest_ >> zeros >> 1;
    const uint32_t next = NextAmong(rest_), level = levels_.Byte(slot_);
    const EncodingEntry code = codes.At(slot_).of[next * kNumLevelBytes + level];
    counters_.Add(code.word());
    writer_.Put(uint32_t{run.bits} << code.length() | code.bits(), run.length + code.length());
    if (HWY_UNLIKELY(IsEscaped(level))) PutEscape();
    levels_.Leave(slot_);
    return next == 1;
  }

  HWY_INLINE void PutEscape() {
    VlcWriter copy = writer_;
    PutEscaped(levels_.Magnitude(slot_), &copy);
    writer_ = copy;
  }

  const BlockTables tables_;
  const Levels levels_;
  const uint32_t level_tables_;
  VlcWriter writer_;
  CounterSum counters_;
  uint32_t slot_ = 0, rest_ = 0, context_ = 0;
};

template <class T>
HWY_INLINE V32 LoadRow(const uint8_t* row) {
  if constexpr (sizeof(T) == 4) {
    return hn::BitCast(D32(), hn::LoadU(D8(), row));
  } else {
    const hn::Half<D8> half;
    const hn::Simd<int16_t, 4, 0> d16;
    return hn::PromoteTo(D32(), hn::BitCast(d16, hn::LoadU(half, row)));
  }
}

HWY_INLINE VU32 Magnitudes(V32 values) { return hn::BitCast(DU32(), hn::Abs(values)); }

// The levels of four coefficients, with their signs.
HWY_INLINE V32 Levels(V32 values, VU32 magnitudes, uint32_t model_bits) {
  const auto shifted =
      hn::BitCast(D32(), hn::ShiftRightSame(magnitudes, static_cast<int>(model_bits)));
  const auto signs = hn::BroadcastSignBit(values);
  return hn::Sub(hn::Xor(shifted, signs), signs);
}

// The levels of a block as level bytes (vlc_encoding_tables.h).
HWY_INLINE V8 LevelBytes(const V32 (&values)[4], const VU32 (&magnitudes)[4], uint32_t model_bits) {
  V32 bytes[4];
  for (size_t i = 0; i < 4; ++i) {
    const auto shifted = hn::ShiftRightSame(magnitudes[i], static_cast<int>(model_bits));
    const auto magnitude = hn::BitCast(D32(), hn::Min(shifted, hn::Set(DU32(), kFirstEscaped)));
    const auto sign =
        hn::And(hn::BroadcastSignBit(values[i]), hn::Set(D32(), static_cast<int32_t>(kNegative)));
    const auto is_zero = hn::Eq(magnitude, hn::Zero(D32()));
    bytes[i] = hn::IfThenZeroElse(is_zero, hn::Add(magnitude, sign));
  }
  return PackBlocks(PackBlocks(bytes[0], bytes[1]), PackBlocks(bytes[2], bytes[3]));
}

// Packed refinement values. With r the model bits of a coefficient without the trimmed ones, they
// are 2r for a significant coefficient, and 2 (2r + sign) + 1 for any other, or 0 if r is 0.
HWY_INLINE V32 Refinement(V32 values, VU32 magnitudes, V32 levels, uint32_t model_bits,
                          uint32_t trim_bits) {
  const auto low_bits = hn::Set(DU32(), (1u << model_bits) - 1);
  const auto rest = hn::BitCast(
      D32(), hn::ShiftRightSame(hn::And(magnitudes, low_bits), static_cast<int>(trim_bits)));
  const auto one = hn::Set(D32(), 1);
  const auto twice = hn::Add(rest, rest);
  const auto sign = hn::And(hn::BroadcastSignBit(values), one);
  const auto with_sign = hn::Or(hn::Add(hn::Or(twice, sign), hn::Or(twice, sign)), one);
  const auto is_zero = hn::Eq(rest, hn::Zero(D32()));
  const auto is_significant = hn::Ne(levels, hn::Zero(D32()));
  return hn::IfThenElse(is_significant, twice, hn::IfThenZeroElse(is_zero, with_sign));
}

// The numbers of the coefficients, in the order of a scan.
HWY_INLINE V8 ScanOrder(const VlcScanEntry* scan) {
  V32 parts[4];
  for (size_t i = 0; i < 4; ++i) {
    V32 entries[4];
    for (size_t j = 0; j < 4; ++j) {
      entries[j] =
          hn::BitCast(D32(), hn::LoadU(D8(), reinterpret_cast<const uint8_t*>(scan + 4 * i + j)));
    }
    // total0 total1 index0 index1
    parts[i] = hn::ConcatUpperUpper(D32(), hn::InterleaveLower(D32(), entries[2], entries[3]),
                                    hn::InterleaveLower(D32(), entries[0], entries[1]));
  }
  return PackBlocks(PackBlocks(parts[0], parts[1]), PackBlocks(parts[2], parts[3]));
}

// The place 4 * row + column of each coefficient, by its number.
alignas(16) constexpr uint8_t kPlaces[16] = {0, 1, 4, 5, 3, 2, 7, 6, 12, 13, 8, 9, 15, 14, 11, 10};

alignas(16) constexpr int32_t kAllButFirst[4] = {0, -1, -1, -1};

class VlcBlock {
 public:
  template <class T>
  HWY_INLINE static VlcBlock Load(const BlockSource& from) {
    VlcBlock block;
    for (size_t y = 0; y < 4; ++y) block.values_[y] = LoadRow<T>(from.block + y * from.step);
    block.Split(from.model_bits);
    return block;
  }

  HWY_INLINE void Split(uint32_t model_bits) {
    for (size_t y = 0; y < 4; ++y) {
      magnitudes_[y] = Magnitudes(values_[y]);
      levels_[y] = Levels(values_[y], magnitudes_[y], model_bits);
    }
  }

  // The level bytes in the order of the places.
  HWY_INLINE V8 LevelBytes(uint32_t model_bits) const {
    return HWY_NAMESPACE::LevelBytes(values_, magnitudes_, model_bits);
  }

  HWY_INLINE void StoreLevels(int32_t* levels) const {
    for (size_t y = 0; y < 4; ++y) hn::Store(levels_[y], D32(), levels + 4 * y);
  }

  HWY_INLINE void StoreRefinement(uint32_t model_bits, uint32_t trim_bits, uint8_t* packed) const {
    for (size_t y = 0; y < 4; ++y) {
      V32 row = Refinement(values_[y], magnitudes_[y], levels_[y], model_bits, trim_bits);
      if (y == 0) row = hn::And(row, hn::Load(D32(), kAllButFirst));
      hn::StoreU(hn::BitCast(D8(), row), D8(), packed + 16 * y);
    }
  }

 private:
  V32 values_[4];
  VU32 magnitudes_[4];
  V32 levels_[4];
};

// A mask of the slots whose levels are not 0, without slot 0, which is not coded.
HWY_INLINE uint32_t SlotsOf(V8 level_bytes) {
  uint8_t bits[8] = {};
  hn::StoreMaskBits(D8(), hn::Ne(level_bytes, hn::Zero(D8())), bits);
  uint16_t slots;
  CopyBytes(bits, &slots, sizeof(slots));
  return slots & 0xFFFEu;
}

// The levels of a block in scan order; the magnitudes of escaped levels are read from the block.
template <class T>
struct ScannedLevels {
  VlcScanEntry* scan;
  const uint8_t* bytes;  // by slot
  const BlockSource* from;
  HWY_INLINE uint32_t Byte(uint32_t slot) const { return bytes[slot]; }
  HWY_INLINE uint32_t Magnitude(uint32_t slot) const {
    T value;
    CopyBytes(from->block + scan[slot].y * from->step + scan[slot].x * sizeof(T), &value,
              sizeof(value));
    return MagnitudeOf(value) >> from->model_bits;
  }
  HWY_INLINE void Leave(uint32_t slot) const { AdaptScan(scan + slot); }
};

template <class T>
HWY_INLINE uint32_t EncodeScanned(const BlockSource& from, const VlcBlock& block, VlcState* state,
                                  bool is_chroma, const BitTarget& to) {
  VlcScanEntry* const scan = CurrentScan(state);
  const V8 order = hn::TableLookupBytes(hn::Load(D8(), kPlaces), ScanOrder(scan));
  const V8 levels = hn::TableLookupBytes(block.LevelBytes(from.model_bits), order);
  const uint32_t slots = SlotsOf(levels);
  if (slots == 0) return 0;
  alignas(16) uint8_t bytes[16];
  hn::Store(levels, D8(), bytes);
  VlcBlockEncoder<ScannedLevels<T>>(TablesOf(state, kHighpassTables, is_chroma),
                                    {scan, bytes, &from}, to)
      .Encode(slots, 1, to);
  return static_cast<uint32_t>(__builtin_popcount(slots));
}

template <class T>
zepStatus ZEP_CALL Encode(const T* source, uint32_t step, uint32_t channel, uint32_t model_bits,
                          uint8_t** bytes, uint32_t* accumulator, uint32_t* count,
                          zepiVLCState* state, zepiVLCContext* context) {
  const BitTarget to = {bytes, accumulator, count};
  if (auto bad = CheckPointers(source, to, state)
                     .Ptr(context)
                     .Refuse([&] { return to.IsTooLong() || model_bits > 15; }, zepStatusOutOfRange)
                     .Failed()) {
    return bad;
  }
  const BlockSource from = {reinterpret_cast<const uint8_t*>(source), step, model_bits, 0};
  context->count +=
      EncodeScanned<T>(from, VlcBlock::Load<T>(from), Unwrap(state), channel != 0, to);
  return zepStatusOk;
}

template <class T>
zepStatus ZEP_CALL EncodeFlex(const T* source, uint32_t step, uint32_t channel, uint32_t model_bits,
                              uint32_t trim_bits, uint8_t** bytes, uint32_t* accumulator,
                              uint32_t* count, zepiVLCState* state, int32_t* packed,
                              zepiVLCContext* context) {
  const BitTarget to = {bytes, accumulator, count};
  const auto is_out_of_range = [&] { return to.IsTooLong() || model_bits > 15 || trim_bits > 15; };
  if (auto bad = CheckPointers(source, to, state)
                     .Ptr(packed)
                     .Ptr(context)
                     .Refuse(is_out_of_range, zepStatusOutOfRange)
                     .Failed()) {
    return bad;
  }
  const BlockSource from = {reinterpret_cast<const uint8_t*>(source), step, model_bits, trim_bits};
  const VlcBlock block = VlcBlock::Load<T>(from);
  context->count += EncodeScanned<T>(from, block, Unwrap(state), channel != 0, to);
  block.StoreRefinement(model_bits, trim_bits, reinterpret_cast<uint8_t*>(packed));
  return zepStatusOk;
}

uint32_t ScanLowpass(const uint8_t* values, uint32_t model_bits, VlcState* state, uint8_t* pairs,
                     uint8_t* packed) {
  VlcScanEntry* const scan = CurrentScan(state);
  const VlcBlock block = VlcBlock::Load<int32_t>({values, 16, model_bits, 0});
  alignas(16) int32_t levels[16];
  alignas(16) uint8_t places[16];
  const V8 order = ScanOrder(scan);
  hn::Store(order, D8(), places);
  block.StoreLevels(levels);
  block.StoreRefinement(model_bits, 0, packed);
  const uint32_t slots = SlotsOf(hn::TableLookupBytes(block.LevelBytes(model_bits), order));
  uint32_t start = 1;
  for (uint32_t rest = slots; rest != 0; rest &= rest - 1) {
    const auto slot = static_cast<uint32_t>(__builtin_ctz(rest));
    const int32_t pair[2] = {static_cast<int32_t>(slot - start), levels[places[slot]]};
    CopyBytes(pair, pairs, sizeof(pair));
    pairs += sizeof(pair);
    AdaptScan(scan + slot);
    start = slot + 1;
  }
  return static_cast<uint32_t>(__builtin_popcount(slots));
}

struct PlainLevels {
  const int32_t* levels;  // by slot
  HWY_INLINE uint32_t Byte(uint32_t slot) const {
    return HWY_MIN(Magnitude(slot), kFirstEscaped) + (levels[slot] < 0 ? kNegative : 0);
  }
  HWY_INLINE uint32_t Magnitude(uint32_t slot) const { return MagnitudeOf(levels[slot]); }
  HWY_INLINE void Leave(uint32_t) const {}
};

// Encodes the pairs of a low-pass block. A pair that leads beyond the last slot ends there, and
// further pairs are ignored.
void EncodeLowpass(const uint8_t* pairs, uint32_t count, uint32_t first_slot, VlcState* state,
                   bool is_chroma, const BitTarget& to) {
  int32_t levels[16];
  uint32_t slots = 0, slot = first_slot;
  for (; count > 0 && slot <= kLastSlot; --count, ++slot, pairs += 2 * sizeof(int32_t)) {
    uint32_t run;
    CopyBytes(pairs, &run, sizeof(run));
    slot += HWY_MIN(run, kLastSlot - slot);
    CopyBytes(pairs + sizeof(run), &levels[slot], sizeof(int32_t));
    slots |= 1u << slot;
  }
  VlcBlockEncoder<PlainLevels>(TablesOf(state, kLowpassTables, is_chroma), {levels}, to)
      .Encode(slots, first_slot, to);
}

constexpr Kernels kKernels = {
    .encode_16s = Encode<int16_t>,
    .encode_32s = Encode<int32_t>,
    .encode_flex_16s = EncodeFlex<int16_t>,
    .encode_flex_32s = EncodeFlex<int32_t>,
    .scan_lowpass = ScanLowpass,
    .encode_lowpass = EncodeLowpass,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

zepStatus EncodePairs(const int32_t* pairs, uint32_t count, uint32_t max_count, uint32_t first_slot,
                      bool is_chroma, const BitTarget& to, zepiVLCState* state) {
  if (auto bad =
          CheckPointers(pairs, to, state)
              .Refuse([&] { return to.IsTooLong() || count > max_count; }, zepStatusOutOfRange)
              .Failed()) {
    return bad;
  }
  if (count == 0) return zepStatusOk;
  kernels.encode_lowpass(reinterpret_cast<const uint8_t*>(pairs), count, first_slot, Unwrap(state),
                         is_chroma, to);
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiVLCScan4x4DC_JPEGXR_32s(const int32_t* pSrc, uint32_t modelBits,
                                               zepiVLCState* pState, int32_t* pRunLevel,
                                               uint32_t* pPairCount, int32_t* pPacked) {
  if (auto bad = Checks()
                     .Ptr(pSrc)
                     .Ptr(pState)
                     .Ptr(pRunLevel)
                     .Ptr(pPairCount)
                     .Ptr(pPacked)
                     .Refuse(modelBits > 15, zepStatusOutOfRange)
                     .Failed()) {
    return bad;
  }
  *pPairCount = kernels.scan_lowpass(reinterpret_cast<const uint8_t*>(pSrc), modelBits,
                                     Unwrap(pState), reinterpret_cast<uint8_t*>(pRunLevel),
                                     reinterpret_cast<uint8_t*>(pPacked));
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiVLCEncodeDC420_JPEGXR_32s1u(const int32_t* pRunLevel, uint32_t pairCount,
                                                   uint8_t** ppDst, uint32_t* pAcc,
                                                   uint32_t* pBitCount, zepiVLCState* pState) {
  return EncodePairs(pRunLevel, pairCount, 6, kFirstSlotOf420, true, {ppDst, pAcc, pBitCount},
                     pState);
}

zepStatus ZEP_CALL zepiVLCEncodeDC422_JPEGXR_32s1u(const int32_t* pRunLevel, uint32_t pairCount,
                                                   uint8_t** ppDst, uint32_t* pAcc,
                                                   uint32_t* pBitCount, zepiVLCState* pState) {
  return EncodePairs(pRunLevel, pairCount, 14, kFirstSlotOf422, true, {ppDst, pAcc, pBitCount},
                     pState);
}

zepStatus ZEP_CALL zepiVLCEncodeDC444_JPEGXR_32s1u(const int32_t* pRunLevel, uint32_t pairCount,
                                                   uint32_t channel, uint8_t** ppDst,
                                                   uint32_t* pAcc, uint32_t* pBitCount,
                                                   zepiVLCState* pState) {
  return EncodePairs(pRunLevel, pairCount, 16, 1, channel != 0, {ppDst, pAcc, pBitCount}, pState);
}

zepStatus ZEP_CALL zepiVLCEncode4x4_JPEGXR_16s1u_C1R(const int16_t* pSrc, uint32_t srcStep,
                                                     uint32_t channel, uint32_t modelBits,
                                                     uint8_t** ppDst, uint32_t* pAcc,
                                                     uint32_t* pBitCount, zepiVLCState* pState,
                                                     zepiVLCContext* pCtx) {
  return kernels.encode_16s(pSrc, srcStep, channel, modelBits, ppDst, pAcc, pBitCount, pState,
                            pCtx);
}

zepStatus ZEP_CALL zepiVLCEncode4x4_JPEGXR_32s1u_C1R(const int32_t* pSrc, uint32_t srcStep,
                                                     uint32_t channel, uint32_t modelBits,
                                                     uint8_t** ppDst, uint32_t* pAcc,
                                                     uint32_t* pBitCount, zepiVLCState* pState,
                                                     zepiVLCContext* pCtx) {
  return kernels.encode_32s(pSrc, srcStep, channel, modelBits, ppDst, pAcc, pBitCount, pState,
                            pCtx);
}

zepStatus ZEP_CALL zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(const int16_t* pSrc, uint32_t srcStep,
                                                         uint32_t channel, uint32_t modelBits,
                                                         uint32_t trimBits, uint8_t** ppDst,
                                                         uint32_t* pAcc, uint32_t* pBitCount,
                                                         zepiVLCState* pState, int32_t* pFlex,
                                                         zepiVLCContext* pCtx) {
  return kernels.encode_flex_16s(pSrc, srcStep, channel, modelBits, trimBits, ppDst, pAcc,
                                 pBitCount, pState, pFlex, pCtx);
}

zepStatus ZEP_CALL zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(const int32_t* pSrc, uint32_t srcStep,
                                                         uint32_t channel, uint32_t modelBits,
                                                         uint32_t trimBits, uint8_t** ppDst,
                                                         uint32_t* pAcc, uint32_t* pBitCount,
                                                         zepiVLCState* pState, int32_t* pFlex,
                                                         zepiVLCContext* pCtx) {
  return kernels.encode_flex_32s(pSrc, srcStep, channel, modelBits, trimBits, ppDst, pAcc,
                                 pBitCount, pState, pFlex, pCtx);
}
#endif  // HWY_ONCE
