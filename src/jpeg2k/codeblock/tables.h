// SPDX-License-Identifier: MIT
// Tables of the embedded block coder (ISO/IEC 15444-1, annexes C and D), computed at compile time
// from the standard's tables: the probability estimates of the MQ coder, the contexts of
// significance and sign by neighbourhood, the passes and segments by style.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_TABLES_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_TABLES_H_

#include <array>
#include <cstddef>
#include <cstdint>

namespace zepjp::codeblock {

// Bits of the code-block style, then flags that only the decoder has.
constexpr int32_t kBypass = 1, kReset = 2, kTerminate = 4, kCausal = 8, kPredictable = 16;
constexpr int32_t kSegmentationSymbols = 32;
constexpr int32_t kConceal = 0x10000, kKeepBlock = 0x20000, kKeepBitsBelow = 0x40000;
constexpr int32_t kKeepFlags = 0x80000;

constexpr int kMaxPlanes = 31;
constexpr int kMaxPasses = 3 * kMaxPlanes - 2;

// The passes of a block: a cleanup pass on the highest plane, then three passes on each plane.
enum PassType { kSignificance, kRefinement, kCleanup };
constexpr PassType TypeOf(int pass) { return static_cast<PassType>((pass + 2) % 3); }

// With bypass, from pass 10 on, the first two passes of a plane bypass the MQ coder.
constexpr bool IsRaw(int pass, int32_t style) {
  return (style & kBypass) != 0 && pass >= 10 && TypeOf(pass) != kCleanup;
}

// The first pass after the codeword segment that holds `pass`.
constexpr int SegmentEnd(int pass, int32_t style) {
  if ((style & kTerminate) != 0) return pass + 1;
  if ((style & kBypass) == 0) return kMaxPasses;
  if (pass < 10) return 10;
  return TypeOf(pass) == kSignificance ? pass + 2 : pass + 1;
}

// Labels of contexts: 0 to 8 significance, 9 to 13 sign, 14 to 16 refinement.
constexpr uint8_t kFirstRefinement = 14, kRun = 17, kUniform = 18;
constexpr size_t kContextCount = 19;

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

// A state and its successors packed in one word: the state itself in bits 0 to 7; the next state in
// bits 8 to 15 if no renormalisation is due (the same state), 16 to 23 after an MPS and 24 to 31
// after an LPS; the estimate from bit `point` up.
using PackedStates = std::array<uint64_t, kStateCount>;
constexpr PackedStates MakePackedStates(int point) {
  PackedStates packed{};
  for (size_t i = 0; i < kStateCount; ++i) {
    const Estimate& estimate = kEstimates[i];
    packed[i] = i | i << 8 | uint64_t{estimate.next[0]} << 16 | uint64_t{estimate.next[1]} << 24 |
                uint64_t{estimate.qe} << point;
  }
  return packed;
}
constexpr int kDecoderPoint = 48;
inline constexpr PackedStates kDecoderStates = MakePackedStates(kDecoderPoint);

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

// A symbol to code: twice its context plus the bit, or kZeroRuns plus a number of zeros in the
// run-length context.
using Symbol = uint8_t;
constexpr Symbol kZeroRuns = 0x80;

// The bits of a 3 x 3 window, row by row: the sample itself is bit 4, the others its neighbours.
enum Neighbour : uint32_t { kNW, kN, kNE, kW, kSelf, kE, kSW, kS, kSE };

// The context of significance for each window (table D.1).
using ZeroContexts = std::array<uint8_t, 512>;
constexpr int CountIn(uint32_t window, uint32_t a, uint32_t b) {
  return static_cast<int>((window >> a & 1) + (window >> b & 1));
}
constexpr int ZeroContextOf(int h, int v, int d) {
  if (h == 2) return 8;
  if (h == 1) return v >= 1 ? 7 : d >= 1 ? 6 : 5;
  if (v > 0) return v == 2 ? 4 : 3;
  return d >= 2 ? 2 : d;
}
constexpr int DiagonalContextOf(int hv, int d) {
  if (d >= 3) return 8;
  if (d == 2) return hv >= 1 ? 7 : 6;
  const int most = hv >= 2 ? 2 : hv;
  return d == 1 ? 3 + most : most;
}
constexpr ZeroContexts MakeZeroContexts(int subband) {
  ZeroContexts contexts{};
  for (uint32_t window = 0; window < contexts.size(); ++window) {
    const int h = CountIn(window, kW, kE);
    const int v = CountIn(window, kN, kS);
    const int d = CountIn(window, kNW, kNE) + CountIn(window, kSW, kSE);
    const int context = subband == 3   ? DiagonalContextOf(h + v, d)
                        : subband == 2 ? ZeroContextOf(v, h, d)
                                       : ZeroContextOf(h, v, d);
    contexts[window] = static_cast<uint8_t>(context);
  }
  return contexts;
}
inline constexpr std::array<ZeroContexts, 3> kZeroContexts = {
    {MakeZeroContexts(0), MakeZeroContexts(2), MakeZeroContexts(3)}};
// HL (2) and HH (3) have their own contexts; LL and LH share theirs.
inline const ZeroContexts& ZeroContextsOf(int subband) {
  return kZeroContexts[subband == 2 ? 1 : subband == 3 ? 2 : 0];
}

// Twice the context of a sign, plus 1 if the sign is coded inverted (tables D.2 and D.3). The index
// has the significance of the neighbours N, W, E, S in bits 1, 3, 5, 7, and the sign of each in the
// bit below.
using SignContexts = std::array<Symbol, 256>;
constexpr int SignIn(uint32_t index, int neighbour) {
  const uint32_t bits = index >> (2 * neighbour) & 3;
  return bits == 2 ? 1 : bits == 3 ? -1 : 0;
}
constexpr int Limited(int sum) { return sum > 0 ? 1 : sum < 0 ? -1 : 0; }
constexpr SignContexts MakeSignContexts() {
  SignContexts contexts{};
  for (uint32_t index = 0; index < contexts.size(); ++index) {
    const int v = Limited(SignIn(index, 0) + SignIn(index, 3));
    const int h = Limited(SignIn(index, 1) + SignIn(index, 2));
    const int context = h == 0 ? (v == 0 ? 9 : 10) : 12 + h * v;
    const bool is_inverted = h < 0 || (h == 0 && v < 0);
    contexts[index] = static_cast<Symbol>(2 * context + (is_inverted ? 1 : 0));
  }
  return contexts;
}
inline constexpr SignContexts kSignContexts = MakeSignContexts();

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_TABLES_H_
