// SPDX-License-Identifier: MIT
#include "jpeg2000/rate_control.h"

#include <algorithm>
#include <functional>
#include <limits>

namespace jpeg2000 {
namespace {

std::vector<double> AllSlopes(std::deque<TileEncoder>* tiles) {
  std::vector<double> slopes;
  for (TileEncoder& tile : *tiles) {
    for (const EncodedBlock& block : tile.blocks()) {
      for (const EncodedBlock::Cut& cut : block.cuts) slopes.push_back(cut.slope);
    }
  }
  std::sort(slopes.begin(), slopes.end(), std::greater<double>());
  slopes.erase(std::unique(slopes.begin(), slopes.end()), slopes.end());
  return slopes;
}

// Cuts every block where its slope falls below `least`, but not before the previous layer.
void CutAt(double least, size_t layer, std::deque<TileEncoder>* tiles) {
  for (TileEncoder& tile : *tiles) {
    for (EncodedBlock& block : tile.blocks()) {
      size_t cut = layer == 0 ? 0 : block.layer_cuts[layer - 1];
      while (cut < block.cuts.size() && block.cuts[cut].slope >= least) ++cut;
      block.layer_cuts[layer] = cut;
    }
  }
}

size_t PacketBytes(size_t layers, std::deque<TileEncoder>* tiles) {
  size_t size = 0;
  for (TileEncoder& tile : *tiles) size += tile.PacketBytes(layers);
  return size;
}

}  // namespace

void CutLayers(const std::vector<size_t>& layer_bytes, size_t other_bytes,
               std::deque<TileEncoder>* tiles) {
  const std::vector<double> slopes = AllSlopes(tiles);
  for (TileEncoder& tile : *tiles) {
    for (EncodedBlock& block : tile.blocks()) block.layer_cuts.assign(layer_bytes.size(), 0);
  }
  for (size_t layer = 0; layer < layer_bytes.size(); ++layer) {
    if (layer_bytes[layer] == 0) {
      CutAt(0, layer, tiles);
      continue;
    }
    // Slopes before `fits` make layers that are small enough, those from `too_many` on do not.
    size_t fits = 0;
    size_t too_many = slopes.size() + 1;
    while (too_many - fits > 1) {
      const size_t middle = fits + (too_many - fits) / 2;
      CutAt(slopes[middle - 1], layer, tiles);
      const bool is_small = PacketBytes(layer + 1, tiles) + other_bytes <= layer_bytes[layer];
      (is_small ? fits : too_many) = middle;
    }
    CutAt(fits == 0 ? std::numeric_limits<double>::infinity() : slopes[fits - 1], layer, tiles);
  }
}

}  // namespace jpeg2000
