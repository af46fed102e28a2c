// SPDX-License-Identifier: MIT
// Encodes a tile to its packets: one, or one for each band. The low bands (DC and low-pass) and the
// high band have an encoder each, so that two threads can encode a tile. In spatial order, where
// the bits of all bands alternate, those of the low bands wait in a buffer.
#ifndef ZEPJP_CODECS_JPEGXR_TILE_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_TILE_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/high_encoder.h"
#include "codecs/jpegxr/low_encoder.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/plane_quantizer.h"

namespace zepcodec::jpegxr {

// The bits of the low bands of a row of macroblocks, in spatial order.
struct LowBits {
  PacketWriter bits;
  std::vector<size_t> ends;  // of each macroblock's bits
};

using TilePacketBytes = std::vector<std::vector<uint8_t>>;

// Packets of a tile.
inline size_t PacketsOf(const FrameHeader& frame) {
  return frame.is_frequency_order ? PacketsOf(frame.plane.bands) : 1;
}

class LowTileEncoder {
 public:
  LowTileEncoder(const FrameHeader& frame, size_t tile);

  // Encodes the next row of macroblocks, in frequency order without `low`.
  void EncodeRow(const QuantizedMacroblock* macroblocks, LowBits* low);
  // After the last row: the packets that contain no other bands.
  void Finish(TilePacketBytes* packets);

 private:
  size_t width_;
  std::vector<PacketWriter> packets_;  // of frequency order
  LowEncoder encoder_;
};

class HighTileEncoder {
 public:
  HighTileEncoder(const FrameHeader& frame, size_t tile, uint32_t trim);

  // Encodes the next row of macroblocks, in spatial order with its low bands.
  void EncodeRow(const QuantizedMacroblock* macroblocks, const LowBits& low);
  // After the last row: the other packets.
  void Finish(TilePacketBytes* packets);

 private:
  const FrameHeader& frame_;
  size_t width_;
  size_t first_;                       // of the packets, in the tile
  std::vector<PacketWriter> packets_;  // the one of all bands, or those of the high band
  HighEncoder encoder_;
  size_t row_ = 0;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_TILE_ENCODER_H_
