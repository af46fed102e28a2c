// SPDX-License-Identifier: MIT
// JPEG 2000 codestreams and JP2 files put together by hand, for what no encoder writes.
#ifndef ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_STREAMS_H_
#define ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_STREAMS_H_

#include <cstdint>
#include <string>
#include <vector>

#include "tests/codecs/jpeg2000/jpeg2000_files.h"

namespace jpeg2000_streams {

using jpeg2000_files::Bytes;

inline void Put(uint64_t value, int count, Bytes* bytes) {
  for (int i = count; i-- > 0;) bytes->push_back(static_cast<uint8_t>(value >> (8 * i)));
}
inline void Put(const Bytes& from, Bytes* bytes) {
  bytes->insert(bytes->end(), from.begin(), from.end());
}

// With its length.
inline Bytes Segment(int marker, const Bytes& content) {
  Bytes bytes;
  Put(static_cast<uint64_t>(marker), 2, &bytes);
  Put(content.size() + 2, 2, &bytes);
  Put(content, &bytes);
  return bytes;
}

struct Sampling {
  int dx = 1;
  int dy = 1;
};

struct Shape {
  uint32_t width = 64, height = 64;
  uint32_t tile_width = 0, tile_height = 0;  // 0: one tile
  std::vector<Sampling> components = {{1, 1}};
  int depth = 7;  // bits less 1, 128 for signed ones
};

inline Bytes Size(const Shape& shape) {
  Bytes content;
  Put(0, 2, &content);
  for (const uint32_t value :
       {shape.width, shape.height, 0U, 0U, shape.tile_width > 0 ? shape.tile_width : shape.width,
        shape.tile_height > 0 ? shape.tile_height : shape.height, 0U, 0U}) {
    Put(value, 4, &content);
  }
  Put(shape.components.size(), 2, &content);
  for (const Sampling& sampling : shape.components) {
    Put(static_cast<uint64_t>(shape.depth), 1, &content);
    Put(static_cast<uint64_t>(sampling.dx), 1, &content);
    Put(static_cast<uint64_t>(sampling.dy), 1, &content);
  }
  return Segment(0xFF51, content);
}

struct Coding {
  int levels = 0;
  std::vector<int>
      precincts;  // of each resolution, height and width as hexadecimal digits; empty: none
  int order = 0;
  int layers = 1;
  int block = 0x44;  // height and width less 2
  int block_style = 0;
  bool uses_sop = false;
  bool reversible = true;
};

inline Bytes CodingStyle(const Coding& coding) {
  Bytes content;
  Put((coding.precincts.empty() ? 0U : 1U) | (coding.uses_sop ? 2U : 0U), 1, &content);
  Put(static_cast<uint64_t>(coding.order), 1, &content);
  Put(static_cast<uint64_t>(coding.layers), 2, &content);
  Put(0, 1, &content);
  for (const int value : {coding.levels, coding.block & 15, coding.block >> 4, coding.block_style,
                          coding.reversible ? 1 : 0}) {
    Put(static_cast<uint64_t>(value), 1, &content);
  }
  for (const int precinct : coding.precincts) Put(static_cast<uint64_t>(precinct), 1, &content);
  return Segment(0xFF52, content);
}

// The same for all subbands, reversible; most planes: exponent + guard bits - 1.
inline Bytes Quantization(int levels, int exponent = 8, int guard_bits = 2) {
  Bytes content = {static_cast<uint8_t>(guard_bits << 5)};
  content.insert(content.end(), static_cast<size_t>(3 * levels + 1),
                 static_cast<uint8_t>(exponent << 3));
  return Segment(0xFF5C, content);
}

struct Volume {
  int first_resolution, first_component, end_layer, end_resolution, end_component, order;
};

inline Bytes Volumes(const std::vector<Volume>& volumes) {
  Bytes content;
  for (const Volume& volume : volumes) {
    Put(static_cast<uint64_t>(volume.first_resolution), 1, &content);
    Put(static_cast<uint64_t>(volume.first_component), 1, &content);
    Put(static_cast<uint64_t>(volume.end_layer), 2, &content);
    Put(static_cast<uint64_t>(volume.end_resolution), 1, &content);
    Put(static_cast<uint64_t>(volume.end_component), 1, &content);
    Put(static_cast<uint64_t>(volume.order), 1, &content);
  }
  return Segment(0xFF5F, content);
}

// A part of a tile with its header.
inline Bytes TilePart(int tile, const Bytes& body, const Bytes& segments = {}) {
  Bytes bytes;
  Put(0xFF90000A, 4, &bytes);
  Put(static_cast<uint64_t>(tile), 2, &bytes);
  Put(14 + segments.size() + body.size(), 4, &bytes);
  Put(0x0001, 2, &bytes);
  Put(segments, &bytes);
  Put(0xFF93, 2, &bytes);
  Put(body, &bytes);
  return bytes;
}

// Begin and end around the pieces.
inline Bytes Codestream(const std::vector<Bytes>& pieces, bool has_end = true) {
  Bytes bytes = {0xFF, 0x4F};
  for (const Bytes& piece : pieces) Put(piece, &bytes);
  if (has_end) Put(0xFFD9, 2, &bytes);
  return bytes;
}

inline Bytes Box(const std::string& name, const Bytes& content) {
  Bytes bytes;
  Put(content.size() + 8, 4, &bytes);
  bytes.insert(bytes.end(), name.begin(), name.end());
  Put(content, &bytes);
  return bytes;
}

// `boxes` go into the header behind the size.
inline Bytes Jp2(uint32_t width, uint32_t height, int components, const std::vector<Bytes>& boxes,
                 const Bytes& codestream) {
  Bytes header;
  Put(height, 4, &header);
  Put(width, 4, &header);
  Put(static_cast<uint64_t>(components), 2, &header);
  Put(0x07070000, 4, &header);
  Bytes inner = Box("ihdr", header);
  for (const Bytes& box : boxes) Put(box, &inner);
  Bytes file = Box("jP  ", {13, 10, 0x87, 10});
  Put(Box("ftyp", {'j', 'p', '2', ' ', 0, 0, 0, 0, 'j', 'p', '2', ' '}), &file);
  Put(Box("jp2h", inner), &file);
  Put(Box("jp2c", codestream), &file);
  return file;
}

// Packet headers.
class Bits {
 public:
  void Put(uint32_t value, int count) {
    for (int i = count; i-- > 0;) PutBit(static_cast<int>(value >> i & 1));
  }
  // Padded with zeros.
  Bytes Take() {
    while (free_ != 8 && !(free_ == 7 && !bytes_.empty() && bytes_.back() == 0xFF)) PutBit(0);
    return bytes_;
  }

 private:
  void PutBit(int bit) {
    current_ |= bit << --free_;
    if (free_ > 0) return;
    bytes_.push_back(static_cast<uint8_t>(current_));
    free_ = current_ == 0xFF ? 7 : 8;
    current_ = 0;
  }

  Bytes bytes_;
  int current_ = 0;
  int free_ = 8;
};

// A packet of one code-block in one subband that has so many passes, 6 or more, over `data`.
inline Bytes PacketOfPasses(int passes, const Bytes& data) {
  Bits bits;
  bits.Put(1, 1);  // not empty
  bits.Put(3, 2);  // included; no plane is zero
  if (passes < 37) {
    bits.Put(0x1E0 | static_cast<uint32_t>(passes - 6), 9);
  } else {
    bits.Put(0x1FF, 9);
    bits.Put(static_cast<uint32_t>(passes - 37), 7);
  }
  bits.Put(0, 1);
  int log = 0;
  while (passes >> (log + 1) > 0) ++log;
  bits.Put(static_cast<uint32_t>(data.size()), 3 + log);
  Bytes packet = bits.Take();
  jpeg2000_streams::Put(data, &packet);
  return packet;
}

}  // namespace jpeg2000_streams

#endif  // ZEPJP_TESTS_CODECS_JPEG2000_JPEG2000_STREAMS_H_
