// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/marker_writer.h"

namespace zepcodec::jpeg2000 {
namespace {

template <class T>
void Put(T value, int count, std::vector<uint8_t>* bytes) {
  for (int i = count; i-- > 0;) {
    bytes->push_back(static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i)));
  }
}

// A segment whose length is known at its end.
class Segment {
 public:
  Segment(int marker, std::vector<uint8_t>* bytes) : bytes_(bytes) {
    WriteMarker(marker, bytes);
    begin_ = bytes->size();
    Put(0, 2, bytes);
  }
  ~Segment() {
    const size_t length = bytes_->size() - begin_;
    (*bytes_)[begin_] = static_cast<uint8_t>(length >> 8);
    (*bytes_)[begin_ + 1] = static_cast<uint8_t>(length);
  }
  Segment(const Segment&) = delete;
  Segment& operator=(const Segment&) = delete;

 private:
  std::vector<uint8_t>* bytes_;
  size_t begin_;
};

void WriteSize(const SizeSegment& size, std::vector<uint8_t>* bytes) {
  const Segment segment(kSiz, bytes);
  Put(0, 2, bytes);
  for (const int32_t value : {size.x1, size.y1, size.x0, size.y0, size.tile_width, size.tile_height,
                              size.tile_x0, size.tile_y0}) {
    Put(value, 4, bytes);
  }
  Put(size.components.size(), 2, bytes);
  for (const SizeSegment::ComponentSize& component : size.components) {
    Put((component.is_signed ? 128 : 0) | (component.bits - 1), 1, bytes);
    Put(component.dx, 1, bytes);
    Put(component.dy, 1, bytes);
  }
}

void WriteCoding(const TileCoding& tile, const ComponentCoding& coding,
                 std::vector<uint8_t>* bytes) {
  const Segment segment(kCod, bytes);
  const auto count = static_cast<size_t>(coding.levels) + 1;
  const auto& widths = coding.precinct_width_log2;
  const auto& heights = coding.precinct_height_log2;
  bool has_precincts = false;
  for (size_t r = 0; r < count; ++r) has_precincts |= widths[r] < 15 || heights[r] < 15;
  Put((has_precincts ? 1 : 0) | (tile.uses_sop ? 2 : 0) | (tile.uses_eph ? 4 : 0), 1, bytes);
  Put(static_cast<int>(tile.order), 1, bytes);
  Put(tile.layers, 2, bytes);
  Put(tile.transforms_components ? 1 : 0, 1, bytes);
  Put(coding.levels, 1, bytes);
  Put(coding.block_width_log2 - 2, 1, bytes);
  Put(coding.block_height_log2 - 2, 1, bytes);
  Put(coding.block_style, 1, bytes);
  Put(coding.reversible ? 1 : 0, 1, bytes);
  for (size_t r = 0; has_precincts && r < count; ++r) {
    Put(heights[r] << 4 | widths[r], 1, bytes);
  }
}

void WriteSteps(const Quantization& quantization, std::vector<uint8_t>* bytes) {
  Put(quantization.guard_bits << 5 | static_cast<int>(quantization.style), 1, bytes);
  for (size_t i = 0; i < static_cast<size_t>(quantization.count); ++i) {
    const StepSize& step = quantization.steps[i];
    if (quantization.style == QuantizationStyle::kNone) {
      Put(step.exponent << 3, 1, bytes);
    } else {
      Put(step.exponent << 11 | step.mantissa, 2, bytes);
    }
  }
}

bool SameSteps(const Quantization& a, const Quantization& b) {
  std::vector<uint8_t> bytes_a, bytes_b;
  WriteSteps(a, &bytes_a);
  WriteSteps(b, &bytes_b);
  return bytes_a == bytes_b;
}

}  // namespace

void WriteMarker(int marker, std::vector<uint8_t>* bytes) { Put(marker, 2, bytes); }

void WriteMainHeader(const SizeSegment& size, const Parameters& parameters,
                     std::vector<uint8_t>* bytes) {
  WriteMarker(kSoc, bytes);
  WriteSize(size, bytes);
  WriteCoding(parameters.tile, parameters.components[0].coding, bytes);
  const Quantization& first = parameters.components[0].quantization;
  {
    const Segment segment(kQcd, bytes);
    WriteSteps(first, bytes);
  }
  for (size_t i = 1; i < parameters.components.size(); ++i) {
    const Quantization& own = parameters.components[i].quantization;
    if (SameSteps(own, first)) continue;
    const Segment segment(kQcc, bytes);
    Put(i, 1, bytes);
    WriteSteps(own, bytes);
  }
}

void WriteTilePartHeader(int tile, size_t size, std::vector<uint8_t>* bytes) {
  {
    const Segment segment(kSot, bytes);
    Put(tile, 2, bytes);
    Put(size + kTilePartHeaderSize, 4, bytes);
    Put(0, 1, bytes);  // the first part
    Put(1, 1, bytes);  // of one
  }
  WriteMarker(kSod, bytes);
}

void WriteStartMarker(int64_t packet, std::vector<uint8_t>* bytes) {
  const Segment segment(kSop, bytes);
  Put(packet & 0xFFFF, 2, bytes);
}

}  // namespace zepcodec::jpeg2000
