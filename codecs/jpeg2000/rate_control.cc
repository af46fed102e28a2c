// SPDX-License-Identifier: MIT
// Which coding passes does a layer of a given size get? Distortions add up over code-blocks, and so
// do lengths, so the sum of distortions is least if all blocks are truncated at the same slope:
// otherwise bytes moved from a flatter place to a steeper one would remove more. All steps from cut
// to cut, of all blocks, are sorted by slope; a layer is a number of steps from the front of that
// list. As packet headers depend on the choice, the number is found by bisection with the real size
// of the packets, and the few bytes that are left go to later steps that still fit.
#include "codecs/jpeg2000/rate_control.h"

#include <algorithm>

namespace zepcodec::jpeg2000 {
namespace {

// A step from one cut of a block to its next.
struct Step {
  double slope;
  EncodedBlock* block;
  size_t cut;
};

// The number of later steps that are tried one by one after the first that does not fit.
constexpr size_t kMostTried = 32;

class RateControl {
 public:
  RateControl(size_t other_bytes, std::deque<TileEncoder>* tiles)
      : other_bytes_(other_bytes), tiles_(tiles) {
    for (TileEncoder& tile : *tiles) {
      for (EncodedBlock& block : tile.blocks()) {
        for (size_t i = 0; i < block.cuts.size(); ++i) {
          steps_.push_back({block.cuts[i].slope, &block, i + 1});
        }
      }
    }
    // Equal slopes stay in the order of blocks, so that the file does not depend on the sort.
    std::stable_sort(steps_.begin(), steps_.end(),
                     [](const Step& a, const Step& b) { return a.slope > b.slope; });
  }

  void CutLayer(size_t layer, size_t bytes) {
    if (bytes == 0) {
      TakeSteps(steps_.size(), layer);
      return;
    }
    size_t fits = 0;
    size_t too_many = steps_.size() + 1;
    while (too_many - fits > 1) {
      const size_t middle = fits + (too_many - fits) / 2;
      TakeSteps(middle, layer);
      (Bytes(layer) <= bytes ? fits : too_many) = middle;
    }
    TakeSteps(fits, layer);
    Fill(fits, layer, bytes);
  }

 private:
  // Takes the first `count` steps, in addition to those of the previous layer.
  void TakeSteps(size_t count, size_t layer) {
    for (const Step& step : steps_) {
      std::vector<size_t>& cuts = step.block->layer_cuts;
      cuts[layer] = layer == 0 ? 0 : cuts[layer - 1];
    }
    for (size_t i = 0; i < count; ++i) Take(steps_[i], layer);
  }

  static void Take(const Step& step, size_t layer) {
    size_t& cut = step.block->layer_cuts[layer];
    cut = std::max(cut, step.cut);
  }

  // Later steps can be smaller and still fit.
  void Fill(size_t next, size_t layer, size_t bytes) {
    const size_t end = std::min(steps_.size(), next + kMostTried);
    for (size_t i = next; i < end; ++i) {
      size_t& cut = steps_[i].block->layer_cuts[layer];
      const size_t before = cut;
      if (steps_[i].cut != before + 1) continue;
      cut = steps_[i].cut;
      if (Bytes(layer) > bytes) cut = before;
    }
  }

  size_t Bytes(size_t layer) {
    size_t size = other_bytes_;
    for (TileEncoder& tile : *tiles_) size += tile.PacketBytes(layer + 1);
    return size;
  }

  size_t other_bytes_;
  std::deque<TileEncoder>* tiles_;
  std::vector<Step> steps_;  // with falling slopes
};

}  // namespace

void CutLayers(const std::vector<size_t>& layer_bytes, size_t other_bytes,
               std::deque<TileEncoder>* tiles) {
  for (TileEncoder& tile : *tiles) {
    for (EncodedBlock& block : tile.blocks()) block.layer_cuts.assign(layer_bytes.size(), 0);
  }
  RateControl control(other_bytes, tiles);
  for (size_t layer = 0; layer < layer_bytes.size(); ++layer) {
    control.CutLayer(layer, layer_bytes[layer]);
  }
}

}  // namespace zepcodec::jpeg2000
