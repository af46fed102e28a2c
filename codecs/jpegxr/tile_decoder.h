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

// Where a tile's packets begin: one, or one for each band. Null where a packet is missing. Behind `end` there are
// PacketReader::kSpareBytes more.
struct TilePackets {
  std::array<const uint8_t*, 4> begins;
  const uint8_t* end;
};

// The first macroblock whose bits are missing or damaged, counted in the tile, and the sentence for it.
struct TileResult {
  bool is_whole = true;
  std::string problem;
};

class PlaneDecoder;

// Decodes the picture's plane and, if there is one, that of opacity, which takes turns with it.
class TileDecoder {
 public:
  TileDecoder(const FrameHeader& frame, const TileArea& area, const TilePackets& packets,
              const std::vector<CodedPlane*>& planes);
  TileDecoder(const TileDecoder&) = delete;
  TileDecoder& operator=(const TileDecoder&) = delete;
  ~TileDecoder();

  // What so many decoders take for a plane, side by side over this width or each no wider than that.
  static size_t MemoryOf(size_t count, size_t mb_width);

  // The next row of macroblocks. After a problem nothing more is decoded.
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
