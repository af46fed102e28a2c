// SPDX-License-Identifier: MIT
#include "jpeg2000/progression.h"

#include <algorithm>
#include <tuple>

namespace jpeg2000 {
namespace {

// Where a row or column of precincts begins on the reference grid; the first may begin before the
// tile does, and counts from there.
int64_t StartOnGrid(int64_t index, int64_t resolution_start, int64_t tile_start, int log2,
                    int halvings, int step) {
  const bool cut = (resolution_start & ((int64_t{1} << log2) - 1)) != 0;
  if (index == 0 && cut) return tile_start;
  return (((resolution_start >> log2) + index) << (log2 + halvings)) * step;
}

}  // namespace

PacketOrder::Place PacketOrder::PlaceOf(const Tile& tile, int component, int resolution,
                                        int64_t precinct) {
  const TileComponent& parent = tile.components[size_t(component)];
  const Resolution& owner = parent.resolutions[size_t(resolution)];
  const int halvings = parent.levels() - resolution;
  const int64_t x = StartOnGrid(precinct % owner.precincts_across, owner.area.x0, tile.area.x0,
                                owner.precinct_width_log2, halvings, parent.dx);
  const int64_t y = StartOnGrid(precinct / owner.precincts_across, owner.area.y0, tile.area.y0,
                                owner.precinct_height_log2, halvings, parent.dy);
  return {component, resolution, precinct, x, y};
}

PacketOrder::PacketOrder(const Tile& tile, const ProgressionVolume& volume)
    : order_(volume.order), end_layer_(volume.end_layer) {
  const int components = static_cast<int>(tile.components.size());
  for (int c = volume.first_component; c < std::min(volume.end_component, components); ++c) {
    const auto& resolutions = tile.components[size_t(c)].resolutions;
    const int count = static_cast<int>(resolutions.size());
    for (int r = volume.first_resolution; r < std::min(volume.end_resolution, count); ++r) {
      const int64_t precincts = resolutions[size_t(r)].PrecinctCount();
      for (int64_t p = 0; p < precincts; ++p) places_.push_back(PlaceOf(tile, c, r, p));
    }
  }
  Sort();
  FindEndOfRun();
}

void PacketOrder::Sort() {
  const auto sort_by = [this](auto key) {
    std::sort(places_.begin(), places_.end(),
              [&](const Place& a, const Place& b) { return key(a) < key(b); });
  };
  switch (order_) {
    case Progression::kLrcp:
    case Progression::kRlcp:
      return sort_by(
          [](const Place& p) { return std::make_tuple(p.resolution, p.component, p.precinct); });
    case Progression::kRpcl:
      return sort_by([](const Place& p) {
        return std::make_tuple(p.resolution, p.y, p.x, p.component, p.precinct);
      });
    case Progression::kPcrl:
      return sort_by([](const Place& p) {
        return std::make_tuple(p.y, p.x, p.component, p.resolution, p.precinct);
      });
    case Progression::kCprl:
      return sort_by([](const Place& p) {
        return std::make_tuple(p.component, p.y, p.x, p.resolution, p.precinct);
      });
  }
}

bool PacketOrder::SharesLayers(const Place& a, const Place& b) const {
  if (order_ == Progression::kLrcp) return true;
  return order_ == Progression::kRlcp && a.resolution == b.resolution;
}

void PacketOrder::FindEndOfRun() {
  run_end_ = run_begin_;
  while (run_end_ < places_.size() &&
         (run_end_ == run_begin_ || SharesLayers(places_[run_begin_], places_[run_end_]))) {
    ++run_end_;
  }
  next_ = run_begin_;
  layer_ = 0;
}

bool PacketOrder::Next(Packet* packet) {
  if (next_ == run_end_) {
    next_ = run_begin_;
    ++layer_;
  }
  if (layer_ >= end_layer_) {
    run_begin_ = run_end_;
    FindEndOfRun();
  }
  if (run_begin_ >= places_.size() || end_layer_ <= 0) return false;
  const Place& place = places_[next_++];
  *packet = {place.component, place.resolution, place.precinct, layer_};
  return true;
}

}  // namespace jpeg2000
