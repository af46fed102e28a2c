// SPDX-License-Identifier: MIT
// The variable-length codes of JPEG XR (ITU-T T.832 | ISO/IEC 29199-2). An alphabet is named by its
// number of symbols and has a set of code tables, from which the coders choose adaptively. All
// codes are complete and at most 8 bits long. The alphabets of 4, 8 and 9 symbols belong to
// headers, which callers code themselves.
#ifndef ZEPJP_SRC_JPEGXR_VLC_VLC_CODES_H_
#define ZEPJP_SRC_JPEGXR_VLC_VLC_CODES_H_

#include <cstddef>
#include <cstdint>

namespace zepjp {

struct VlcCode {
  uint32_t bits, length;
};
constexpr VlcCode CodeOf(const char* digits) {
  VlcCode code = {0, 0};
  for (; *digits != '\0'; ++digits) {
    code.bits = code.bits << 1 | static_cast<uint32_t>(*digits == '1');
    ++code.length;
  }
  return code;
}

constexpr VlcCode Join(VlcCode a, VlcCode b) {
  return {a.bits << b.length | b.bits, a.length + b.length};
}

// Codes are listed in the order of the symbols. 5 symbols: the length of a run of zeros.
constexpr const char* kRunCodes[5] = {"1", "01", "001", "0000", "0001"};
// 6 symbols, the index of a coefficient: 2 * next + (1 if its magnitude is above 1). `next` is 0
// for the last coefficient, 1 if another one follows immediately, 2 if one follows after zeros.
constexpr const char* kIndexCodes[4][6] = {
    {"1", "00000", "001", "00001", "01", "0001"},
    {"01", "0000", "10", "0001", "11", "001"},
    {"0000", "0001", "01", "10", "11", "001"},
    {"00000", "00001", "01", "1", "0001", "001"},
};
// 7 symbols: ranges of magnitudes above 1.
constexpr const char* kLevelCodes[2][7] = {
    {"01", "10", "11", "001", "0001", "00000", "00001"},
    {"1", "01", "001", "0001", "00001", "000000", "000001"},
};
// 12 symbols, the index of the first coefficient: 4 * next + (2 if its magnitude is above 1) + (1
// if no zeros precede).
constexpr const char* kFirstCodes[5][12] = {
    {"00001", "000001", "0000000", "0000001", "00100", "010", "00101", "1", "00110", "0001",
     "00111", "011"},
    {"0010", "00010", "000000", "000001", "0011", "010", "00011", "11", "011", "100", "00001",
     "101"},
    {"11", "001", "0000000", "0000001", "00001", "010", "0000010", "011", "100", "101", "0000011",
     "0001"},
    {"001", "11", "0000000", "00001", "00010", "010", "0000001", "011", "00011", "100", "000001",
     "101"},
    {"010", "1", "0000001", "0001", "0000010", "011", "00000000", "0010", "0000011", "0011",
     "00000001", "00001"},
};

constexpr uint32_t kNumIndexTables = 4, kNumLevelTables = 2, kNumFirstTables = 5;
constexpr uint32_t FirstSymbol(uint32_t next, bool has_level, bool has_no_run) {
  return 4 * next + (has_level ? 2 : 0) + (has_no_run ? 1 : 0);
}
constexpr bool HasNoRun(uint32_t symbol) { return (symbol & 1) != 0; }
constexpr bool HasLevel(uint32_t symbol) { return (symbol & 2) != 0; }
constexpr uint32_t NextOf(uint32_t symbol) { return symbol >> 2; }
constexpr uint32_t ContextAfterFirst(uint32_t symbol) { return NextOf(symbol) & symbol & 1; }

// The number of bits by which each symbol's code is shorter in table i + 1 than in table i.
constexpr int kIndexDifferences[3][6] = {
    {-1, 1, 1, 1, 0, 1},
    {-2, 0, 0, 2, 0, 0},
    {-1, -1, 0, 1, -2, 0},
};
constexpr int kLevelDifferences[7] = {1, 0, -1, -1, -1, -1, -1};
constexpr int kFirstDifferences[4][12] = {
    {1, 1, 1, 1, 1, 0, 0, -1, 2, 1, 0, 0},
    {2, 2, -1, -1, -1, 0, -2, -1, 0, 0, -2, -1},
    {-1, 1, 0, 2, 0, 0, 0, 0, -2, 0, 1, 1},
    {0, 1, 0, 1, -2, 0, -1, -1, -2, -1, -2, -2},
};

// The row of differences that each of a table's two counters sums: the first counter compares the
// table with the one below, the second with the one above; the first and the last table use their
// only neighbour for both.
constexpr uint32_t PairBelow(uint32_t index) { return index > 1 ? index - 1 : 0; }
constexpr uint32_t PairAbove(uint32_t index, uint32_t count) {
  return index < count - 2 ? index : count - 2;
}

// Magnitudes from 2 by symbol: base + extra bits; the last symbol is an escape.
constexpr uint32_t kLevelBase[6] = {2, 3, 4, 6, 10, 14};
constexpr uint32_t kLevelBits[6] = {0, 0, 1, 2, 2, 2};
constexpr uint32_t kLevelEscape = 6, kFirstEscaped = 18;
constexpr uint32_t LevelSymbol(uint32_t magnitude) {
  uint32_t symbol = 5;
  while (kLevelBase[symbol] > magnitude) --symbol;
  return symbol;
}

// Runs by symbol: base + extra bits. The three rows are for a longest possible run of 5 or 6, of 7
// to 10, and of 11 to 14.
constexpr uint32_t kRunBase[3][5] = {{1, 2, 3, 4, 5}, {1, 2, 3, 5, 7}, {1, 2, 3, 5, 7}};
constexpr uint32_t kRunBits[3][5] = {{0, 0, 0, 0, 1}, {0, 0, 1, 1, 2}, {0, 0, 1, 1, 3}};
constexpr uint32_t RunKind(uint32_t longest) { return longest < 7 ? 0 : longest < 11 ? 1 : 2; }
// Codes of runs if the longest possible run is 2, 3 or 4.
constexpr const char* kShortRunCodes[3][4] = {
    {"1", "0"}, {"1", "01", "00"}, {"1", "01", "001", "000"}};

// The index at the last two slots has fixed codes, because no zeros can follow slot 14 and nothing
// can follow slot 15.
constexpr const char* kCodesAt14[4] = {"0", "110", "10", "111"};
constexpr const char* kCodesAt15[2] = {"0", "1"};

// The slots of a block end at 15. Blocks with fewer values, the joint ones of chroma, begin at a
// later slot.
constexpr uint32_t kLastSlot = 15, kFirstSlotOf420 = 10, kFirstSlotOf422 = 2;

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEGXR_VLC_VLC_CODES_H_
