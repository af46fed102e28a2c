// SPDX-License-Identifier: MIT
// Which blocks of a macroblock have coded coefficients (ITU-T T.832, 8.7.15 and 9.6): predicted
// from neighbours, and coded quadrant by quadrant. Bit j of a component's pattern is its block j.
#ifndef ZEPJP_CODECS_JPEGXR_BLOCK_PATTERN_H_
#define ZEPJP_CODECS_JPEGXR_BLOCK_PATTERN_H_

#include <array>
#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/codestream.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/symbol_code.h"

namespace zepcodec::jpegxr {

using Patterns = std::array<uint32_t, 3>;

// Block j of 16 lies at this column and row of blocks; quadrants one after another.
constexpr size_t ColumnOfBlock(size_t j) { return 2 * (j >> 2 & 1) + (j & 1); }
constexpr size_t RowOfBlock(size_t j) { return 2 * (j >> 3) + (j >> 1 & 1); }

constexpr size_t BlockAt(size_t row, size_t column) {
  return 8 * (row / 2) + 4 * (column / 2) + 2 * (row % 2) + column % 2;
}

// Converts between a pattern and its difference from the predicted one.
class PatternPredictor {
 public:
  explicit PatternPredictor(ColorFormat format) : format_(format) {}

  void Reset();

  // The macroblocks beside and above, null outside the tile.
  struct Neighbours {
    const Patterns* left;
    const Patterns* up;
  };
  Patterns ToPatterns(const Patterns& differences, Neighbours neighbours);
  Patterns ToDifferences(const Patterns& patterns, Neighbours neighbours);

 private:
  enum class Mode { kNeighbours, kAsIs, kInverted };
  struct Channel {
    int few = -4;
    int many = 4;
    Mode mode = Mode::kNeighbours;
  };
  bool Start(size_t component, Neighbours neighbours) const;
  void Update(size_t component, uint32_t pattern);

  ColorFormat format_;
  Channel channels_[2];
};

class PatternCoder {
 public:
  explicit PatternCoder(ColorFormat format);

  void Reset();
  void Adapt();
  Patterns Read(PacketReader* reader);
  void Write(const Patterns& differences, PacketWriter* writer);

 private:
  void ReadQuadrant(size_t quadrant, PacketReader* reader, Patterns* differences);
  void WriteQuadrant(size_t quadrant, const Patterns& differences, PacketWriter* writer);
  uint32_t ReadChromaQuadrant(size_t quadrant, PacketReader* reader) const;
  void WriteChromaQuadrant(uint32_t bits, PacketWriter* writer) const;
  uint32_t ChromaOf(size_t quadrant, uint32_t pattern) const;

  ColorFormat format_;
  AdaptiveCode quadrant_count_{AdaptiveCode::Alphabet::k5};
  AdaptiveCode quadrant_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_BLOCK_PATTERN_H_
