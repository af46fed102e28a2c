// SPDX-License-Identifier: MIT
// The fourteen modes of BC6H blocks, and the positions of the pieces of their fields (Khronos Data
// Format Specification, 21, tables of modes).
#ifndef ZEPJP_SRC_TEXTURE_BPTC_BC6H_MODES_H_
#define ZEPJP_SRC_TEXTURE_BPTC_BC6H_MODES_H_

namespace zepjp {

// End points 0 and 1 belong to the first region, 2 and 3 to the second.
enum Bc6hField { kR0, kG0, kB0, kR1, kG1, kB1, kR2, kG2, kB2, kR3, kG3, kB3 };

// A piece: `count` bits of a field from bit `first` upwards, or -`count` bits downwards if `count`
// is negative.
struct Bc6hRun {
  Bc6hField field;
  int first, count;
};

// The pieces follow the number of the mode, one after another; the list ends with a count of 0.
// With has_deltas, end points 1 to 3 are stored as differences from end point 0.
struct Bc6hMode {
  int number, number_bits, regions;
  bool has_deltas;
  int end_bits, other_bits[3];
  Bc6hRun runs[24];
};

// clang-format off
constexpr Bc6hMode kBc6hModes[14] = {
    {0, 2, 2, true, 10, {5, 5, 5},
     {{kG2, 4, 1}, {kB2, 4, 1}, {kB3, 4, 1}, {kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10},
      {kR1, 0, 5}, {kG3, 4, 1}, {kG2, 0, 4}, {kG1, 0, 5}, {kB3, 0, 1}, {kG3, 0, 4}, {kB1, 0, 5},
      {kB3, 1, 1}, {kB2, 0, 4}, {kR2, 0, 5}, {kB3, 2, 1}, {kR3, 0, 5}, {kB3, 3, 1}}},
    {1, 2, 2, true, 7, {6, 6, 6},
     {{kG2, 5, 1}, {kG3, 4, 1}, {kG3, 5, 1}, {kR0, 0, 7}, {kB3, 0, 1}, {kB3, 1, 1}, {kB2, 4, 1},
      {kG0, 0, 7}, {kB2, 5, 1}, {kB3, 2, 1}, {kG2, 4, 1}, {kB0, 0, 7}, {kB3, 3, 1}, {kB3, 5, 1},
      {kB3, 4, 1}, {kR1, 0, 6}, {kG2, 0, 4}, {kG1, 0, 6}, {kG3, 0, 4}, {kB1, 0, 6}, {kB2, 0, 4},
      {kR2, 0, 6}, {kR3, 0, 6}}},
    {2, 5, 2, true, 11, {5, 4, 4},
     {{kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10}, {kR1, 0, 5}, {kR0, 10, 1}, {kG2, 0, 4},
      {kG1, 0, 4}, {kG0, 10, 1}, {kB3, 0, 1}, {kG3, 0, 4}, {kB1, 0, 4}, {kB0, 10, 1}, {kB3, 1, 1},
      {kB2, 0, 4}, {kR2, 0, 5}, {kB3, 2, 1}, {kR3, 0, 5}, {kB3, 3, 1}}},
    {6, 5, 2, true, 11, {4, 5, 4},
     {{kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10}, {kR1, 0, 4}, {kR0, 10, 1}, {kG3, 4, 1},
      {kG2, 0, 4}, {kG1, 0, 5}, {kG0, 10, 1}, {kG3, 0, 4}, {kB1, 0, 4}, {kB0, 10, 1}, {kB3, 1, 1},
      {kB2, 0, 4}, {kR2, 0, 4}, {kB3, 0, 1}, {kB3, 2, 1}, {kR3, 0, 4}, {kG2, 4, 1}, {kB3, 3, 1}}},
    {10, 5, 2, true, 11, {4, 4, 5},
     {{kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10}, {kR1, 0, 4}, {kR0, 10, 1}, {kB2, 4, 1},
      {kG2, 0, 4}, {kG1, 0, 4}, {kG0, 10, 1}, {kB3, 0, 1}, {kG3, 0, 4}, {kB1, 0, 5}, {kB0, 10, 1},
      {kB2, 0, 4}, {kR2, 0, 4}, {kB3, 1, 1}, {kB3, 2, 1}, {kR3, 0, 4}, {kB3, 4, 1}, {kB3, 3, 1}}},
    {14, 5, 2, true, 9, {5, 5, 5},
     {{kR0, 0, 9}, {kB2, 4, 1}, {kG0, 0, 9}, {kG2, 4, 1}, {kB0, 0, 9}, {kB3, 4, 1}, {kR1, 0, 5},
      {kG3, 4, 1}, {kG2, 0, 4}, {kG1, 0, 5}, {kB3, 0, 1}, {kG3, 0, 4}, {kB1, 0, 5}, {kB3, 1, 1},
      {kB2, 0, 4}, {kR2, 0, 5}, {kB3, 2, 1}, {kR3, 0, 5}, {kB3, 3, 1}}},
    {18, 5, 2, true, 8, {6, 5, 5},
     {{kR0, 0, 8}, {kG3, 4, 1}, {kB2, 4, 1}, {kG0, 0, 8}, {kB3, 2, 1}, {kG2, 4, 1}, {kB0, 0, 8},
      {kB3, 3, 1}, {kB3, 4, 1}, {kR1, 0, 6}, {kG2, 0, 4}, {kG1, 0, 5}, {kB3, 0, 1}, {kG3, 0, 4},
      {kB1, 0, 5}, {kB3, 1, 1}, {kB2, 0, 4}, {kR2, 0, 6}, {kR3, 0, 6}}},
    {22, 5, 2, true, 8, {5, 6, 5},
     {{kR0, 0, 8}, {kB3, 0, 1}, {kB2, 4, 1}, {kG0, 0, 8}, {kG2, 5, 1}, {kG2, 4, 1}, {kB0, 0, 8},
      {kG3, 5, 1}, {kB3, 4, 1}, {kR1, 0, 5}, {kG3, 4, 1}, {kG2, 0, 4}, {kG1, 0, 6}, {kG3, 0, 4},
      {kB1, 0, 5}, {kB3, 1, 1}, {kB2, 0, 4}, {kR2, 0, 5}, {kB3, 2, 1}, {kR3, 0, 5}, {kB3, 3, 1}}},
    {26, 5, 2, true, 8, {5, 5, 6},
     {{kR0, 0, 8}, {kB3, 1, 1}, {kB2, 4, 1}, {kG0, 0, 8}, {kB2, 5, 1}, {kG2, 4, 1}, {kB0, 0, 8},
      {kB3, 5, 1}, {kB3, 4, 1}, {kR1, 0, 5}, {kG3, 4, 1}, {kG2, 0, 4}, {kG1, 0, 5}, {kB3, 0, 1},
      {kG3, 0, 4}, {kB1, 0, 6}, {kB2, 0, 4}, {kR2, 0, 5}, {kB3, 2, 1}, {kR3, 0, 5}, {kB3, 3, 1}}},
    {30, 5, 2, false, 6, {6, 6, 6},
     {{kR0, 0, 6}, {kG3, 4, 1}, {kB3, 0, 1}, {kB3, 1, 1}, {kB2, 4, 1}, {kG0, 0, 6}, {kG2, 5, 1},
      {kB2, 5, 1}, {kB3, 2, 1}, {kG2, 4, 1}, {kB0, 0, 6}, {kG3, 5, 1}, {kB3, 3, 1}, {kB3, 5, 1},
      {kB3, 4, 1}, {kR1, 0, 6}, {kG2, 0, 4}, {kG1, 0, 6}, {kG3, 0, 4}, {kB1, 0, 6}, {kB2, 0, 4},
      {kR2, 0, 6}, {kR3, 0, 6}}},
    {3, 5, 1, false, 10, {10, 10, 10},
     {{kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10}, {kR1, 0, 10}, {kG1, 0, 10}, {kB1, 0, 10}}},
    {7, 5, 1, true, 11, {9, 9, 9},
     {{kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10}, {kR1, 0, 9}, {kR0, 10, 1}, {kG1, 0, 9},
      {kG0, 10, 1}, {kB1, 0, 9}, {kB0, 10, 1}}},
    {11, 5, 1, true, 12, {8, 8, 8},
     {{kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10}, {kR1, 0, 8}, {kR0, 11, -2}, {kG1, 0, 8},
      {kG0, 11, -2}, {kB1, 0, 8}, {kB0, 11, -2}}},
    {15, 5, 1, true, 16, {4, 4, 4},
     {{kR0, 0, 10}, {kG0, 0, 10}, {kB0, 0, 10}, {kR1, 0, 4}, {kR0, 15, -6}, {kG1, 0, 4},
      {kG0, 15, -6}, {kB1, 0, 4}, {kB0, 15, -6}}}};
// clang-format on

// `count` bits of one end point, moved from bit `from` of the block to bit `to` of a word that has
// 16 bits for each of R, G and B.
struct Bc6hPiece {
  int from, count, to;
};
struct Bc6hPieces {
  int count;
  Bc6hPiece of[24];
};

constexpr Bc6hPieces PiecesOf(int mode, int end) {
  Bc6hPieces pieces = {};
  int from = kBc6hModes[mode].number_bits;
  for (const Bc6hRun& run : kBc6hModes[mode].runs) {
    const int channel = run.field % 3, to = 16 * channel + run.first;
    const bool is_own = run.field / 3 == end;
    if (run.count > 0 && is_own) pieces.of[pieces.count++] = {from, run.count, to};
    for (int i = 0; i < -run.count && is_own; ++i)
      pieces.of[pieces.count++] = {from + i, 1, to - i};
    from += run.count > 0 ? run.count : -run.count;
  }
  return pieces;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BPTC_BC6H_MODES_H_
