// SPDX-License-Identifier: MIT
// Writes packets (ITU-T T.800, B.9, B.10).
#ifndef ZEPJP_CODECS_JPEG2000_PACKET_WRITER_H_
#define ZEPJP_CODECS_JPEG2000_PACKET_WRITER_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/tag_tree.h"

namespace zepcodec::jpeg2000 {

// A code-block that was coded in full, and its truncation in each layer.
struct EncodedBlock {
  // A place where it can be truncated: after `passes` coding passes.
  struct Cut {
    int passes;
    size_t length;      // bytes from the start
    double distortion;  // removed up to here
    double slope;       // distortion per byte since the cut before
  };
  int zero_planes = 0;
  std::vector<uint8_t> bytes;
  std::vector<size_t> pass_ends;   // end of each coding pass, in bytes
  std::vector<Cut> cuts;           // with falling slopes
  std::vector<size_t> layer_cuts;  // for each layer: the number of cuts up to its end; 0: none

  int PassesAt(size_t layer) const { return At(layer) == 0 ? 0 : cuts[At(layer) - 1].passes; }
  size_t LengthAt(size_t layer) const { return At(layer) == 0 ? 0 : cuts[At(layer) - 1].length; }

 private:
  size_t At(size_t layer) const { return layer_cuts[layer]; }
};

// Writes a precinct's blocks to packets, layer by layer from the first.
class PrecinctWriter {
 public:
  struct ForBand {
    int across = 0;
    int down = 0;
    std::vector<EncodedBlock*> blocks;
  };
  PrecinctWriter(const std::vector<ForBand>& bands, int block_style);

  // Starts again with layer 0; the blocks' cuts of `layers` layers are set.
  void Start(size_t layers);
  // Appends the header of the next layer's packet.
  void WriteHeader(std::vector<uint8_t>* header);
  // The body of the packet whose header was written last.
  void WriteBody(std::vector<uint8_t>* body) const;
  size_t BodySize() const;
  // The size of the packets of the first `layers` layers, with `others` more bytes for each.
  size_t PacketBytes(size_t layers, size_t others);

 private:
  struct BlockState {
    EncodedBlock* block;
    int length_bits;
    int open_passes;
  };
  struct BandState {
    TagTree inclusion;
    TagTree zero_planes;
    std::vector<BlockState> blocks;
  };
  // A segment's share of this packet.
  struct Piece {
    int passes;
    size_t length;
  };
  template <class Bits>
  void WriteBlock(size_t index, BandState* band, Bits* bits);
  std::vector<Piece> PiecesOf(int first_pass, size_t first_byte, int end_pass, size_t end_byte,
                              BlockState* state) const;
  // Whether any block gets passes from the next layer.
  bool HasPasses() const;
  int FirstLayer(const EncodedBlock& block, size_t layers) const;

  std::vector<BandState> bands_;
  int block_style_;
  size_t next_layer_ = 0;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PACKET_WRITER_H_
