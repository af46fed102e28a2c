// SPDX-License-Identifier: MIT
// Look-up tables of the decoder, all indexed by the next bits of the stream and computed at compile
// time.
//
// A coefficient is an index, a sign and, for a magnitude above 1, a level. One table entry holds
// all three, the sum of their lengths, and the amounts that they add to the counters; there is a
// table for each choice of index table and level tables. So one look-up decodes a coefficient. A
// coefficient of more than kLookBits bits is decoded step by step with the smaller tables.
#ifndef ZEPJP_SRC_JPEGXR_VLC_VLC_DECODING_TABLES_H_
#define ZEPJP_SRC_JPEGXR_VLC_VLC_DECODING_TABLES_H_

#include "jpegxr/vlc/vlc_counters.h"

namespace zepjp {

// Entries begin with the number of bits that they decode, or 0 if the look-up bits do not contain
// all of them. It has 6 bits: a shift instruction uses the low 6 bits of its count.
constexpr uint32_t kLengthBits = 6;
template <class Entry>
constexpr uint32_t LengthOf(Entry entry) {
  return static_cast<uint32_t>(entry) & ((1u << kLengthBits) - 1);
}

// Stores `entry` at all indices of `bits` bits that begin with the code.
template <class Entry, size_t kSize>
constexpr void FillCode(VlcCode code, uint32_t bits, Entry entry, Entry (&table)[kSize]) {
  const uint32_t free_bits = bits - code.length;
  for (uint32_t i = 0; i < 1u << free_bits; ++i) table[code.bits << free_bits | i] = entry;
}
constexpr uint32_t kFirstLookBits = 8;

// The first index without sign and level: its symbol and the length of its code.
struct FirstSymbols {
  uint8_t of[kNumFirstTables][1 << kFirstLookBits];
};
constexpr FirstSymbols MakeFirstSymbols() {
  FirstSymbols symbols = {};
  for (uint32_t t = 0; t < kNumFirstTables; ++t) {
    for (uint32_t symbol = 0; symbol < 12; ++symbol) {
      const VlcCode code = CodeOf(kFirstCodes[t][symbol]);
      FillCode(code, kFirstLookBits, static_cast<uint8_t>(code.length << 4 | symbol),
               symbols.of[t]);
    }
  }
  return symbols;
}
constexpr FirstSymbols kFirstSymbols = MakeFirstSymbols();

// A magnitude above 1 with its extra bits; the length of an escape is 0.
class LevelEntry {
 public:
  constexpr LevelEntry() = default;
  constexpr LevelEntry(uint32_t length, uint32_t magnitude, uint32_t last_look, int delta)
      : word_(length | magnitude << 6 | last_look << 11 | static_cast<uint32_t>(delta) << 16) {}
  uint32_t length() const { return LengthOf(word_); }
  uint32_t magnitude() const { return word_ >> 6 & 31; }
  uint32_t last_look() const { return word_ >> 11 & 31; }
  uint32_t delta() const { return static_cast<uint32_t>(static_cast<int32_t>(word_) >> 16); }

 private:
  uint32_t word_ = 0;
};

constexpr uint32_t kLevelLookBits = 8;
struct LevelTables {
  LevelEntry of[kNumLevelTables][1 << kLevelLookBits];
};
constexpr LevelTables MakeLevelTables() {
  LevelTables tables = {};
  for (uint32_t t = 0; t < kNumLevelTables; ++t) {
    for (uint32_t symbol = 0; symbol < kLevelEscape; ++symbol) {
      const VlcCode code = CodeOf(kLevelCodes[t][symbol]);
      const uint32_t extra_bits = kLevelBits[symbol];
      for (uint32_t extra = 0; extra < 1u << extra_bits; ++extra) {
        const VlcCode whole = Join(code, {extra, extra_bits});
        const LevelEntry entry(whole.length, kLevelBase[symbol] + extra,
                               extra_bits > 0 ? extra_bits : code.length,
                               kLevelDifferences[symbol]);
        FillCode(whole, kLevelLookBits, entry, tables.of[t]);
      }
    }
  }
  return tables;
}
constexpr LevelTables kLevelTables = MakeLevelTables();

// A run, given the longest possible one; a longer run in a damaged stream is cut to that. A run
// that can only have one length takes no bits.
struct RunEntry {
  uint8_t length, run;
};

constexpr uint32_t kRunLookBits = 7;
// The entries for a longest possible run begin at (longest << kRunLookBits).
struct RunTables {
  RunEntry of[kLastSlot << kRunLookBits];
};
constexpr void FillRun(VlcCode code, uint32_t run, RunEntry* table) {
  const uint32_t free_bits = kRunLookBits - code.length;
  for (uint32_t i = 0; i < 1u << free_bits; ++i) {
    table[code.bits << free_bits | i] = {static_cast<uint8_t>(code.length),
                                         static_cast<uint8_t>(run)};
  }
}
constexpr void FillShortRuns(uint32_t longest, RunEntry* table) {
  for (uint32_t run = 1; run <= longest; ++run) {
    const VlcCode code = longest > 1 ? CodeOf(kShortRunCodes[longest - 2][run - 1]) : VlcCode{0, 0};
    FillRun(code, run, table);
  }
}
constexpr void FillLongRuns(uint32_t longest, RunEntry* table) {
  const uint32_t kind = RunKind(longest);
  for (uint32_t symbol = 0; symbol < 5; ++symbol) {
    const VlcCode code = CodeOf(kRunCodes[symbol]);
    const uint32_t extra_bits = kRunBits[kind][symbol];
    for (uint32_t extra = 0; extra < 1u << extra_bits; ++extra) {
      const VlcCode whole = Join(code, {extra, extra_bits});
      const uint32_t run = kRunBase[kind][symbol] + extra;
      FillRun(whole, run < longest ? run : longest, table);
    }
  }
}
constexpr RunTables MakeRunTables() {
  RunTables tables = {};
  for (uint32_t longest = 1; longest < kLastSlot; ++longest) {
    if (longest < 5) {
      FillShortRuns(longest, tables.of + (longest << kRunLookBits));
    } else {
      FillLongRuns(longest, tables.of + (longest << kRunLookBits));
    }
  }
  return tables;
}
constexpr RunTables kRunTables = MakeRunTables();

// The number of bits that the last look of a step-by-step reader takes for a long run, by the kind
// of the run and the length of its code: the extra bits, or the whole code if it has none.
struct LastLooks {
  uint8_t of[3][1 + kRunLookBits];
};
constexpr LastLooks MakeLastLooks() {
  LastLooks looks = {};
  for (uint32_t kind = 0; kind < 3; ++kind) {
    for (uint32_t symbol = 0; symbol < 5; ++symbol) {
      const uint32_t code = CodeOf(kRunCodes[symbol]).length, extra = kRunBits[kind][symbol];
      looks.of[kind][code + extra] = static_cast<uint8_t>(extra > 0 ? extra : code);
    }
  }
  return looks;
}
constexpr LastLooks kLastLookOfRun = MakeLastLooks();

// A coefficient after the first: its index, its sign and, for a magnitude above 1, its level. If it
// has more than kLookBits bits, the length is kTooLong.
constexpr uint32_t kTooLong = (1u << kLengthBits) - 1;
class CoefficientEntry {
 public:
  constexpr CoefficientEntry() = default;
  constexpr CoefficientEntry(uint32_t length, uint32_t next, int level, uint32_t last_look,
                             uint64_t counters)
      : word_(length | (next == 0 ? kIsLast : 0) | (next == 1 ? kIsFollowed : 0) |
              (static_cast<uint32_t>(level) & 255) << 8 | last_look << 16 | counters |
              (next == 2 ? kHasRun : 0)) {}
  uint64_t word() const { return word_; }  // for CounterSum
  uint32_t length() const { return LengthOf(word_); }
  bool is_last() const { return (word_ & kIsLast) != 0; }
  bool is_followed() const { return (word_ & kIsFollowed) != 0; }  // immediately
  // All ones if a run follows, else 0.
  uint64_t run_mask() const { return static_cast<uint64_t>(static_cast<int64_t>(word_) >> 63); }
  int32_t level() const { return static_cast<int8_t>(word_ >> 8); }
  uint32_t last_look() const { return static_cast<uint32_t>(word_) >> 16 & 31; }

 private:
  static constexpr uint64_t kIsLast = 1u << 6, kIsFollowed = 1u << 7, kHasRun = uint64_t{1} << 63;
  uint64_t word_ = 0;
};

constexpr uint32_t kLookBits = 9;
using CoefficientTable = CoefficientEntry[1 << kLookBits];

// The part that all entries of an index share.
struct IndexOf {
  uint32_t next;
  uint64_t counters;
};

constexpr void FillCoefficient(VlcCode code, int level, uint32_t last_look, const IndexOf& index,
                               CoefficientTable& table) {
  if (code.length > kLookBits) return;
  FillCode(code, kLookBits,
           CoefficientEntry(code.length, index.next, level, last_look, index.counters), table);
}

// `start` is the code of the index and the sign.
constexpr void FillLevels(VlcCode start, uint32_t level_context, uint32_t level_table,
                          IndexOf index, CoefficientTable& table) {
  const uint64_t counters = index.counters;
  for (uint32_t symbol = 0; symbol < kLevelEscape; ++symbol) {
    const VlcCode code = Join(start, CodeOf(kLevelCodes[level_table][symbol]));
    const uint32_t extra_bits = kLevelBits[symbol];
    index.counters = AddLanes(counters, CountLevel(level_context, symbol));
    for (uint32_t extra = 0; extra < 1u << extra_bits; ++extra) {
      const int magnitude = static_cast<int>(kLevelBase[symbol] + extra);
      FillCoefficient(Join(code, {extra, extra_bits}), start.bits % 2 != 0 ? -magnitude : magnitude,
                      extra_bits > 0 ? extra_bits : code.length - start.length, index, table);
    }
  }
}

// Bit c of `level_tables` is the level table of context c.
constexpr void FillCoefficients(uint32_t context, uint32_t kind, uint32_t level_tables,
                                CoefficientTable& table) {
  for (CoefficientEntry& entry : table) entry = CoefficientEntry(kTooLong, 0, 0, 0, 0);
  for (uint32_t symbol = 0; symbol < NumIndexSymbols(kind); ++symbol) {
    const uint32_t next = symbol >> 1, level_context = context & next;
    const IndexOf index = {next, CountIndex(context, kind, symbol)};
    for (uint32_t sign = 0; sign < 2; ++sign) {
      const VlcCode start = Join(IndexCode(kind, symbol), {sign, 1});
      if (symbol % 2 != 0) {
        FillLevels(start, level_context, level_tables >> level_context & 1, index, table);
      } else {
        FillCoefficient(start, sign != 0 ? -1 : 1, 1, index, table);
      }
    }
  }
}

// An index and its sign, without a level.
class IndexEntry {
 public:
  constexpr IndexEntry() = default;
  constexpr IndexEntry(uint32_t length, uint32_t symbol, uint32_t sign)
      : word_(static_cast<uint16_t>(length | symbol << 6 | sign << 9)) {}
  uint32_t length() const { return LengthOf(word_); }
  uint32_t symbol() const { return word_ >> 6 & 7u; }
  uint32_t sign() const { return word_ >> 9; }

 private:
  uint16_t word_ = 0;
};
constexpr uint32_t kIndexLookBits = 6;
struct IndexTables {
  IndexEntry of[6][1 << kIndexLookBits];
};
constexpr IndexTables MakeIndexTables() {
  IndexTables tables = {};
  for (uint32_t kind = 0; kind < 6; ++kind) {
    for (uint32_t i = 0; i < 2 * NumIndexSymbols(kind); ++i) {
      const VlcCode code = Join(IndexCode(kind, i / 2), {i % 2, 1});
      FillCode(code, kIndexLookBits, IndexEntry(code.length, i / 2, i % 2), tables.of[kind]);
    }
  }
  return tables;
}
constexpr IndexTables kIndexTables = MakeIndexTables();

// Indexed by the level tables in use (bit c: the table of context c).
struct CoefficientTables {
  CoefficientTable of[4];
};
template <uint32_t kContext, uint32_t kKind>
constexpr CoefficientTables MakeCoefficientTables() {
  CoefficientTables tables = {};
  for (uint32_t levels = 0; levels < 4; ++levels) {
    FillCoefficients(kContext, kKind, levels, tables.of[levels]);
  }
  return tables;
}

// Indexed by the kind of the index, for each context.
template <uint32_t kContext>
constexpr CoefficientTables kTablesOfContext[kIndexAt15 + 1] = {
    MakeCoefficientTables<kContext, 0>(), MakeCoefficientTables<kContext, 1>(),
    MakeCoefficientTables<kContext, 2>(), MakeCoefficientTables<kContext, 3>(),
    MakeCoefficientTables<kContext, 4>(), MakeCoefficientTables<kContext, 5>()};

// The first coefficient: its index, sign and level.
class FirstEntry {
 public:
  constexpr FirstEntry() = default;
  constexpr FirstEntry(uint32_t length, uint32_t symbol, int level, uint32_t last_look,
                       int level_delta)
      : word_(length | (static_cast<uint32_t>(level) & 255) << 8 | symbol << 16 | last_look << 20 |
              static_cast<uint32_t>(level_delta) << 30) {}
  uint32_t length() const { return LengthOf(word_); }
  int32_t level() const { return static_cast<int8_t>(word_ >> 8); }
  uint32_t symbol() const { return word_ >> 16 & 15; }
  uint32_t last_look() const { return word_ >> 20 & 7; }
  uint32_t level_delta() const { return static_cast<uint32_t>(static_cast<int32_t>(word_) >> 30); }

 private:
  uint32_t word_ = 0;
};

using FirstTable = FirstEntry[1 << kLookBits];

constexpr void FillFirst(VlcCode code, uint32_t symbol, int level, uint32_t last_look,
                         int level_delta, FirstTable& table) {
  if (code.length > kLookBits) return;
  FillCode(code, kLookBits, FirstEntry(code.length, symbol, level, last_look, level_delta), table);
}

struct FirstTables {
  FirstTable of[4];  // by the level tables
};
constexpr void FillFirstLevels(VlcCode start, uint32_t symbol, uint32_t level_table,
                               FirstTable& table) {
  for (uint32_t s = 0; s < kLevelEscape; ++s) {
    const VlcCode code = Join(start, CodeOf(kLevelCodes[level_table][s]));
    const uint32_t extra_bits = kLevelBits[s];
    for (uint32_t extra = 0; extra < 1u << extra_bits; ++extra) {
      const int magnitude = static_cast<int>(kLevelBase[s] + extra);
      FillFirst(
          Join(code, {extra, extra_bits}), symbol, start.bits % 2 != 0 ? -magnitude : magnitude,
          extra_bits > 0 ? extra_bits : code.length - start.length, kLevelDifferences[s], table);
    }
  }
}
template <uint32_t kTable>
constexpr FirstTables MakeFirstTables() {
  FirstTables tables = {};
  for (uint32_t levels = 0; levels < 4; ++levels) {
    for (uint32_t symbol = 0; symbol < 12; ++symbol) {
      for (uint32_t sign = 0; sign < 2; ++sign) {
        const VlcCode start = Join(CodeOf(kFirstCodes[kTable][symbol]), {sign, 1});
        if (HasLevel(symbol)) {
          FillFirstLevels(start, symbol, levels >> ContextAfterFirst(symbol) & 1,
                          tables.of[levels]);
        } else {
          FillFirst(start, symbol, sign != 0 ? -1 : 1, 1, 0, tables.of[levels]);
        }
      }
    }
  }
  return tables;
}
constexpr FirstTables kFirstTables[kNumFirstTables] = {MakeFirstTables<0>(), MakeFirstTables<1>(),
                                                       MakeFirstTables<2>(), MakeFirstTables<3>(),
                                                       MakeFirstTables<4>()};

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_DECODING_TABLES_H_
