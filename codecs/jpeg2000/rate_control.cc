// SPDX-License-Identifier: MIT
// Which coding passes does a layer of a given size get? Distortions add up over code-blocks, and so
// do lengths, so the sum of distortions is least if all blocks are truncated at the same slope:
// otherwise bytes moved from a flatter place to a steeper one would remove more. All steps from cut
// to cut, of all blocks, are sorted by slope; a layer is a number of steps from the front of that
// list. Packet headers depend on the choice, so the number is found by a search with the real size
// of the packets. The sum of the steps' bytes and the size of the last headers give the next number
// to try. The few bytes that are left go to later steps that still fit.
#include "codecs/jpeg2000/rate_control.h"

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

// A step from one cut of a block to its next.
struct Step {
  double slope;
  EncodedBlock* block;
  size_t cut;

  size_t bytes() const {
    return block->cuts[cut - 1].length - (cut > 1 ? block->cuts[cut - 2].length : 0);
  }
};

bool IsSteeper(const Step& a, const Step& b) { return a.slope > b.slope; }

// The number of later steps that are tried one by one after the first that does not fit.
constexpr size_t kMostTried = 32;
// The number of guesses before the search halves the rest.
constexpr int kMostGuesses = 8;
constexpr size_t kSortedAtOnce = 1 << 14;

class RateControl {
 public:
  RateControl(size_t other_bytes, ThreadPool* pool, std::deque<TileEncoder>* tiles)
      : other_bytes_(other_bytes), pool_(pool) {
    for (TileEncoder& tile : *tiles) {
      tile.AddPrecincts(&precincts_);
      marker_bytes_ = tile.MarkerBytes();
      for (EncodedBlock& block : tile.blocks()) {
        for (size_t i = 0; i < block.cuts.size(); ++i) {
          steps_.push_back({block.cuts[i].slope, &block, i + 1});
        }
      }
    }
  }

  Status Sort();
  Status CutLayer(size_t layer, size_t bytes);
  // Of the first step that was not taken in order; 0 if all were.
  double slope() const { return taken_ < steps_.size() ? steps_[taken_].slope : 0; }

 private:
  void TakeSteps(size_t count, size_t layer);
  Status Search(size_t layer, size_t bytes);
  Status Fill(size_t layer, size_t bytes);
  Status Measure(size_t layer, size_t* bytes);
  size_t StepsOf(size_t bytes) const;

  size_t other_bytes_;
  ThreadPool* pool_;
  std::vector<PrecinctWriter*> precincts_;
  size_t marker_bytes_ = 0;         // of a packet
  std::vector<Step> steps_;         // with falling slopes
  std::vector<size_t> body_bytes_;  // of the first steps: one more than steps
  size_t taken_ = 0;                // steps in the present layer
};

// Equal slopes stay in the order of blocks, so that the file does not depend on the sort.
Status RateControl::Sort() {
  const auto at = [&](size_t i) {
    return steps_.begin() + static_cast<ptrdiff_t>(std::min(i, steps_.size()));
  };
  const size_t parts = (steps_.size() + kSortedAtOnce - 1) / kSortedAtOnce;
  Status status = RunParallel(pool_, parts, [&] {
    return [&](size_t i) {
      std::stable_sort(at(i * kSortedAtOnce), at((i + 1) * kSortedAtOnce), IsSteeper);
    };
  });
  for (size_t length = kSortedAtOnce; status.ok() && length < steps_.size(); length *= 2) {
    const size_t pairs = (steps_.size() + 2 * length - 1) / (2 * length);
    status = RunParallel(pool_, pairs, [&] {
      return [&](size_t i) {
        const size_t first = 2 * i * length;
        std::inplace_merge(at(first), at(first + length), at(first + 2 * length), IsSteeper);
      };
    });
  }
  body_bytes_ = {0};
  body_bytes_.reserve(steps_.size() + 1);
  for (const Step& step : steps_) body_bytes_.push_back(body_bytes_.back() + step.bytes());
  return status;
}

Status RateControl::CutLayer(size_t layer, size_t bytes) {
  for (const Step& step : steps_) {
    std::vector<size_t>& cuts = step.block->layer_cuts;
    cuts[layer] = layer == 0 ? 0 : cuts[layer - 1];
  }
  taken_ = 0;
  if (bytes == 0) {
    TakeSteps(steps_.size(), layer);
    return Status();
  }
  Status status = Search(layer, bytes);
  return status.ok() ? Fill(layer, bytes) : status;
}

// Takes the first `count` steps, in addition to those of the previous layer. The steps of a block
// are in order, so that they can be taken back from the last one.
void RateControl::TakeSteps(size_t count, size_t layer) {
  for (; taken_ < count; ++taken_) {
    size_t& cut = steps_[taken_].block->layer_cuts[layer];
    cut = std::max(cut, steps_[taken_].cut);
  }
  for (; taken_ > count; --taken_) {
    const Step& step = steps_[taken_ - 1];
    std::vector<size_t>& cuts = step.block->layer_cuts;
    cuts[layer] = std::max(step.cut - 1, layer == 0 ? 0 : cuts[layer - 1]);
  }
}

// The most steps whose bodies have up to that size.
size_t RateControl::StepsOf(size_t bytes) const {
  const auto first_above = std::upper_bound(body_bytes_.begin(), body_bytes_.end(), bytes);
  return static_cast<size_t>(first_above - body_bytes_.begin()) - 1;
}

// Takes the most steps that fit; none are taken to fit.
Status RateControl::Search(size_t layer, size_t bytes) {
  size_t fits = 0;
  size_t too_many = steps_.size() + 1;
  size_t headers = other_bytes_;
  for (int i = 0; too_many - fits > 1; ++i) {
    const size_t guess = bytes > headers ? StepsOf(bytes - headers) : 0;
    const size_t middle = fits + (too_many - fits) / 2;
    const size_t tried = i < kMostGuesses ? std::clamp(guess, fits + 1, too_many - 1) : middle;
    TakeSteps(tried, layer);
    size_t size = 0;
    Status status = Measure(layer, &size);
    if (!status.ok()) return status;
    (size <= bytes ? fits : too_many) = tried;
    headers = size - std::min(size, body_bytes_[tried]);
  }
  TakeSteps(fits, layer);
  return Status();
}

// Later steps can be smaller and still fit.
Status RateControl::Fill(size_t layer, size_t bytes) {
  size_t size = 0;
  Status status = Measure(layer, &size);
  const size_t end = std::min(steps_.size(), taken_ + kMostTried);
  for (size_t i = taken_; status.ok() && i < end; ++i) {
    size_t& cut = steps_[i].block->layer_cuts[layer];
    if (steps_[i].cut != cut + 1 || size + steps_[i].bytes() > bytes) continue;
    ++cut;
    size_t grown = 0;
    status = Measure(layer, &grown);
    if (grown > bytes) {
      --cut;
    } else {
      size = grown;
    }
  }
  return status;
}

// The size of the file with all layers up to this one.
Status RateControl::Measure(size_t layer, size_t* bytes) {
  std::atomic<size_t> size{other_bytes_};
  Status status = RunParallel(pool_, precincts_.size(), [&] {
    return [&](size_t i) { size += precincts_[i]->PacketBytes(layer + 1, marker_bytes_); };
  });
  *bytes = size;
  return status;
}

}  // namespace

void TakeAllPasses(TileEncoder* tile) {
  for (EncodedBlock& block : tile->blocks()) block.layer_cuts = {block.cuts.size()};
}

Status CutLayers(const std::vector<size_t>& layer_bytes, size_t other_bytes, ThreadPool* pool,
                 std::deque<TileEncoder>* tiles, double* slope) {
  for (TileEncoder& tile : *tiles) {
    for (EncodedBlock& block : tile.blocks()) block.layer_cuts.assign(layer_bytes.size(), 0);
  }
  RateControl control(other_bytes, pool, tiles);
  Status status = control.Sort();
  for (size_t layer = 0; status.ok() && layer < layer_bytes.size(); ++layer) {
    status = control.CutLayer(layer, layer_bytes[layer]);
  }
  *slope = control.slope();
  return status;
}

}  // namespace zepcodec::jpeg2000
