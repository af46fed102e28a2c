// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/tile_decoder.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>

#include "codecs/jpeg2000/block_decoder.h"
#include "codecs/jpeg2000/budget.h"
#include "codecs/jpeg2000/wavelet.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

struct BandPlace {
  size_t component, resolution, band;
};

bool IsDecoded(const CodedBlock& block, int most_planes) {
  return block.kept != nullptr && block.zero_planes < most_planes;
}

class TileDecoder {
 public:
  // The arguments must outlive this.
  TileDecoder(const MarkerReader& reader, const Parameters& parameters, int number,
              const Wanted& wanted, ThreadPool* pool, Progress* progress, TileReport* report,
              TileSamples* samples)
      : size_(reader.picture_size()),
        parts_(reader.tiles()[size_t(number)]),
        parameters_(parameters),
        number_(number),
        tiles_(static_cast<int64_t>(reader.present_tiles())),
        wanted_(wanted),
        pool_(pool),
        progress_(progress),
        report_(report),
        samples_(samples) {}

  Status Decode();

 private:
  Budget MakeBudget() const;
  bool MakeGeometry(Budget* budget);
  PacketSource Source();
  // The parts of the components that are decoded, on their own grids.
  std::vector<Rect> PartsOfComponents() const;
  WantedPackets MakeWindows() const;
  // Whether the component transform can be undone.
  bool CanTransform() const;
  Status DecodePlanes(const TilePackets& packets, const WantedPackets& wanted);
  std::vector<BlockJob> MakeJobs(const TilePackets& packets, const WantedPackets& wanted);
  void AddJobs(const TilePackets& packets, size_t component, size_t resolution,
               const Window& window, std::vector<BlockJob>* jobs);
  void ClearMissing(const TilePackets& packets, const WantedPackets& wanted,
                    const BandPlace& place);
  Status DecodeBlocks(const std::vector<BlockJob>& jobs, const TilePackets& packets,
                      const WantedPackets& wanted);
  int Highest(size_t component) const {
    return tile_.components[component].levels() - wanted_.reduce;
  }
  // The area of a component on the reduced grid.
  const Rect& AreaOf(size_t component) const {
    return tile_.components[component].resolutions[size_t(Highest(component))].area;
  }
  const Parameters::ForComponent& Own(size_t component) const {
    return parameters_.components[component];
  }
  bool IsReversible(size_t component) const { return Own(component).coding.reversible; }
  std::vector<AnyPlane>& planes() { return samples_->planes; }

  const SizeSegment& size_;
  const TileParts& parts_;
  const Parameters& parameters_;
  int number_;
  int64_t tiles_;  // the tiles that share the free part of the budget
  const Wanted& wanted_;
  ThreadPool* pool_;
  Progress* progress_;
  TileReport* report_;
  TileSamples* samples_;
  Tile tile_;
  std::vector<uint8_t> joined_body_, joined_header_;
  int64_t damaged_blocks_ = 0;
};

size_t TotalSize(const std::vector<Span>& spans) {
  size_t size = 0;
  for (const Span& span : spans) size += span.size;
  return size;
}

// Joins the spans; more than one are copied to `memory`.
Span Join(const std::vector<Span>& spans, std::vector<uint8_t>* memory) {
  if (spans.size() == 1) return spans[0];
  memory->reserve(TotalSize(spans));
  for (const Span& span : spans) memory->insert(memory->end(), span.data, span.data + span.size);
  return {memory->data(), memory->size()};
}

int64_t SamplesOf(const SizeSegment& size, int tile) {
  constexpr int64_t kMost = int64_t{1} << 40;  // far above any work that is allowed
  int64_t samples = 0;
  for (const SizeSegment::ComponentSize& component : size.components) {
    const Rect area = ComponentArea(TileArea(size, tile), component.dx, component.dy);
    samples += std::min(area.Count(), kMost);
  }
  return samples;
}

Budget TileDecoder::MakeBudget() const {
  const auto bytes = static_cast<int64_t>(TotalSize(parts_.bodies) + TotalSize(parts_.headers));
  return Budget(bytes, SamplesOf(size_, number_), tiles_);
}

bool TileDecoder::MakeGeometry(Budget* budget) {
  int64_t resolutions = 0;
  for (const Parameters::ForComponent& component : parameters_.components) {
    resolutions += component.coding.levels + 1;
    if (component.coding.levels < wanted_.reduce) {
      report_->messages.AddIn(Place("tile", number_), "it has not so many resolutions");
      return false;
    }
  }
  if (!budget->Work(kWorkOfResolution * resolutions)) {
    report_->messages.AddIn(Place("tile", number_),
                            "stopped: too many resolutions for its few bytes and samples");
    return false;
  }
  tile_ = MakeTile(size_, parameters_, number_);
  return true;
}

PacketSource TileDecoder::Source() {
  PacketSource source;
  source.body = Join(parts_.bodies, &joined_body_);
  source.has_own_headers = !parts_.headers.empty();
  if (source.has_own_headers) source.header = Join(parts_.headers, &joined_header_);
  return source;
}

std::vector<Rect> TileDecoder::PartsOfComponents() const {
  std::vector<Rect> parts;
  for (size_t c = 0; c < tile_.components.size(); ++c) {
    parts.push_back(Intersection(wanted_.areas[c], AreaOf(c)));
  }
  if (!parameters_.tile.transforms_components || !CanTransform()) return parts;
  // The transform needs the same places of three components, which may lie on different grids.
  Rect all;
  for (size_t c = 0; c < 3; ++c) {
    if (parts[c].empty()) continue;
    const Rect moved = Moved(parts[c], -AreaOf(c).x0, -AreaOf(c).y0);
    all = all.empty() ? moved
                      : Rect{std::min(all.x0, moved.x0), std::min(all.y0, moved.y0),
                             std::max(all.x1, moved.x1), std::max(all.y1, moved.y1)};
  }
  for (size_t c = 0; c < 3; ++c) parts[c] = Moved(all, AreaOf(c).x0, AreaOf(c).y0);
  return parts;
}

WantedPackets TileDecoder::MakeWindows() const {
  WantedPackets wanted;
  wanted.layers = wanted_.layers;
  const std::vector<Rect> parts = PartsOfComponents();
  for (size_t c = 0; c < parts.size(); ++c) {
    wanted.windows.push_back(WindowsOf(tile_.components[c], Highest(c), parts[c], IsReversible(c)));
  }
  return wanted;
}

Status TileDecoder::Decode() {
  Budget budget = MakeBudget();
  const PacketSource source = Source();
  if (source.body.size == 0 && source.header.size == 0) {
    report_->messages.AddIn(Place("tile", number_), "it has no data");
    return Status();
  }
  if (!MakeGeometry(&budget)) return Status();
  const WantedPackets wanted = MakeWindows();
  Status status;
  {
    TilePackets packets(size_, parameters_, tile_, wanted, &budget);
    report_->layers_found = packets.Read(number_, source, &report_->messages).layers_found;
    report_->work = budget.worked();
    status = DecodePlanes(packets, wanted);
  }
  if (damaged_blocks_ > 0) {
    report_->messages.AddIn(Place("tile", number_),
                            std::to_string(damaged_blocks_) + " code-blocks are damaged");
  }
  if (!status.ok() || planes().empty()) return status;
  status = InverseWavelets(pool_, &planes());
  if (!status.ok() || !parameters_.tile.transforms_components) return status;
  samples_->are_transformed = CanTransform();
  if (!samples_->are_transformed) {
    report_->messages.AddIn(Place("tile", number_),
                            "its components differ too much for their transform");
  }
  return status;
}

Status TileDecoder::DecodePlanes(const TilePackets& packets, const WantedPackets& wanted) {
  const std::vector<BlockJob> jobs = MakeJobs(packets, wanted);
  if (jobs.empty()) return Status();
  planes().resize(wanted.windows.size());
  for (size_t c = 0; c < planes().size(); ++c) {
    planes()[c].Make(IsReversible(c), wanted.windows[c]);
  }
  return DecodeBlocks(jobs, packets, wanted);
}

std::vector<BlockJob> TileDecoder::MakeJobs(const TilePackets& packets,
                                            const WantedPackets& wanted) {
  std::vector<BlockJob> jobs;
  for (size_t c = 0; c < wanted.windows.size(); ++c) {
    for (size_t r = 0; r < wanted.windows[c].size(); ++r) {
      AddJobs(packets, c, r, wanted.windows[c][r], &jobs);
    }
  }
  return jobs;
}

void TileDecoder::AddJobs(const TilePackets& packets, size_t component, size_t resolution,
                          const Window& window, std::vector<BlockJob>* jobs) {
  const Resolution& geometry = tile_.components[component].resolutions[resolution];
  const TilePackets::ForResolution& read = packets.At(component, resolution);
  for (size_t p = 0; p < read.precincts.size(); ++p) {
    const PrecinctBlocks* precinct = read.precincts[p].blocks.get();
    for (size_t b = 0; precinct != nullptr && b < geometry.bands.size(); ++b) {
      const Band& band = geometry.bands[b];
      const std::vector<CodedBlock>& blocks = precinct->bands[b].blocks;
      const BlockGrid grid = geometry.Blocks(band, static_cast<int64_t>(p));
      for (size_t i = 0; i < blocks.size(); ++i) {
        if (!IsDecoded(blocks[i], read.most_planes[b])) continue;
        const Rect area = grid.Area(static_cast<int64_t>(i));
        const Rect part = Intersection(area, read.parts[b]);
        BlockJob job{};
        job.block = &blocks[i];
        job.orientation = band.orientation;
        job.style = Own(component).coding.block_style;
        job.most_planes = read.most_planes[b];
        job.roi_shift = Own(component).roi_shift;
        job.reversible = IsReversible(component);
        job.quantizer_step = read.steps[b].step;
        job.size = {static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height())};
        job.part = Moved(part, -area.x0, -area.y0);
        job.component = component;
        job.level = resolution;
        job.x = window.BandX(band) + part.x0 - read.parts[b].x0;
        job.y = window.BandY(band) + part.y0 - read.parts[b].y0;
        jobs->push_back(job);
      }
    }
  }
}

// Where a code-block has no passes its coefficients are 0.
void TileDecoder::ClearMissing(const TilePackets& packets, const WantedPackets& wanted,
                               const BandPlace& place) {
  const Resolution& geometry = tile_.components[place.component].resolutions[place.resolution];
  const TilePackets::ForResolution& read = packets.At(place.component, place.resolution);
  const Window& window = wanted.windows[place.component][place.resolution];
  const Band& band = geometry.bands[place.band];
  const Rect& wanted_part = read.parts[place.band];
  const auto clear = [&](const Rect& area) {
    const Rect part = Intersection(area, wanted_part);
    if (part.empty()) return;
    const Rect moved =
        Moved(part, window.BandX(band) - wanted_part.x0, window.BandY(band) - wanted_part.y0);
    planes()[place.component].Do([&](auto* plane) { plane->Clear(place.resolution, moved); });
  };
  for (size_t p = 0; p < read.precincts.size(); ++p) {
    const BlockGrid grid = geometry.Blocks(band, static_cast<int64_t>(p));
    const PrecinctBlocks* const precinct = read.precincts[p].blocks.get();
    if (precinct == nullptr) {
      clear(grid.clip);
      continue;
    }
    const std::vector<CodedBlock>& blocks = precinct->bands[place.band].blocks;
    for (size_t i = 0; i < blocks.size(); ++i) {
      if (IsDecoded(blocks[i], read.most_planes[place.band])) continue;
      clear(grid.Area(static_cast<int64_t>(i)));
    }
  }
}

// Missing blocks first, as they come in large pieces.
Status TileDecoder::DecodeBlocks(const std::vector<BlockJob>& jobs, const TilePackets& packets,
                                 const WantedPackets& wanted) {
  zepiSize most = {1, 1};
  for (const BlockJob& job : jobs) {
    most = {std::max(most.width, job.size.width), std::max(most.height, job.size.height)};
  }
  std::vector<BandPlace> bands;
  for (size_t c = 0; c < wanted.windows.size(); ++c) {
    for (size_t r = 0; r < wanted.windows[c].size(); ++r) {
      const size_t count = tile_.components[c].resolutions[r].bands.size();
      for (size_t b = 0; b < count; ++b) bands.push_back({c, r, b});
    }
  }
  std::atomic<int64_t> damaged{0};
  Status status = RunParallel(
      pool_, bands.size() + jobs.size(),
      [&] {
        return [&, decoder = BlockDecoder(most)](size_t i) mutable {
          if (i < bands.size()) return ClearMissing(packets, wanted, bands[i]);
          BlockJob job = jobs[i - bands.size()];
          planes()[job.component].Do([&](auto* plane) {
            job.row_step = plane->Step(job.level);
            job.SetTarget(plane->At(job.level, job.x, job.y));
          });
          if (!decoder.Decode(job)) ++damaged;
        };
      },
      progress_);
  damaged_blocks_ += damaged;
  return status;
}

bool TileDecoder::CanTransform() const {
  bool fits = tile_.components.size() >= 3;
  for (size_t c = 1; fits && c < 3; ++c) {
    fits = AreaOf(c).width() == AreaOf(0).width() && AreaOf(c).height() == AreaOf(0).height() &&
           IsReversible(c) == IsReversible(0);
  }
  return fits;
}

}  // namespace

Rect ReducedArea(const Rect& area, const SizeSegment::ComponentSize& component, int reduce) {
  const Rect own = ComponentArea(area, component.dx, component.dy);
  return {CeilShift(own.x0, reduce), CeilShift(own.y0, reduce), CeilShift(own.x1, reduce),
          CeilShift(own.y1, reduce)};
}

Status DecodeTile(const MarkerReader& reader, int number, const Wanted& wanted, ThreadPool* pool,
                  Progress* progress, TileReport* report, TileSamples* samples) {
  const TileParts& parts = reader.tiles()[size_t(number)];
  if (!parts.is_present) {
    // If all components are subsampled, some tiles have no samples.
    if (SamplesOf(reader.picture_size(), number) > 0) {
      report->messages.AddIn(Place("tile", number), "it is missing");
    }
    return Status();
  }
  const std::unique_ptr<Parameters> own =
      parts.changes.empty() ? nullptr : reader.ParametersOf(parts);
  return TileDecoder(reader, own == nullptr ? reader.parameters() : *own, number, wanted, pool,
                     progress, report, samples)
      .Decode();
}

}  // namespace zepcodec::jpeg2000
