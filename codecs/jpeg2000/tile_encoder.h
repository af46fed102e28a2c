// SPDX-License-Identifier: MIT
// Encodes a tile from samples to packets.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_ENCODER_H_
#define ZEPJP_CODECS_JPEG2000_TILE_ENCODER_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

#include "codecs/jpeg2000/block_encoder.h"
#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/packet_writer.h"
#include "codecs/jpeg2000/plane.h"
#include "codecs/jpeg2000/sample_source.h"
#include "codecs/support/byte_buffer.h"
#include "codecs/support/progress.h"
#include "codecs/support/status.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg2000 {

class TileEncoder {
 public:
  TileEncoder(const SizeSegment& size, const Parameters& parameters, int number);

  // Transforms the tile's samples. They stay in memory up to Release().
  Status Transform(const SampleSource& source, ThreadPool* pool);
  // Codes all code-blocks in full. `progress` can be null.
  Status CodeAll(ThreadPool* pool, Progress* progress);
  // Codes a sample of them in full, then the others without some of the lowest planes. Only of use
  // where a plane counts the same in all subbands.
  Status CodeSample(ThreadPool* pool, Progress* progress);
  Status CodeOthers(int spare_planes, ThreadPool* pool, Progress* progress);
  // The part of the coefficients that is in the sample.
  double SampleShare() const;
  void Release();

  std::deque<EncodedBlock>& blocks() { return blocks_; }
  const std::deque<EncodedBlock>& blocks() const { return blocks_; }
  // Appends all precincts, which live as long as this.
  void AddPrecincts(std::vector<PrecinctWriter*>* precincts);
  // The size of the markers of a packet.
  size_t MarkerBytes() const;
  // Writes all packets in their order.
  void WritePackets(std::vector<uint8_t>* bytes);

 private:
  using PrecinctsOfResolution = std::vector<PrecinctWriter>;

  // Also transforms the components.
  Status LoadSamples(const SampleSource& source, ThreadPool* pool);
  void LoadRow(const SampleSource& source, size_t component, int64_t row, int32_t* buffer);
  void ForwardComponents(int64_t begin, int64_t end);
  void MakeBlocks();
  std::vector<PrecinctWriter::ForBand> MakePrecinct(size_t component, size_t resolution,
                                                    int64_t precinct);
  BlockSource SourceOf(size_t component, size_t resolution, const Band& band, const Rect& area);
  // Codes the blocks that are wanted(index).
  template <class IsWanted>
  Status CodeBlocks(int spare_planes, const IsWanted& wanted, ThreadPool* pool, Progress* progress);
  bool IsReversible(size_t component) const { return Own(component).coding.reversible; }
  const Parameters::ForComponent& Own(size_t component) const {
    return parameters_.components[component];
  }

  const SizeSegment& size_;
  const Parameters& parameters_;
  Tile tile_;
  std::vector<AnyPlane> planes_;
  std::deque<EncodedBlock> blocks_;
  std::vector<BlockSource> sources_;  // for each block
  std::vector<std::vector<PrecinctsOfResolution>> precincts_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_ENCODER_H_
