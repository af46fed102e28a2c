// SPDX-License-Identifier: MIT
// Reads packets: which code-blocks get coding passes, and the bytes of these (ITU-T T.800, B.9, B.10).
#ifndef ZEPJP_EXAMPLES_JPEG2000_PACKET_READER_H_
#define ZEPJP_EXAMPLES_JPEG2000_PACKET_READER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jpeg2000/geometry.h"
#include "jpeg2000/tag_tree.h"

namespace jpeg2000 {

struct Span {
  const uint8_t* data = nullptr;
  size_t size = 0;
};

struct Segment {
  int passes;
  size_t length;
};

// A code-block as far as its packets were read.
struct CodedBlock {
  bool included = false;
  bool cut = false;  // bytes are missing: what follows cannot be appended
  int zero_planes = 0;
  int length_bits = 3;
  int passes_seen = 0;  // in packet headers
  int open_passes = 0;  // in the segment that is not complete
  // What there is to decode; the spans hold all segments, back to back.
  std::vector<Segment> segments;
  std::vector<Span> spans;
};

// The code-blocks of a precinct.
struct PrecinctBlocks {
  struct ForBand {
    BlockGrid grid;
    TagTree inclusion;
    TagTree zero_planes;
    std::vector<CodedBlock> blocks;
  };
  PrecinctBlocks(const Resolution& resolution, int64_t precinct);
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
  kCut,     // the data ends inside; the blocks that are complete were taken
  kBroken,  // not a packet header
};

struct PacketFormat {
  int block_style = 0;
  bool uses_eph = false;
  const int* most_planes = nullptr;  // of each band
};

// Reads the packet of `layer` at the beginning of `source`, which advances behind it. The passes are kept
// in `precinct` only if `keep`; what later headers depend on, always.
PacketResult ReadPacket(const PacketFormat& format, int layer, bool keep, PrecinctBlocks* precinct,
                        PacketSource* source);

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_PACKET_READER_H_
