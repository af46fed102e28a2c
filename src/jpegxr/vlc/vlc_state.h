// SPDX-License-Identifier: MIT
// The state of the adaptive coders (ITU-T T.832 | ISO/IEC 29199-2): for each of 21 kinds of symbol
// the code table in use, and three scan orders.
//
// Code tables adapt to the symbols. Each kind has counters of the bits by which the neighbouring
// tables would have been shorter; when a counter passes a threshold, the next adaptation moves to
// that neighbour. Scan orders adapt to the places of nonzero coefficients: a place that has had
// more of them than the place before it is exchanged with that one.
#ifndef ZEPJP_SRC_JPEGXR_VLC_VLC_STATE_H_
#define ZEPJP_SRC_JPEGXR_VLC_VLC_STATE_H_

#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "zepjp.h"

namespace zepjp {

// A word of a state. The state may have any alignment and lie in memory of any type, hence the
// attributes.
typedef uint32_t Word __attribute__((aligned(1), may_alias));

// The choice of a code table among those of an alphabet. Tables have numbers instead of addresses,
// so that a state may be copied; 0 means no table.
struct VlcTable {
  Word alphabet;
  Word index;  // index of the code table in use
  Word is_initialized;
  Word upper, lower;    // signed: the counters' thresholds
  Word delta1, delta2;  // signed: the counters, bits that the neighbouring tables would have saved
  Word encoding;        // 1 + the number of the code table among those of all alphabets
  Word difference1, difference2;  // 1 + the number of the difference table
  Word decoding;                  // as `encoding`
  Word long_decoding;             // 0: one look-up finds every code
};

struct VlcScanEntry {
  Word total;  // number of coefficients coded at this place
  Word index, x, y;
};

constexpr uint32_t kNumVlcTables = 21, kNumScans = 3;

struct VlcState {
  Word current_scan;
  VlcTable tables[kNumVlcTables];
  VlcScanEntry scans[kNumScans][16];
};
static_assert(sizeof(VlcState) == 1780 && alignof(VlcState) == 1, "a record of the interface");

inline VlcState* Unwrap(zepiVLCState* state) { return reinterpret_cast<VlcState*>(state); }

inline VlcScanEntry* CurrentScan(VlcState* state) { return state->scans[state->current_scan]; }

// Counts a coefficient coded at `entry`, and exchanges the entry with the one before if it has
// become more frequent.
inline void AdaptScan(VlcScanEntry* entry) {
  const uint32_t total = entry->total + 1;
  entry->total = total;
  if (HWY_UNLIKELY(total > entry[-1].total)) {
    const VlcScanEntry ahead = entry[-1];
    entry[-1] = *entry;
    *entry = ahead;
  }
}

// The index of the first table of each band.
constexpr uint32_t kLowpassTables = 5, kHighpassTables = 13;

// The tables that a block of one channel uses.
struct BlockTables {
  VlcTable *first, *index[2], *level[2];  // by context
};
inline BlockTables TablesOf(VlcState* state, uint32_t band, bool is_chroma) {
  VlcTable* const first = state->tables + band + (is_chroma ? 3 : 0);
  VlcTable* const level = state->tables + band + 6;
  return {first, {first + 1, first + 2}, {level, level + 1}};
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_STATE_H_
