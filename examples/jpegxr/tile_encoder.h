// SPDX-License-Identifier: MIT
// Encodes a tile to its packets: one, or one for each band.
#ifndef ZEPJP_EXAMPLES_JPEGXR_TILE_ENCODER_H_
#define ZEPJP_EXAMPLES_JPEGXR_TILE_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "jpegxr/coded_plane.h"
#include "jpegxr/packet.h"
#include "jpegxr/plane_encoder.h"

namespace jpegxr {

class TileEncoder {
 public:
  TileEncoder(const FrameHeader& frame, size_t tile, uint32_t trim, CodedPlane* plane);

  size_t Height() const { return area_.Height(); }  // in macroblocks
  // The next row of macroblocks.
  void EncodeRow();
  // The whole packets, after the last row.
  std::vector<std::vector<uint8_t>> Finish();

 private:
  PacketWriter* Packet(size_t band) { return &packets_[band < packets_.size() ? band : 0]; }

  TileArea area_;
  std::vector<PacketWriter> packets_;
  PlaneEncoder encoder_;
  size_t row_ = 0;
};

}  // namespace jpegxr

#endif  // ZEPJP_EXAMPLES_JPEGXR_TILE_ENCODER_H_
