// SPDX-License-Identifier: MIT
// Codes of the encoder, ready to be written: for each choice of code tables, the bits of index,
// sign and level together, their length, and the amounts that they add to the counters. Computed at
// compile time.
#ifndef ZEPJP_SRC_JPEGXR_VLC_VLC_ENCODING_TABLES_H_
#define ZEPJP_SRC_JPEGXR_VLC_VLC_ENCODING_TABLES_H_

#include "jpegxr/vlc/vlc_counters.h"

namespace zepjp {

// A level in a byte: its magnitude, limited to kFirstEscaped, plus kNegative if it is negative.
constexpr uint32_t kNegative = 20, kNumLevelBytes = 2 * kNegative;
static_assert(kNegative > kFirstEscaped, "room for all magnitudes");
constexpr bool IsEscaped(uint32_t level_byte) { return level_byte % kNegative == kFirstEscaped; }

// At most 17 bits to write, and the amounts that they add to the counters.
class EncodingEntry {
 public:
  constexpr EncodingEntry() = default;
  constexpr EncodingEntry(VlcCode code, uint64_t counters)
      : word_(code.length | code.bits << kBitsStart | counters) {}
  uint64_t word() const { return word_; }  // for CounterSum
  uint32_t length() const { return static_cast<uint32_t>(word_) & ((1u << kBitsStart) - 1); }
  uint32_t bits() const {
    return static_cast<uint32_t>(word_) >> kBitsStart & ((1u << (kFirstLane - kBitsStart)) - 1);
  }

 private:
  static constexpr uint32_t kBitsStart = 5;
  uint64_t word_ = 0;
};

// A sign and, for a magnitude above 1, the level with its extra bits; of an escape only the code.
constexpr VlcCode SignAndLevelCode(uint32_t level_byte, uint32_t level_table) {
  const VlcCode sign = {level_byte / kNegative, 1};
  const uint32_t magnitude = level_byte % kNegative;
  if (magnitude < 2) return sign;
  if (magnitude >= kFirstEscaped) return Join(sign, CodeOf(kLevelCodes[level_table][kLevelEscape]));
  const uint32_t symbol = LevelSymbol(magnitude);
  return Join(Join(sign, CodeOf(kLevelCodes[level_table][symbol])),
              {magnitude - kLevelBase[symbol], kLevelBits[symbol]});
}
constexpr uint64_t CountMagnitude(uint32_t context, uint32_t magnitude) {
  if (magnitude < 2) return 0;
  return CountLevel(context, magnitude < kFirstEscaped ? LevelSymbol(magnitude) : kLevelEscape);
}

// Index, sign and level of a coefficient after the first, indexed by `next` and the level byte.
struct CoefficientCodes {
  EncodingEntry of[3 * kNumLevelBytes];
};
constexpr CoefficientCodes MakeCoefficientCodes(uint32_t context, uint32_t kind,
                                                uint32_t level_tables) {
  CoefficientCodes codes = {};
  for (uint32_t next = 0; next < 3; ++next) {
    const uint32_t level_context = context & next;
    for (uint32_t level = 0; level < kNumLevelBytes; ++level) {
      const uint32_t magnitude = level % kNegative, symbol = 2 * next + (magnitude > 1 ? 1 : 0);
      if (symbol >= NumIndexSymbols(kind)) continue;
      const VlcCode code =
          Join(IndexCode(kind, symbol), SignAndLevelCode(level, level_tables >> level_context & 1));
      codes.of[next * kNumLevelBytes + level] = EncodingEntry(
          code,
          AddLanes(CountIndex(context, kind, symbol), CountMagnitude(level_context, magnitude)));
    }
  }
  return codes;
}
// Indexed by the level tables in use (bit c: the table of context c).
struct CodesOfKind {
  CoefficientCodes of[4];
};
template <uint32_t kContext, uint32_t kKind>
constexpr CodesOfKind MakeCodesOfKind() {
  return {{MakeCoefficientCodes(kContext, kKind, 0), MakeCoefficientCodes(kContext, kKind, 1),
           MakeCoefficientCodes(kContext, kKind, 2), MakeCoefficientCodes(kContext, kKind, 3)}};
}
// Indexed by the kind of the index, for each context.
template <uint32_t kContext>
constexpr CodesOfKind kCodesOfContext[kIndexAt15 + 1] = {
    MakeCodesOfKind<kContext, 0>(), MakeCodesOfKind<kContext, 1>(), MakeCodesOfKind<kContext, 2>(),
    MakeCodesOfKind<kContext, 3>(), MakeCodesOfKind<kContext, 4>(), MakeCodesOfKind<kContext, 5>()};

// The first coefficient, indexed by 2 * next + (1 if it has no run) and the level byte.
struct FirstCodes {
  EncodingEntry of[6 * kNumLevelBytes];
};
constexpr FirstCodes MakeFirstCodes(uint32_t table, uint32_t level_tables) {
  FirstCodes codes = {};
  for (uint32_t i = 0; i < 6; ++i) {
    for (uint32_t level = 0; level < kNumLevelBytes; ++level) {
      const uint32_t magnitude = level % kNegative;
      const uint32_t symbol = FirstSymbol(i / 2, magnitude > 1, i % 2 != 0);
      const uint32_t context = ContextAfterFirst(symbol);
      const VlcCode code = Join(CodeOf(kFirstCodes[table][symbol]),
                                SignAndLevelCode(level, level_tables >> context & 1));
      codes.of[i * kNumLevelBytes + level] =
          EncodingEntry(code, CountMagnitude(context, magnitude));
    }
  }
  return codes;
}
struct FirstCodesOfTable {
  FirstCodes of[4];  // by the level tables
};
template <uint32_t kTable>
constexpr FirstCodesOfTable MakeFirstCodesOfTable() {
  return {{MakeFirstCodes(kTable, 0), MakeFirstCodes(kTable, 1), MakeFirstCodes(kTable, 2),
           MakeFirstCodes(kTable, 3)}};
}
constexpr FirstCodesOfTable kFirstCodesToWrite[kNumFirstTables] = {
    MakeFirstCodesOfTable<0>(), MakeFirstCodesOfTable<1>(), MakeFirstCodesOfTable<2>(),
    MakeFirstCodesOfTable<3>(), MakeFirstCodesOfTable<4>()};

// Runs, indexed by the longest possible one and the run. A run of 0, and a run that can only have
// one length, takes no bits.
struct RunCode {
  uint8_t bits, length;
};
struct RunCodes {
  RunCode of[kLastSlot][16];
};
constexpr VlcCode LongRunCode(uint32_t longest, uint32_t run) {
  const uint32_t kind = RunKind(longest);
  uint32_t symbol = 4;
  while (kRunBase[kind][symbol] > run) --symbol;
  return Join(CodeOf(kRunCodes[symbol]), {run - kRunBase[kind][symbol], kRunBits[kind][symbol]});
}
constexpr RunCodes MakeRunCodes() {
  RunCodes codes = {};
  for (uint32_t longest = 2; longest < kLastSlot; ++longest) {
    for (uint32_t run = 1; run <= longest; ++run) {
      const VlcCode code =
          longest < 5 ? CodeOf(kShortRunCodes[longest - 2][run - 1]) : LongRunCode(longest, run);
      codes.of[longest][run] = {static_cast<uint8_t>(code.bits), static_cast<uint8_t>(code.length)};
    }
  }
  return codes;
}
constexpr RunCodes kRunCodesToWrite = MakeRunCodes();

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_ENCODING_TABLES_H_
