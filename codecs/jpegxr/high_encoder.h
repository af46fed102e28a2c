// SPDX-License-Identifier: MIT
// Encodes the high-pass values of one plane in a tile, with their refinement bits. The reverse of
// the second half of plane_decoder.cc: all adaptive state changes exactly as in the decoder.
#ifndef ZEPJP_CODECS_JPEGXR_HIGH_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_HIGH_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/band_context.h"
#include "codecs/jpegxr/codestream.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/plane_quantizer.h"

namespace zepcodec::jpegxr {

class HighEncoder {
 public:
  // For a tile of `width` macroblocks.
  HighEncoder(const PlaneHeader& header, size_t width, uint32_t trim);

  // Encodes the next macroblock in raster order. The writers may be the same.
  void Encode(size_t x, size_t y, const QuantizedMacroblock& macroblock, PacketWriter* hp,
              PacketWriter* refinement);

 private:
  void WriteBlocks(size_t component, uint32_t pattern, const int32_t* blocks,
                   zepiVLCContext* context, PacketWriter* hp, PacketWriter* refinement);
  size_t BlockCount(size_t component) const {
    return BlocksAcross(format_, component) * BlocksDown(format_, component);
  }

  const PlaneHeader& header_;
  size_t width_;
  uint32_t trim_;
  ColorFormat format_;
  BandContext context_;
  std::vector<Patterns> above_, row_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_HIGH_ENCODER_H_
