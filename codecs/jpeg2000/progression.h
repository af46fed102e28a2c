// SPDX-License-Identifier: MIT
// The order of a tile's packets (ITU-T T.800, B.12).
//
// Each of the five orders lists the precincts in some order and runs through the layers: for all
// precincts together, for those of a resolution, or for each precinct. Orders by position sort the
// precincts by their place on the reference grid.
#ifndef ZEPJP_CODECS_JPEG2000_PROGRESSION_H_
#define ZEPJP_CODECS_JPEG2000_PROGRESSION_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "codecs/jpeg2000/codestream.h"
#include "codecs/jpeg2000/geometry.h"

namespace zepcodec::jpeg2000 {

struct Packet {
  int component;
  int resolution;
  int64_t precinct;
  int layer;
};

// The packets of one volume, including those that an earlier volume already had.
class PacketOrder {
 public:
  PacketOrder(const Tile& tile, const ProgressionVolume& volume);
  // The number of precincts that the constructor puts in order, a measure of its time.
  static int64_t CountPlaces(const Tile& tile, const ProgressionVolume& volume);
  // The next packet; false: there is none.
  bool Next(Packet* packet);

 private:
  struct Place {
    int32_t x, y;  // on the reference grid
    uint32_t precinct;
    uint8_t component;
    uint8_t resolution;
  };
  // The part of a tile that is in the volume, from begin up to but excluding end.
  struct Range {
    Range(const Tile& tile, const ProgressionVolume& volume);
    int ResolutionsOf(const TileComponent& component) const;
    int first_component, end_component;
    int first_resolution, end_resolution;
  };
  void AddPlaces(const Tile& tile, int component, int resolution);
  void Sort();
  bool SharesLayers(const Place& a, const Place& b) const;
  void FindEndOfRun();

  Progression order_;
  int end_layer_;
  std::vector<Place> places_;
  // A range of precincts, excluding the end, that run through the layers together.
  size_t run_begin_ = 0;
  size_t run_end_ = 0;
  size_t next_ = 0;
  int layer_ = 0;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PROGRESSION_H_
