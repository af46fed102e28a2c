// SPDX-License-Identifier: MIT
// Which blocks of a macroblock have coded coefficients, as a bit for each block: its pattern. The
// stream holds the difference from a predicted pattern. There are three predictions; recent
// macroblocks decide which one is used, for luma and chroma on their own:
//
//   kNeighbours  each block is like an earlier block of the macroblock, the first one like the
//                nearest block of the macroblock on the left or above
//   kAsIs        no block is coded: recent macroblocks had few
//   kInverted    all blocks are coded: recent macroblocks had many
//
// The difference is coded by quadrants of 2x2 blocks: an adaptive code for the number of quadrants
// that are not 0, then for each of these the number of blocks and which ones.
#include "codecs/jpegxr/block_pattern.h"

#include <algorithm>

namespace zepcodec::jpegxr {
namespace {

uint32_t CountBits(uint32_t bits) {
  uint32_t count = 0;
  for (; bits != 0; bits &= bits - 1) ++count;
  return count;
}

constexpr uint32_t BlockCount(ColorFormat format, size_t component) {
  return static_cast<uint32_t>(BlocksAcross(format, component) * BlocksDown(format, component));
}

// The earlier block that predicts block j of 16: in order of coding each is known by then.
constexpr uint8_t kPredictor16[16] = {0, 0, 0, 1, 1, 4, 4, 5, 2, 3, 8, 9, 6, 7, 12, 13};
// The same for block j of 4 or 8, in rows of two.
constexpr uint8_t PredictorOf2(uint32_t j) { return static_cast<uint8_t>(j == 1 ? 0 : j - 2); }

uint32_t PredictorOf(uint32_t j, uint32_t blocks) {
  return blocks == 16 ? kPredictor16[j] : PredictorOf2(j);
}

// A code word. A mask of 4 bits is coded as the number of bits that are set, then which ones.
struct Code {
  uint8_t bits;
  uint8_t length;
};
// The masks with two bits set, and their codes.
constexpr uint8_t kTwoOfFour[6] = {3, 5, 6, 9, 10, 12};
constexpr Code kTwoOfFourCodes[6] = {{0, 2}, {1, 2}, {4, 3}, {5, 3}, {6, 3}, {7, 3}};

uint32_t ReadMask(uint32_t set, PacketReader* reader) {
  switch (set) {
    case 0: return 0;
    case 1: return uint32_t{1} << reader->Bits(2);
    case 3: return 15 - (uint32_t{1} << reader->Bits(2));
    case 4: return 15;
    default: break;
  }
  if (!reader->Bit()) return reader->Bit() ? 5 : 3;
  return kTwoOfFour[2 + reader->Bits(2)];
}

uint32_t LowestBit(uint32_t mask) {
  uint32_t bit = 0;
  while ((mask >> bit & 1) == 0) ++bit;
  return bit;
}

void WriteMask(uint32_t mask, PacketWriter* writer) {
  const uint32_t set = CountBits(mask);
  if (set == 1) writer->Put(LowestBit(mask), 2);
  if (set == 3) writer->Put(LowestBit(15 - mask), 2);
  if (set != 2) return;
  for (size_t i = 0; i < 6; ++i) {
    if (kTwoOfFour[i] == mask) writer->Put(kTwoOfFourCodes[i].bits, kTwoOfFourCodes[i].length);
  }
}

// The luma part of a quadrant: a class, and which of its masks.
constexpr uint8_t kMasksOfClass[6][4] = {{0},           {1, 2, 4, 8},    {3, 12},
                                         {5, 6, 9, 10}, {7, 11, 13, 14}, {15}};
constexpr uint8_t kBitsOfClass[6] = {0, 2, 1, 2, 2, 0};

struct LumaClass {
  uint32_t number;
  uint32_t index;
};
LumaClass ClassOf(uint32_t mask) {
  for (uint32_t number = 0; number < 6; ++number) {
    for (uint32_t i = 0; i < 1U << kBitsOfClass[number]; ++i) {
      if (kMasksOfClass[number][i] == mask) return {number, i};
    }
  }
  return {0, 0};
}

// 1: "1", 2: "01", 0: "00".
uint32_t ReadTernary(PacketReader* reader) {
  if (reader->Bit()) return 0;
  return reader->Bit() ? 1 : 2;
}
void WriteTernary(uint32_t value, PacketWriter* writer) {
  if (value == 0) return writer->Put(1, 1);
  writer->Put(value == 1 ? 1 : 0, 2);
}

// Shifts of the quadrants of 4:2:2 chroma, whose blocks 0 and 2, 1 and 3, ... belong together.
constexpr uint32_t kShift422[4] = {0, 1, 4, 5};

}  // namespace

void PatternPredictor::Reset() {
  for (Channel& channel : channels_) channel = Channel();
}

bool PatternPredictor::Start(size_t component, Neighbours neighbours) const {
  constexpr uint32_t kLeftBlock[3] = {5, 1, 1}, kUpBlock[3] = {10, 2, 6};
  const size_t kind = component == 0 || !IsSubsampled(format_) ? 0
                      : format_ == ColorFormat::k420           ? 1
                                                               : 2;
  if (neighbours.left != nullptr)
    return ((*neighbours.left)[component] >> kLeftBlock[kind] & 1) != 0;
  if (neighbours.up != nullptr) return ((*neighbours.up)[component] >> kUpBlock[kind] & 1) != 0;
  return true;
}

void PatternPredictor::Update(size_t component, uint32_t pattern) {
  Channel& channel = channels_[component == 0 ? 0 : 1];
  const auto share = static_cast<int>(16 / BlockCount(format_, component));
  const int set = static_cast<int>(CountBits(pattern)) * share;
  channel.few = std::clamp(channel.few + set - 3, -16, 15);
  channel.many = std::clamp(channel.many + 13 - set, -16, 15);
  if (channel.few < 0) {
    channel.mode = channel.few < channel.many ? Mode::kAsIs : Mode::kInverted;
  } else {
    channel.mode = channel.many < 0 ? Mode::kInverted : Mode::kNeighbours;
  }
}

Patterns PatternPredictor::ToPatterns(const Patterns& differences, Neighbours neighbours) {
  Patterns patterns = {};
  for (size_t c = 0; c < ComponentCount(format_); ++c) {
    const uint32_t blocks = BlockCount(format_, c);
    const Mode mode = channels_[c == 0 ? 0 : 1].mode;
    uint32_t pattern = differences[c];
    if (mode == Mode::kInverted) pattern ^= (1U << blocks) - 1;
    if (mode == Mode::kNeighbours) {
      pattern ^= Start(c, neighbours) ? 1 : 0;
      // In order of prediction: 0, 1, 4, 5, then the rows of blocks below.
      constexpr uint8_t kOrder16[16] = {0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15};
      for (uint32_t i = 1; i < blocks; ++i) {
        const uint32_t j = blocks == 16 ? kOrder16[i] : i;
        pattern ^= (pattern >> PredictorOf(j, blocks) & 1) << j;
      }
    }
    patterns[c] = pattern;
    Update(c, pattern);
  }
  return patterns;
}

Patterns PatternPredictor::ToDifferences(const Patterns& patterns, Neighbours neighbours) {
  Patterns differences = {};
  for (size_t c = 0; c < ComponentCount(format_); ++c) {
    const uint32_t blocks = BlockCount(format_, c);
    const Mode mode = channels_[c == 0 ? 0 : 1].mode;
    uint32_t expected = mode == Mode::kInverted ? (1U << blocks) - 1 : 0;
    if (mode == Mode::kNeighbours) {
      expected = Start(c, neighbours) ? 1 : 0;
      for (uint32_t j = 1; j < blocks; ++j) {
        expected |= (patterns[c] >> PredictorOf(j, blocks) & 1) << j;
      }
    }
    differences[c] = patterns[c] ^ expected;
    Update(c, patterns[c]);
  }
  return differences;
}

PatternCoder::PatternCoder(ColorFormat format)
    : format_(format),
      quadrant_(format == ColorFormat::kGrey ? AdaptiveCode::Alphabet::k5
                                             : AdaptiveCode::Alphabet::k9) {}

void PatternCoder::Reset() {
  quadrant_count_.Reset();
  quadrant_.Reset();
}

void PatternCoder::Adapt() {
  quadrant_count_.Adapt();
  quadrant_.Adapt();
}

uint32_t PatternCoder::ReadChromaQuadrant(size_t quadrant, PacketReader* reader) const {
  if (format_ == ColorFormat::k420) return 1U << quadrant;
  if (format_ == ColorFormat::k422) {
    constexpr uint32_t kMasks[3] = {1, 4, 5};
    return kMasks[ReadTernary(reader)] << kShift422[quadrant];
  }
  const uint32_t set = kBlockCountCode.Read(reader) + 1;
  return ReadMask(set, reader) << (4 * quadrant);
}

void PatternCoder::WriteChromaQuadrant(uint32_t bits, PacketWriter* writer) const {
  if (format_ == ColorFormat::k422) WriteTernary(bits == 1 ? 0 : bits == 4 ? 1 : 2, writer);
  if (format_ != ColorFormat::k444) return;
  kBlockCountCode.Write(CountBits(bits) - 1, writer);
  WriteMask(bits, writer);
}

// The bits of a quadrant in a component's pattern, moved to bit 0.
uint32_t PatternCoder::ChromaOf(size_t quadrant, uint32_t pattern) const {
  if (format_ == ColorFormat::k420) return pattern >> quadrant & 1;
  if (format_ == ColorFormat::k422) return pattern >> kShift422[quadrant] & 5;
  return pattern >> (4 * quadrant) & 15;
}

void PatternCoder::ReadQuadrant(size_t quadrant, PacketReader* reader, Patterns* differences) {
  uint32_t value = quadrant_.Read(reader) + 1;
  uint32_t chroma = 0;  // 1: U, 2: V
  if (value >= 6) {
    constexpr uint32_t kPresent[3] = {1, 2, 3};
    chroma = kPresent[ReadTernary(reader)];
    if (value == 9) value += ReadTernary(reader);
    value -= 6;
  }
  const uint32_t index = reader->Bits(kBitsOfClass[value]);
  (*differences)[0] |= uint32_t{kMasksOfClass[value][index]} << (4 * quadrant);
  for (size_t c = 1; c < 3; ++c) {
    if ((chroma >> (c - 1) & 1) != 0) (*differences)[c] |= ReadChromaQuadrant(quadrant, reader);
  }
}

void PatternCoder::WriteQuadrant(size_t quadrant, const Patterns& differences,
                                 PacketWriter* writer) {
  const LumaClass luma = ClassOf(differences[0] >> (4 * quadrant) & 15);
  const bool is_color = format_ != ColorFormat::kGrey;
  const uint32_t u = is_color ? ChromaOf(quadrant, differences[1]) : 0;
  const uint32_t v = is_color ? ChromaOf(quadrant, differences[2]) : 0;
  if ((u | v) == 0) {
    quadrant_.Write(luma.number - 1, writer);
  } else {
    quadrant_.Write(std::min(luma.number, 3U) + 5, writer);
    WriteTernary(v == 0 ? 0 : u == 0 ? 1 : 2, writer);
    if (luma.number >= 3) WriteTernary(luma.number - 3, writer);
  }
  writer->Put(luma.index, kBitsOfClass[luma.number]);
  if (u != 0) WriteChromaQuadrant(u, writer);
  if (v != 0) WriteChromaQuadrant(v, writer);
}

Patterns PatternCoder::Read(PacketReader* reader) {
  Patterns differences = {};
  const uint32_t quadrants = ReadMask(quadrant_count_.Read(reader), reader);
  for (size_t q = 0; q < 4; ++q) {
    if ((quadrants >> q & 1) != 0) ReadQuadrant(q, reader, &differences);
  }
  return differences;
}

void PatternCoder::Write(const Patterns& differences, PacketWriter* writer) {
  uint32_t quadrants = 0;
  for (size_t q = 0; q < 4; ++q) {
    bool is_set = (differences[0] >> (4 * q) & 15) != 0;
    for (size_t c = 1; c < ComponentCount(format_); ++c) {
      is_set = is_set || ChromaOf(q, differences[c]) != 0;
    }
    quadrants |= (is_set ? 1U : 0U) << q;
  }
  quadrant_count_.Write(CountBits(quadrants), writer);
  WriteMask(quadrants, writer);
  for (size_t q = 0; q < 4; ++q) {
    if ((quadrants >> q & 1) != 0) WriteQuadrant(q, differences, writer);
  }
}

}  // namespace zepcodec::jpegxr
