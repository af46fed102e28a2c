// SPDX-License-Identifier: MIT
// Code-blocks of JPEG 2000, decision by decision as in the flow charts of ISO/IEC 15444-1, annexes
// C and D. Encoder and decoder share the passes and differ only in the coder of a decision.
#ifndef ZEPJP_TESTS_REFERENCE_CODEBLOCK_H_
#define ZEPJP_TESTS_REFERENCE_CODEBLOCK_H_

#include <cstdint>
#include <vector>

#include "zepjp.h"

namespace reference {

enum CodeBlockStyle : int32_t {
  kBypass = 1,
  kReset = 2,
  kTerminate = 4,
  kCausal = 8,
  kPredictable = 16,
  kSegmentationSymbols = 32
};

struct CodeBlock {
  int width;
  int height;
  std::vector<uint32_t> samples;  // sign and magnitude, rows without gaps
};

struct CodedPass {
  int32_t rate = 0;              // bytes that the coder has put out
  int32_t truncated_length = 0;  // bytes from which everything up to here can be decoded
  double distortion = 0;         // removed by this pass, in squared steps of the lowest plane
};

struct CodedBlock {
  int32_t planes = 0;  // magnitude bits, from bit 0
  std::vector<CodedPass> passes;
  std::vector<int32_t> segment_lengths;
  std::vector<uint8_t> bytes;
};

CodedBlock EncodeCodeBlock(const CodeBlock& block, int subband, int magnitude_bits, int style);

struct DecodedBlock {
  std::vector<uint32_t> samples;
  bool failed = false;
  int bit_plane = 0;  // the current one
  int passes_left = 0;
};

// Decodes as zepiDecodeCodeBlock_JPEG2K_1u32s_C1R() does, with its further flags.
DecodedBlock DecodeCodeBlock(int width, int height, const std::vector<uint8_t>& bytes,
                             const std::vector<int32_t>& segment_lengths, int subband,
                             int magnitude_bits, int passes, int flags);

}  // namespace reference

#endif  // ZEPJP_TESTS_REFERENCE_CODEBLOCK_H_
