// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/tile_encoder.h"

namespace zepcodec::jpegxr {
namespace {

// The kind of packet: 0 for all bands in one, else 1 to 4 for a band.
void WritePacketHeader(size_t tile, size_t kind, PacketWriter* writer) {
  writer->MakeRoom();
  writer->Put(0, 16);
  writer->Put(1, 8);
  writer->Put(static_cast<uint32_t>(tile % 32 * 8 + kind), 8);
}

}  // namespace

TileEncoder::TileEncoder(const FrameHeader& frame, size_t tile, uint32_t trim)
    : area_(AreaOfTile(frame, tile)),
      packets_(frame.is_frequency_order ? PacketsOf(frame.plane.bands) : 1),
      encoder_(frame.plane, area_.Width(), trim) {
  for (size_t i = 0; i < packets_.size(); ++i) {
    WritePacketHeader(tile, frame.is_frequency_order ? i + 1 : 0, &packets_[i]);
    const bool has_refinement = !frame.is_frequency_order || i == 3;
    if (frame.has_trim && has_refinement) packets_[i].Put(trim, 4);
  }
}

void TileEncoder::EncodeRow(const QuantizedMacroblock* macroblocks) {
  const BandWriters writers = {Packet(0), Packet(1), Packet(2), Packet(3)};
  for (size_t x = 0; x < area_.Width(); ++x) {
    for (PacketWriter& writer : packets_) writer.MakeRoom();
    encoder_.EncodeMacroblock(x, row_, macroblocks[x], writers);
  }
  ++row_;
}

std::vector<std::vector<uint8_t>> TileEncoder::Finish() {
  std::vector<std::vector<uint8_t>> packets;
  for (PacketWriter& writer : packets_) packets.push_back(writer.Finish());
  return packets;
}

}  // namespace zepcodec::jpegxr
