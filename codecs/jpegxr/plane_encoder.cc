// SPDX-License-Identifier: MIT
// The reverse of plane_decoder.cc, in the same order: the coefficients of a macroblock are copied
// from their plane, quantized and predicted, then each band goes to its packet. All adaptive state
// changes exactly as in the decoder, which sees the same symbols.
#include "codecs/jpegxr/plane_encoder.h"

#include <cstring>

#include "codecs/jpegxr/wrapping.h"

namespace zepcodec::jpegxr {
namespace {

uint32_t MagnitudeOf(int32_t value) {
  const auto bits = static_cast<uint32_t>(value);
  return value < 0 ? 0 - bits : bits;
}

// The refinement bits of a value, with its sign where the level is 0, times 2; plus 1 if there is
// such a sign.
int32_t Packed(int32_t value, uint32_t bits) {
  const uint32_t magnitude = MagnitudeOf(value);
  const uint32_t low = magnitude & ((1U << bits) - 1);
  if (magnitude >> bits != 0) return static_cast<int32_t>(2 * low);
  return low == 0 ? 0 : static_cast<int32_t>(2 * (2 * low + (value < 0 ? 1 : 0)) + 1);
}

void AddPair(int32_t run, int32_t level, int32_t* pairs, uint32_t* count) {
  pairs[2 * *count] = run;
  pairs[2 * *count + 1] = level;
  ++*count;
}

// The rows of a macroblock lie far apart, so hardware prefetchers do not find the next one.
void Prefetch(Component& component, size_t x, size_t y) {
  constexpr size_t kAhead = 2;
  const size_t width = 4 * component.blocks_across;
  if ((x + kAhead + 1) * width > component.values.width()) return;
  const Window blocks = component.Macroblock(x + kAhead, y);
  for (size_t row = 0; row < blocks.height; ++row) __builtin_prefetch(blocks.Row(row));
}

}  // namespace

PlaneEncoder::PlaneEncoder(CodedPlane* plane, const TileArea& area, uint32_t trim)
    : plane_(plane),
      area_(area),
      trim_(trim),
      format_(plane->header.color),
      context_(format_),
      above_(area.Width()),
      row_(area.Width()) {
  const PlaneHeader& header = plane->header;
  const auto make = [&](uint8_t index, Band band, size_t c) {
    return Quantizer(QuantizerStep(index, header.is_scaled, band, c), band);
  };
  for (size_t c = 0; c < 3; ++c) {
    dc_quantizers_[c] = make(header.dc[c], Band::kDc, c);
    lp_quantizers_[c] = make(header.lp[c], Band::kLp, c);
    hp_quantizers_[c] = make(header.hp[c], Band::kHp, c);
  }
}

void PlaneEncoder::QuantizeLow(size_t x, size_t y) {
  for (size_t c = 0; c < plane_->header.Components(); ++c) {
    const Window dcs = plane_->components[c].MacroblockDcs(area_.x0 + x, area_.y0 + y);
    auto& low = current_->low[c];
    low.fill(0);
    for (size_t f = 0; f < dcs.width * dcs.height; ++f) {
      const size_t row = dcs.width == 4 ? kRowOfFrequency[f] : f / 2;
      const size_t column = dcs.width == 4 ? kColumnOfFrequency[f] : f % 2;
      low[f] = dcs.Row(row)[column];
    }
    const int32_t dc = low[0];
    lp_quantizers_[c].ApplyAll(16, low.data());
    low[0] = dc_quantizers_[c].Apply(dc);
  }
}

void PlaneEncoder::WriteDc(const LowBands& low, PacketWriter* writer) {
  Counts counts;
  const size_t components = plane_->header.Components();
  uint32_t high_parts = 0;
  for (size_t c = 0; c < components; ++c) {
    const bool has_high = MagnitudeOf(low[c][0]) >> context_.dc_bits.Of(c) != 0;
    high_parts = high_parts << 1 | (has_high ? 1 : 0);
  }
  if (components == 1) {
    writer->Put(high_parts, 1);
  } else {
    kDcComponentsCode.Write(high_parts, writer);
  }
  for (size_t c = 0; c < components; ++c) {
    const uint32_t bits = context_.dc_bits.Of(c);
    const uint32_t magnitude = MagnitudeOf(low[c][0]);
    if (magnitude >> bits != 0) {
      WriteLevel((magnitude >> bits) + 1, context_.DcLevel(c), writer);
      ++*counts.Of(c);
    }
    writer->Put(magnitude & ((1U << bits) - 1), bits);
    if (magnitude != 0) writer->Put(low[c][0] < 0 ? 1 : 0, 1);
  }
  context_.dc_bits.Update(counts.luma, counts.chroma);
}

// Levels and refinement bits of U and V, which alternate.
void PlaneEncoder::ScanSubsampledLp(const LowBands& low) {
  const bool is_422 = format_ == ColorFormat::k422;
  const size_t count = is_422 ? 7 : 3;
  const uint8_t* const order = is_422 ? kLp422 : kLp420;
  const uint32_t bits = context_.lp_bits.chroma();
  LpBlock& block = lp_blocks_[1];
  block.count = 0;
  int32_t run = 0;
  for (size_t i = 0; i < 2 * count; ++i) {
    const int32_t value = low[1 + i % 2][order[i / 2]];
    const auto level = static_cast<int32_t>(MagnitudeOf(value) >> bits);
    if (level == 0) {
      ++run;
      continue;
    }
    AddPair(run, value < 0 ? -level : level, block.pairs, &block.count);
    run = 0;
  }
  for (size_t c = 1; c < 3; ++c) {
    for (size_t f = 1; f <= count; ++f) lp_blocks_[c].packed[f] = Packed(low[c][f], bits);
  }
}

void PlaneEncoder::WriteLpRefinement(const int32_t* packed, uint32_t bits, PacketWriter* writer) {
  const auto value = static_cast<uint32_t>(*packed);
  writer->Put(value >> 1, bits + (value & 1));
}

void PlaneEncoder::WriteSubsampledLp(PacketWriter* writer) {
  const bool is_422 = format_ == ColorFormat::k422;
  const LpBlock& block = lp_blocks_[1];
  const auto encode = is_422 ? zepiVLCEncodeDC422_JPEGXR_32s1u : zepiVLCEncodeDC420_JPEGXR_32s1u;
  encode(block.pairs, block.count, &writer->to, &writer->accumulator, &writer->count,
         context_.Codes());
  const uint32_t bits = context_.lp_bits.chroma();
  if (bits == 0) return;
  const size_t count = is_422 ? 7 : 3;
  for (size_t f = 1; f <= count; ++f) {
    for (size_t c = 1; c < 3; ++c) WriteLpRefinement(&lp_blocks_[c].packed[f], bits, writer);
  }
}

void PlaneEncoder::WriteLp(const LowBands& low, PacketWriter* writer) {
  Counts counts;
  zepiVLCScanSet_JPEGXR(context_.Codes(), kLpScan);
  const bool is_small = IsSubsampled(format_);
  const size_t blocks = is_small ? 1 : plane_->header.Components();
  uint32_t pattern = 0;
  for (size_t c = 0; c < blocks; ++c) {
    LpBlock& block = lp_blocks_[c];
    zepiVLCScan4x4DC_JPEGXR_32s(low[c].data(), context_.lp_bits.Of(c), context_.Codes(),
                                block.pairs, &block.count, block.packed);
    pattern |= (block.count > 0 ? 1U : 0U) << c;
    *counts.Of(c) += block.count;
  }
  if (is_small) {
    ScanSubsampledLp(low);
    pattern |= lp_blocks_[1].count > 0 ? 2 : 0;
    counts.chroma += lp_blocks_[1].count;
  }
  context_.lp_pattern.Write(pattern, writer);
  for (size_t c = 0; c < blocks; ++c) {
    const LpBlock& block = lp_blocks_[c];
    zepiVLCEncodeDC444_JPEGXR_32s1u(block.pairs, block.count, c == 0 ? 0 : 1, &writer->to,
                                    &writer->accumulator, &writer->count, context_.Codes());
    const uint32_t bits = context_.lp_bits.Of(c);
    if (bits == 0) continue;
    // Low-pass values are refined in order of frequency, like blocks.
    int32_t packed[16];
    for (size_t f = 0; f < 16; ++f) {
      packed[4 * kRowOfFrequency[f] + kColumnOfFrequency[f]] = block.packed[f];
    }
    zepiFLCEncode4x4_JPEGXR_32s1u_C1R(packed, 16, packed, &writer->to, &writer->accumulator,
                                      &writer->count, bits, 0, 1);
  }
  if (is_small) WriteSubsampledLp(writer);
  context_.lp_bits.Update(counts.luma, counts.chroma);
}

// Copies, quantizes and predicts the blocks of a component, and finds those with significant
// coefficients.
void PlaneEncoder::QuantizeHp(size_t component, Direction direction, const Window& values) {
  const size_t across = values.width / 4;
  const size_t count = BlockCount(component);
  int32_t* const blocks = blocks_[component].data();
  for (size_t j = 0; j < count; ++j) {
    const size_t column = across == 4 ? ColumnOfBlock(j) : j % 2;
    const size_t row = across == 4 ? RowOfBlock(j) : j / 2;
    const int32_t* const from = values.Row(4 * row) + 4 * column;
    for (size_t r = 0; r < 4; ++r)
      std::memcpy(blocks + 16 * j + 4 * r, from + r * values.stride, 16);
  }
  hp_quantizers_[component].ApplyAll(16 * count, blocks);
  if (direction != Direction::kNone) SubtractHp(component, direction);
  const uint32_t bits = context_.hp_bits.Of(component);
  uint32_t pattern = 0;
  for (size_t j = 0; j < count; ++j) {
    pattern |= (BlockMagnitudes(blocks + 16 * j) >> bits != 0 ? 1U : 0U) << j;
  }
  current_->patterns[component] = pattern;
}

// From the last block to the first, because a block is predicted from the unchanged values of an
// earlier one.
void PlaneEncoder::SubtractHp(size_t component, Direction direction) {
  const size_t across = plane_->components[component].blocks_across;
  const bool is_up = direction == Direction::kUp;
  constexpr size_t kDown[3] = {4, 8, 12}, kAcross[3] = {1, 2, 3};
  for (size_t j = BlockCount(component); j-- > 0;) {
    const size_t column = across == 4 ? ColumnOfBlock(j) : j % 2;
    const size_t row = across == 4 ? RowOfBlock(j) : j / 2;
    if ((is_up ? row : column) == 0) continue;
    const size_t other_row = is_up ? row - 1 : row;
    const size_t other_column = is_up ? column : column - 1;
    const size_t other =
        across == 4 ? BlockAt(other_row, other_column) : 2 * other_row + other_column;
    for (const size_t f : is_up ? kDown : kAcross) {
      const size_t place = 4u * kRowOfFrequency[f] + kColumnOfFrequency[f];
      int32_t& value = blocks_[component][16 * j + place];
      value = WrapSub(value, blocks_[component][16 * other + place]);
    }
  }
}

void PlaneEncoder::WriteBlocks(size_t component, zepiVLCContext* context,
                               const BandWriters& writers) {
  const uint32_t model_bits = context_.hp_bits.Of(component);
  const bool is_refined = plane_->header.bands == Bands::kAll && model_bits > trim_;
  const uint32_t pattern = current_->patterns[component];
  PacketWriter& writer = *writers.hp;
  PacketWriter& refinement = *writers.refinement;
  int32_t packed[16] = {};
  constexpr int32_t kStep = 16;
  for (size_t j = 0; j < BlockCount(component); ++j) {
    const int32_t* const block = &blocks_[component][16 * j];
    const bool is_coded = (pattern >> j & 1) != 0;
    if (is_coded) {
      zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(
          block, static_cast<uint32_t>(kStep), component == 0 ? 0 : 1, model_bits, trim_,
          &writer.to, &writer.accumulator, &writer.count, context_.Codes(), packed, context);
    }
    if (is_refined) {
      zepiFLCEncode4x4_JPEGXR_32s1u_C1R(block, kStep, packed, &refinement.to,
                                        &refinement.accumulator, &refinement.count,
                                        model_bits - trim_, trim_, is_coded ? 1 : 0);
    }
  }
}

void PlaneEncoder::WriteHp(size_t x, size_t y, const BandWriters& writers) {
  const Direction direction = HpDirection(format_, current_->low);
  const size_t components = plane_->header.Components();
  for (size_t c = 0; c < components; ++c) {
    QuantizeHp(c, direction, plane_->components[c].Macroblock(area_.x0 + x, area_.y0 + y));
  }
  const Neighbour* const left = x > 0 ? current_ - 1 : nullptr;
  const Neighbour* const up = y > 0 ? &above_[x] : nullptr;
  context_.pattern.Write(context_.predictor.ToDifferences(
                             current_->patterns, {left == nullptr ? nullptr : &left->patterns,
                                                  up == nullptr ? nullptr : &up->patterns}),
                         writers.hp);
  zepiVLCScanSet_JPEGXR(context_.Codes(),
                        direction == Direction::kUp ? kVerticalScan : kHorizontalScan);
  zepiVLCContext contexts[2] = {};
  for (size_t c = 0; c < components; ++c) WriteBlocks(c, &contexts[c == 0 ? 0 : 1], writers);
  context_.hp_bits.Update(contexts[0].count, contexts[1].count);
}

void PlaneEncoder::EncodeMacroblock(size_t x, size_t y, const BandWriters& writers) {
  const PlaneHeader& header = plane_->header;
  if (x == 0) above_.swap(row_);
  current_ = &row_[x];
  if (ResetsScans(x)) context_.ResetScans();
  for (size_t c = 0; c < header.Components() && header.HasHp(); ++c) {
    Prefetch(plane_->components[c], area_.x0 + x, area_.y0 + y);
  }
  QuantizeLow(x, y);
  const Neighbours neighbours = {x > 0 ? current_ - 1 : nullptr, y > 0 ? &above_[x] : nullptr,
                                 x > 0 && y > 0 ? &above_[x - 1] : nullptr};
  const Direction dc = DcDirection(format_, neighbours);
  LowBands predicted = current_->low;
  SubtractPrediction(format_, dc, LpDirection(dc, neighbours, 0), neighbours, &predicted);
  WriteDc(predicted, writers.dc);
  if (header.HasLp()) WriteLp(predicted, writers.lp);
  if (AdaptsCodes(x, area_.Width())) {
    context_.AdaptDc();
    if (header.HasLp()) context_.AdaptLp();
  }
  if (!header.HasHp()) return;
  WriteHp(x, y, writers);
  if (AdaptsCodes(x, area_.Width())) context_.AdaptHp();
}

}  // namespace zepcodec::jpegxr
