// SPDX-License-Identifier: MIT
// The states of the MQ coder (ISO/IEC 15444-1, annex C).
//
// The MQ coder is a binary arithmetic coder with adaptive probabilities. Each context has a state:
// one of 47 estimates Qe of the probability of the less probable symbol (LPS), and which symbol is
// the more probable one (MPS). The coder keeps an interval of size A, 0x8000 to 0xFFFF in 16 bits,
// and its lower end C:
//
//   LPS       takes the lower part of the interval: A = Qe
//   MPS       takes the upper part: C += Qe, A -= Qe
//   exchange  if A - Qe < Qe, the two symbols change places, so that the LPS has the smaller part
//   renormalisation
//             if A < 0x8000, A and C are shifted left until A >= 0x8000, and the context's state
//             advances. After every 8 shifts C has a byte to put out. The byte after an FF takes
//             only 7 bits, so that a carry into it does not propagate further.
//
// The symbols are close to random, so a branch on the symbol would be mispredicted so often that it
// took longer than all the arithmetic. Both coders compute both outcomes and select with masks.
// They branch only on runs of zeros.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_STATES_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_STATES_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "jpeg2k/codeblock/tables.h"

namespace zepjp::codeblock {

// A context's state: twice the index of the probability estimate, plus the most probable symbol.
using ContextStates = std::array<uint8_t, kContextCount>;
constexpr ContextStates InitialContexts() {
  ContextStates states{};
  states[0] = 2 * 4;
  states[kRun] = 2 * 3;
  states[kUniform] = 2 * 46;
  return states;
}

struct Estimate {
  uint16_t qe;      // of the less probable symbol
  uint8_t next[2];  // the state after an MPS with renormalisation, and after an LPS
};
constexpr size_t kStateCount = 94;

// Table C.2: estimate, next index after an MPS and after an LPS.
struct EstimateRow {
  uint16_t qe;
  uint8_t nmps;
  uint8_t nlps;
};
constexpr std::array<EstimateRow, 47> kEstimateRows = {
    {{0x5601, 1, 1},   {0x3401, 2, 6},   {0x1801, 3, 9},   {0x0AC1, 4, 12},  {0x0521, 5, 29},
     {0x0221, 38, 33}, {0x5601, 7, 6},   {0x5401, 8, 14},  {0x4801, 9, 14},  {0x3801, 10, 14},
     {0x3001, 11, 17}, {0x2401, 12, 18}, {0x1C01, 13, 20}, {0x1601, 29, 21}, {0x5601, 15, 14},
     {0x5401, 16, 14}, {0x5101, 17, 15}, {0x4801, 18, 16}, {0x3801, 19, 17}, {0x3401, 20, 18},
     {0x3001, 21, 19}, {0x2801, 22, 19}, {0x2401, 23, 20}, {0x2201, 24, 21}, {0x1C01, 25, 22},
     {0x1801, 26, 23}, {0x1601, 27, 24}, {0x1401, 28, 25}, {0x1201, 29, 26}, {0x1101, 30, 27},
     {0x0AC1, 31, 28}, {0x09C1, 32, 29}, {0x08A1, 33, 30}, {0x0521, 34, 31}, {0x0441, 35, 32},
     {0x02A1, 36, 33}, {0x0221, 37, 34}, {0x0141, 38, 35}, {0x0111, 39, 36}, {0x0085, 40, 37},
     {0x0049, 41, 38}, {0x0025, 42, 39}, {0x0015, 43, 40}, {0x0009, 44, 41}, {0x0005, 45, 42},
     {0x0001, 45, 43}, {0x5601, 46, 46}}};

constexpr std::array<Estimate, kStateCount> MakeEstimates() {
  std::array<Estimate, kStateCount> estimates{};
  for (size_t i = 0; i < kStateCount; ++i) {
    const EstimateRow& row = kEstimateRows[i / 2];
    const size_t mps = i % 2;
    const bool switches = i / 2 == 0 || i / 2 == 6 || i / 2 == 14;
    estimates[i].qe = row.qe;
    estimates[i].next[0] = static_cast<uint8_t>(2 * row.nmps + mps);
    estimates[i].next[1] = static_cast<uint8_t>(2 * row.nlps + (switches ? 1 - mps : mps));
  }
  return estimates;
}
inline constexpr std::array<Estimate, kStateCount> kEstimates = MakeEstimates();

// A state as the decoder needs it: the estimate from bit `kDecoderPoint` up; in bit 0 the most
// probable symbol; in bits 0 to 8 the place in kDecoderStates of the next state after an MPS with
// renormalisation. The place before has the next state after an LPS, and the place after has the
// next state after an MPS without renormalisation, which is the same state.
constexpr int kDecoderPoint = 48;
constexpr uint64_t kDecoderPlace = 0x1FF;
constexpr size_t DecoderPlace(size_t state) { return 4 * state + state % 2 + 2; }
using DecoderStates = std::array<uint64_t, 4 * kStateCount + 1>;
constexpr uint64_t DecoderStateOf(size_t state) {
  return DecoderPlace(state) | uint64_t{kEstimates[state].qe} << kDecoderPoint;
}
constexpr DecoderStates MakeDecoderStates() {
  DecoderStates states{};
  for (size_t i = 0; i < kStateCount; ++i) {
    const size_t place = DecoderPlace(i);
    states[place - 1] = DecoderStateOf(kEstimates[i].next[1]);
    states[place] = DecoderStateOf(kEstimates[i].next[0]);
    states[place + 1] = DecoderStateOf(i);
  }
  return states;
}
inline constexpr DecoderStates kDecoderStates = MakeDecoderStates();

// A state as the encoder needs it; the second index is the bit to code. The lowest bit of estimates
// and intervals is bit `kEncoderPoint`, so that leading zeros in 32 bits are shifts due.
constexpr int kEncoderPoint = 16;
struct EncoderState {
  uint64_t test[2];  // A + test is A - 2 Qe; above that, a sign: the bit takes the upper part
  uint64_t qe;
  uint8_t next[2];    // after renormalisation
  uint8_t change[2];  // by exclusive or
};
constexpr std::array<EncoderState, kStateCount> MakeEncoderStates() {
  std::array<EncoderState, kStateCount> states{};
  for (size_t i = 0; i < kStateCount; ++i) {
    states[i].qe = uint64_t{kEstimates[i].qe} << kEncoderPoint;
    for (size_t bit = 0; bit < 2; ++bit) {
      const uint64_t is_lps = (i ^ bit) & 1;
      states[i].test[bit] = ((1 - is_lps) << 63) - 2 * states[i].qe;
      states[i].next[bit] = kEstimates[i].next[is_lps];
      states[i].change[bit] = static_cast<uint8_t>(i ^ states[i].next[bit]);
    }
  }
  return states;
}
inline constexpr std::array<EncoderState, kStateCount> kEncoderStates = MakeEncoderStates();

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_MQ_STATES_H_
