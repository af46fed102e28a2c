// SPDX-License-Identifier: MIT
// Encodes the macroblocks of one plane in a tile, band by band.
#ifndef ZEPJP_CODECS_JPEGXR_PLANE_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_PLANE_ENCODER_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/band_context.h"
#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/plane_quantizer.h"

namespace zepcodec::jpegxr {

// The writers of the bands. In spatial order all bands share one.
struct BandWriters {
  PacketWriter* dc;
  PacketWriter* lp;
  PacketWriter* hp;
  PacketWriter* refinement;
};

class PlaneEncoder {
 public:
  // For a tile of `width` macroblocks.
  PlaneEncoder(const PlaneHeader& header, size_t width, uint32_t trim);

  // Encodes the next macroblock in raster order.
  void EncodeMacroblock(size_t x, size_t y, const QuantizedMacroblock& macroblock,
                        const BandWriters& writers);

 private:
  void WriteDc(const LowBands& low, PacketWriter* writer);
  void WriteLp(const LowBands& low, PacketWriter* writer);
  void WriteLpRefinement(const int32_t* packed, uint32_t bits, PacketWriter* writer);
  void WriteSubsampledLp(PacketWriter* writer);
  void ScanSubsampledLp(const LowBands& low);
  void WriteHp(size_t x, size_t y, const QuantizedMacroblock& macroblock,
               const BandWriters& writers);
  void WriteBlocks(size_t component, uint32_t pattern, const int32_t* blocks,
                   zepiVLCContext* context, const BandWriters& writers);
  size_t BlockCount(size_t component) const {
    return BlocksAcross(format_, component) * BlocksDown(format_, component);
  }

  // A component's low-pass values as runs and levels, with their refinement bits.
  struct LpBlock {
    int32_t pairs[32];
    uint32_t count;
    int32_t packed[16];
  };

  const PlaneHeader& header_;
  size_t width_;
  uint32_t trim_;
  ColorFormat format_;
  BandContext context_;
  std::vector<Patterns> above_, row_;
  LpBlock lp_blocks_[3];  // subsampled chroma: U and V in [1]; [2] has V's refinement bits
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PLANE_ENCODER_H_
