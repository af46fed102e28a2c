// SPDX-License-Identifier: MIT
// Decodes the macroblocks of one plane in a tile, band by band.
#ifndef ZEPJP_CODECS_JPEGXR_PLANE_DECODER_H_
#define ZEPJP_CODECS_JPEGXR_PLANE_DECODER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpegxr/band_context.h"
#include "codecs/jpegxr/coded_plane.h"
#include "codecs/jpegxr/packet.h"
#include "codecs/jpegxr/prediction.h"

namespace zepcodec::jpegxr {

class PlaneDecoder {
 public:
  PlaneDecoder(CodedPlane* plane, const TileArea& area);

  // Reads the tile's own quantizers where the frame has none.
  void ReadDcHeader(PacketReader* reader);
  void ReadLpHeader(PacketReader* reader);
  void ReadHpHeader(PacketReader* reader);

  // Decodes the next macroblock in raster order. False: the bits are not valid.
  bool DecodeMacroblock(size_t x, size_t y, uint32_t trim, const BandReaders& readers);

 private:
  struct Steps {
    int32_t of[3];
  };
  Steps StepsOf(const QuantizerSet& set, Band band) const;
  bool ReadQuantizerIndexes(const BandReaders& readers);
  void ReadDc(PacketReader* reader);
  void ReadLp(PacketReader* reader);
  void ReadLpBlock(size_t component, bool is_coded, Counts* counts, PacketReader* reader);
  void ReadSubsampledLp(bool is_coded, Counts* counts, PacketReader* reader);
  void ReadHp(size_t x, size_t y, uint32_t trim, const BandReaders& readers);
  void ReadBlocks(size_t component, const Window& blocks, uint32_t trim, zepiVLCContext* context,
                  const BandReaders& readers);
  void StoreLow(size_t x, size_t y);

  CodedPlane* plane_;
  TileArea area_;
  ColorFormat format_;
  BandContext context_;
  std::vector<Steps> dc_steps_, lp_steps_, hp_steps_;
  std::vector<QuantizerSet> lp_sets_;
  uint32_t lp_index_bits_ = 0;
  uint32_t hp_index_bits_ = 0;
  bool hp_follows_lp_ = false;
  uint32_t lp_quantizer_ = 0;
  uint32_t hp_quantizer_ = 0;
  std::vector<Neighbour> above_, row_;
  Neighbour* current_ = nullptr;
};

}  // namespace zepcodec::jpegxr

#endif  // ZEPJP_CODECS_JPEGXR_PLANE_DECODER_H_
