// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/memory.h"

#include <algorithm>
#include <vector>

#include "codecs/jpeg2000/areas.h"
#include "codecs/jpeg2000/block_decoder.h"
#include "codecs/jpeg2000/budget.h"
#include "codecs/jpeg2000/colors.h"
#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/picture_decoder.h"
#include "codecs/jpeg2000/tile_loop.h"
#include "codecs/jpeg2000/tile_plan.h"
#include "codecs/jpeg2000/window.h"
#include "codecs/support/thread_pool.h"

namespace zepcodec::jpeg2000 {
namespace {

constexpr int64_t kSampleBytes = sizeof(int32_t);
// Bytes of a code-block: the record and its nodes of two tag trees. If it is decoded, also its
// segments and spans, as the heap rounds them, and its job, in a vector that doubles.
constexpr int64_t kBlockBytes = sizeof(CodedBlock) + 22;
constexpr int64_t kDecodedBlockBytes = sizeof(CodedBlock::Kept) + 96 + 3 * sizeof(BlockJob);
constexpr int64_t kPrecinctBytes =
    sizeof(PrecinctBlocks) + 3 * (sizeof(PrecinctBlocks::ForBand) + 48) + 48;
constexpr int64_t kStripBytes = 32 * sizeof(float);  // of the wavelet, for each row of a plane
constexpr int64_t kFixedBytes = 1 << 18;             // coders' states, tables, stacks of threads
constexpr int64_t kMost = int64_t{1} << 40;          // of samples that are counted

class Estimate {
 public:
  Estimate(const OpenedFile& file, const DecodeOptions& options)
      : file_(file), options_(options), threads_(ThreadCount(options.threads)) {}

  Status Prepare() {
    Messages ignored;
    Image form;
    MakeForm(file_, options_.reduce, &ignored, &ignored, &form);
    PictureMaker maker;
    Status status = maker.Prepare(form, &ignored);
    if (!status.ok()) return status;
    // A region that is not inside is refused by the decoder.
    if (!options_.region.In(maker.width(), maker.height(), &region_).ok()) {
      region_ = {0, 0, maker.width(), maker.height()};
    }
    width_ = maker.width();
    height_ = maker.height();
    pixel_bytes_ = int64_t{ChannelCount(maker.layout())} * (maker.bits() > 8 ? 2 : 1);
    channels_ = form.components.size();
    plan_ = PlanTiles(file_, options_.reduce, width_, height_, region_);
    return status;
  }

  int64_t Bytes() const {
    const auto threads = static_cast<int64_t>(threads_);
    const int64_t lists = static_cast<int64_t>(file_.reader->tiles().size()) *
                          int64_t{sizeof(TileParts) + sizeof(TileReport) + sizeof(TilePart)};
    return PictureBytes() + SampleBytes() + TilesAtOnce() * TileBytes() + threads * kFixedBytes +
           std::min(threads, AreasAtOnce()) * AreaBytes() + lists;
  }

 private:
  bool gives_rows() const { return options_.rows != nullptr && !plan_.empty(); }

  size_t MostInARow() const {
    size_t most = 1, all = 0;
    for (const auto& row : plan_) {
      most = std::max(most, row.size());
      all += row.size();
    }
    return gives_rows() ? most : std::max(most, all);
  }

  int64_t TilesAtOnce() const {
    const size_t tiles = plan_.empty() ? file_.reader->tiles().size() : MostInARow();
    return AreManyTiles(tiles, threads_) ? static_cast<int64_t>(threads_) : 1;
  }

  // The pixels in memory: all, those of a row of tiles, or a part of a single tile.
  int64_t PictureBytes() const {
    if (!gives_rows()) return pixel_bytes_ * region_.width * region_.height;
    if (plan_.size() == 1 && plan_[0].size() == 1) {
      const int64_t all = int64_t{region_.width} * region_.height;
      return pixel_bytes_ * std::min(all, kPixelsAtOnce + region_.width);
    }
    int64_t most = 0;
    for (const auto& row : plan_) most = std::max<int64_t>(most, row[0].region.height);
    return pixel_bytes_ * region_.width * most;
  }

  // All components, if they are decoded before there are pixels.
  int64_t SampleBytes() const {
    if (!plan_.empty()) return 0;
    int64_t samples = 0;
    for (size_t c = 0; c < file_.size().components.size(); ++c) {
      const Rect area = file_.AreaOf(c, options_.reduce);
      const Region part = NeededOf(region_, width_, height_, static_cast<int>(area.width()),
                                   static_cast<int>(area.height()));
      samples += int64_t{part.width} * part.height;
    }
    return kSampleBytes * samples;
  }

  // At least one in each tile.
  int64_t AreasAtOnce() const {
    const Region part = LargestPart();
    return TilesAtOnce() * CeilDivide(part.width, kAreaWidth) *
           CeilDivide(part.height, kAreaHeight);
  }

  // A thread's samples and pixels on the way to the picture, and the memory of the wavelet's last
  // step.
  int64_t AreaBytes() const {
    const auto components = static_cast<int64_t>(file_.size().components.size() + channels_);
    const Region part = LargestPart();
    const int64_t width = std::min<int64_t>(kAreaWidth, part.width) + 2;
    const int64_t height = std::min<int64_t>(kAreaHeight, part.height) + 10;
    return width * height * ((kSampleBytes + 2) * components + 3 * 2 * kSampleBytes);
  }

  // The first tile can be cut off by the picture's border, the one in the middle is whole.
  int LargestTile() const {
    const SizeSegment& size = file_.size();
    const int middle = size.TilesDown() / 2 * size.TilesAcross() + size.TilesAcross() / 2;
    return TileArea(size, 0).Count() > TileArea(size, middle).Count() ? 0 : middle;
  }

  // The largest part of a tile, in pixels.
  Region LargestPart() const {
    Region largest;
    for (const auto& row : plan_) {
      for (const TilePart& part : row) {
        largest.width = std::max(largest.width, part.region.width);
        largest.height = std::max(largest.height, part.region.height);
      }
    }
    return plan_.empty() ? region_ : largest;
  }

  int64_t TileBytes() const {
    const Tile tile = MakeTile(file_.size(), file_.reader->parameters(), LargestTile());
    const Region part = LargestPart();
    int64_t planes = 0, records = 0, decoded = 0, longest = 0;
    for (size_t c = 0; c < tile.components.size(); ++c) {
      const TileComponent& component = tile.components[c];
      const int highest = component.levels() - options_.reduce;
      const Rect all = file_.AreaOf(c, options_.reduce);
      const Rect& own = component.resolutions[static_cast<size_t>(highest)].area;
      const int64_t across = Scaled(part.width, all.width(), width_);
      const int64_t down = Scaled(part.height, all.height(), height_);
      int64_t width = std::min(own.width(), across);
      int64_t height = std::min(own.height(), down);
      // Parts of other tiles can be smaller than their tile.
      const bool is_whole = options_.region.is_all();
      longest = std::max({longest, width, height});
      for (int r = static_cast<int>(component.resolutions.size()); r-- > 0;) {
        const Resolution& resolution = component.resolutions[static_cast<size_t>(r)];
        records += kPrecinctBytes * resolution.PrecinctCount();
        for (const Band& band : resolution.bands) records += kBlockBytes * Blocks(resolution, band);
        if (r > highest) continue;
        const int64_t margin = is_whole ? 0 : 10;
        const Rect window = {0, 0, std::min(width + margin, resolution.area.width()),
                             std::min(height + margin, resolution.area.height())};
        if (!is_whole || r == highest) planes += kSampleBytes * window.Count();
        decoded += kDecodedBlockBytes * BlocksIn(resolution, window);
        width = (window.width() + 1) / 2;
        height = (window.height() + 1) / 2;
      }
    }
    const int64_t lines = std::min(kStripBytes * longest, planes);
    const auto threads = static_cast<int64_t>(threads_) / TilesAtOnce();
    return planes + MostRecords(tile, records) + decoded + threads * lines + JoinedBytes();
  }

  // What the budget of a tile allows.
  int64_t MostRecords(const Tile& tile, int64_t records) const {
    const int64_t samples =
        std::min(tile.area.Count(), kMost) * static_cast<int64_t>(file_.size().components.size());
    int64_t bytes = 0;
    for (const TileParts& parts : file_.reader->tiles()) bytes = std::max(bytes, BytesOf(parts));
    return std::min(records, kFreeMemory + kMemoryForByte * bytes + kMemoryForSample * samples);
  }

  static int64_t BytesOf(const TileParts& parts) {
    size_t bytes = 0;
    for (const Span& span : parts.bodies) bytes += span.size;
    for (const Span& span : parts.headers) bytes += span.size;
    return static_cast<int64_t>(bytes);
  }

  // The data of a tile in several parts are joined.
  int64_t JoinedBytes() const {
    int64_t most = 0;
    for (const TileParts& parts : file_.reader->tiles()) {
      if (parts.bodies.size() > 1 || parts.headers.size() > 1) {
        most = std::max(most, BytesOf(parts));
      }
    }
    return most;
  }

  static int64_t Scaled(int64_t pixels, int64_t samples, int64_t whole) {
    return CeilDivide(pixels * samples, whole) + 1;
  }

  // Borders of precincts coincide with borders of blocks, so these blocks are whole.
  static int64_t Blocks(const Resolution& resolution, const Band& band) {
    if (band.area.empty()) return 0;
    const int width = resolution.block_width_log2, height = resolution.block_height_log2;
    return (CeilShift(band.area.x1, width) - (band.area.x0 >> width)) *
           (CeilShift(band.area.y1, height) - (band.area.y0 >> height));
  }

  // Those of all bands that meet a window of the resolution.
  static int64_t BlocksIn(const Resolution& resolution, const Rect& window) {
    int64_t blocks = 0;
    for (const Band& band : resolution.bands) {
      const int halving = band.orientation == kLL ? 0 : 1;
      const int64_t across = (window.width() >> halving >> resolution.block_width_log2) + 2;
      const int64_t down = (window.height() >> halving >> resolution.block_height_log2) + 2;
      blocks += std::min(across * down, Blocks(resolution, band));
    }
    return blocks;
  }

  const OpenedFile& file_;
  const DecodeOptions& options_;
  size_t threads_;
  Region region_;
  int width_ = 0, height_ = 0;
  int64_t pixel_bytes_ = 0;
  size_t channels_ = 0;
  std::vector<std::vector<TilePart>> plan_;
};

}  // namespace

Status MemoryOf(const OpenedFile& file, const DecodeOptions& options, int64_t* bytes) {
  Estimate estimate(file, options);
  Status status = estimate.Prepare();
  if (status.ok()) *bytes = estimate.Bytes();
  return status;
}

}  // namespace zepcodec::jpeg2000
