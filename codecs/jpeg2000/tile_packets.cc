// SPDX-License-Identifier: MIT
// Packets follow one another without lengths, so after an unreadable header the next packet is not
// found. If the file has start-of-packet markers with a running number, reading continues at the
// next plausible one: its number must be ahead of the lost packet, but not by so much that it is
// likely to be a coincidence of bytes. The precinct of the lost packet gets no more passes, since
// its later headers depend on the lost one; all others continue. Without markers the rest of the
// tile is lost.
//
// Each step is charged to the tile's budget (budget.h) before it is done.
#include "codecs/jpeg2000/tile_packets.h"

#include <algorithm>
#include <string>

namespace zepcodec::jpeg2000 {
namespace {

// If the number in a start marker is further ahead than this, the bytes are taken for a
// coincidence.
constexpr int64_t kMostSkipped = 4096;
constexpr size_t kStartMarkerSize = 6;

// Bytes of a precinct's state and its place in the order of packets, in vectors that double.
constexpr int64_t kMemoryOfPrecinct = 48;

// Whether a precinct has code-blocks in one of the parts. Precincts without code-blocks are read
// too.
bool Meets(const Resolution& resolution, int64_t precinct, const std::array<Rect, 3>& parts) {
  bool has_blocks = false;
  for (size_t b = 0; b < resolution.bands.size(); ++b) {
    const Rect area = resolution.Blocks(resolution.bands[b], precinct).clip;
    if (!Intersection(area, parts[b]).empty()) return true;
    has_blocks |= !area.empty();
  }
  return !has_blocks;
}

}  // namespace

TilePackets::TilePackets(const SizeSegment& size, const Parameters& parameters, const Tile& tile,
                         const WantedPackets& wanted, Budget* budget)
    : size_(size), parameters_(parameters), tile_(tile), wanted_(wanted), budget_(budget) {}

bool TilePackets::MakePrecincts() {
  components_.resize(tile_.components.size());
  for (size_t c = 0; c < tile_.components.size(); ++c) {
    components_[c].resize(tile_.components[c].resolutions.size());
  }
  for (size_t c = 0; c < tile_.components.size(); ++c) {
    for (size_t r = 0; r < components_[c].size(); ++r) {
      const int64_t count = tile_.components[c].resolutions[r].PrecinctCount();
      if (!budget_->Memory(kMemoryOfPrecinct * count) || !budget_->Work(kWorkOfPrecinct * count)) {
        return false;
      }
      MakeResolution(c, r, &components_[c][r]);
    }
  }
  return true;
}

void TilePackets::MakeResolution(size_t component, size_t number, ForResolution* made) const {
  const Parameters::ForComponent& own = parameters_.components[component];
  const Resolution& resolution = tile_.components[component].resolutions[number];
  const std::vector<Window>& windows = wanted_.windows[component];
  const bool is_taken = number < windows.size() && !windows[number].made.empty();
  for (size_t b = 0; b < resolution.bands.size(); ++b) {
    const Band& band = resolution.bands[b];
    made->steps[b] = StepsOf(own.quantization, own.coding, size_.components[component].bits,
                             static_cast<int>(number), band);
    made->most_planes[b] = made->steps[b].most_planes + own.roi_shift;
    if (is_taken) made->parts[b] = windows[number].BandPart(band);
  }
  made->precincts.resize(static_cast<size_t>(resolution.PrecinctCount()));
  for (size_t p = 0; is_taken && p < made->precincts.size(); ++p) {
    made->precincts[p].wanted = Meets(resolution, static_cast<int64_t>(p), made->parts);
  }
}

int64_t TilePackets::CountWanted() const {
  int64_t precincts = 0;
  for (const std::vector<ForResolution>& component : components_) {
    for (const ForResolution& resolution : component) {
      precincts += std::count_if(resolution.precincts.begin(), resolution.precincts.end(),
                                 [](const PrecinctState& state) { return state.wanted; });
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
  // Packets outside of all volumes follow in the order of the tile.
  volumes.push_back(
      {0, 0, parameters_.tile.layers, kMostLevels + 1, kMostComponents, parameters_.tile.order});
  return volumes;
}

TilePackets::Outcome TilePackets::Read(int tile_number, const PacketSource& source,
                                       Messages* messages) {
  source_ = source;
  gave_up_ = !MakePrecincts();
  wanted_left_ = CountWanted();
  if (!gave_up_) {
    for (const ProgressionVolume& volume : Volumes()) {
      if (ReadVolume(volume) == Progress::kStop) break;
    }
  }
  Outcome outcome;
  if (cut_ && ends_behind_packet_ && lost_packets_ == 0) outcome.layers_found = LayersFound();
  if (lost_packets_ > 0) {
    messages->AddIn(Place("tile", tile_number), std::to_string(lost_packets_) + " packets lost");
  }
  if (cut_ && outcome.layers_found == 0) {
    messages->AddIn(Place("tile", tile_number), "the data ends before the last packet");
  }
  if (gave_up_) {
    messages->AddIn(Place("tile", tile_number),
                    "stopped: its precincts, code-blocks and changes of order take more memory "
                    "or time than a tile of this size needs");
  }
  return outcome;
}

// If the data ends after a packet, only the last precinct is lost.
int TilePackets::LayersFound() const {
  int found = parameters_.tile.layers;
  for (const std::vector<ForResolution>& component : components_) {
    for (const ForResolution& resolution : component) {
      for (const PrecinctState& state : resolution.precincts) {
        if (state.wanted) found = std::min(found, state.layers - (state.lost ? 1 : 0));
      }
    }
  }
  return found;
}

TilePackets::Progress TilePackets::ReadVolume(const ProgressionVolume& volume) {
  const int64_t places = PacketOrder::CountPlaces(tile_, volume);
  if (!budget_->Work(kWorkOfResolution + kWorkOfPlace * places)) {
    gave_up_ = true;
    return Progress::kStop;
  }
  PacketOrder order(tile_, volume);
  Packet packet{};
  while (order.Next(&packet)) {
    if (wanted_left_ <= 0) return Progress::kStop;
    gave_up_ = !budget_->Work(1);
    if (gave_up_ || Visit(packet) == Progress::kStop) return Progress::kStop;
  }
  return Progress::kGoOn;
}

TilePackets::Progress TilePackets::Visit(const Packet& packet) {
  PrecinctState* state = &components_[size_t(packet.component)][size_t(packet.resolution)]
                              .precincts[size_t(packet.precinct)];
  if (packet.layer < state->layers) return Progress::kGoOn;
  state->layers = packet.layer + 1;
  if (state->wanted && IsWanted(packet.layer)) --wanted_left_;
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
      ends_behind_packet_ = source_.Headers().size == 0;
      result = ReadAt(packet);
      last_state_ = state;
    } else {
      // The packet before was misread.
      last_state_->lost = true;
      ++lost_packets_;
      begin = last_start_;
      if (Resume(begin, 0) && resume_at_ == packet_) return Read(packet, state);
    }
  }
  if (result == PacketResult::kRead) return Progress::kGoOn;
  if (result == PacketResult::kTooMuch) {
    gave_up_ = true;
    return Progress::kStop;
  }
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
  ForResolution& resolution = components_[component][number];
  const PacketFormat format = {parameters_.components[component].coding.block_style,
                               parameters_.tile.uses_eph, resolution.most_planes.data()};
  const PacketPlace place = {tile_.components[component].resolutions[number], packet.precinct,
                             packet.layer, IsWanted(packet.layer), resolution.parts};
  return ReadPacket(format, place, &resolution.precincts[size_t(packet.precinct)].blocks, &source_,
                    budget_);
}

int64_t TilePackets::NumberAhead(const uint8_t* at) const {
  if (at[0] != 0xFF || at[1] != (kSop & 0xFF) || at[2] != 0 || at[3] != 4) return -1;
  return ((at[4] << 8 | at[5]) - packet_) & 0xFFFF;
}

// Files that allow start markers can still lack them; with headers in a segment of their own they
// are of no use.
bool TilePackets::TakeStartMarker() {
  Span& body = source_.body;
  if (!parameters_.tile.uses_sop || body.size == 0) return true;
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

}  // namespace zepcodec::jpeg2000
