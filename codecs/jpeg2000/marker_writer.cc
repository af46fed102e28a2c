// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/marker_writer.h"

#include "codecs/support/byte_writer.h"

namespace zepcodec::jpeg2000 {
namespace {

// A segment whose length is known at its end.
class Segment : public ByteWriter {
 public:
  Segment(int marker, std::vector<uint8_t>* bytes) : ByteWriter(bytes) {
    Word(marker);
    begin_ = size();
    Word(0);
  }
  ~Segment() { Set(begin_, size() - begin_, 2); }
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;

 private:
  size_t begin_;
};

void WriteSize(const SizeSegment& size, std::vector<uint8_t>* bytes) {
  Segment segment(kSiz, bytes);
  segment.Word(0);
  for (const int32_t value : {size.x1, size.y1, size.x0, size.y0, size.tile_width, size.tile_height,
                              size.tile_x0, size.tile_y0}) {
    segment.Long(value);
  }
  segment.Word(size.components.size());
  for (const SizeSegment::ComponentSize& component : size.components) {
    segment.Byte((component.is_signed ? 128 : 0) | (component.bits - 1));
    segment.Byte(component.dx);
    segment.Byte(component.dy);
  }
}

void WriteCoding(const TileCoding& tile, const ComponentCoding& coding,
                 std::vector<uint8_t>* bytes) {
  Segment segment(kCod, bytes);
  const auto count = static_cast<size_t>(coding.levels) + 1;
  const auto& widths = coding.precinct_width_log2;
  const auto& heights = coding.precinct_height_log2;
  bool has_precincts = false;
  for (size_t r = 0; r < count; ++r) has_precincts |= widths[r] < 15 || heights[r] < 15;
  segment.Byte((has_precincts ? 1 : 0) | (tile.uses_sop ? 2 : 0) | (tile.uses_eph ? 4 : 0));
  segment.Byte(static_cast<int>(tile.order));
  segment.Word(tile.layers);
  segment.Byte(tile.transforms_components ? 1 : 0);
  segment.Byte(coding.levels);
  segment.Byte(coding.block_width_log2 - 2);
  segment.Byte(coding.block_height_log2 - 2);
  segment.Byte(coding.block_style);
  segment.Byte(coding.reversible ? 1 : 0);
  for (size_t r = 0; has_precincts && r < count; ++r) {
    segment.Byte(heights[r] << 4 | widths[r]);
  }
}

void WriteSteps(const Quantization& quantization, ByteWriter* writer) {
  writer->Byte(quantization.guard_bits << 5 | static_cast<int>(quantization.style));
  for (size_t i = 0; i < static_cast<size_t>(quantization.count); ++i) {
    const StepSize& step = quantization.steps[i];
    if (quantization.style == QuantizationStyle::kNone) {
      writer->Byte(step.exponent << 3);
    } else {
      writer->Word(step.exponent << 11 | step.mantissa);
    }
  }
}

bool SameSteps(const Quantization& a, const Quantization& b) {
  std::vector<uint8_t> bytes_a, bytes_b;
  ByteWriter writer_a(&bytes_a), writer_b(&bytes_b);
  WriteSteps(a, &writer_a);
  WriteSteps(b, &writer_b);
  return bytes_a == bytes_b;
}

}  // namespace

void WriteMarker(int marker, std::vector<uint8_t>* bytes) { ByteWriter(bytes).Word(marker); }

void WriteMainHeader(const SizeSegment& size, const Parameters& parameters,
                     std::vector<uint8_t>* bytes) {
  WriteMarker(kSoc, bytes);
  WriteSize(size, bytes);
  WriteCoding(parameters.tile, parameters.components[0].coding, bytes);
  const Quantization& first = parameters.components[0].quantization;
  {
    Segment segment(kQcd, bytes);
    WriteSteps(first, &segment);
  }
  for (size_t i = 1; i < parameters.components.size(); ++i) {
    const Quantization& own = parameters.components[i].quantization;
    if (SameSteps(own, first)) continue;
    Segment segment(kQcc, bytes);
    segment.Byte(i);
    WriteSteps(own, &segment);
  }
}

void WriteTilePartHeader(int tile, size_t size, std::vector<uint8_t>* bytes) {
  {
    Segment segment(kSot, bytes);
    segment.Word(tile);
    segment.Long(size);
    segment.Byte(0);  // the first part
    segment.Byte(1);  // of one
  }
  WriteMarker(kSod, bytes);
}

void WriteStartMarker(int64_t packet, std::vector<uint8_t>* bytes) {
  Segment segment(kSop, bytes);
  segment.Word(packet & 0xFFFF);
}

}  // namespace zepcodec::jpeg2000
