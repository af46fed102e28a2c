// SPDX-License-Identifier: MIT
#include "jpeg2000/tile_encoder.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "jpeg2000/marker_writer.h"
#include "jpeg2000/parallel.h"
#include "jpeg2000/progression.h"
#include "jpeg2000/quantization.h"

namespace jpeg2000 {
namespace {

int FractionOf(const ComponentCoding& coding, int bits) {
  return coding.reversible ? 0 : FractionBits(bits);
}

}  // namespace

TileEncoder::TileEncoder(const SizeSegment& size, const Parameters& parameters, int number)
    : size_(size), parameters_(parameters), tile_(MakeTile(size, parameters, number)) {}

Status TileEncoder::Code(const Image& image, size_t threads) {
  LoadSamples(image);
  if (parameters_.tile.transforms_components) ForwardComponents();
  Status status = RunParallel(threads, planes_.size(), [&] {
    return [&](size_t c) {
      ForwardWavelet(tile_.components[c], Own(c).coding.reversible, &planes_[c]);
    };
  });
  if (!status.ok()) return status;
  MakeBlocks();
  status = CodeBlocks(threads);
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
    planes_[c].Resize(std::max<int64_t>(0, area.width()), std::max<int64_t>(0, area.height()));
    const int32_t half = 1 << (sizes.bits - 1);
    const int32_t offset = sizes.is_signed ? 0 : half;
    const int32_t unit = 1 << FractionOf(Own(c).coding, sizes.bits);
    for (int64_t y = 0; y < planes_[c].height; ++y) {
      const int32_t* from =
          image.components[c].Row(static_cast<int>(area.y0 - whole.y0 + y)) + (area.x0 - whole.x0);
      int32_t* to = planes_[c].At(0, y);
      for (int64_t x = 0; x < planes_[c].width; ++x) {
        to[x] = std::clamp(from[x] - offset, -half, half - 1) * unit;
      }
    }
  }
}

void TileEncoder::ForwardComponents() {
  if (planes_[0].values.empty()) return;
  int32_t* const planes[3] = {planes_[0].values.data(), planes_[1].values.data(),
                              planes_[2].values.data()};
  const zepiSize size = {static_cast<int32_t>(planes_[0].width),
                         static_cast<int32_t>(planes_[0].height)};
  const auto forward =
      Own(0).coding.reversible ? zepiRCTFwd_JPEG2K_32s_P3IR : zepiICTFwd_JPEG2K_32s_P3IR;
  forward(planes, planes_[0].Step(), size);
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
  const Plane& plane = planes_[component];
  BlockSource source{};
  source.from =
      plane.At(band.plane_x + area.x0 - band.area.x0, band.plane_y + area.y0 - band.area.y0);
  source.step = plane.width;
  source.size = {static_cast<int32_t>(area.width()), static_cast<int32_t>(area.height())};
  source.orientation = band.orientation;
  source.style = coding.block_style;
  source.most_planes = steps.most_planes;
  source.scale = std::ldexp(1 / steps.step, -FractionOf(coding, bits));
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

Status TileEncoder::CodeBlocks(size_t threads) {
  const ComponentCoding& coding = Own(0).coding;
  const zepiSize most = {1 << coding.block_width_log2, 1 << coding.block_height_log2};
  return RunParallel(threads, blocks_.size(), [&] {
    return [&, encoder = BlockEncoder(most)](size_t i) mutable {
      encoder.Encode(sources_[i], &blocks_[i]);
    };
  });
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

}  // namespace jpeg2000
