// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/tile_encoder.h"

#include <algorithm>
#include <utility>

#include "codecs/jpeg2000/marker_writer.h"
#include "codecs/jpeg2000/progression.h"
#include "codecs/jpeg2000/quantization.h"
#include "codecs/jpeg2000/wavelet.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

template <class T>
void LoadPlane(const Component& component, int64_t left, int64_t top, Plane<T>* plane) {
  const int32_t half = 1 << (component.bits - 1);
  const int32_t offset = component.is_signed ? 0 : half;
  for (int64_t y = 0; y < plane->height(); ++y) {
    const int32_t* from = component.Row(static_cast<int>(top + y)) + left;
    T* to = plane->At(0, y);
    for (int64_t x = 0; x < plane->width(); ++x) {
      to[x] = static_cast<T>(std::clamp(from[x] - offset, -half, half - 1));
    }
  }
}

template <class T>
void ForwardOf(zepStatus(ZEP_CALL* transform)(T* const*, int32_t, zepiSize), Plane<T>* c0,
               Plane<T>* c1, Plane<T>* c2) {
  if (c0->empty()) return;
  T* const planes[3] = {c0->At(0, 0), c1->At(0, 0), c2->At(0, 0)};
  transform(planes, c0->StepInBytes(),
            {static_cast<int32_t>(c0->width()), static_cast<int32_t>(c0->height())});
}

}  // namespace

TileEncoder::TileEncoder(const SizeSegment& size, const Parameters& parameters, int number)
    : size_(size), parameters_(parameters), tile_(MakeTile(size, parameters, number)) {}

Status TileEncoder::Code(const Image& image, size_t threads, Progress* progress) {
  LoadSamples(image);
  if (parameters_.tile.transforms_components) ForwardComponents();
  Status status = RunParallel(threads, planes_.size(), [&] {
    return [&](size_t c) {
      if (IsReversible(c)) {
        ForwardWavelet(tile_.components[c], &planes_[c].integers);
      } else {
        ForwardWavelet(tile_.components[c], &planes_[c].reals);
      }
    };
  });
  if (!status.ok()) return status;
  MakeBlocks();
  status = CodeBlocks(threads, progress);
  planes_ = {};
  sources_ = {};
  return status;
}

void TileEncoder::LoadSamples(const Image& image) {
  planes_.resize(tile_.components.size());
  for (size_t c = 0; c < planes_.size(); ++c) {
    const SizeSegment::ComponentSize& sizes = size_.components[c];
    const Rect& area = tile_.components[c].area;
    const Rect whole = ComponentArea({size_.x0, size_.y0, size_.x1, size_.y1}, sizes.dx, sizes.dy);
    planes_[c].Resize(IsReversible(c), area);
    const int64_t left = area.x0 - whole.x0;
    const int64_t top = area.y0 - whole.y0;
    if (IsReversible(c)) {
      LoadPlane(image.components[c], left, top, &planes_[c].integers);
    } else {
      LoadPlane(image.components[c], left, top, &planes_[c].reals);
    }
  }
}

void TileEncoder::ForwardComponents() {
  if (IsReversible(0)) {
    ForwardOf(zepiRCTFwd_JPEG2K_32s_P3IR, &planes_[0].integers, &planes_[1].integers,
              &planes_[2].integers);
  } else {
    ForwardOf(zepiICTFwd_JPEG2K_32f_P3IR, &planes_[0].reals, &planes_[1].reals, &planes_[2].reals);
  }
}

BlockSource TileEncoder::SourceOf(size_t component, size_t resolution, const Band& band,
                                  const Rect& area) const {
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
    source.integers = planes_[component].integers.At(x, y);
  } else {
    source.reals = planes_[component].reals.At(x, y);
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

Status TileEncoder::CodeBlocks(size_t threads, Progress* progress) {
  const ComponentCoding& coding = Own(0).coding;
  const zepiSize most = {1 << coding.block_width_log2, 1 << coding.block_height_log2};
  return RunParallel(
      threads, blocks_.size(),
      [&] {
        return [&, encoder = BlockEncoder(most)](size_t i) mutable {
          encoder.Encode(sources_[i], &blocks_[i]);
        };
      },
      progress);
}

size_t TileEncoder::MarkerBytes() const {
  return (parameters_.tile.uses_sop ? kStartMarkerSize : 0) +
         (parameters_.tile.uses_eph ? kHeaderEndSize : 0);
}

size_t TileEncoder::PacketBytes(size_t layers) {
  size_t size = 0;
  std::vector<uint8_t> header;
  for (auto& component : precincts_) {
    for (auto& resolution : component) {
      for (PrecinctWriter& precinct : resolution) {
        precinct.Start(layers);
        for (size_t layer = 0; layer < layers; ++layer) {
          header.clear();
          precinct.WriteHeader(&header);
          size += header.size() + precinct.BodySize() + MarkerBytes();
        }
      }
    }
  }
  return size;
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
