// SPDX-License-Identifier: MIT
// Decoding of blocks of coefficients (ITU-T T.832 | ISO/IEC 29199-2).
//
// A block is a list of runs of zeros and levels. For the first coefficient the stream has index,
// sign, level, run; for each later one run, index, sign, level. (vlc_codes.h has the codes and the
// meaning of the index.) One look-up in vlc_decoding_tables.h gives index, sign and level together,
// with their length and the changes of the counters; a coefficient with more bits is decoded step
// by step. The code table depends on the context: context 1 lasts as long as coefficients follow
// one another without zeros from the first slot on, context 0 is the rest of the block.
//
// The loop is bound by latency: window, look-up, shift, next window. So the refill has no branch
// and runs in parallel with the look-up, one addition updates the counters of all tables, and the
// tables of a context are chosen before the loop.
#include <cstring>

#include "frame/checks.h"
#include "jpegxr/vlc/vlc_decoding_tables.h"
#include "jpegxr/vlc/vlc_reader.h"
#include "simd/dispatch.h"

#define HWY_DISABLED_TARGETS ZEP_ALL_BUT_SCALAR_TARGETS
#define HWY_TARGET_INCLUDE "jpegxr/vlc/vlc_decoder.cc"
#include "hwy/foreach_target.h"
#include "simd/scalar-inl.h"

#ifndef ZEPJP_VLC_DECODER_KERNELS
#  define ZEPJP_VLC_DECODER_KERNELS
namespace zepjp {
namespace {

struct BlockTarget {
  uint8_t* block;
  size_t step;
  uint32_t scale;
};

struct Kernels {
  decltype(zepiVLCDecode4x4_JPEGXR_1u16s_C1R)* decode_block_16s;
  decltype(zepiVLCDecode4x4_JPEGXR_1u32s_C1R)* decode_block_32s;
  void (*decode_lowpass)(VlcState* state, bool is_chroma, const BitSource& from, int32_t* levels);
  // Decodes the levels of slots `first_slot` to 15, without a scan.
  void (*decode_joint_lowpass)(VlcState* state, uint32_t first_slot, const BitSource& from,
                               int32_t* levels);
};

// The first checks of every decoder.
inline Checks CheckPointers(const BitSource& from, const zepiVLCState* state, const void* target) {
  Checks checks;
  return from.Check(checks).Ptr(state).Ptr(static_cast<const uint8_t*>(target));
}

// A coefficient that was decoded step by step.
struct Coefficient {
  uint32_t next;
  int32_t level;
  uint32_t last_look;
  uint64_t counters;
};
struct FirstCoefficient {
  uint32_t symbol;
  int32_t level;
  uint32_t last_look, level_delta;
};

struct Level {
  uint32_t magnitude, last_look;
};

// The magnitude after the escape code: 2 + 2^n + n bits, with n of 4 to 29 in up to three fields.
inline Level TakeEscaped(VlcReader* reader) {
  uint32_t n = 4 + reader->Take(4);
  if (n == 19) n += reader->Take(2);
  if (n == 22) n += reader->Take(3);
  uint32_t bits = 0, last_look = n;
  if (n > 16) {
    last_look = n - 16;
    bits = reader->Take(16) << last_look;
  }
  bits |= reader->Take(last_look);
  return {2 + (1u << n) + bits, last_look};
}

constexpr uint32_t kEscapeLength[kNumLevelTables] = {CodeOf(kLevelCodes[0][kLevelEscape]).length,
                                                     CodeOf(kLevelCodes[1][kLevelEscape]).length};

inline Level TakeLevel(uint32_t table, VlcReader* reader, uint32_t* delta) {
  reader->Refill();
  const LevelEntry entry = kLevelTables.of[table][reader->Peek(kLevelLookBits)];
  if (HWY_LIKELY(entry.length() != 0)) {
    reader->Use(entry.length());
    *delta = entry.delta();
    return {entry.magnitude(), entry.last_look()};
  }
  reader->Use(kEscapeLength[table]);
  *delta = static_cast<uint32_t>(kLevelDifferences[kLevelEscape]);
  return TakeEscaped(reader);
}

inline int32_t Signed(uint32_t magnitude, uint32_t sign) {
  return static_cast<int32_t>((magnitude ^ (0 - sign)) + sign);
}

HWY_NOINLINE Coefficient TakeRareCoefficient(uint32_t context, uint32_t kind, uint32_t level_tables,
                                             VlcReader* reader) {
  reader->Refill();
  const IndexEntry index = kIndexTables.of[kind][reader->Peek(kIndexLookBits)];
  reader->Use(index.length());
  const uint32_t next = index.symbol() >> 1, level_context = context & next;
  uint64_t counters = CountIndex(context, kind, index.symbol());
  Level level = {1, 1};
  if ((index.symbol() & 1) != 0) {
    uint32_t delta;
    level = TakeLevel(level_tables >> level_context & 1, reader, &delta);
    counters = AddLanes(counters, InLane(LaneOfLevel(level_context), static_cast<int>(delta)));
  }
  return {next, Signed(level.magnitude, index.sign()), level.last_look, counters};
}

// Decodes a first coefficient that has a level step by step.
HWY_NOINLINE FirstCoefficient TakeRareFirst(uint32_t table, uint32_t level_tables,
                                            VlcReader* reader) {
  reader->Refill();
  const uint32_t entry = kFirstSymbols.of[table][reader->Peek(kFirstLookBits)];
  reader->Use(entry >> 4);
  FirstCoefficient first = {entry & 15, 0, 0, 0};
  const uint32_t sign = reader->Take(1);
  const uint32_t level_table = level_tables >> ContextAfterFirst(first.symbol) & 1;
  const Level level = TakeLevel(level_table, reader, &first.level_delta);
  first.level = Signed(level.magnitude, sign);
  first.last_look = level.last_look;
  return first;
}

}  // namespace
}  // namespace zepjp
#endif

ZEP_BEFORE_SCALAR_NAMESPACE("bmi,bmi2");
namespace zepjp::HWY_NAMESPACE {
namespace {

// The tables of a context: for slots up to 13, and for the last two.
struct SlotTables {
  const CoefficientTable *usual, *at14, *at15;
  HWY_INLINE const CoefficientTable* At(uint32_t slot) const {
    const CoefficientTable* table = usual;
    if (slot == kLastSlot - 1) table = at14;
    if (slot == kLastSlot) table = at15;
    return table;
  }
};

// Finds the look-up tables of a block.
class Lookup {
 public:
  explicit HWY_INLINE Lookup(const BlockTables& tables)
      : levels_(tables.level[0]->index | tables.level[1]->index << 1),
        index0_(tables.index[0]->index),
        index1_(tables.index[1]->index) {}

  template <uint32_t kContext>
  HWY_INLINE SlotTables In() const {
    const CoefficientTables* const all = kTablesOfContext<kContext>;
    return {&all[kContext != 0 ? index1_ : index0_].of[levels_], &all[kIndexAt14].of[levels_],
            &all[kIndexAt15].of[levels_]};
  }
  uint32_t KindAt(uint32_t slot, uint32_t context) const {
    if (slot >= kLastSlot - 1) return kIndexAt14 + slot - (kLastSlot - 1);
    return context != 0 ? index1_ : index0_;
  }
  uint32_t levels() const { return levels_; }

 private:
  uint32_t levels_;  // bit c: the level table of context c
  uint32_t index0_, index1_;
};

// Decodes one block. Calls store(slot, level) for each coefficient.
template <class Store>
class VlcBlockDecoder {
 public:
  HWY_INLINE VlcBlockDecoder(const BlockTables& tables, const BitSource& from, const Store& store)
      : tables_(tables), lookup_(tables), reader_(from), store_(store) {}

  // Returns the number of coefficients.
  HWY_INLINE uint32_t Decode(uint32_t first_slot, const BitSource& from) {
    DecodeFirst(first_slot);
    const bool begins_in1 = context_ != 0;
    if (begins_in1) {
      const SlotTables in1 = lookup_.In<1>();
      while (!is_last_ && DecodeNext<1>(in1)) {}
    }
    if (!is_last_) {
      const SlotTables in0 = lookup_.In<0>();
      do {
        DecodeNext<0>(in0);
      } while (!is_last_);
    }
    counters_.template AddTo<0>(tables_);
    if (begins_in1) counters_.template AddTo<1>(tables_);
    reader_.Finish(last_.last_look(), from);
    return count_;
  }

 private:
  HWY_INLINE void DecodeFirst(uint32_t first_slot) {
    const uint32_t index = tables_.first->index;
    const FirstEntry* const table = kFirstTables[index].of[lookup_.levels()];
    FirstEntry entry = table[reader_.Peek(kLookBits)];
    const uint32_t valid = reader_.count();
    reader_.RefillAside();
    if (HWY_UNLIKELY(entry.length() - 1 >= valid)) entry = table[reader_.Peek(kLookBits)];
    uint32_t symbol = entry.symbol(), level_delta = entry.level_delta();
    int32_t level = entry.level();
    uint32_t last_look = entry.last_look();
    reader_.Use(entry.length());
    if (HWY_UNLIKELY(entry.length() == 0)) {
      VlcReader copy = reader_;
      const FirstCoefficient rare = TakeRareFirst(index, lookup_.levels(), &copy);
      reader_ = copy;
      symbol = rare.symbol;
      level = rare.level;
      level_delta = rare.level_delta;
      last_look = rare.last_look;
      if (!HasNoRun(symbol)) reader_.Refill();
    }
    // Either there is no run, or at least 7 bits are valid, which is enough for any run.
    const RunEntry run = RunAt((uint64_t{symbol} & 1) - 1, first_slot);
    reader_.Use(run.length);
    tables_.first->delta1 += static_cast<uint32_t>(kFirstDeltas.of[index][symbol][0]);
    tables_.first->delta2 += static_cast<uint32_t>(kFirstDeltas.of[index][symbol][1]);
    context_ = ContextAfterFirst(symbol);
    counters_.AddLevel(context_, level_delta);
    slot_ = first_slot + run.run;
    store_(slot_, level);
    const uint32_t next = NextOf(symbol);
    is_last_ = next == 0 || slot_ == kLastSlot;
    run_mask_ = uint64_t{0} - (next >> 1);
    if (is_last_ && !HasNoRun(symbol)) {
      last_look = kLastLookOfRun.of[RunKind(kLastSlot - first_slot)][run.length];
    }
    last_ = WithLastLook(last_look);
  }

  // The run at the next bits, which begins at slot `start`. `mask` is all ones, or 0 if there is no
  // run.
  HWY_INLINE RunEntry RunAt(uint64_t mask, uint32_t start) const {
    const uint64_t row = uint64_t{kLastSlot - start} << kRunLookBits;
    return kRunTables.of[(row & mask) + reader_.Peek(kRunLookBits)];
  }

  // Decodes a run (never in context 1) and a coefficient, at most 16 bits except in rare cases.
  // Returns whether another coefficient follows immediately, so that context 1 goes on.
  template <uint32_t kContext>
  HWY_INLINE bool DecodeNext(const SlotTables& tables) {
    ++count_;
    const uint32_t start = slot_ + 1;
    RunEntry run = {0, 0};
    if (kContext == 0) run = RunAt(run_mask_, start);
    slot_ = start + run.run;
    CoefficientEntry entry =
        (*tables.At(slot_))[reader_.window() << run.length >> (64 - kLookBits)];
    const uint32_t valid = reader_.count();
    reader_.RefillAside();
    // Too few bits were valid, or the look-up bits do not contain the whole coefficient.
    if (HWY_UNLIKELY(run.length + entry.length() > valid)) {
      if (kContext == 0) run = RunAt(run_mask_, start);
      slot_ = start + run.run;
      reader_.Use(run.length);
      run.length = 0;
      entry = (*tables.At(slot_))[reader_.Peek(kLookBits)];
      if (entry.length() == kTooLong) return DecodeRare(kContext);
    }
    reader_.Use(run.length, entry.length());
    counters_.Add(entry.word());
    store_(slot_, entry.level());
    last_ = entry;
    run_mask_ = entry.run_mask();
    is_last_ = entry.is_last();
    return entry.is_followed();
  }

  // Decodes a coefficient step by step; its run has been decoded.
  HWY_INLINE bool DecodeRare(uint32_t context) {
    VlcReader copy = reader_;
    const Coefficient rare =
        TakeRareCoefficient(context, lookup_.KindAt(slot_, context), lookup_.levels(), &copy);
    reader_ = copy;
    counters_.Add(rare.counters);
    store_(slot_, rare.level);
    last_ = WithLastLook(rare.last_look);
    run_mask_ = uint64_t{0} - (rare.next >> 1);
    is_last_ = rare.next == 0;
    return rare.next == 1;
  }

  static HWY_INLINE CoefficientEntry WithLastLook(uint32_t bits) {
    return CoefficientEntry(0, 0, 0, bits, 0);
  }

  const BlockTables tables_;
  const Lookup lookup_;
  VlcReader reader_;
  const Store store_;
  CounterSum counters_;
  uint32_t context_ = 0, slot_ = 0, count_ = 1;
  CoefficientEntry last_;  // knows the number of bits of the last look
  uint64_t run_mask_ = 0;  // all ones if a run comes next
  bool is_last_ = false;
};

template <class Store>
HWY_INLINE uint32_t DecodeBlock(const BlockTables& tables, uint32_t first_slot,
                                const BitSource& from, const Store& store) {
  return VlcBlockDecoder<Store>(tables, from, store).Decode(first_slot, from);
}

// Function objects that store the coefficient of a slot. (Lambdas would not be compiled for the
// instruction set.)
template <class T>
struct BlockStore {
  VlcScanEntry* scan;
  BlockTarget to;
  HWY_INLINE void operator()(uint32_t slot, int32_t level) const {
    VlcScanEntry* const entry = scan + slot;
    const auto value = static_cast<T>(static_cast<uint32_t>(level) * to.scale);
    std::memcpy(to.block + entry->y * to.step + entry->x * sizeof(T), &value, sizeof(T));
    AdaptScan(entry);
  }
};
struct LowpassStore {
  VlcScanEntry* scan;
  int32_t* levels;
  HWY_INLINE void operator()(uint32_t slot, int32_t level) const {
    VlcScanEntry* const entry = scan + slot;
    levels[entry->index] = level;
    AdaptScan(entry);
  }
};
struct JointStore {
  uint32_t first_slot;
  int32_t* levels;
  HWY_INLINE void operator()(uint32_t slot, int32_t level) const {
    levels[slot - first_slot] = level;
  }
};

template <class T>
zepStatus ZEP_CALL DecodeScanned(const uint8_t** bytes, uint32_t* accumulator, uint32_t* count,
                                 uint32_t model_bits, zepiVLCState* state, uint32_t step,
                                 uint32_t channel, T* block, zepiVLCContext* context) {
  const BitSource from = {bytes, accumulator, count};
  if (auto bad =
          CheckPointers(from, state, block)
              .Ptr(context)
              .Refuse([&] { return from.IsTooLong() || model_bits > 15; }, zepStatusOutOfRange)
              .Failed()) {
    return bad;
  }
  VlcState* const tables = Unwrap(state);
  const auto multiplier = static_cast<uint32_t>(context->multiplier);
  const uint32_t scale = (multiplier == 0 ? 1 : multiplier) << model_bits;
  const BlockTarget to = {reinterpret_cast<uint8_t*>(block), step, scale};
  context->count += DecodeBlock(TablesOf(tables, kHighpassTables, channel != 0), 1, from,
                                BlockStore<T>{CurrentScan(tables), to});
  return zepStatusOk;
}

void DecodeLowpass(VlcState* state, bool is_chroma, const BitSource& from, int32_t* levels) {
  DecodeBlock(TablesOf(state, kLowpassTables, is_chroma), 1, from,
              LowpassStore{CurrentScan(state), levels});
}

void DecodeJointLowpass(VlcState* state, uint32_t first_slot, const BitSource& from,
                        int32_t* levels) {
  DecodeBlock(TablesOf(state, kLowpassTables, true), first_slot, from,
              JointStore{first_slot, levels});
}

constexpr Kernels kKernels = {
    .decode_block_16s = DecodeScanned<int16_t>,
    .decode_block_32s = DecodeScanned<int32_t>,
    .decode_lowpass = DecodeLowpass,
    .decode_joint_lowpass = DecodeJointLowpass,
};

}  // namespace
}  // namespace zepjp::HWY_NAMESPACE
ZEP_AFTER_SCALAR_NAMESPACE();

#if HWY_ONCE
namespace zepjp {
namespace {

Kernels kernels;

ZEP_AT_LOAD void ChooseKernels() { kernels = *ZEP_CHOOSE(kKernels); }

zepStatus DecodeJoint(uint32_t first_slot, const BitSource& from, zepiVLCState* state,
                      int32_t* levels) {
  if (auto bad = CheckPointers(from, state, levels)
                     .Refuse([&] { return from.IsTooLong(); }, zepStatusOutOfRange)
                     .Failed()) {
    return bad;
  }
  int32_t decoded[kLastSlot] = {};
  kernels.decode_joint_lowpass(Unwrap(state), first_slot, from, decoded);
  std::memcpy(static_cast<void*>(levels), decoded, (kLastSlot + 1 - first_slot) * sizeof(int32_t));
  return zepStatusOk;
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiVLCDecode4x4_JPEGXR_1u16s_C1R(const uint8_t** ppSrc, uint32_t* pAcc,
                                                     uint32_t* pBitCount, uint32_t modelBits,
                                                     zepiVLCState* pState, uint32_t dstStep,
                                                     uint32_t channel, int16_t* pDst,
                                                     zepiVLCContext* pCtx) {
  return kernels.decode_block_16s(ppSrc, pAcc, pBitCount, modelBits, pState, dstStep, channel, pDst,
                                  pCtx);
}

zepStatus ZEP_CALL zepiVLCDecode4x4_JPEGXR_1u32s_C1R(const uint8_t** ppSrc, uint32_t* pAcc,
                                                     uint32_t* pBitCount, uint32_t modelBits,
                                                     zepiVLCState* pState, uint32_t dstStep,
                                                     uint32_t channel, int32_t* pDst,
                                                     zepiVLCContext* pCtx) {
  return kernels.decode_block_32s(ppSrc, pAcc, pBitCount, modelBits, pState, dstStep, channel, pDst,
                                  pCtx);
}

zepStatus ZEP_CALL zepiVLCDecodeDC420_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                   uint32_t* pBitCount, zepiVLCState* pState,
                                                   int32_t* pDst) {
  return DecodeJoint(kFirstSlotOf420, {ppSrc, pAcc, pBitCount}, pState, pDst);
}

zepStatus ZEP_CALL zepiVLCDecodeDC422_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                   uint32_t* pBitCount, zepiVLCState* pState,
                                                   int32_t* pDst) {
  return DecodeJoint(kFirstSlotOf422, {ppSrc, pAcc, pBitCount}, pState, pDst);
}

zepStatus ZEP_CALL zepiVLCDecodeDC444_JPEGXR_1u32s(const uint8_t** ppSrc, uint32_t* pAcc,
                                                   uint32_t* pBitCount, zepiVLCState* pState,
                                                   int32_t* pDst) {
  const BitSource from = {ppSrc, pAcc, pBitCount};
  if (auto bad = CheckPointers(from, pState, pDst)
                     .Refuse([&] { return from.IsTooLong(); }, zepStatusOutOfRange)
                     .Failed()) {
    return bad;
  }
  int32_t levels[16] = {};
  std::memcpy(levels, static_cast<const void*>(pDst), sizeof(int32_t));
  const bool is_chroma = levels[0] != 0;
  kernels.decode_lowpass(Unwrap(pState), is_chroma, from, levels);
  std::memcpy(static_cast<void*>(pDst + 1), levels + 1, 15 * sizeof(int32_t));
  return zepStatusOk;
}
#endif  // HWY_ONCE
