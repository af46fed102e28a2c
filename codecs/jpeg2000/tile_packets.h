// SPDX-License-Identifier: MIT
// Reads all packets of a tile.
#ifndef ZEPJP_CODECS_JPEG2000_TILE_PACKETS_H_
#define ZEPJP_CODECS_JPEG2000_TILE_PACKETS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "codecs/jpeg2000/budget.h"
#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/geometry.h"
#include "codecs/jpeg2000/packet_reader.h"
#include "codecs/jpeg2000/progression.h"
#include "codecs/jpeg2000/quantization.h"
#include "codecs/jpeg2000/window.h"
#include "codecs/support/messages.h"

namespace zepcodec::jpeg2000 {

// The part of a tile that is wanted.
struct WantedPackets {
  int layers = 0;  // 0: all
  // For each component, the resolutions that are wanted and their windows. Empty windows: nothing
  // of the component is.
  std::vector<std::vector<Window>> windows;
};

class TilePackets {
 public:
  struct PrecinctState {
    std::unique_ptr<PrecinctBlocks> blocks;  // null: no packet had passes
    int32_t layers = 0;                      // layers whose packets were read
    bool lost = false;                       // a header was not readable, so no later one is
    bool wanted = false;
  };
  struct ForResolution {
    std::array<BandSteps, 3> steps = {};  // for each band
    std::array<int, 3> most_planes = {};  // with the shift of a region of interest
    std::array<Rect, 3> parts = {};       // that are wanted
    std::vector<PrecinctState> precincts;
  };
  struct Outcome {
    // If the data ends after a packet and every precinct has some quality layers: their number. 0:
    // all layers are there, or the messages name the missing ones.
    int layers_found = 0;
  };

  // All arguments must outlive this.
  TilePackets(const SizeSegment& size, const Parameters& parameters, const Tile& tile,
              const WantedPackets& wanted, Budget* budget);

  // Reads until all wanted packets are there or the data ends. Damage gives one message.
  Outcome Read(int tile_number, const PacketSource& source, Messages* messages);

  const ForResolution& At(size_t component, size_t resolution) const {
    return components_[component][resolution];
  }

 private:
  enum class Progress { kGoOn, kStop };
  // Whether a layer is wanted of those precincts that are.
  bool IsWanted(int layer) const { return wanted_.layers == 0 || layer < wanted_.layers; }
  int64_t CountWanted() const;
  // False: they take more memory or time than the budget of the tile.
  bool MakePrecincts();
  void MakeResolution(size_t component, size_t number, ForResolution* made) const;
  int LayersFound() const;
  std::vector<ProgressionVolume> Volumes() const;
  Progress ReadVolume(const ProgressionVolume& volume);
  Progress Visit(const Packet& packet);
  Progress Read(const Packet& packet, PrecinctState* state);
  // Reads the next packet.
  PacketResult ReadAt(const Packet& packet);
  // Skips the start marker of the packet; false: the packet is missing.
  bool TakeStartMarker();
  // The number in the start marker at `at`, minus that of the next packet; negative: no marker.
  int64_t NumberAhead(const uint8_t* at) const;
  // Continues at the next start marker after `from` whose packet is at least that far ahead; false:
  // there is none.
  bool Resume(const uint8_t* from, int64_t least_ahead);

  const SizeSegment& size_;
  const Parameters& parameters_;
  const Tile& tile_;
  const WantedPackets& wanted_;
  Budget* budget_;
  std::vector<std::vector<ForResolution>> components_;
  PacketSource source_;
  int64_t wanted_left_ = 0;
  int64_t packet_ = 0;                   // the number of the next packet
  int64_t resume_at_ = 0;                // packets before this one are lost
  const uint8_t* last_start_ = nullptr;  // end of the last start marker; null: none was read
  PrecinctState* last_state_ = nullptr;  // that of the last packet
  int64_t lost_packets_ = 0;
  bool cut_ = false;
  bool ends_behind_packet_ = false;
  bool gave_up_ = false;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_PACKETS_H_
