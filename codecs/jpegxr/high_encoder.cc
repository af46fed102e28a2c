// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/high_encoder.h"

namespace zepcodec::jpegxr {

HighEncoder::HighEncoder(const PlaneHeader& header, size_t width, uint32_t trim)
    : header_(header),
      width_(width),
      trim_(trim),
      format_(header.color),
      context_(format_),
      above_(width),
      row_(width) {}

void HighEncoder::WriteBlocks(size_t component, uint32_t pattern, const int32_t* blocks,
                              zepiVLCContext* context, PacketWriter* hp, PacketWriter* refinement) {
  const uint32_t model_bits = context_.hp_bits.Of(component);
  const bool is_refined = header_.bands == Bands::kAll && model_bits > trim_;
  int32_t packed[16] = {};
  constexpr int32_t kStep = 16;
  for (size_t j = 0; j < BlockCount(component); ++j) {
    const int32_t* const block = blocks + 16 * j;
    const bool is_coded = (pattern >> j & 1) != 0;
    if (is_coded) {
      zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(
          block, static_cast<uint32_t>(kStep), component == 0 ? 0 : 1, model_bits, trim_, &hp->to,
          &hp->accumulator, &hp->count, context_.Codes(), packed, context);
    }
    if (is_refined) {
      zepiFLCEncode4x4_JPEGXR_32s1u_C1R(block, kStep, packed, &refinement->to,
                                        &refinement->accumulator, &refinement->count,
                                        model_bits - trim_, trim_, is_coded ? 1 : 0);
    }
  }
}

void HighEncoder::Encode(size_t x, size_t y, const QuantizedMacroblock& macroblock,
                         PacketWriter* hp, PacketWriter* refinement) {
  if (x == 0) above_.swap(row_);
  if (ResetsScans(x)) context_.ResetScans();
  const size_t components = header_.Components();
  Patterns& patterns = row_[x];
  for (size_t c = 0; c < components; ++c) {
    const uint32_t bits = context_.hp_bits.Of(c);
    patterns[c] = 0;
    for (size_t j = 0; j < BlockCount(c); ++j) {
      patterns[c] |= (macroblock.magnitudes[c][j] >> bits != 0 ? 1U : 0U) << j;
    }
  }
  const Patterns differences = context_.predictor.ToDifferences(
      patterns, {x > 0 ? &row_[x - 1] : nullptr, y > 0 ? &above_[x] : nullptr});
  context_.pattern.Write(differences, hp);
  zepiVLCScanSet_JPEGXR(context_.Codes(), macroblock.hp_direction == Direction::kUp
                                              ? kVerticalScan
                                              : kHorizontalScan);
  zepiVLCContext contexts[2] = {};
  for (size_t c = 0; c < components; ++c) {
    WriteBlocks(c, patterns[c], macroblock.blocks[c].data(), &contexts[c == 0 ? 0 : 1], hp,
                refinement);
  }
  context_.hp_bits.Update(contexts[0].count, contexts[1].count);
  if (AdaptsCodes(x, width_)) context_.AdaptHp();
}

}  // namespace zepcodec::jpegxr
