// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/header_writer.h"

#include "codecs/jpegxr/header_bits.h"

namespace zepcodec::jpegxr {
namespace {

uint32_t NumberOf(SampleType type) {
  constexpr uint32_t kNumbers[] = {1, 2, 3, 6, 4, 7};
  return kNumbers[static_cast<int>(type)];
}

void PutSet(size_t components, const QuantizerSet& set, HeaderWriter* writer) {
  constexpr uint32_t kEachItsOwn = 2;
  if (components > 1) writer->Put(kEachItsOwn, 2);
  for (size_t c = 0; c < components; ++c) writer->Put(set[c], 8);
}

void PutPlaneHeader(SampleType type, const PlaneHeader& plane, HeaderWriter* writer) {
  const size_t components = plane.Components();
  writer->Put(static_cast<uint32_t>(plane.color), 3);
  writer->Put(plane.is_scaled ? 1 : 0, 1);
  writer->Put(static_cast<uint32_t>(plane.bands), 4);
  if (plane.color != ColorFormat::kGrey) writer->Put(0, 8);
  if (HasShift(type)) writer->Put(static_cast<uint32_t>(plane.shift), 8);
  if (type == SampleType::kF32) writer->Put(static_cast<uint32_t>(plane.exponent_bias) & 255, 8);
  writer->Put(1, 1);
  PutSet(components, plane.dc, writer);
  if (plane.HasLp()) {
    writer->Put(1, 2);  // not as DC, for the whole frame
    PutSet(components, plane.lp, writer);
  }
  if (plane.HasHp()) {
    writer->Put(1, 2);
    PutSet(components, plane.hp, writer);
  }
  writer->Align();
}

void PutTileSizes(const std::vector<uint32_t>& starts, HeaderWriter* writer) {
  for (size_t i = 1; i + 1 < starts.size(); ++i) writer->Put(starts[i] - starts[i - 1], 16);
}

void PutFlags(const FrameHeader& frame, HeaderWriter* writer) {
  writer->Put(1, 4);
  writer->Put(frame.has_hard_tiles ? 1 : 0, 1);
  writer->Put(1, 3);
  writer->Put(frame.TileCount() > 1 ? 1 : 0, 1);
  writer->Put(frame.is_frequency_order ? 1 : 0, 1);
  writer->Put(static_cast<uint32_t>(frame.orientation), 3);
  writer->Put(frame.has_index ? 1 : 0, 1);
  writer->Put(static_cast<uint32_t>(frame.overlap), 2);
  writer->Put(0, 1);  // sizes in 32 bits
  writer->Put(1, 1);  // arithmetic in 32 bits
  writer->Put(0, 1);  // no window
  writer->Put(frame.has_trim ? 1 : 0, 1);
  writer->Put(0, 1);
  writer->Put(frame.is_bgr ? 1 : 0, 1);
  writer->Put(0, 1);
  writer->Put(frame.has_alpha ? 1 : 0, 1);
  writer->Put(frame.is_rgb ? 7 : 0, 4);
  writer->Put(NumberOf(frame.type), 4);
}

}  // namespace

std::vector<uint8_t> MakeHeaders(const FrameHeader& frame,
                                 const std::vector<uint64_t>& packet_sizes) {
  std::vector<uint8_t> bytes = {'W', 'M', 'P', 'H', 'O', 'T', 'O', 0};
  HeaderWriter writer(&bytes);
  PutFlags(frame, &writer);
  writer.Put(frame.width - 1, 32);
  writer.Put(frame.height - 1, 32);
  if (frame.TileCount() > 1) {
    writer.Put(static_cast<uint32_t>(frame.columns.size() - 2), 12);
    writer.Put(static_cast<uint32_t>(frame.rows.size() - 2), 12);
    PutTileSizes(frame.columns, &writer);
    PutTileSizes(frame.rows, &writer);
  }
  writer.Align();
  PutPlaneHeader(frame.type, frame.plane, &writer);
  if (frame.has_alpha) PutPlaneHeader(frame.type, frame.alpha, &writer);
  if (frame.has_index) {
    writer.Put(1, 16);
    uint64_t offset = 0;
    for (const uint64_t size : packet_sizes) {
      writer.PutNumber(offset);
      offset += size;
    }
  }
  // Profile and level: the highest, and the last of the list.
  writer.PutNumber(4);
  writer.Put(0x6FFF0001, 32);
  return bytes;
}

}  // namespace zepcodec::jpegxr
