// SPDX-License-Identifier: MIT
// Tables of the embedded block coder (ISO/IEC 15444-1, annex D), computed at compile time from the
// standard's tables: the contexts of significance and sign by neighbourhood, the passes and
// segments by style.
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

// A symbol to code: twice its context plus the bit, or kZeroRuns plus a number of zeros in the
// run-length context.
using Symbol = uint8_t;
constexpr Symbol kZeroRuns = 0x80;

// The bits of a 3 x 3 window, column by column from the right: the sample itself is bit 4, the
// others its neighbours.
enum Neighbour : uint32_t { kNE, kE, kSE, kN, kSelf, kS, kNW, kW, kSW };

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

// The context of a sign depends on its four neighbours (tables D.2 and D.3). The index has the
// significance of E, N, S, W in bits 0, 2, 4, 6, and the sign of each in the bit above.
constexpr int SignIn(uint32_t index, int neighbour) {
  const uint32_t bits = index >> (2 * neighbour) & 3;
  return bits == 1 ? 1 : bits == 3 ? -1 : 0;
}
constexpr int Limited(int sum) { return sum > 0 ? 1 : sum < 0 ? -1 : 0; }

// The contexts of a subband, in one record, so that one register reaches all tables.
struct DecoderTables {
  ZeroContexts zero;
  std::array<uint8_t, 256> sign;
  std::array<int8_t, 256> inverted;  // -1 if the sign is coded inverted
};
constexpr DecoderTables MakeDecoderTables(int subband) {
  DecoderTables tables{};
  tables.zero = MakeZeroContexts(subband);
  for (uint32_t index = 0; index < tables.sign.size(); ++index) {
    const int v = Limited(SignIn(index, 1) + SignIn(index, 2));
    const int h = Limited(SignIn(index, 0) + SignIn(index, 3));
    tables.sign[index] = static_cast<uint8_t>(h == 0 ? (v == 0 ? 9 : 10) : 12 + h * v);
    tables.inverted[index] = h < 0 || (h == 0 && v < 0) ? -1 : 0;
  }
  return tables;
}
inline constexpr std::array<DecoderTables, 3> kDecoderTables = {
    {MakeDecoderTables(0), MakeDecoderTables(2), MakeDecoderTables(3)}};
// HL (2) and HH (3) have their own contexts; LL and LH share theirs.
inline const DecoderTables& DecoderTablesOf(int subband) {
  return kDecoderTables[subband == 2 ? 1 : subband == 3 ? 2 : 0];
}

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_TABLES_H_
