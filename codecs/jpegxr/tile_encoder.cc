// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/tile_encoder.h"

#include <algorithm>

namespace zepcodec::jpegxr {
namespace {

constexpr size_t kLowPackets = 2;  // DC and low-pass

// The kind of packet: 0 for all bands in one, else 1 to 4 for a band.
void WritePacketHeader(size_t tile, size_t kind, PacketWriter* writer) {
  writer->MakeRoom();
  writer->Put(0, 16);
  writer->Put(1, 8);
  writer->Put(static_cast<uint32_t>(tile % 32 * 8 + kind), 8);
}

void CopyBits(size_t number, PacketReader* from, PacketWriter* to) {
  for (; number > 0; number -= std::min<size_t>(number, 16)) {
    const auto part = static_cast<uint32_t>(std::min<size_t>(number, 16));
    to->Put(from->Bits(part), part);
  }
}

}  // namespace

LowTileEncoder::LowTileEncoder(const FrameHeader& frame, size_t tile)
    : width_(AreaOfTile(frame, tile).Width()), encoder_(frame.plane, width_) {
  if (!frame.is_frequency_order) return;
  packets_.resize(std::min(PacketsOf(frame), kLowPackets));
  for (size_t i = 0; i < packets_.size(); ++i) WritePacketHeader(tile, i + 1, &packets_[i]);
}

void LowTileEncoder::EncodeRow(const QuantizedMacroblock* macroblocks, LowBits* low) {
  if (packets_.empty()) low->bits.Clear();
  PacketWriter* const dc = packets_.empty() ? &low->bits : &packets_.front();
  PacketWriter* const lp = packets_.empty() ? &low->bits : &packets_.back();
  low->ends.clear();
  for (size_t x = 0; x < width_; ++x) {
    dc->MakeRoom();
    lp->MakeRoom();
    encoder_.Encode(x, macroblocks[x].low, dc, lp);
    low->ends.push_back(dc->SizeInBits());
  }
  if (packets_.empty()) low->bits.Flush();
}

void LowTileEncoder::Finish(TilePacketBytes* packets) {
  for (size_t i = 0; i < packets_.size(); ++i) (*packets)[i] = packets_[i].Finish();
}

HighTileEncoder::HighTileEncoder(const FrameHeader& frame, size_t tile, uint32_t trim)
    : frame_(frame),
      width_(AreaOfTile(frame, tile).Width()),
      first_(frame.is_frequency_order ? std::min(PacketsOf(frame), kLowPackets) : 0),
      packets_(PacketsOf(frame) - first_),
      encoder_(frame.plane, width_, trim) {
  for (size_t i = 0; i < packets_.size(); ++i) {
    WritePacketHeader(tile, frame.is_frequency_order ? first_ + i + 1 : 0, &packets_[i]);
    const bool has_refinement = !frame.is_frequency_order || i == 1;
    if (frame.has_trim && has_refinement) packets_[i].Put(trim, 4);
  }
}

void HighTileEncoder::EncodeRow(const QuantizedMacroblock* macroblocks, const LowBits& low) {
  if (packets_.empty()) return;
  PacketReader low_bits = low.bits.Read();
  size_t begin = 0;
  for (size_t x = 0; x < width_; ++x) {
    for (PacketWriter& writer : packets_) writer.MakeRoom();
    if (!frame_.is_frequency_order) {
      CopyBits(low.ends[x] - begin, &low_bits, &packets_.front());
      begin = low.ends[x];
    }
    if (!frame_.plane.HasHp()) continue;
    encoder_.Encode(x, row_, macroblocks[x], &packets_.front(), &packets_.back());
  }
  ++row_;
}

void HighTileEncoder::Finish(TilePacketBytes* packets) {
  for (size_t i = 0; i < packets_.size(); ++i) (*packets)[first_ + i] = packets_[i].Finish();
}

}  // namespace zepcodec::jpegxr
