// SPDX-License-Identifier: MIT
// What the scans of progressive JPEG write for a block (ITU-T T.81, G.1.2), told to a sink: it counts symbols, or
// writes them.
//
// A sink has
//   bool Symbol(uint32_t symbol)              false: it cannot take it, and the rest is not told
//   bool Bits(uint32_t value, uint32_t count)
//   bool Corrections(const uint8_t* bits, uint32_t count)   a byte for each bit
//   bool NoSymbol()                           false: a coefficient that has none
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_H_

#include <cstdint>
#include <cstring>

#include "jpeg/huffman/elements.h"
#include "jpeg/huffman/magnitude.h"
#include "jpeg/zigzag.h"
#include "zepjp.h"

namespace zepjp {

constexpr int32_t kMostShift = 13;  // of successive approximation
constexpr uint32_t kMostEobRun = 32767;
// The run is written while there is room for the corrections of another block.
constexpr uint32_t kMostCorrections = sizeof(zepiEncodeHuffmanState::correctionBits) - 63;

inline bool IsBadShift(int32_t shift) { return shift < 0 || shift > kMostShift; }

// A scan's band and the lowest bit that it codes.
struct Band {
  int32_t first, last, shift;

  bool IsBad() const { return first < 1 || last < first || last > 63 || IsBadShift(shift); }
};

// The run of blocks whose bands have ended, and the corrections in these.
struct EobRun {
  uint32_t blocks;
  uint32_t corrections;
  uint8_t* bits;

  static EobRun Of(zepiEncodeHuffmanState* state) {
    EobRun run = {state->eobRun, state->numCorrectionBits, state->correctionBits};
    // A record that no coder left behind does no harm.
    if (run.blocks > kMostEobRun) run.blocks = kMostEobRun;
    if (run.corrections > kMostCorrections) run.corrections = kMostCorrections;
    return run;
  }
  void StoreTo(zepiEncodeHuffmanState* state) const {
    state->eobRun = blocks;
    state->numCorrectionBits = corrections;
  }
};

template <class Sink>
bool EndRun(EobRun* run, Sink* sink) {
  if (run->blocks == 0) return true;
  const uint32_t size = 31 ^ static_cast<uint32_t>(__builtin_clz(run->blocks));
  if (!sink->Symbol(size << 4)) return false;
  if (size > 0 && !sink->Bits(run->blocks & ((1u << size) - 1), size)) return false;
  run->blocks = 0;
  if (!sink->Corrections(run->bits, run->corrections)) return false;
  run->corrections = 0;
  return true;
}

template <class Sink>
bool TellZeroRun(uint32_t* zeros, Sink* sink) {
  for (; *zeros > 15; *zeros -= 16) {
    if (!sink->Symbol(kRunOf16)) return false;
  }
  return true;
}

inline uint32_t ShiftedMagnitude(int32_t value, int32_t shift) {
  return static_cast<uint32_t>(value < 0 ? -value : value) >> shift;
}

// The first scan of a band. -32768 has no symbol where it is not shifted.
template <class Sink>
bool TellFirst(const int16_t* block, const Band& band, EobRun* run, Sink* sink) {
  uint32_t zeros = 0;
  for (int32_t k = band.first; k <= band.last; ++k) {
    const int32_t value = LoadCoefficient(block + kNaturalOfZigzag[k]);
    const uint32_t magnitude = ShiftedMagnitude(value, band.shift);
    if (magnitude == 0) {
      ++zeros;
      continue;
    }
    if (!EndRun(run, sink) || !TellZeroRun(&zeros, sink)) return false;
    const uint32_t category = CategoryOf(magnitude);
    if (category > 15) return sink->NoSymbol();
    const uint32_t extra = (value < 0 ? ~magnitude : magnitude) & ((1u << category) - 1);
    if (!sink->Symbol(zeros << 4 | category) || !sink->Bits(extra, category)) return false;
    zeros = 0;
  }
  if (zeros > 0) ++run->blocks;
  return run->blocks < kMostEobRun || EndRun(run, sink);
}

// A scan that refines a band by a bit.
template <class Sink>
bool TellRefinement(const int16_t* block, const Band& band, EobRun* run, Sink* sink) {
  uint32_t magnitudes[64];
  int32_t last_new = 0;  // the last coefficient that becomes nonzero
  for (int32_t k = band.first; k <= band.last; ++k) {
    magnitudes[k] = ShiftedMagnitude(LoadCoefficient(block + kNaturalOfZigzag[k]), band.shift);
    if (magnitudes[k] == 1) last_new = k;
  }
  uint32_t zeros = 0, own = 0;
  uint8_t corrections[64];  // of this block
  for (int32_t k = band.first; k <= band.last; ++k) {
    if (magnitudes[k] == 0) {
      ++zeros;
      continue;
    }
    while (zeros > 15 && k <= last_new) {
      if (!EndRun(run, sink) || !sink->Symbol(kRunOf16) || !sink->Corrections(corrections, own)) {
        return false;
      }
      zeros -= 16;
      own = 0;
    }
    if (magnitudes[k] > 1) {
      corrections[own++] = magnitudes[k] & 1;
      continue;
    }
    const uint32_t is_positive = LoadCoefficient(block + kNaturalOfZigzag[k]) < 0 ? 0 : 1;
    if (!EndRun(run, sink) || !sink->Symbol(zeros << 4 | 1) || !sink->Bits(is_positive, 1) ||
        !sink->Corrections(corrections, own)) {
      return false;
    }
    zeros = own = 0;
  }
  if (zeros > 0 || own > 0) {
    ++run->blocks;
    std::memcpy(run->bits + run->corrections, corrections, own);
    run->corrections += own;
  }
  const bool is_full = run->blocks >= kMostEobRun || run->corrections > kMostCorrections;
  return !is_full || EndRun(run, sink);
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_H_
