// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/tile_decoder.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "codecs/jpeg2000/block_decoder.h"
#include "codecs/jpeg2000/budget.h"
#include "codecs/jpeg2000/plane.h"
#include "codecs/jpeg2000/wavelet.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

class TileDecoder {
 public:
  // The parts must outlive this.
  TileDecoder(const MarkerReader& reader, const Parameters& parameters, int number,
              const Wanted& wanted, size_t threads, TileReport* report, Image* image)
      : size_(reader.picture_size()),
        parts_(reader.tiles()[size_t(number)]),
        parameters_(parameters),
        number_(number),
        tiles_(static_cast<int64_t>(reader.present_tiles())),
        wanted_(wanted),
        threads_(threads),
        report_(report),
        image_(image) {}

  Status Decode();

 private:
  Budget MakeBudget() const;
  bool MakeGeometry(Budget* budget);
  PacketSource Source();
  // Decodes a range of components, excluding `end`.
  Status DecodeComponents(const TilePackets& packets, size_t begin, size_t end);
  std::vector<BlockJob> MakeJobs(const TilePackets& packets, size_t begin, size_t end);
  void AddJobs(const TilePackets& packets, size_t component, int resolution,
               std::vector<BlockJob>* jobs);
  Status DecodeBlocks(const std::vector<BlockJob>& jobs);
  Status InverseWavelets(size_t begin, size_t end);
  void InverseComponents();
  void Store(size_t component);
  int Highest(size_t component) const {
    return tile_.components[component].levels() - wanted_.reduce;
  }
  // The area of a component that is decoded, on its own grid.
  const Rect& AreaOf(size_t component) const {
    return tile_.components[component].resolutions[size_t(Highest(component))].area;
  }
  const Parameters::ForComponent& Own(size_t component) const {
    return parameters_.components[component];
  }
  bool IsReversible(size_t component) const { return Own(component).coding.reversible; }

  const SizeSegment& size_;
  const TileParts& parts_;
  const Parameters& parameters_;
  int number_;
  int64_t tiles_;  // the tiles that share the free part of the budget
  Wanted wanted_;
  size_t threads_;
  TileReport* report_;
  Image* image_;
  Tile tile_;
  std::vector<uint8_t> joined_body_, joined_header_;
  std::vector<AnyPlane> planes_;
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

Status TileDecoder::Decode() {
  Budget budget = MakeBudget();
  const PacketSource source = Source();
  if (source.body.size == 0 && source.header.size == 0) {
    report_->messages.AddIn(Place("tile", number_), "it has no data");
    return Status();
  }
  Status status;
  if (MakeGeometry(&budget)) {
    TilePackets packets(size_, parameters_, tile_, wanted_, &budget);
    report_->layers_found = packets.Read(number_, source, &report_->messages).layers_found;
    planes_.resize(tile_.components.size());
    for (size_t c = 0; status.ok() && c < planes_.size(); c += kComponentsAtOnce) {
      status = DecodeComponents(packets, c, std::min(c + kComponentsAtOnce, planes_.size()));
    }
  }
  if (damaged_blocks_ > 0) {
    report_->messages.AddIn(Place("tile", number_),
                            std::to_string(damaged_blocks_) + " code-blocks are damaged");
  }
  report_->work = budget.worked();
  return status;
}

Status TileDecoder::DecodeComponents(const TilePackets& packets, size_t begin, size_t end) {
  const std::vector<BlockJob> jobs = MakeJobs(packets, begin, end);
  if (jobs.empty()) return Status();  // the samples already have the middle of their range
  Status status = DecodeBlocks(jobs);
  if (status.ok()) status = InverseWavelets(begin, end);
  if (!status.ok()) return status;
  if (begin == 0) InverseComponents();
  for (size_t c = begin; c < end; ++c) {
    Store(c);
    planes_[c] = AnyPlane();
  }
  return status;
}

// Also makes the planes, if there is anything to decode.
std::vector<BlockJob> TileDecoder::MakeJobs(const TilePackets& packets, size_t begin, size_t end) {
  std::vector<BlockJob> jobs;
  for (size_t c = begin; c < end; ++c) {
    for (int r = 0; r <= Highest(c); ++r) AddJobs(packets, c, r, &jobs);
  }
  if (jobs.empty()) return jobs;
  for (size_t c = begin; c < end; ++c) planes_[c].Resize(IsReversible(c), AreaOf(c));
  return jobs;
}

void TileDecoder::AddJobs(const TilePackets& packets, size_t component, int resolution,
                          std::vector<BlockJob>* jobs) {
  const Resolution& geometry = tile_.components[component].resolutions[size_t(resolution)];
  const TilePackets::ForResolution& read = packets.At(component, size_t(resolution));
  for (size_t p = 0; p < read.precincts.size(); ++p) {
    const PrecinctBlocks* precinct = read.precincts[p].blocks.get();
    for (size_t b = 0; precinct != nullptr && b < geometry.bands.size(); ++b) {
      const Band& band = geometry.bands[b];
      const std::vector<CodedBlock>& blocks = precinct->bands[b].blocks;
      const BlockGrid grid = geometry.Blocks(band, static_cast<int64_t>(p));
      for (size_t i = 0; i < blocks.size(); ++i) {
        if (blocks[i].kept == nullptr) continue;
        const Rect area = grid.Area(static_cast<int64_t>(i));
        BlockJob job{};
        job.block = &blocks[i];
        job.orientation = band.orientation;
        job.style = Own(component).coding.block_style;
        job.most_planes = read.most_planes[b];
        job.roi_shift = Own(component).roi_shift;
        job.reversible = IsReversible(component);
        job.quantizer_step = read.steps[b].step;
        job.size = {static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height())};
        job.component = component;
        job.x = band.plane_x + area.x0 - band.area.x0;
        job.y = band.plane_y + area.y0 - band.area.y0;
        jobs->push_back(job);
      }
    }
  }
}

Status TileDecoder::DecodeBlocks(const std::vector<BlockJob>& jobs) {
  zepiSize most = {1, 1};
  for (const BlockJob& job : jobs) {
    most = {std::max(most.width, job.size.width), std::max(most.height, job.size.height)};
  }
  std::atomic<int64_t> damaged{0};
  Status status = RunParallel(
      threads_, jobs.size(),
      [&] {
        return [&, decoder = BlockDecoder(most)](size_t i) mutable {
          BlockJob job = jobs[i];
          AnyPlane& plane = planes_[job.component];
          job.row_step = AreaOf(job.component).width();
          if (job.reversible) {
            job.integers = plane.integers.At(job.x, job.y);
          } else {
            job.reals = plane.reals.At(job.x, job.y);
          }
          if (!decoder.Decode(job)) ++damaged;
        };
      },
      wanted_.progress);
  damaged_blocks_ += damaged;
  return status;
}

Status TileDecoder::InverseWavelets(size_t begin, size_t end) {
  return RunParallel(threads_, end - begin, [&] {
    return [&, begin](size_t i) {
      const size_t c = begin + i;
      const TileComponent& component = tile_.components[c];
      if (IsReversible(c)) {
        InverseWavelet(component, Highest(c), &planes_[c].integers);
      } else {
        InverseWavelet(component, Highest(c), &planes_[c].reals);
      }
    };
  });
}

template <class T>
void InverseOf(zepStatus(ZEP_CALL* transform)(T* const*, int32_t, zepiSize), Plane<T>* c0,
               Plane<T>* c1, Plane<T>* c2) {
  if (c0->empty()) return;
  T* const planes[3] = {c0->At(0, 0), c1->At(0, 0), c2->At(0, 0)};
  transform(planes, c0->StepInBytes(),
            {static_cast<int32_t>(c0->width()), static_cast<int32_t>(c0->height())});
}

void TileDecoder::InverseComponents() {
  if (!parameters_.tile.transforms_components) return;
  bool fits = planes_.size() >= 3;
  for (size_t c = 1; fits && c < 3; ++c) {
    fits = AreaOf(c).width() == AreaOf(0).width() && AreaOf(c).height() == AreaOf(0).height() &&
           IsReversible(c) == IsReversible(0);
  }
  if (!fits) {
    report_->messages.AddIn(Place("tile", number_),
                            "its components differ too much for their transform");
  } else if (IsReversible(0)) {
    InverseOf(zepiRCTInv_JPEG2K_32s_P3IR, &planes_[0].integers, &planes_[1].integers,
              &planes_[2].integers);
  } else {
    InverseOf(zepiICTInv_JPEG2K_32f_P3IR, &planes_[0].reals, &planes_[1].reals, &planes_[2].reals);
  }
}

// Clamps to `lowest` and `highest`.
int32_t Limited(int32_t value, int32_t lowest, int32_t highest) {
  return std::clamp(value, lowest, highest);
}
// NaN becomes the lowest value.
int32_t Limited(float value, int32_t lowest, int32_t highest) {
  const auto low = static_cast<float>(lowest);
  const float limited = std::max(low, std::min(value, static_cast<float>(highest)));
  return static_cast<int32_t>(limited - low + 0.5F) + lowest;
}

template <class T>
void StoreSamples(const Plane<T>& plane, const SizeSegment::ComponentSize& sizes, int64_t left,
                  int64_t top, Component* component) {
  const int32_t offset = sizes.is_signed ? 0 : 1 << (sizes.bits - 1);
  const int32_t half = 1 << (sizes.bits - 1);
  for (int64_t y = 0; y < plane.height(); ++y) {
    const T* from = plane.At(0, y);
    int32_t* to = component->Row(static_cast<int>(top + y)) + left;
    for (int64_t x = 0; x < plane.width(); ++x) {
      to[x] = Limited(from[x], -half, half - 1) + offset;
    }
  }
}

// If a plane is the whole component, its memory becomes the samples.
void TakeSamples(const SizeSegment::ComponentSize& sizes, Plane<int32_t>* plane,
                 Component* component) {
  const int32_t offset = sizes.is_signed ? 0 : 1 << (sizes.bits - 1);
  const int32_t half = 1 << (sizes.bits - 1);
  component->samples = plane->Take();
  for (int32_t& sample : component->samples) sample = Limited(sample, -half, half - 1) + offset;
}

void TileDecoder::Store(size_t component) {
  const SizeSegment::ComponentSize& sizes = size_.components[component];
  const Rect whole = ComponentArea({size_.x0, size_.y0, size_.x1, size_.y1}, sizes.dx, sizes.dy);
  const int64_t left = AreaOf(component).x0 - CeilShift(whole.x0, wanted_.reduce);
  const int64_t top = AreaOf(component).y0 - CeilShift(whole.y0, wanted_.reduce);
  Component* to = &image_->components[component];
  const bool is_whole = to->samples.empty();
  if (is_whole && IsReversible(component)) {
    return TakeSamples(sizes, &planes_[component].integers, to);
  }
  if (is_whole) to->samples.resize(static_cast<size_t>(AreaOf(component).Count()));
  if (IsReversible(component)) {
    StoreSamples(planes_[component].integers, sizes, left, top, to);
  } else {
    StoreSamples(planes_[component].reals, sizes, left, top, to);
  }
}

}  // namespace

Status DecodeTile(const MarkerReader& reader, int number, const Wanted& wanted, size_t threads,
                  TileReport* report, Image* image) {
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
  return TileDecoder(reader, own == nullptr ? reader.parameters() : *own, number, wanted, threads,
                     report, image)
      .Decode();
}

}  // namespace zepcodec::jpeg2000
