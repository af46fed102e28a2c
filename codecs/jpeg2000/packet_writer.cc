// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/packet_writer.h"

#include <algorithm>

#include "codecs/jpeg2000/header_bits.h"
#include "codecs/jpeg2000/passes.h"

namespace zepcodec::jpeg2000 {

PrecinctWriter::PrecinctWriter(const std::vector<ForBand>& bands, int block_style)
    : block_style_(block_style) {
  for (const ForBand& band : bands) {
    BandState state;
    state.inclusion = TagTree(band.across, band.down);
    state.zero_planes = TagTree(band.across, band.down);
    for (EncodedBlock* block : band.blocks) state.blocks.push_back({block, 3, 0});
    bands_.push_back(std::move(state));
  }
}

int PrecinctWriter::FirstLayer(const EncodedBlock& block, size_t layers) const {
  size_t layer = 0;
  while (layer < layers && block.PassesAt(layer) == 0) ++layer;
  return static_cast<int>(layer);
}

void PrecinctWriter::Start(size_t layers) {
  next_layer_ = 0;
  for (BandState& band : bands_) {
    for (size_t i = 0; i < band.blocks.size(); ++i) {
      BlockState& state = band.blocks[i];
      state.length_bits = 3;
      state.open_passes = 0;
      band.inclusion.Set(i, FirstLayer(*state.block, layers));
      band.zero_planes.Set(i, state.block->zero_planes);
    }
    band.inclusion.Prepare();
    band.zero_planes.Prepare();
  }
}

bool PrecinctWriter::HasPasses() const {
  for (const BandState& band : bands_) {
    for (const BlockState& state : band.blocks) {
      const int before = next_layer_ == 0 ? 0 : state.block->PassesAt(next_layer_ - 1);
      if (state.block->PassesAt(next_layer_) > before) return true;
    }
  }
  return false;
}

std::vector<PrecinctWriter::Piece> PrecinctWriter::PiecesOf(int first_pass, size_t first_byte,
                                                            int end_pass, size_t end_byte,
                                                            BlockState* state) const {
  std::vector<Piece> pieces;
  int pass = first_pass;
  size_t byte = first_byte;
  while (pass < end_pass) {
    const int room = PassesOfSegment(block_style_, pass - state->open_passes) - state->open_passes;
    const int count = std::min(end_pass - pass, room);
    pass += count;
    const size_t end = pass == end_pass ? end_byte : state->block->pass_ends[size_t(pass) - 1];
    pieces.push_back({count, end - byte});
    byte = end;
    state->open_passes = count == room ? 0 : state->open_passes + count;
  }
  return pieces;
}

template <class Bits>
void PrecinctWriter::WriteBlock(size_t index, BandState* band, Bits* bits) {
  BlockState& state = band->blocks[index];
  const EncodedBlock& block = *state.block;
  const int before = next_layer_ == 0 ? 0 : block.PassesAt(next_layer_ - 1);
  const int passes = block.PassesAt(next_layer_) - before;
  if (before > 0) {
    bits->Put(passes > 0 ? 1 : 0);
  } else {
    band->inclusion.EncodeBelow(index, static_cast<int>(next_layer_) + 1, bits);
  }
  if (passes == 0) return;
  if (before == 0) {
    for (int t = 1; t <= block.zero_planes + 1; ++t) band->zero_planes.EncodeBelow(index, t, bits);
  }
  WritePassCount(passes, bits);
  const size_t first_byte = before == 0 ? 0 : block.LengthAt(next_layer_ - 1);
  const std::vector<Piece> pieces =
      PiecesOf(before, first_byte, before + passes, block.LengthAt(next_layer_), &state);
  int length_bits = state.length_bits;
  for (const Piece& piece : pieces) {
    const int own = FloorLog2(static_cast<uint32_t>(piece.passes));
    const int needed = piece.length == 0 ? 1 : FloorLog2(static_cast<uint32_t>(piece.length)) + 1;
    length_bits = std::max(length_bits, needed - own);
  }
  for (; state.length_bits < length_bits; ++state.length_bits) bits->Put(1);
  bits->Put(0);
  for (const Piece& piece : pieces) {
    bits->Put(static_cast<uint32_t>(piece.length),
              length_bits + FloorLog2(static_cast<uint32_t>(piece.passes)));
  }
}

void PrecinctWriter::WriteHeader(std::vector<uint8_t>* header) {
  HeaderWriter bits(header);
  bits.Put(HasPasses() ? 1 : 0);
  if (HasPasses()) {
    for (BandState& band : bands_) {
      for (size_t i = 0; i < band.blocks.size(); ++i) WriteBlock(i, &band, &bits);
    }
  }
  bits.Finish();
  ++next_layer_;
}

void PrecinctWriter::WriteBody(std::vector<uint8_t>* body) const {
  const size_t layer = next_layer_ - 1;
  for (const BandState& band : bands_) {
    for (const BlockState& state : band.blocks) {
      const EncodedBlock& block = *state.block;
      const size_t begin = layer == 0 ? 0 : block.LengthAt(layer - 1);
      body->insert(body->end(), block.bytes.begin() + static_cast<ptrdiff_t>(begin),
                   block.bytes.begin() + static_cast<ptrdiff_t>(block.LengthAt(layer)));
    }
  }
}

size_t PrecinctWriter::BodySize() const {
  const size_t layer = next_layer_ - 1;
  size_t size = 0;
  for (const BandState& band : bands_) {
    for (const BlockState& state : band.blocks) {
      size += state.block->LengthAt(layer) - (layer == 0 ? 0 : state.block->LengthAt(layer - 1));
    }
  }
  return size;
}

size_t PrecinctWriter::PacketBytes(size_t layers, size_t others) {
  size_t size = 0;
  std::vector<uint8_t> header;
  Start(layers);
  for (size_t layer = 0; layer < layers; ++layer) {
    header.clear();
    WriteHeader(&header);
    size += header.size() + BodySize() + others;
  }
  return size;
}

}  // namespace zepcodec::jpeg2000
