// SPDX-License-Identifier: MIT
// The changes of a block to the counters of its tables, summed in one 64-bit word. The entries of
// the look-up tables have six lanes in bits 22 to 61, one for each counter, so that one addition
// for each coefficient updates all counters.
//
// No lane overflows: a block has at most 14 indexes after its first, and each adds -2..2 to a lane
// of 7 bits (at most 28 in magnitude). It has at most 15 levels, and each adds -1..1 to a lane of 6
// bits.
#ifndef ZEPJP_SRC_JPEGXR_VLC_VLC_COUNTERS_H_
#define ZEPJP_SRC_JPEGXR_VLC_VLC_COUNTERS_H_

#include "hwy/base.h"
#include "jpegxr/vlc/vlc_codes.h"
#include "jpegxr/vlc/vlc_state.h"

namespace zepjp {

constexpr uint32_t kFirstLane = 22, kNumLanes = 6, kAllLanesBits = 40;

// The lane of each counter, by context.
constexpr uint32_t LaneOfIndex(uint32_t context, uint32_t counter) { return 2 * context + counter; }
constexpr uint32_t LaneOfLevel(uint32_t context) { return 4 + context; }
constexpr uint32_t LaneBits(uint32_t lane) { return lane < 4 ? 7 : 6; }
constexpr uint32_t LaneStart(uint32_t lane) { return lane < 4 ? 7 * lane : 28 + 6 * (lane - 4); }

// A word with `value` in one lane. Negative values borrow from the lanes above, which CounterSum
// corrects.
constexpr uint64_t InLane(uint32_t lane, int value) {
  const auto bits = static_cast<uint64_t>(static_cast<int64_t>(value)) << LaneStart(lane);
  return (bits & ((uint64_t{1} << kAllLanesBits) - 1)) << kFirstLane;
}
// The sum of two such words, without a carry beyond the lanes.
constexpr uint64_t AddLanes(uint64_t a, uint64_t b) {
  return (a + b) & (((uint64_t{1} << kAllLanesBits) - 1) << kFirstLane);
}

// Kinds of index codes: the adaptive tables, and the fixed codes of the last two slots.
constexpr uint32_t kIndexAt14 = kNumIndexTables, kIndexAt15 = kNumIndexTables + 1;

constexpr uint32_t NumIndexSymbols(uint32_t kind) {
  return kind == kIndexAt15 ? 2 : kind == kIndexAt14 ? 4 : 6;
}
constexpr VlcCode IndexCode(uint32_t kind, uint32_t symbol) {
  if (kind == kIndexAt15) return CodeOf(kCodesAt15[symbol]);
  return CodeOf(kind == kIndexAt14 ? kCodesAt14[symbol] : kIndexCodes[kind][symbol]);
}

// The amounts that an index adds to the counters; 0 at the last two slots, whose codes are fixed.
constexpr uint64_t CountIndex(uint32_t context, uint32_t kind, uint32_t symbol) {
  if (kind >= kNumIndexTables) return 0;
  return AddLanes(
      InLane(LaneOfIndex(context, 0), kIndexDifferences[PairBelow(kind)][symbol]),
      InLane(LaneOfIndex(context, 1), kIndexDifferences[PairAbove(kind, kNumIndexTables)][symbol]));
}
constexpr uint64_t CountLevel(uint32_t context, uint32_t symbol) {
  return InLane(LaneOfLevel(context), kLevelDifferences[symbol]);
}

// The amounts that a first index adds to the counters of its table.
struct FirstDeltas {
  int8_t of[kNumFirstTables][12][2];
};
constexpr FirstDeltas MakeFirstDeltas() {
  FirstDeltas deltas = {};
  for (uint32_t t = 0; t < kNumFirstTables; ++t) {
    for (uint32_t symbol = 0; symbol < 12; ++symbol) {
      deltas.of[t][symbol][0] = static_cast<int8_t>(kFirstDifferences[PairBelow(t)][symbol]);
      deltas.of[t][symbol][1] =
          static_cast<int8_t>(kFirstDifferences[PairAbove(t, kNumFirstTables)][symbol]);
    }
  }
  return deltas;
}
constexpr FirstDeltas kFirstDeltas = MakeFirstDeltas();

// Sums the lanes of entries, and adds the sums to the counters of the tables.
class CounterSum {
 public:
  void Add(uint64_t entry) { sum_ += entry >> kFirstLane; }
  void AddLevel(uint32_t context, uint32_t delta) {
    sum_ += uint64_t{delta} << LaneStart(LaneOfLevel(context));
  }

  // Adds to the tables of one context.
  template <uint32_t kContext>
  HWY_INLINE void AddTo(const BlockTables& tables) const {
    uint64_t biased = sum_;
    for (uint32_t lane = 0; lane < kNumLanes; ++lane)
      biased += uint64_t{Bias(lane)} << LaneStart(lane);
    tables.index[kContext]->delta1 += Lane(biased, LaneOfIndex(kContext, 0));
    tables.index[kContext]->delta2 += Lane(biased, LaneOfIndex(kContext, 1));
    tables.level[kContext]->delta1 += Lane(biased, LaneOfLevel(kContext));
  }

 private:
  static constexpr uint32_t Bias(uint32_t lane) { return 1u << (LaneBits(lane) - 1); }
  static uint32_t Lane(uint64_t biased, uint32_t lane) {
    return (static_cast<uint32_t>(biased >> LaneStart(lane)) & (2 * Bias(lane) - 1)) - Bias(lane);
  }

  uint64_t sum_ = 0;  // the bits above the lanes are undefined
};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_COUNTERS_H_
