// SPDX-License-Identifier: MIT
// Reads packets: the code-blocks that get coding passes, and their bytes (ITU-T T.800, B.9, B.10).
#ifndef ZEPJP_CODECS_JPEG2000_PACKET_READER_H_
#define ZEPJP_CODECS_JPEG2000_PACKET_READER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "codecs/jpeg2000/budget.h"
#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/tag_tree.h"

namespace zepcodec::jpeg2000 {

struct Span {
  const uint8_t* data = nullptr;
  size_t size = 0;
};

struct Segment {
  int passes;
  size_t length;
};

// A code-block, with the packets that were read so far. Files can have very many blocks that never
// get a pass, so members that these do not need are in `Kept`.
struct CodedBlock {
  // The passes to decode; the spans contain all segments, one after the other.
  struct Kept {
    std::vector<Segment> segments;
    std::vector<Span> spans;
  };
  std::unique_ptr<Kept> kept;  // null: nothing
  int32_t passes_seen = 0;     // announced by packet headers
  int32_t open_passes = 0;     // in the incomplete segment
  uint8_t zero_planes = 0;
  uint8_t length_bits = 3;
  bool included = false;
  bool cut = false;     // bytes are missing, so later ones cannot be appended
  bool wanted = false;  // else passes are not kept
};

// The code-blocks of a precinct.
struct PrecinctBlocks {
  struct ForBand {
    TagTree inclusion;
    TagTree zero_planes;
    std::vector<CodedBlock> blocks;
  };
  // Blocks that meet the parts of their subbands are wanted.
  PrecinctBlocks(const Resolution& resolution, int64_t precinct, const std::array<Rect, 3>& parts);
  // The memory of a precinct's blocks, in bytes.
  static int64_t Memory(const Resolution& resolution, int64_t precinct);
  int64_t BlockCount() const;
  std::vector<ForBand> bands;
};

// The source of packets. A header is in front of its body, or all headers are in a segment of their
// own.
struct PacketSource {
  Span body;
  Span header;
  bool has_own_headers = false;
  bool met_header_end = false;  // an end-of-header marker was read; then every header must have one
  Span& Headers() { return has_own_headers ? header : body; }
};

enum class PacketResult {
  kRead,
  kCut,      // the data ends inside the packet; its complete blocks were taken
  kBroken,   // not a packet header
  kTooMuch,  // the budget is spent
};

struct PacketFormat {
  int block_style = 0;
  bool uses_eph = false;
  const int* most_planes = nullptr;  // for each band
};

// A packet to read.
struct PacketPlace {
  const Resolution& resolution;
  int64_t precinct;
  int layer;
  bool keep;                         // its passes; the state for later headers is always kept
  const std::array<Rect, 3>& parts;  // of the subbands, that are wanted
};

// Reads the packet at the start of `source`, and advances `source` to the next one. `blocks` is
// created by the first packet that is not empty.
PacketResult ReadPacket(const PacketFormat& format, const PacketPlace& place,
                        std::unique_ptr<PrecinctBlocks>* blocks, PacketSource* source,
                        Budget* budget);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PACKET_READER_H_
