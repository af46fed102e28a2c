// SPDX-License-Identifier: MIT
// The scans of progressive JPEG (ITU-T T.81, annex G): bands, and end-of-band runs.
//
// A scan codes the zigzag indexes Ss to Se of each block, the band, down to bit Al of the
// coefficients. When a block has no more symbols to code in its band, its band ends. Up to 32767
// blocks in a row that end this way form one end-of-band run: a symbol with the magnitude category
// of the run's length. In a refinement scan the correction bits of those blocks follow that symbol,
// so they are kept in the state until the run is written.
//
// The symbols of a scan go to a sink, which writes or counts them. Its members return false if they
// failed; the rest of the block is then skipped.
//   bool Symbol(uint32_t symbol, uint32_t extra, uint32_t count)   a symbol and `count` extra bits,
//                                                                  up to 15
//   bool Corrections(uint64_t bits, uint32_t count)                up to 63 correction bits, the
//                                                                  first one highest
//   bool NoSymbol()                                                a coefficient that no symbol can
//                                                                  express; always false
#ifndef ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_H_
#define ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_H_

#include <cstdint>
#include <cstring>

#include "hwy/base.h"
#include "zepjp.h"

namespace zepjp {

constexpr int32_t kMaxShift = 13;  // of successive approximation
constexpr uint32_t kMaxEobRun = 32767;
// A run with more corrections is written, so that those of the next block, up to 63, have room.
constexpr uint32_t kMaxCorrections = sizeof(zepiEncodeHuffmanState::correctionBits) - 63;

inline bool IsBadShift(int32_t shift) { return shift < 0 || shift > kMaxShift; }

// The band of a scan and the lowest bit that it codes: Ss, Se and Al.
struct Band {
  int32_t first, last, shift;

  bool IsBad() const { return first < 1 || last < first || last > 63 || IsBadShift(shift); }
  // A mask with a bit for each zigzag index of the band.
  uint64_t indexes() const { return ~uint64_t{0} << first & ~uint64_t{0} >> (63 - last); }
};

// The end-of-band run, and the correction bits of its blocks.
struct EobRun {
  uint32_t blocks;
  uint32_t corrections;
  uint8_t* bits;  // one byte for each correction; null if only their number is needed

  static EobRun Of(zepiEncodeHuffmanState* state) {
    EobRun run = {state->eobRun, state->numCorrectionBits, state->correctionBits};
    // Only a state that no coder has written can exceed these limits.
    if (run.blocks > kMaxEobRun) run.blocks = kMaxEobRun;
    if (run.corrections > kMaxCorrections) run.corrections = kMaxCorrections;
    return run;
  }
  void StoreTo(zepiEncodeHuffmanState* state) const {
    state->eobRun = blocks;
    state->numCorrectionBits = corrections;
  }

  HWY_INLINE void Add(uint64_t correction_bits, uint32_t count) {
    for (uint32_t i = count; bits != nullptr && i > 0; correction_bits >>= 1) {
      bits[corrections + --i] = correction_bits & 1;
    }
    corrections += count;
  }
};

// Eight bytes of 0 or 1 become eight bits, the first byte highest: the product moves byte i to bit
// 63 - i.
HWY_INLINE uint64_t BitsOfBytes(const uint8_t* bytes) {
  uint64_t value;
  std::memcpy(&value, bytes, sizeof(value));
  return (value & 0x0101010101010101U) * 0x8040201008040201U >> 56;
}

template <class Sink>
HWY_INLINE bool TellCorrections(const EobRun& run, Sink* sink) {
  if (run.bits == nullptr) return true;
  uint32_t i = 0;
  for (; i + 8 <= run.corrections; i += 8) {
    if (!sink->Corrections(BitsOfBytes(run.bits + i), 8)) return false;
  }
  for (; i < run.corrections; ++i) {
    if (!sink->Corrections(run.bits[i] & 1, 1)) return false;
  }
  return true;
}

template <class Sink>
HWY_INLINE bool EndRun(EobRun* run, Sink* sink) {
  if (run->blocks == 0) return true;
  const uint32_t size = 31 ^ static_cast<uint32_t>(__builtin_clz(run->blocks));
  if (!sink->Symbol(size << 4, run->blocks & ((1u << size) - 1), size)) return false;
  run->blocks = 0;
  if (!TellCorrections(*run, sink)) return false;
  run->corrections = 0;
  return true;
}

}  // namespace zepjp

#endif  // ZEPJP_SRC_JPEG_HUFFMAN_PROGRESSIVE_H_
