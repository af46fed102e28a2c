// SPDX-License-Identifier: MIT
#include "jpeg2000/tile_packets.h"

#include <algorithm>
#include <string>

namespace jpeg2000 {
namespace {

// A packet takes a byte at least, so more visits than bytes come of volumes that overlap.
constexpr int64_t kVisitsForByte = 16;
constexpr int64_t kFreeVisits = 1 << 22;
// How far the number in a start marker may be ahead before it is taken for chance.
constexpr int64_t kMostSkipped = 4096;
constexpr size_t kStartMarkerSize = 6;

std::vector<BandSteps> StepsOfBands(const SizeSegment& size, const Parameters& parameters,
                                    size_t component, size_t resolution,
                                    const Resolution& geometry) {
  std::vector<BandSteps> steps;
  const Parameters::ForComponent& own = parameters.components[component];
  for (const Band& band : geometry.bands) {
    steps.push_back(StepsOf(own.quantization, own.coding, size.components[component].bits,
                            static_cast<int>(resolution), band));
  }
  return steps;
}

}  // namespace

TilePackets::TilePackets(const SizeSegment& size, const Parameters& parameters, const Tile& tile,
                         const Wanted& wanted)
    : parameters_(parameters), tile_(tile), wanted_(wanted) {
  components_.resize(tile.components.size());
  states_.resize(tile.components.size());
  for (size_t c = 0; c < tile.components.size(); ++c) {
    const std::vector<Resolution>& resolutions = tile.components[c].resolutions;
    for (size_t r = 0; r < resolutions.size(); ++r) {
      const auto count = static_cast<size_t>(resolutions[r].PrecinctCount());
      ForResolution made;
      made.steps = StepsOfBands(size, parameters, c, r, resolutions[r]);
      for (const BandSteps& steps : made.steps) {
        made.most_planes.push_back(steps.most_planes + parameters.components[c].roi_shift);
      }
      made.precincts.resize(count);
      components_[c].push_back(std::move(made));
      states_[c].emplace_back(count);
    }
  }
}

bool TilePackets::IsWanted(const Packet& packet) const {
  const int levels = tile_.components[size_t(packet.component)].levels();
  return packet.resolution <= std::max(0, levels - wanted_.reduce) &&
         (wanted_.layers == 0 || packet.layer < wanted_.layers);
}

int64_t TilePackets::CountWanted() const {
  int64_t precincts = 0;
  for (const TileComponent& component : tile_.components) {
    const int highest = std::max(0, component.levels() - wanted_.reduce);
    for (int r = 0; r <= highest; ++r) {
      precincts += component.resolutions[size_t(r)].PrecinctCount();
    }
  }
  const int layers = parameters_.tile.layers;
  return precincts * (wanted_.layers == 0 ? layers : std::min(layers, wanted_.layers));
}

std::vector<ProgressionVolume> TilePackets::Volumes() const {
  std::vector<ProgressionVolume> volumes = parameters_.volumes;
  for (ProgressionVolume& volume : volumes) {
    volume.end_layer = std::min(volume.end_layer, parameters_.tile.layers);
  }
  // What the volumes leave out, if anything, comes in the order of the tile.
  volumes.push_back(
      {0, 0, parameters_.tile.layers, kMostLevels + 1, kMostComponents, parameters_.tile.order});
  return volumes;
}

void TilePackets::Read(int tile_number, const PacketSource& source, Messages* messages) {
  source_ = source;
  wanted_left_ = CountWanted();
  visits_left_ =
      kFreeVisits + kVisitsForByte * static_cast<int64_t>(source.body.size + source.header.size);
  for (const ProgressionVolume& volume : Volumes()) {
    if (ReadVolume(volume) == Progress::kStop) break;
  }
  if (lost_packets_ > 0) {
    messages->AddForTile(tile_number, std::to_string(lost_packets_) + " packets lost");
  }
  if (cut_) messages->AddForTile(tile_number, "the data ends before the last packet");
  if (gave_up_) messages->AddForTile(tile_number, "too many changes of the order of packets");
}

TilePackets::Progress TilePackets::ReadVolume(const ProgressionVolume& volume) {
  visits_left_ -= tile_.PrecinctCount();
  PacketOrder order(tile_, volume);
  Packet packet{};
  while (order.Next(&packet)) {
    if (wanted_left_ <= 0) return Progress::kStop;
    if (--visits_left_ < 0) {
      gave_up_ = true;
      return Progress::kStop;
    }
    if (Visit(packet) == Progress::kStop) return Progress::kStop;
  }
  return Progress::kGoOn;
}

TilePackets::Progress TilePackets::Visit(const Packet& packet) {
  PrecinctState* state =
      &states_[size_t(packet.component)][size_t(packet.resolution)][size_t(packet.precinct)];
  if (packet.layer < state->layers) return Progress::kGoOn;
  state->layers = packet.layer + 1;
  if (IsWanted(packet)) --wanted_left_;
  const Progress progress = Read(packet, state);
  ++packet_;
  return progress;
}

TilePackets::Progress TilePackets::Read(const Packet& packet, PrecinctState* state) {
  PacketResult result = PacketResult::kBroken;
  const uint8_t* begin = source_.body.data;
  if (packet_ >= resume_at_ && !state->lost) {
    if (TakeStartMarker()) {
      begin = source_.body.data;
      result = ReadAt(packet);
      last_state_ = state;
    } else {
      // The packet before was not what it seemed to be.
      last_state_->lost = true;
      ++lost_packets_;
      begin = last_start_;
      if (Resume(begin, 0) && resume_at_ == packet_) return Read(packet, state);
    }
  }
  if (result == PacketResult::kRead) return Progress::kGoOn;
  state->lost = true;
  if (packet_ < resume_at_ || Resume(begin, 1)) {
    ++lost_packets_;
    return Progress::kGoOn;
  }
  if (result == PacketResult::kCut) {
    cut_ = true;
  } else {
    lost_packets_ += std::max<int64_t>(1, wanted_left_);
  }
  return Progress::kStop;
}

PacketResult TilePackets::ReadAt(const Packet& packet) {
  const auto component = size_t(packet.component), number = size_t(packet.resolution);
  const Resolution& geometry = tile_.components[component].resolutions[number];
  ForResolution& resolution = components_[component][number];
  std::unique_ptr<PrecinctBlocks>& blocks = resolution.precincts[size_t(packet.precinct)];
  if (blocks == nullptr) blocks = std::make_unique<PrecinctBlocks>(geometry, packet.precinct);
  const PacketFormat format = {parameters_.components[component].coding.block_style,
                               parameters_.tile.uses_eph, resolution.most_planes.data()};
  return ReadPacket(format, packet.layer, IsWanted(packet), blocks.get(), &source_);
}

int64_t TilePackets::NumberAhead(const uint8_t* at) const {
  if (at[0] != 0xFF || at[1] != (kSop & 0xFF) || at[2] != 0 || at[3] != 4) return -1;
  return ((at[4] << 8 | at[5]) - packet_) & 0xFFFF;
}

// A file that may have them need not, and where headers stand apart they help nothing.
bool TilePackets::TakeStartMarker() {
  Span& body = source_.body;
  if (!parameters_.tile.uses_sop) return true;
  if (body.size >= kStartMarkerSize && NumberAhead(body.data) == 0) {
    body = {body.data + kStartMarkerSize, body.size - kStartMarkerSize};
    last_start_ = body.data;
    return true;
  }
  return last_state_ == nullptr || last_start_ == nullptr || source_.has_own_headers;
}

bool TilePackets::Resume(const uint8_t* from, int64_t least_ahead) {
  if (last_start_ == nullptr || source_.has_own_headers) return false;
  const uint8_t* const end = source_.body.data + source_.body.size;
  for (const uint8_t* at = from; end - at >= ptrdiff_t{kStartMarkerSize}; ++at) {
    const int64_t ahead = NumberAhead(at);
    if (ahead < least_ahead || ahead > kMostSkipped) continue;
    source_.body = {at, static_cast<size_t>(end - at)};
    resume_at_ = packet_ + ahead;
    return true;
  }
  return false;
}

}  // namespace jpeg2000
