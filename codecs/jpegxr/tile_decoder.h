// SPDX-License-Identifier: MIT
// Decodes the packets of a tile (ITU-T T.832, 8.7) to coefficients.
#ifndef ZEPJP_CODECS_JPEGXR_TILE_DECODER_H_
#define ZEPJP_CODECS_JPEGXR_TILE_DECODER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/packet.h"

namespace zepcodec::jpegxr {

// The starts of a tile's packets: one, or one for each band. Null: the packet is missing.
// PacketReader::kSpareBytes more bytes follow `end`.
struct TilePackets {
  std::array<const uint8_t*, 4> begins;
  const uint8_t* end;
};

// The first macroblock in the tile whose bits are missing or damaged, and a message.
struct TileResult {
  bool is_whole = true;
  std::string problem;
};

class PlaneDecoder;

// Decodes the picture's plane and that of opacity, if there is one; their macroblocks alternate.
class TileDecoder {
 public:
  TileDecoder(const FrameHeader& frame, const TileArea& area, const TilePackets& packets,
              const std::vector<CodedPlane*>& planes);
  TileDecoder(const TileDecoder&) = delete;
  TileDecoder& operator=(const TileDecoder&) = delete;
  ~TileDecoder();

  // The most memory of `count` decoders: for tiles side by side in a plane of this width, or for
  // tiles of up to this width.
  static size_t MemoryOf(size_t count, size_t mb_width);

  // Decodes the next row of macroblocks; after an error the rest of the tile is left out.
  void DecodeRow();
  const TileResult& result() const { return result_; }

 private:
  bool Open();
  bool IsBeyondEnd() const;

  const FrameHeader& frame_;
  TileArea area_;
  TilePackets packets_;
  std::vector<std::unique_ptr<PlaneDecoder>> decoders_;
  std::array<PacketReader, 4> readers_;
  BandReaders bands_{};
  uint32_t trim_ = 0;
  size_t row_ = 0;
  TileResult result_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_TILE_DECODER_H_
