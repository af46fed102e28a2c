// SPDX-License-Identifier: MIT
// Encodes the DC and low-pass values of one plane in a tile. The reverse of the first half of
// plane_decoder.cc: all adaptive state changes exactly as in the decoder, which sees the same
// symbols. No state is shared with the high-pass band, so that the two can be encoded at the same
// time.
#ifndef ZEPJP_CODECS_JPEGXR_LOW_ENCODER_H_
#define ZEPJP_CODECS_JPEGXR_LOW_ENCODER_H_

#include <cstddef>
#include <cstdint>

#include "codecs/jpegxr/band_context.h"
#include "codecs/jpegxr/codestream.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/prediction.h"

namespace zepcodec::jpegxr {

class LowEncoder {
 public:
  // For a tile of `width` macroblocks.
  LowEncoder(const PlaneHeader& header, size_t width);

  // Encodes the next macroblock in raster order. The writers may be the same.
  void Encode(size_t x, const LowBands& low, PacketWriter* dc, PacketWriter* lp);

 private:
  void WriteDc(const LowBands& low, PacketWriter* writer);
  void WriteLp(const LowBands& low, PacketWriter* writer);
  void WriteLpRefinement(const int32_t* packed, uint32_t bits, PacketWriter* writer);
  void WriteSubsampledLp(PacketWriter* writer);
  void ScanSubsampledLp(const LowBands& low);

  // A component's low-pass values as runs and levels, with their refinement bits.
  struct LpBlock {
    int32_t pairs[32];
    uint32_t count;
    int32_t packed[16];
  };

  const PlaneHeader& header_;
  size_t width_;
  ColorFormat format_;
  BandContext context_;
  LpBlock lp_blocks_[3];  // subsampled chroma: U and V in [1]; [2] has V's refinement bits
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_LOW_ENCODER_H_
