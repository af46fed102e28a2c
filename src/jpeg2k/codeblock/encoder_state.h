// SPDX-License-Identifier: MIT
// The state of the code-block encoder: the results of the passes and the memory of a block.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_ENCODER_STATE_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_ENCODER_STATE_H_

#include <cstddef>
#include <cstdint>

#include "jpeg2k/codeblock/contexts.h"
#include "jpeg2k/codeblock/stripes.h"
#include "jpeg2k/codeblock/tables.h"
#include "zepjp.h"

namespace zepjp::codeblock {

struct Pass {
  int32_t rate;    // bytes that the coder has written at the end of the pass
  int32_t length;  // bytes from which this pass and all before can be decoded
  int32_t mantissa;
  int32_t exponent;  // the pass removes mantissa * 2^exponent of the distortion
};

// The buffer of symbols is coded when it holds kSymbols or more. A word of samples adds at most 10
// symbols for each of its 16 columns (a run, its two position bits and a sign; two symbols for each
// of the three samples below), and a pass ends with at most 4 symbols of segmentation. Symbols are
// stored eight at once.
constexpr size_t kSymbols = 4096, kMaxOfWord = 16 * 10 + 8;

struct Coder {
  int32_t pass_count;
  int32_t segment_count;
  int32_t sf_bits;
  int32_t size;    // of the code
  int32_t stored;  // bytes that the caller has fetched
  Pass passes[kMaxPasses];
  Symbol symbols[kSymbols + kMaxOfWord];
  uint8_t* code;     // the byte before it is not FF
  uint64_t* planes;  // the words of each plane
  uint64_t* flags;
};

// A block to code.
struct Job {
  const uint8_t* src;
  ptrdiff_t step;
  zepiSize size;
  int subband;
  int planes;  // of its subband
  int style;
};

// An upper bound of the bytes of a coded block with a segment for each pass: 1090 for each column
// of a stripe. Above INT32_MAX the allocation is refused.
inline int64_t CodeBytes(zepiSize most) {
  const int64_t stripe = int64_t{most.width} * 1090;
  return stripe > INT32_MAX ? stripe : stripe * ((int64_t{most.height} + 3) / 4);
}
inline size_t WordCount(zepiSize size) { return Stripes(size).WordCount(); }

// The flags of the samples: words in scan order.
struct Flags {
  BorderedWords significant, negative;
  uint64_t* visited;  // coded by the significance pass of this plane
  uint64_t* refined;

  static size_t Count(const Stripes& stripes) {
    return 2 * BorderedWords::Count(stripes.stripe_count, stripes.words) + 2 * stripes.WordCount();
  }
  Flags(const Stripes& stripes, uint64_t* memory) {
    const size_t bordered = BorderedWords::Count(stripes.stripe_count, stripes.words);
    significant = {memory, stripes.words + 2};
    negative = {memory + bordered, stripes.words + 2};
    visited = memory + 2 * bordered;
    refined = visited + stripes.WordCount();
  }
};
inline size_t FlagCount(zepiSize size) { return Flags::Count(Stripes(size)); }

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_ENCODER_STATE_H_
