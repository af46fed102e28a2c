// SPDX-License-Identifier: MIT
// A packet holds the contribution of one quality layer to one precinct. Its header tells for each
// code-block, in this order:
//
//   inclusion     for a new block, by a tag tree: whether its first layer has come; then one bit
//   zero planes   for a new block, by another tag tree: the planes at the top that are all 0
//   passes        the number of coding passes, by a fixed prefix code
//   lengths       of each codeword segment that the passes end, in a number of bits that grows by a
//                 unary code and by log2 of the passes in the segment
//
// The bodies of all blocks follow. A header depends on all earlier headers of its precinct, so
// these are parsed even if their passes are not wanted.
#include "codecs/jpeg2000/packet_reader.h"

#include <algorithm>

#include "codecs/jpeg2000/header_bits.h"
#include "codecs/jpeg2000/passes.h"

namespace zepcodec::jpeg2000 {
namespace {

// A block's bytes in a packet.
struct Piece {
  CodedBlock* block;
  int passes;
  size_t length;
  bool opens;  // starts a new segment
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
    while (bits_->Bit() != 0) {
      if (++block->length_bits > 32) return false;
    }
    if (bits_->failed()) return false;
    block->passes_seen += passes;
    return ParsePieces(passes, block);
  }

  bool ParseZeroPlanes(size_t index, int most_planes, PrecinctBlocks::ForBand* band) {
    CodedBlock* block = &band->blocks[index];
    int threshold = 1;
    while (!band->zero_planes.DecodeBelow(index, threshold, bits_)) {
      if (++threshold > most_planes + 1) return false;
    }
    block->included = true;
    block->zero_planes = static_cast<uint8_t>(band->zero_planes.Low(index));
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
  if (block->kept == nullptr) block->kept = std::make_unique<CodedBlock::Kept>();
  CodedBlock::Kept* kept = block->kept.get();
  if (piece.opens) kept->segments.push_back({0, 0});
  kept->segments.back().passes += piece.passes;
  kept->segments.back().length += piece.length;
  if (piece.length > 0) kept->spans.push_back({bytes, piece.length});
}

// The pieces of a block follow one another; after a missing piece the rest are lost.
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
    if (keep && piece.block->wanted) Keep(piece, body->data);
    body->data += piece.length;
    body->size -= piece.length;
  }
  return result;
}

// False: the precinct's code-blocks would exceed the budget of memory, or going through them that
// of time.
bool PrepareBlocks(const PacketPlace& place, std::unique_ptr<PrecinctBlocks>* blocks,
                   Budget* budget) {
  if (*blocks == nullptr) {
    if (!budget->Memory(PrecinctBlocks::Memory(place.resolution, place.precinct))) return false;
    *blocks = std::make_unique<PrecinctBlocks>(place.resolution, place.precinct, place.parts);
  }
  return budget->Work(kWorkOfBlock * (*blocks)->BlockCount());
}

// Parses a header from its first bit; the lengths for each block go to `pieces`.
PacketResult ReadHeader(const PacketFormat& format, const PacketPlace& place,
                        std::unique_ptr<PrecinctBlocks>* blocks, HeaderReader* bits,
                        std::vector<Piece>* pieces, Budget* budget) {
  HeaderParser parser(format, place.layer, bits, pieces);
  bool good = true;
  if (bits->Bit() != 0) {
    if (!PrepareBlocks(place, blocks, budget)) return PacketResult::kTooMuch;
    std::vector<PrecinctBlocks::ForBand>& bands = (*blocks)->bands;
    for (size_t i = 0; good && i < bands.size(); ++i) {
      good = parser.ParseBand(format.most_planes[i], &bands[i]);
    }
  }
  if (good && !bits->failed()) return PacketResult::kRead;
  return bits->failed() ? PacketResult::kCut : PacketResult::kBroken;
}

}  // namespace

PrecinctBlocks::PrecinctBlocks(const Resolution& resolution, int64_t precinct,
                               const std::array<Rect, 3>& parts) {
  bands.resize(resolution.bands.size());
  for (size_t i = 0; i < bands.size(); ++i) {
    const BlockGrid grid = resolution.Blocks(resolution.bands[i], precinct);
    bands[i].inclusion = TagTree(grid.across, grid.down);
    bands[i].zero_planes = TagTree(grid.across, grid.down);
    bands[i].blocks.resize(static_cast<size_t>(grid.Count()));
    for (size_t block = 0; block < bands[i].blocks.size(); ++block) {
      const Rect area = grid.Area(static_cast<int64_t>(block));
      bands[i].blocks[block].wanted = !Intersection(area, parts[i]).empty();
    }
  }
}

// A tree of n leaves has less than 4/3 n + 32 nodes of 8 bytes.
int64_t PrecinctBlocks::Memory(const Resolution& resolution, int64_t precinct) {
  constexpr int64_t kOfBlock = sizeof(CodedBlock) + 2 * 11;
  int64_t bytes = sizeof(PrecinctBlocks);
  for (const Band& band : resolution.bands) {
    const int64_t blocks = resolution.Blocks(band, precinct).Count();
    bytes += int64_t{sizeof(ForBand)} + kOfBlock * blocks;
    if (blocks > 0) bytes += 3 * 16;  // overhead of the heap
  }
  return bytes;
}

int64_t PrecinctBlocks::BlockCount() const {
  size_t count = 0;
  for (const ForBand& band : bands) count += band.blocks.size();
  return static_cast<int64_t>(count);
}

PacketResult ReadPacket(const PacketFormat& format, const PacketPlace& place,
                        std::unique_ptr<PrecinctBlocks>* blocks, PacketSource* source,
                        Budget* budget) {
  Span& headers = source->Headers();
  const uint8_t* const end = headers.data + headers.size;
  if (headers.size == 0) return PacketResult::kCut;
  HeaderReader bits(headers.data, end);
  std::vector<Piece> pieces;
  PacketResult result = ReadHeader(format, place, blocks, &bits, &pieces, budget);
  const uint8_t* behind = bits.Finish();
  // A damaged header can be tried again at each later start marker.
  if (!budget->Work(kWorkOfHeaderByte * (behind - headers.data))) return PacketResult::kTooMuch;
  if (result != PacketResult::kRead) return result;
  if (format.uses_eph) {
    const bool has_marker = end - behind >= 2 && behind[0] == 0xFF && behind[1] == (kEph & 0xFF);
    if (!has_marker && source->met_header_end) return PacketResult::kBroken;
    source->met_header_end |= has_marker;
    if (has_marker) behind += 2;
  }
  headers = {behind, static_cast<size_t>(end - behind)};
  return ReadBody(pieces, place.keep, &source->body);
}

}  // namespace zepcodec::jpeg2000
