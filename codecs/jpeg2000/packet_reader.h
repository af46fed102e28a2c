// SPDX-License-Identifier: MIT
// Reads packets: which code-blocks get coding passes, and the bytes of these (ITU-T T.800, B.9, B.10).
#ifndef ZEPJP_CODECS_JPEG2000_PACKET_READER_H_
#define ZEPJP_CODECS_JPEG2000_PACKET_READER_H_

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

// A code-block as far as its packets were read. There can be very many that never get a pass, so
// what only others have stands apart.
struct CodedBlock {
  // What there is to decode; the spans hold all segments, back to back.
  struct Kept {
    std::vector<Segment> segments;
    std::vector<Span> spans;
  };
  std::unique_ptr<Kept> kept;  // null: nothing
  int32_t passes_seen = 0;     // in packet headers
  int32_t open_passes = 0;     // in the segment that is not complete
  uint8_t zero_planes = 0;
  uint8_t length_bits = 3;
  bool included = false;
  bool cut = false;  // bytes are missing: what follows cannot be appended
};

// The code-blocks of a precinct.
struct PrecinctBlocks {
  struct ForBand {
    TagTree inclusion;
    TagTree zero_planes;
    std::vector<CodedBlock> blocks;
  };
  PrecinctBlocks(const Resolution& resolution, int64_t precinct);
  // What one takes.
  static int64_t Memory(const Resolution& resolution, int64_t precinct);
  int64_t BlockCount() const;
  std::vector<ForBand> bands;
};

// Where packets come from. Headers lie before their bodies, or apart, all together.
struct PacketSource {
  Span body;
  Span header;
  bool has_own_headers = false;
  bool met_header_end = false;  // a marker behind a header; then there must be one behind each
  Span& Headers() { return has_own_headers ? header : body; }
};

enum class PacketResult {
  kRead,
  kCut,      // the data ends inside; the blocks that are complete were taken
  kBroken,   // not a packet header
  kTooMuch,  // the budget is used up
};

struct PacketFormat {
  int block_style = 0;
  bool uses_eph = false;
  const int* most_planes = nullptr;  // of each band
};

// A packet to read.
struct PacketPlace {
  const Resolution& resolution;
  int64_t precinct;
  int layer;
  bool keep;  // its passes; what later headers depend on is kept always
};

// Reads the packet at the beginning of `source`, which advances behind it. `blocks` is made for the
// first packet that is not empty.
PacketResult ReadPacket(const PacketFormat& format, const PacketPlace& place,
                        std::unique_ptr<PrecinctBlocks>* blocks, PacketSource* source,
                        Budget* budget);

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PACKET_READER_H_
