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
#include "codecs/jpegxr/prediction.h"
#include "codecs/jpegxr/quantizer.h"

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
  PlaneEncoder(CodedPlane* plane, const TileArea& area, uint32_t trim);

  // Encodes the next macroblock in raster order.
  void EncodeMacroblock(size_t x, size_t y, const BandWriters& writers);

 private:
  void QuantizeLow(size_t x, size_t y);
  void WriteDc(const LowBands& low, PacketWriter* writer);
  void WriteLp(const LowBands& low, PacketWriter* writer);
  void WriteLpRefinement(const int32_t* packed, uint32_t bits, PacketWriter* writer);
  void WriteSubsampledLp(PacketWriter* writer);
  void ScanSubsampledLp(const LowBands& low);
  void QuantizeHp(size_t component, Direction direction, const Window& values);
  void SubtractHp(size_t component, Direction direction);
  void WriteHp(size_t x, size_t y, const BandWriters& writers);
  void WriteBlocks(size_t component, zepiVLCContext* context, const BandWriters& writers);
  size_t BlockCount(size_t component) const {
    const Component& of = plane_->components[component];
    return of.blocks_across * of.blocks_down;
  }

  // A component's low-pass values as runs and levels, with their refinement bits.
  struct LpBlock {
    int32_t pairs[32];
    uint32_t count;
    int32_t packed[16];
  };

  CodedPlane* plane_;
  TileArea area_;
  uint32_t trim_;
  ColorFormat format_;
  BandContext context_;
  std::array<Quantizer, 3> dc_quantizers_, lp_quantizers_, hp_quantizers_;
  std::vector<Neighbour> above_, row_;
  Neighbour* current_ = nullptr;
  LpBlock lp_blocks_[3];  // subsampled chroma: U and V in [1]; [2] has V's refinement bits
  // The blocks of each component in order of coding, 16 values each in rows of 4.
  alignas(64) std::array<std::array<int32_t, 256>, 3> blocks_;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PLANE_ENCODER_H_
