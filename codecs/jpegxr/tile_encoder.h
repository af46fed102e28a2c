// SPDX-License-Identifier: MIT
// Encodes a tile to its packets: one, or one for each band.
#ifndef ZEPJP_CODECS_JPEGXR_TILE_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_TILE_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/plane_encoder.h"

namespace zepcodec::jpegxr {

class TileEncoder {
 public:
  TileEncoder(const FrameHeader& frame, size_t tile, uint32_t trim);

  // Encodes the next row of macroblocks.
  void EncodeRow(const QuantizedMacroblock* macroblocks);
  // The finished packets, after the last row.
  std::vector<std::vector<uint8_t>> Finish();

 private:
  PacketWriter* Packet(size_t band) { return &packets_[band < packets_.size() ? band : 0]; }

  TileArea area_;
  std::vector<PacketWriter> packets_;
  PlaneEncoder encoder_;
  size_t row_ = 0;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_TILE_ENCODER_H_
