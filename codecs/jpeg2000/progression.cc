// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/progression.h"

#include <algorithm>
#include <tuple>

namespace zepcodec::jpeg2000 {
namespace {

// The start of a row or column of precincts on the reference grid. The first one can start before
// the tile; then the tile's start counts.
int64_t StartOnGrid(int64_t index, int64_t resolution_start, int64_t tile_start, int log2,
                    int halvings, int step) {
  const bool cut = (resolution_start & ((int64_t{1} << log2) - 1)) != 0;
  if (index == 0 && cut) return tile_start;
  return (((resolution_start >> log2) + index) << (log2 + halvings)) * step;
}

}  // namespace

PacketOrder::Range::Range(const Tile& tile, const ProgressionVolume& volume)
    : first_component(volume.first_component),
      end_component(std::min(volume.end_component, static_cast<int>(tile.components.size()))),
      first_resolution(volume.first_resolution),
      end_resolution(volume.end_layer > 0 ? std::min(volume.end_resolution, kMostLevels + 1) : 0) {}

int PacketOrder::Range::ResolutionsOf(const TileComponent& component) const {
  return std::min(end_resolution, component.levels() + 1);
}

int64_t PacketOrder::CountPlaces(const Tile& tile, const ProgressionVolume& volume) {
  const Range range(tile, volume);
  int64_t count = 0;
  for (int c = range.first_component; c < range.end_component; ++c) {
    const TileComponent& component = tile.components[size_t(c)];
    for (int r = range.first_resolution; r < range.ResolutionsOf(component); ++r) {
      count += component.resolutions[size_t(r)].PrecinctCount();
    }
  }
  return count;
}

void PacketOrder::AddPlaces(const Tile& tile, int component, int resolution) {
  const TileComponent& parent = tile.components[size_t(component)];
  const Resolution& owner = parent.resolutions[size_t(resolution)];
  const int halvings = parent.levels() - resolution;
  uint32_t precinct = 0;
  for (int64_t row = 0; row < owner.precincts_down; ++row) {
    const int64_t y = StartOnGrid(row, owner.area.y0, tile.area.y0, owner.precinct_height_log2,
                                  halvings, parent.dy);
    for (int64_t column = 0; column < owner.precincts_across; ++column, ++precinct) {
      const int64_t x = StartOnGrid(column, owner.area.x0, tile.area.x0, owner.precinct_width_log2,
                                    halvings, parent.dx);
      places_.push_back({static_cast<int32_t>(x), static_cast<int32_t>(y), precinct,
                         static_cast<uint8_t>(component), static_cast<uint8_t>(resolution)});
    }
  }
}

// In orders that start with the resolution, resolutions are the outer loop, and often nothing is
// left to sort.
PacketOrder::PacketOrder(const Tile& tile, const ProgressionVolume& volume)
    : order_(volume.order), end_layer_(volume.end_layer) {
  const Range range(tile, volume);
  places_.reserve(static_cast<size_t>(CountPlaces(tile, volume)));
  if (order_ == Progression::kPcrl || order_ == Progression::kCprl) {
    for (int c = range.first_component; c < range.end_component; ++c) {
      const int end = range.ResolutionsOf(tile.components[size_t(c)]);
      for (int r = range.first_resolution; r < end; ++r) AddPlaces(tile, c, r);
    }
  } else {
    for (int r = range.first_resolution; r < range.end_resolution; ++r) {
      for (int c = range.first_component; c < range.end_component; ++c) {
        if (r < range.ResolutionsOf(tile.components[size_t(c)])) AddPlaces(tile, c, r);
      }
    }
  }
  Sort();
  FindEndOfRun();
}

void PacketOrder::Sort() {
  const auto sort_by = [this](auto key) {
    const auto less = [&](const Place& a, const Place& b) { return key(a) < key(b); };
    if (!std::is_sorted(places_.begin(), places_.end(), less)) {
      std::sort(places_.begin(), places_.end(), less);
    }
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
  if (run_begin_ >= places_.size()) return false;
  const Place& place = places_[next_++];
  *packet = {place.component, place.resolution, place.precinct, layer_};
  return true;
}

}  // namespace zepcodec::jpeg2000
