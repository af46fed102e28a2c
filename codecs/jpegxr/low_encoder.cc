// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/low_encoder.h"

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

}  // namespace

LowEncoder::LowEncoder(const PlaneHeader& header, size_t width)
    : header_(header), width_(width), format_(header.color), context_(format_) {}

void LowEncoder::WriteDc(const LowBands& low, PacketWriter* writer) {
  Counts counts;
  const size_t components = header_.Components();
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
void LowEncoder::ScanSubsampledLp(const LowBands& low) {
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

void LowEncoder::WriteLpRefinement(const int32_t* packed, uint32_t bits, PacketWriter* writer) {
  const auto value = static_cast<uint32_t>(*packed);
  writer->Put(value >> 1, bits + (value & 1));
}

void LowEncoder::WriteSubsampledLp(PacketWriter* writer) {
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

void LowEncoder::WriteLp(const LowBands& low, PacketWriter* writer) {
  Counts counts;
  zepiVLCScanSet_JPEGXR(context_.Codes(), kLpScan);
  const bool is_small = IsSubsampled(format_);
  const size_t blocks = is_small ? 1 : header_.Components();
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

void LowEncoder::Encode(size_t x, const LowBands& low, PacketWriter* dc, PacketWriter* lp) {
  if (ResetsScans(x)) context_.ResetScans();
  WriteDc(low, dc);
  if (header_.HasLp()) WriteLp(low, lp);
  if (!AdaptsCodes(x, width_)) return;
  context_.AdaptDc();
  if (header_.HasLp()) context_.AdaptLp();
}

}  // namespace zepcodec::jpegxr
