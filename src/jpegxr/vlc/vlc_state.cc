// SPDX-License-Identifier: MIT
// Initialization and adaptation of the coders' state (ITU-T T.832 | ISO/IEC 29199-2), which
// vlc_state.h describes. An adaptation moves to a neighbouring table if a counter is below -8 or
// above 8, and then resets the counters; else it clamps them to -64..64.
#include "jpegxr/vlc/vlc_state.h"

#include <climits>

#include "frame/checks.h"

namespace zepjp {
namespace {

constexpr uint8_t kAlphabets[kNumVlcTables] = {5, 4, 8,  7, 7, 12, 6, 6, 12, 6, 6,
                                               7, 7, 12, 6, 6, 12, 6, 6, 7,  7};

// The number of code tables of an alphabet, and the numbers of its first code table and of its
// first table of differences.
struct Alphabet {
  uint32_t tables, first_code, first_difference;
  bool has_two_counters;
};
constexpr Alphabet Describe(uint32_t alphabet) {
  switch (alphabet) {
    case 4: return {1, 0, 0, false};
    case 5: return {2, 1, 0, false};
    case 6: return {4, 3, 1, true};
    case 7: return {2, 7, 4, false};
    case 8: return {2, 9, 5, false};
    case 9: return {2, 11, 6, false};
    default: return {5, 13, 7, true};
  }
}

constexpr int32_t kThreshold = 8, kLimit = 64;

uint32_t Clamped(uint32_t delta) {
  const auto value = static_cast<int32_t>(delta);
  const int32_t clamped = value < -kLimit ? -kLimit : value > kLimit ? kLimit : value;
  return static_cast<uint32_t>(clamped);
}

void ChooseIndex(const Alphabet& alphabet, VlcTable* table) {
  const uint32_t last = alphabet.tables - 1;
  const auto delta =
      static_cast<int32_t>(alphabet.has_two_counters ? table->delta2 : table->delta1);
  uint32_t index = table->index;
  if (table->is_initialized == 0) {
    index = alphabet.has_two_counters ? 1 : 0;
    table->is_initialized = 1;
  } else if (static_cast<int32_t>(table->delta1) < static_cast<int32_t>(table->lower)) {
    index = index > 0 ? index - 1 : 0;
  } else if (delta > static_cast<int32_t>(table->upper)) {
    index = index < last ? index + 1 : last;
  } else {
    table->delta1 = Clamped(table->delta1);
    table->delta2 = Clamped(table->delta2);
    return;
  }
  table->index = index;
  table->delta1 = 0;
  table->delta2 = 0;
}

void Adapt(VlcTable* table) {
  const Alphabet alphabet = Describe(table->alphabet);
  ChooseIndex(alphabet, table);
  const uint32_t index = table->index, last = alphabet.tables - 1;
  table->lower = index == 0 ? uint32_t{1} << 31 : static_cast<uint32_t>(-kThreshold);
  table->upper = index == last ? 0x40000000u : static_cast<uint32_t>(kThreshold);
  table->encoding = 1 + alphabet.first_code + index;
  table->decoding = table->encoding;
  if (alphabet.has_two_counters) {
    const uint32_t below = index > 1 ? index - 1 : 0;
    const uint32_t above = index < last - 1 ? index : last - 1;
    table->difference1 = 1 + alphabet.first_difference + below;
    table->difference2 = 1 + alphabet.first_difference + above;
  } else if (alphabet.tables > 1) {
    table->difference1 = 1 + alphabet.first_difference;
  }
}

// Adapts the tables of a group. (Tables 1 to 4 are for syntax outside blocks and belong to no
// group.)
void AdaptGroup(uint32_t group, VlcState* state) {
  if (group == 0) Adapt(&state->tables[0]);
  const uint32_t begin = group == 0 ? kLowpassTables : kHighpassTables;
  for (uint32_t i = 0; i < 8; ++i) Adapt(&state->tables[begin + i]);
}

// The place of each coefficient in a block, as the photo core transform leaves it.
constexpr uint8_t kColumnOfIndex[16] = {0, 1, 0, 1, 3, 2, 3, 2, 0, 1, 0, 1, 3, 2, 3, 2};
constexpr uint8_t kRowOfIndex[16] = {0, 0, 1, 1, 0, 0, 1, 1, 3, 3, 2, 2, 3, 3, 2, 2};
constexpr uint8_t kFirstOrder[kNumScans][16] = {
    {0, 10, 2, 12, 5, 9, 4, 8, 1, 13, 6, 15, 14, 3, 11, 7},
    {0, 5, 10, 12, 1, 2, 8, 4, 6, 9, 3, 14, 13, 7, 11, 15},
    {0, 1, 4, 5, 2, 8, 6, 9, 3, 12, 10, 7, 13, 11, 14, 15},
};

constexpr uint32_t kFirstScan = 2;

void Init(VlcState* state) {
  __builtin_memset(static_cast<void*>(state), 0, sizeof(*state));
  for (uint32_t i = 0; i < kNumVlcTables; ++i) state->tables[i].alphabet = kAlphabets[i];
  AdaptGroup(0, state);
  AdaptGroup(1, state);
  for (uint32_t scan = 0; scan < kNumScans; ++scan) {
    for (uint32_t k = 0; k < 16; ++k) {
      const uint32_t index = kFirstOrder[scan][k];
      state->scans[scan][k] = {0, index, kColumnOfIndex[index], kRowOfIndex[index]};
    }
  }
  state->current_scan = kFirstScan;
}

constexpr uint32_t kFixedTotal = 32767;

void ResetTotals(VlcScanEntry* entries) {
  entries[0].total = kFixedTotal;
  for (uint32_t k = 1; k < 16; ++k) entries[k].total = 34 - 2 * k;
}

zepStatus CheckScan(const zepiVLCState* state, uint32_t scan) {
  return Checks().Ptr(state).Refuse(scan >= kNumScans, zepStatusOutOfRange).Failed();
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiVLCGetStateSize_JPEGXR(int32_t* pSize) {
  if (auto bad = Checks().Ptr(pSize).Failed()) return bad;
  *pSize = sizeof(VlcState);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiVLCInit_JPEGXR(zepiVLCState* pState) {
  if (auto bad = Checks().Ptr(pState).Failed()) return bad;
  Init(Unwrap(pState));
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiVLCAdapt_JPEGXR(zepiVLCState* pState, uint32_t group) {
  if (auto bad = Checks().Ptr(pState).Refuse(group > 1, zepStatusOutOfRange).Failed()) return bad;
  AdaptGroup(group, Unwrap(pState));
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiVLCScanReset_JPEGXR(zepiVLCState* pState, uint32_t scan) {
  if (auto bad = CheckScan(pState, scan)) return bad;
  ResetTotals(Unwrap(pState)->scans[scan]);
  return zepStatusOk;
}

zepStatus ZEP_CALL zepiVLCScanSet_JPEGXR(zepiVLCState* pState, uint32_t scan) {
  if (auto bad = CheckScan(pState, scan)) return bad;
  Unwrap(pState)->current_scan = scan;
  return zepStatusOk;
}
