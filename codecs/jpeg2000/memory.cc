// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/memory.h"

#include <algorithm>

#include "codecs/jpeg2000/block_decoder.h"
#include "codecs/jpeg2000/budget.h"
#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/marker_reader.h"
#include "codecs/jpeg2000/tile_decoder.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

constexpr int64_t kSampleBytes = sizeof(int32_t);
// Bytes of a code-block: the record and its nodes of two tag trees; its segments and spans, as the
// heap rounds them; its job, in a vector that doubles.
constexpr int64_t kBlockBytes =
    sizeof(CodedBlock) + 22 + sizeof(CodedBlock::Kept) + 96 + 2 * sizeof(BlockJob);
constexpr int64_t kPrecinctBytes =
    sizeof(PrecinctBlocks) + 3 * (sizeof(PrecinctBlocks::ForBand) + 48) + 48;
constexpr int64_t kLineBytes = 2 * sizeof(float);  // of the wavelet, for each sample of a strip
constexpr int64_t kFixedBytes = 1 << 18;           // coders' states, tables, stacks of threads

class Estimate {
 public:
  Estimate(const SizeSegment& size, const Parameters& parameters, int64_t bytes,
           const DecodeOptions& options)
      : size_(size), parameters_(parameters), bytes_(bytes), options_(options) {}

  int64_t Bytes(int64_t channels_of_palette) const {
    const int64_t tiles = int64_t{size_.TilesAcross()} * size_.TilesDown();
    const auto threads = static_cast<int64_t>(ThreadCount(options_.threads));
    const int64_t at_once = tiles >= 4 * threads ? threads : 1;  // as in DecodeTiles()
    const Rect all = {size_.x0, size_.y0, size_.x1, size_.y1};
    int64_t samples = kSampleBytes * Samples(all).total;
    samples += tiles == 1 ? ExtraOfSingleTile(all) : at_once * PlanesOf(LargestTile());
    samples = std::max(samples, channels_of_palette * kSampleBytes * Samples(all).most);
    const int64_t lists = tiles * int64_t{sizeof(TileParts) + sizeof(TileReport)};
    return samples + at_once * Bookkeeping(LargestTile()) + lists + bytes_ + threads * kFixedBytes;
  }

 private:
  struct Counts {
    int64_t total = 0;
    int64_t most = 0;  // for a component
  };

  Rect AreaOf(const Rect& area, size_t component) const {
    const SizeSegment::ComponentSize& sizes = size_.components[component];
    const Rect own = ComponentArea(area, sizes.dx, sizes.dy);
    return {CeilShift(own.x0, options_.reduce), CeilShift(own.y0, options_.reduce),
            CeilShift(own.x1, options_.reduce), CeilShift(own.y1, options_.reduce)};
  }
  Counts Samples(const Rect& area) const {
    Counts counts;
    for (size_t c = 0; c < size_.components.size(); ++c) {
      const int64_t count = AreaOf(area, c).Count();
      counts.total += count;
      counts.most = std::max(counts.most, count);
    }
    return counts;
  }
  // Integer planes become the samples; floating-point planes are converted one at a time.
  int64_t ExtraOfSingleTile(const Rect& area) const {
    const bool all_reversible =
        std::all_of(parameters_.components.begin(), parameters_.components.end(),
                    [](const Parameters::ForComponent& c) { return c.coding.reversible; });
    return all_reversible ? 0 : kSampleBytes * Samples(area).most;
  }
  int64_t PlanesOf(const Rect& area) const {
    const Counts counts = Samples(area);
    return kSampleBytes * std::min(counts.total, counts.most * int64_t{4});
  }
  // The first tile can be cut off by the picture's border, the one in the middle is whole.
  Rect LargestTile() const {
    const int middle = size_.TilesDown() / 2 * size_.TilesAcross() + size_.TilesAcross() / 2;
    const Rect first = TileArea(size_, 0), other = TileArea(size_, middle);
    return first.Count() > other.Count() ? first : other;
  }
  int64_t Bookkeeping(const Rect& area) const {
    int64_t precincts = 0, blocks = 0;
    const Tile tile = MakeTile(size_, parameters_, area);
    for (const TileComponent& component : tile.components) {
      for (const Resolution& resolution : component.resolutions) {
        precincts += resolution.PrecinctCount();
        for (const Band& band : resolution.bands) blocks += BlocksOf(resolution, band);
      }
    }
    const int64_t samples =
        std::min(area.Count(), int64_t{1} << 40) * static_cast<int64_t>(size_.components.size());
    const int64_t most = kFreeMemory + kMemoryForByte * bytes_ + kMemoryForSample * samples;
    return std::min(most, kPrecinctBytes * precincts + kBlockBytes * blocks) +
           kLineBytes * std::max(area.width(),
                                 area.height() * std::min<int64_t>(64, (area.width() + 1) / 2));
  }
  // Borders of precincts coincide with borders of blocks, so these blocks are whole.
  static int64_t BlocksOf(const Resolution& resolution, const Band& band) {
    if (band.area.empty()) return 0;
    const int width = resolution.block_width_log2, height = resolution.block_height_log2;
    return (CeilShift(band.area.x1, width) - (band.area.x0 >> width)) *
           (CeilShift(band.area.y1, height) - (band.area.y0 >> height));
  }

  const SizeSegment& size_;
  const Parameters& parameters_;
  int64_t bytes_;
  const DecodeOptions& options_;
};

}  // namespace

int64_t MemoryOf(const SizeSegment& size, const Parameters& parameters, size_t bytes,
                 size_t channels_of_palette, const DecodeOptions& options) {
  return Estimate(size, parameters, static_cast<int64_t>(bytes), options)
      .Bytes(static_cast<int64_t>(channels_of_palette));
}

}  // namespace zepcodec::jpeg2000
