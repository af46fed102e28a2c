// SPDX-License-Identifier: MIT
#include "jpeg2000/tile_decoder.h"

#include <algorithm>
#include <atomic>
#include <string>
#include <vector>

#include "jpeg2000/block_decoder.h"
#include "jpeg2000/parallel.h"
#include "jpeg2000/plane.h"
#include "jpeg2000/wavelet.h"

namespace jpeg2000 {
namespace {

// A packet has a byte at least, a code-block in most cases several. What goes far beyond is refused
// before there is memory for it; a small number is always accepted, for files that were cut off.
constexpr int64_t kPrecinctsForByte = 8;
constexpr int64_t kAlwaysAcceptedPrecincts = 1 << 16;
constexpr int64_t kBlocksForByte = 64;
constexpr int64_t kAlwaysAcceptedBlocks = 1 << 18;

class TileDecoder {
 public:
  TileDecoder(const MarkerReader& reader, int number, const Wanted& wanted, size_t threads,
              Messages* messages, Image* image)
      : size_(reader.picture_size()),
        parts_(reader.tiles()[size_t(number)]),
        parameters_(parts_.own != nullptr ? *parts_.own : reader.parameters()),
        number_(number),
        wanted_(wanted),
        threads_(threads),
        messages_(messages),
        image_(image),
        tile_(MakeTile(size_, parameters_, number)) {}

  Status Decode();

 private:
  bool Check();
  PacketSource Source();
  std::vector<BlockJob> MakeJobs(const TilePackets& packets);
  void AddJobs(const TilePackets& packets, size_t component, int resolution,
               std::vector<BlockJob>* jobs);
  Status DecodeBlocks(const std::vector<BlockJob>& jobs);
  Status InverseWavelets();
  void InverseComponents();
  void Store(size_t component);
  int Highest(size_t component) const {
    return tile_.components[component].levels() - wanted_.reduce;
  }
  // What is decoded of a component, on its own grid.
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
  Wanted wanted_;
  size_t threads_;
  Messages* messages_;
  Image* image_;
  Tile tile_;
  std::vector<uint8_t> joined_body_, joined_header_;
  std::vector<AnyPlane> planes_;
};

size_t TotalSize(const std::vector<Span>& spans) {
  size_t size = 0;
  for (const Span& span : spans) size += span.size;
  return size;
}

// The spans as one, in `memory` where they are more.
Span Join(const std::vector<Span>& spans, std::vector<uint8_t>* memory) {
  if (spans.size() == 1) return spans[0];
  for (const Span& span : spans) memory->insert(memory->end(), span.data, span.data + span.size);
  return {memory->data(), memory->size()};
}

bool TileDecoder::Check() {
  const auto bytes = static_cast<int64_t>(TotalSize(parts_.bodies) + TotalSize(parts_.headers));
  for (size_t c = 0; c < tile_.components.size(); ++c) {
    if (Highest(c) < 0) {
      messages_->AddForTile(number_, "it has not so many resolutions");
      return false;
    }
  }
  if (tile_.PrecinctCount() > kAlwaysAcceptedPrecincts + bytes * kPrecinctsForByte ||
      tile_.MostBlocks() > kAlwaysAcceptedBlocks + bytes * kBlocksForByte) {
    messages_->AddForTile(number_, "more precincts or code-blocks than its data can hold");
    return false;
  }
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
  if (!parts_.is_present) {
    messages_->AddForTile(number_, "it is missing");
    return Status();
  }
  if (!Check()) return Status();
  TilePackets packets(size_, parameters_, tile_, wanted_);
  packets.Read(number_, Source(), messages_);
  planes_.resize(tile_.components.size());
  for (size_t c = 0; c < planes_.size(); ++c) {
    planes_[c].Resize(IsReversible(c), AreaOf(c));
  }
  Status status = DecodeBlocks(MakeJobs(packets));
  if (status.ok()) status = InverseWavelets();
  if (!status.ok()) return status;
  InverseComponents();
  for (size_t c = 0; c < planes_.size(); ++c) Store(c);
  return Status();
}

std::vector<BlockJob> TileDecoder::MakeJobs(const TilePackets& packets) {
  std::vector<BlockJob> jobs;
  for (size_t c = 0; c < tile_.components.size(); ++c) {
    for (int r = 0; r <= Highest(c); ++r) AddJobs(packets, c, r, &jobs);
  }
  return jobs;
}

void TileDecoder::AddJobs(const TilePackets& packets, size_t component, int resolution,
                          std::vector<BlockJob>* jobs) {
  const Resolution& geometry = tile_.components[component].resolutions[size_t(resolution)];
  const TilePackets::ForResolution& read = packets.At(component, size_t(resolution));
  AnyPlane& plane = planes_[component];
  for (const auto& precinct : read.precincts) {
    for (size_t b = 0; precinct != nullptr && b < geometry.bands.size(); ++b) {
      const Band& band = geometry.bands[b];
      const PrecinctBlocks::ForBand& blocks = precinct->bands[b];
      for (int i = 0; i < blocks.grid.Count(); ++i) {
        const CodedBlock& block = blocks.blocks[size_t(i)];
        if (block.segments.empty()) continue;
        const Rect area = blocks.grid.Area(i);
        BlockJob job{};
        job.block = &block;
        job.orientation = band.orientation;
        job.style = Own(component).coding.block_style;
        job.most_planes = read.most_planes[b];
        job.roi_shift = Own(component).roi_shift;
        job.reversible = IsReversible(component);
        job.quantizer_step = read.steps[b].step;
        job.size = {static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height())};
        const int64_t x = band.plane_x + area.x0 - band.area.x0;
        const int64_t y = band.plane_y + area.y0 - band.area.y0;
        job.row_step = AreaOf(component).width();
        if (job.reversible) {
          job.integers = plane.integers.At(x, y);
        } else {
          job.reals = plane.reals.At(x, y);
        }
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
  Status status = RunParallel(threads_, jobs.size(), [&] {
    return [&, decoder = BlockDecoder(most)](size_t i) mutable {
      if (!decoder.Decode(jobs[i])) ++damaged;
    };
  });
  if (damaged > 0) {
    messages_->AddForTile(number_, std::to_string(damaged) + " code-blocks are damaged");
  }
  return status;
}

Status TileDecoder::InverseWavelets() {
  return RunParallel(threads_, planes_.size(), [&] {
    return [&](size_t c) {
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
    messages_->AddForTile(number_, "its components differ too much for their transform");
  } else if (IsReversible(0)) {
    InverseOf(zepiRCTInv_JPEG2K_32s_P3IR, &planes_[0].integers, &planes_[1].integers,
              &planes_[2].integers);
  } else {
    InverseOf(zepiICTInv_JPEG2K_32f_P3IR, &planes_[0].reals, &planes_[1].reals, &planes_[2].reals);
  }
}

// The nearest number from `lowest` to `highest`.
int32_t Limited(int32_t value, int32_t lowest, int32_t highest) {
  return std::clamp(value, lowest, highest);
}
// What is not a number becomes the lowest.
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

void TileDecoder::Store(size_t component) {
  const SizeSegment::ComponentSize& sizes = size_.components[component];
  const Rect whole = ComponentArea({size_.x0, size_.y0, size_.x1, size_.y1}, sizes.dx, sizes.dy);
  const int64_t left = AreaOf(component).x0 - CeilShift(whole.x0, wanted_.reduce);
  const int64_t top = AreaOf(component).y0 - CeilShift(whole.y0, wanted_.reduce);
  Component* to = &image_->components[component];
  if (IsReversible(component)) {
    StoreSamples(planes_[component].integers, sizes, left, top, to);
  } else {
    StoreSamples(planes_[component].reals, sizes, left, top, to);
  }
}

}  // namespace

Status DecodeTile(const MarkerReader& reader, int number, const Wanted& wanted, size_t threads,
                  Messages* messages, Image* image) {
  return TileDecoder(reader, number, wanted, threads, messages, image).Decode();
}

}  // namespace jpeg2000
