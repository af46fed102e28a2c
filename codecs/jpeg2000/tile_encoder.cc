// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/tile_encoder.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "codecs/jpeg2000/marker_writer.h"
#include "codecs/jpeg2000/progression.h"
#include "codecs/jpeg2000/quantization.h"
#include "codecs/jpeg2000/row_bands.h"
#include "codecs/jpeg2000/wavelet.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

template <class T>
void ForwardOf(zepStatus(ZEP_CALL* transform)(T* const*, int32_t, zepiSize), int64_t begin,
               int64_t end, Plane<T>* c0, Plane<T>* c1, Plane<T>* c2) {
  T* const rows[3] = {c0->Row(begin), c1->Row(begin), c2->Row(begin)};
  transform(rows, c0->StepInBytes(c0->levels()),
            {static_cast<int32_t>(c0->area().width()), static_cast<int32_t>(end - begin)});
}

// The blocks of all subbands are in the sample alike.
bool IsInSample(size_t block) { return block % 8 == 0; }

}  // namespace

TileEncoder::TileEncoder(const SizeSegment& size, const Parameters& parameters, int number)
    : size_(size), parameters_(parameters), tile_(MakeTile(size, parameters, number)) {}

Status TileEncoder::Transform(const SampleSource& source, ThreadPool* pool) {
  planes_.resize(tile_.components.size());
  for (size_t c = 0; c < planes_.size(); ++c) {
    const TileComponent& component = tile_.components[c];
    planes_[c].Make(IsReversible(c),
                    WindowsOf(component, component.levels(), component.area, IsReversible(c)));
  }
  Status status = LoadSamples(source, pool);
  if (status.ok()) status = ForwardWavelets(pool, &planes_);
  if (status.ok()) MakeBlocks();
  return status;
}

void TileEncoder::Release() {
  planes_ = {};
  sources_ = {};
}

// Components that are transformed together agree in their size, and their rows in the same band are
// transformed while they are in the cache.
Status TileEncoder::LoadSamples(const SampleSource& source, ThreadPool* pool) {
  const bool transforms = parameters_.tile.transforms_components;
  const size_t together = transforms ? 3 : 1;
  Status status;
  for (size_t c = 0; status.ok() && c < planes_.size(); c += c == 0 ? together : 1) {
    const size_t count = c == 0 ? together : 1;
    const Rect& area = tile_.components[c].area;
    if (area.empty()) continue;
    const int64_t samples = static_cast<int64_t>(count) * area.width();
    status = ForRowBands(pool, area.height(), samples, [&, c](int64_t begin, int64_t end) {
      PlainVector<int32_t> buffer(static_cast<size_t>(area.width()));
      for (size_t i = c; i < c + count; ++i) {
        for (int64_t row = begin; row < end; ++row) LoadRow(source, i, row, buffer.data());
      }
      if (c == 0 && transforms) ForwardComponents(begin, end);
    });
  }
  return status;
}

void TileEncoder::LoadRow(const SampleSource& source, size_t component, int64_t row,
                          int32_t* buffer) {
  const SizeSegment::ComponentSize& sizes = size_.components[component];
  const Rect whole = ComponentArea({size_.x0, size_.y0, size_.x1, size_.y1}, sizes.dx, sizes.dy);
  const Rect& area = tile_.components[component].area;
  source.Read(component, area.x0 - whole.x0, area.y0 - whole.y0 + row, area.width(), buffer);
  const int32_t half = 1 << (sizes.bits - 1);
  const int32_t offset = sizes.is_signed ? 0 : half;
  planes_[component].Do([&](auto* plane) {
    auto* const to = plane->Row(row);
    std::transform(buffer, buffer + area.width(), to, [&](int32_t value) {
      return static_cast<std::remove_reference_t<decltype(*to)>>(
          std::clamp(value - offset, -half, half - 1));
    });
  });
}

void TileEncoder::ForwardComponents(int64_t begin, int64_t end) {
  AnyPlane &c0 = planes_[0], &c1 = planes_[1], &c2 = planes_[2];
  if (c0.reversible()) {
    ForwardOf(zepiRCTFwd_JPEG2K_32s_P3IR, begin, end, c0.integers(), c1.integers(), c2.integers());
  } else {
    ForwardOf(zepiICTFwd_JPEG2K_32f_P3IR, begin, end, c0.reals(), c1.reals(), c2.reals());
  }
}

BlockSource TileEncoder::SourceOf(size_t component, size_t resolution, const Band& band,
                                  const Rect& area) {
  const ComponentCoding& coding = Own(component).coding;
  const int bits = size_.components[component].bits;
  const BandSteps steps =
      StepsOf(Own(component).quantization, coding, bits, static_cast<int>(resolution), band);
  const double norm =
      SynthesisNorm(coding.reversible, band.level, band.orientation) *
      ComponentNorm(coding.reversible, parameters_.tile.transforms_components, component);
  const int64_t x = band.plane_x + area.x0 - band.area.x0;
  const int64_t y = band.plane_y + area.y0 - band.area.y0;
  BlockSource source{};
  if (coding.reversible) {
    source.integers = planes_[component].integers()->At(resolution, x, y);
  } else {
    source.reals = planes_[component].reals()->At(resolution, x, y);
  }
  source.row_step = tile_.components[component].area.width();
  source.size = {static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height())};
  source.orientation = band.orientation;
  source.style = coding.block_style;
  source.most_planes = steps.most_planes;
  source.quantizer_step = steps.step;
  source.weight = steps.step * steps.step * norm * norm;
  return source;
}

std::vector<PrecinctWriter::ForBand> TileEncoder::MakePrecinct(size_t component, size_t resolution,
                                                               int64_t precinct) {
  const Resolution& geometry = tile_.components[component].resolutions[resolution];
  std::vector<PrecinctWriter::ForBand> bands;
  for (const Band& band : geometry.bands) {
    const BlockGrid grid = geometry.Blocks(band, precinct);
    PrecinctWriter::ForBand made;
    made.across = grid.across;
    made.down = grid.down;
    for (int i = 0; i < grid.Count(); ++i) {
      blocks_.emplace_back();
      made.blocks.push_back(&blocks_.back());
      sources_.push_back(SourceOf(component, resolution, band, grid.Area(i)));
    }
    bands.push_back(std::move(made));
  }
  return bands;
}

void TileEncoder::MakeBlocks() {
  for (size_t c = 0; c < tile_.components.size(); ++c) {
    precincts_.emplace_back();
    for (size_t r = 0; r < tile_.components[c].resolutions.size(); ++r) {
      PrecinctsOfResolution made;
      const int64_t count = tile_.components[c].resolutions[r].PrecinctCount();
      for (int64_t p = 0; p < count; ++p) {
        made.emplace_back(MakePrecinct(c, r, p), Own(c).coding.block_style);
      }
      precincts_.back().push_back(std::move(made));
    }
  }
}

template <class IsWanted>
Status TileEncoder::CodeBlocks(int spare_planes, const IsWanted& wanted, ThreadPool* pool,
                               Progress* progress) {
  const ComponentCoding& coding = Own(0).coding;
  const zepiSize most = {1 << coding.block_width_log2, 1 << coding.block_height_log2};
  return RunParallel(
      pool, blocks_.size(),
      [&] {
        return [&, encoder = BlockEncoder(most)](size_t i) mutable {
          if (wanted(i)) encoder.Encode(sources_[i], spare_planes, &blocks_[i]);
        };
      },
      progress);
}

Status TileEncoder::CodeAll(ThreadPool* pool, Progress* progress) {
  return CodeBlocks(
      0, [](size_t) { return true; }, pool, progress);
}

Status TileEncoder::CodeSample(ThreadPool* pool, Progress* progress) {
  return CodeBlocks(0, IsInSample, pool, progress);
}

Status TileEncoder::CodeOthers(int spare_planes, ThreadPool* pool, Progress* progress) {
  return CodeBlocks(
      spare_planes, [](size_t i) { return !IsInSample(i); }, pool, progress);
}

double TileEncoder::SampleShare() const {
  double sample = 0, all = 0;
  for (size_t i = 0; i < sources_.size(); ++i) {
    const double count = 1.0 * sources_[i].size.width * sources_[i].size.height;
    all += count;
    if (IsInSample(i)) sample += count;
  }
  return all > 0 ? sample / all : 1;
}

size_t TileEncoder::MarkerBytes() const {
  return (parameters_.tile.uses_sop ? kStartMarkerSize : 0) +
         (parameters_.tile.uses_eph ? kHeaderEndSize : 0);
}

void TileEncoder::AddPrecincts(std::vector<PrecinctWriter*>* precincts) {
  for (auto& component : precincts_) {
    for (auto& resolution : component) {
      for (PrecinctWriter& precinct : resolution) precincts->push_back(&precinct);
    }
  }
}

void TileEncoder::WritePackets(std::vector<uint8_t>* bytes) {
  const int layers = parameters_.tile.layers;
  for (auto& component : precincts_) {
    for (auto& resolution : component) {
      for (PrecinctWriter& precinct : resolution) precinct.Start(static_cast<size_t>(layers));
    }
  }
  PacketOrder order(tile_,
                    {0, 0, layers, kMostLevels + 1, kMostComponents, parameters_.tile.order});
  Packet packet{};
  for (int64_t number = 0; order.Next(&packet); ++number) {
    PrecinctWriter& precinct =
        precincts_[size_t(packet.component)][size_t(packet.resolution)][size_t(packet.precinct)];
    if (parameters_.tile.uses_sop) WriteStartMarker(number, bytes);
    precinct.WriteHeader(bytes);
    if (parameters_.tile.uses_eph) WriteMarker(kEph, bytes);
    precinct.WriteBody(bytes);
  }
}

}  // namespace zepcodec::jpeg2000
