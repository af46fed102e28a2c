// SPDX-License-Identifier: MIT
// All packets of a tile.
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
#include "codecs/support/messages.h"
#include "codecs/support/progress.h"

namespace zepcodec::jpeg2000 {

// What of a tile is wanted.
struct Wanted {
  int reduce = 0;                // resolutions to leave out
  int layers = 0;                // 0: all
  Progress* progress = nullptr;  // of the code-blocks; null: nobody watches
};

class TilePackets {
 public:
  struct PrecinctState {
    std::unique_ptr<PrecinctBlocks> blocks;  // null: no packet had passes
    int32_t layers = 0;                      // that packets were met of
    bool lost = false;  // a header could not be read: what follows cannot be either
  };
  struct ForResolution {
    std::array<BandSteps, 3> steps = {};  // of each band
    std::array<int, 3> most_planes = {};  // the same with the shift of a region of interest
    std::vector<PrecinctState> precincts;
  };
  struct Outcome {
    // Where the data end behind a packet, and some quality layers are there of every precinct: how
    // many. 0: all that were announced, or what is missing was put into the messages.
    int layers_found = 0;
  };

  // All must outlive this.
  TilePackets(const SizeSegment& size, const Parameters& parameters, const Tile& tile,
              const Wanted& wanted, Budget* budget);

  // Reads until all that is wanted is there or the data ends. Damage is put into one message.
  Outcome Read(int tile_number, const PacketSource& source, Messages* messages);

  const ForResolution& At(size_t component, size_t resolution) const {
    return components_[component][resolution];
  }

 private:
  enum class Progress { kGoOn, kStop };
  bool IsWanted(const Packet& packet) const;
  int64_t CountWanted() const;
  // False: they take more memory or time than the tile has.
  bool MakePrecincts();
  int LayersFound() const;
  std::vector<ProgressionVolume> Volumes() const;
  Progress ReadVolume(const ProgressionVolume& volume);
  Progress Visit(const Packet& packet);
  Progress Read(const Packet& packet, PrecinctState* state);
  // Reads the packet that begins here.
  PacketResult ReadAt(const Packet& packet);
  // Takes the start marker of the packet off; false: the packet is not here.
  bool TakeStartMarker();
  // The number in the start marker at `at`, less that of the packet to be read; negative: no marker.
  int64_t NumberAhead(const uint8_t* at) const;
  // Goes on at the next packet from `from` on that has a start marker and is at least so far ahead; false:
  // there is none.
  bool Resume(const uint8_t* from, int64_t least_ahead);

  const SizeSegment& size_;
  const Parameters& parameters_;
  const Tile& tile_;
  Wanted wanted_;
  Budget* budget_;
  std::vector<std::vector<ForResolution>> components_;
  PacketSource source_;
  int64_t wanted_left_ = 0;
  int64_t packet_ = 0;                   // the number of the one to be read
  int64_t resume_at_ = 0;                // packets before are lost
  const uint8_t* last_start_ = nullptr;  // behind the last start marker; null: none was met
  PrecinctState* last_state_ = nullptr;  // of the last packet
  int64_t lost_packets_ = 0;
  bool cut_ = false;
  bool ends_behind_packet_ = false;
  bool gave_up_ = false;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TILE_PACKETS_H_
