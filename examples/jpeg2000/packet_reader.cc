// SPDX-License-Identifier: MIT
#include "jpeg2000/packet_reader.h"

#include <algorithm>

#include "jpeg2000/header_bits.h"
#include "jpeg2000/passes.h"

namespace jpeg2000 {
namespace {

// The bytes that a packet has for a block.
struct Piece {
  CodedBlock* block;
  int passes;
  size_t length;
  bool opens;  // a segment of its own
};

class HeaderParser {
 public:
  HeaderParser(const PacketFormat& format, int layer, HeaderReader* bits,
               std::vector<Piece>* pieces)
      : format_(format), layer_(layer), bits_(bits), pieces_(pieces) {}

  bool ParseBand(int most_planes, PrecinctBlocks::ForBand* band) {
    for (size_t i = 0; i < band->blocks.size(); ++i) {
      if (!ParseBlock(i, most_planes, band)) return false;
    }
    return true;
  }

 private:
  bool ParseBlock(size_t index, int most_planes, PrecinctBlocks::ForBand* band) {
    CodedBlock* block = &band->blocks[index];
    if (block->included) {
      if (bits_->Bit() == 0) return !bits_->failed();
    } else {
      if (!band->inclusion.DecodeBelow(index, layer_ + 1, bits_)) return !bits_->failed();
      if (!ParseZeroPlanes(index, most_planes, band)) return false;
    }
    const int passes = ReadPassCount(bits_);
    while (bits_->Bit() != 0) ++block->length_bits;
    if (bits_->failed() || block->length_bits > 32) return false;
    block->passes_seen += passes;
    if (block->passes_seen > 3 * (most_planes - block->zero_planes) - 2) return false;
    return ParsePieces(passes, block);
  }

  bool ParseZeroPlanes(size_t index, int most_planes, PrecinctBlocks::ForBand* band) {
    CodedBlock* block = &band->blocks[index];
    int threshold = 1;
    while (!band->zero_planes.DecodeBelow(index, threshold, bits_)) {
      if (++threshold > most_planes) return false;
    }
    block->included = true;
    block->zero_planes = band->zero_planes.Low(index);
    return true;
  }

  bool ParsePieces(int passes, CodedBlock* block) {
    int pass = block->passes_seen - passes;
    while (passes > 0) {
      const int first = pass - block->open_passes;
      const int room = PassesOfSegment(format_.block_style, first) - block->open_passes;
      const int count = std::min(passes, room);
      const int length_bits = block->length_bits + FloorLog2(static_cast<uint32_t>(count));
      if (length_bits > 32) return false;
      const size_t length = bits_->Bits(length_bits);
      pieces_->push_back({block, count, length, block->open_passes == 0});
      block->open_passes = count == room ? 0 : block->open_passes + count;
      pass += count;
      passes -= count;
    }
    return !bits_->failed();
  }

  const PacketFormat& format_;
  int layer_;
  HeaderReader* bits_;
  std::vector<Piece>* pieces_;
};

void Keep(const Piece& piece, const uint8_t* bytes) {
  CodedBlock* block = piece.block;
  if (block->cut) return;
  if (piece.opens) block->segments.push_back({0, 0});
  block->segments.back().passes += piece.passes;
  block->segments.back().length += piece.length;
  if (piece.length > 0) block->spans.push_back({bytes, piece.length});
}

// The pieces of one block follow one another; those behind a missing one are lost.
PacketResult ReadBody(const std::vector<Piece>& pieces, bool keep, Span* body) {
  PacketResult result = PacketResult::kRead;
  for (const Piece& piece : pieces) {
    if (piece.length > body->size) {
      piece.block->cut = true;
      body->data += body->size;
      body->size = 0;
      result = PacketResult::kCut;
      continue;
    }
    if (keep) Keep(piece, body->data);
    body->data += piece.length;
    body->size -= piece.length;
  }
  return result;
}

}  // namespace

PrecinctBlocks::PrecinctBlocks(const Resolution& resolution, int64_t precinct) {
  for (const Band& band : resolution.bands) {
    ForBand made;
    made.grid = resolution.Blocks(band, precinct);
    made.inclusion = TagTree(made.grid.across, made.grid.down);
    made.zero_planes = TagTree(made.grid.across, made.grid.down);
    made.blocks.resize(static_cast<size_t>(made.grid.Count()));
    bands.push_back(std::move(made));
  }
}

PacketResult ReadPacket(const PacketFormat& format, int layer, bool keep, PrecinctBlocks* precinct,
                        PacketSource* source) {
  Span& headers = source->Headers();
  const uint8_t* const end = headers.data + headers.size;
  if (headers.size == 0) return PacketResult::kCut;
  HeaderReader bits(headers.data, end);
  std::vector<Piece> pieces;
  HeaderParser parser(format, layer, &bits, &pieces);
  bool good = true;
  if (bits.Bit() != 0) {
    for (size_t i = 0; good && i < precinct->bands.size(); ++i) {
      good = parser.ParseBand(format.most_planes[i], &precinct->bands[i]);
    }
  }
  const uint8_t* behind = bits.Finish();
  if (!good || bits.failed()) return bits.failed() ? PacketResult::kCut : PacketResult::kBroken;
  if (format.uses_eph) {
    const bool has_marker = end - behind >= 2 && behind[0] == 0xFF && behind[1] == (kEph & 0xFF);
    if (!has_marker && source->met_header_end) return PacketResult::kBroken;
    source->met_header_end |= has_marker;
    if (has_marker) behind += 2;
  }
  headers = {behind, static_cast<size_t>(end - behind)};
  return ReadBody(pieces, keep, &source->body);
}

}  // namespace jpeg2000
