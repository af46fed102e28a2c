// SPDX-License-Identifier: MIT
#include "texture/bptc/bc7_packing.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "texture/bptc/bc7_modes.h"
#include "texture/bptc/bptc_tables.h"

namespace zepjp {
namespace {

constexpr uint64_t kOnes = 0x1111111111111111;

// Masks of subsets with four bits per pixel: 1 for the pixels of the subset.
struct SubsetMasks {
  uint64_t of_two[64], of_three[64][2];
};
constexpr SubsetMasks MakeMasks() {
  SubsetMasks masks = {};
  for (int partition = 0; partition < 64; ++partition) {
    for (int i = 0; i < 16; ++i) {
      const uint64_t bit = uint64_t{1} << (4 * i);
      if ((kTwoSubsets[partition] >> i & 1) != 0) masks.of_two[partition] |= bit;
      const uint32_t subset = kThreeSubsets[partition] >> (2 * i) & 3;
      if (subset != 0) masks.of_three[partition][subset - 1] |= bit;
    }
  }
  return masks;
}
constexpr SubsetMasks kMasks = MakeMasks();

struct Subsets {
  int count;
  uint64_t mask[3];
  int anchor[3];
};

Subsets SubsetsOf(int count, int partition) {
  if (count == 1) return {1, {kOnes, 0, 0}, {0, 0, 0}};
  if (count == 2) {
    const uint64_t second = kMasks.of_two[partition];
    return {2, {kOnes ^ second, second, 0}, {0, kAnchorOfTwo[partition], 0}};
  }
  const uint64_t second = kMasks.of_three[partition][0], third = kMasks.of_three[partition][1];
  return {3,
          {kOnes ^ second ^ third, second, third},
          {0, kAnchorOfThree1[partition], kAnchorOfThree2[partition]}};
}

// The highest bit of the index of a subset's anchor pixel is not stored and must be 0. If it is 1,
// the ends of the subset are exchanged and its indexes counted from the other end. The weight there
// is 64 minus the old weight, so the pixels do not change.
void TurnSubsets(const Subsets& subsets, int bits, uint32_t* ends, uint64_t* indexes) {
  const uint64_t last = (uint64_t{1} << bits) - 1;
  for (int s = 0; s < subsets.count; ++s) {
    if ((*indexes >> (4 * subsets.anchor[s] + bits - 1) & 1) == 0) continue;
    std::swap(ends[2 * s], ends[2 * s + 1]);
    *indexes ^= subsets.mask[s] * last;
  }
}

// Joins the lowest `bits` bits of each four.
uint64_t Squeeze(uint64_t nibbles, int bits) {
  const int gap = 4 - bits;
  uint64_t v = nibbles;
  v = (v & 0x0F0F0F0F0F0F0F0F) | (v & 0xF0F0F0F0F0F0F0F0) >> gap;
  v = (v & 0x00FF00FF00FF00FF) | (v & 0xFF00FF00FF00FF00) >> (2 * gap);
  v = (v & 0x0000FFFF0000FFFF) | (v & 0xFFFF0000FFFF0000) >> (4 * gap);
  return (v & 0x00000000FFFFFFFF) | (v & 0xFFFFFFFF00000000) >> (8 * gap);
}

uint64_t RemoveBit(uint64_t v, int at) {
  const uint64_t below = (uint64_t{1} << at) - 1;
  return (v & below) | (v >> 1 & ~below);
}

uint64_t StoredIndexes(const Subsets& subsets, int bits, uint64_t indexes) {
  uint64_t v = Squeeze(indexes, bits);
  const int a = subsets.anchor[1], b = subsets.anchor[2];
  if (subsets.count == 3) v = RemoveBit(v, std::max(a, b) * bits + bits - 1);
  if (subsets.count == 3) v = RemoveBit(v, std::min(a, b) * bits + bits - 1);
  if (subsets.count == 2) v = RemoveBit(v, a * bits + bits - 1);
  return RemoveBit(v, bits - 1);
}

class BlockBits {
 public:
  void Put(uint64_t value, int count) {
    if (at_ < 64) {
      low_ |= value << at_;
      if (at_ + count > 64) high_ |= value >> (64 - at_);
    } else {
      high_ |= value << (at_ - 64);
    }
    at_ += count;
  }
  void Store(uint8_t* block) const {
    for (int i = 0; i < 8; ++i) {
      block[i] = static_cast<uint8_t>(low_ >> (8 * i));
      block[8 + i] = static_cast<uint8_t>(high_ >> (8 * i));
    }
  }

 private:
  uint64_t low_ = 0, high_ = 0;
  int at_ = 0;
};

void PutEnds(const Bc7Mode& mode, const uint32_t* ends, const uint32_t* own_ends, BlockBits* bits) {
  const int count = 2 * mode.subsets, p = mode.p_bits == kNoPBits ? 0 : 1;
  const bool has_own = mode.second_bits != 0;
  const int channels = has_own || mode.alpha_bits == 0 ? 3 : 4;
  const uint32_t kept = (1U << mode.color_bits) - 1;
  for (int c = 0; c < channels; ++c) {
    for (int i = 0; i < count; ++i) bits->Put(ends[i] >> (8 * c + p) & kept, mode.color_bits);
  }
  if (has_own) {
    for (int i = 0; i < 2; ++i) bits->Put(own_ends[i], mode.alpha_bits);
  }
  if (p == 0) return;
  const int step = mode.p_bits == kSharedPBits ? 2 : 1;
  for (int i = 0; i < count; i += step) bits->Put(ends[i] & 1, 1);
}

}  // namespace

void PackBc7(const Bc7Choice& choice, uint8_t* block) {
  const Bc7Mode& mode = kBc7Modes[choice.mode];
  const Subsets subsets = SubsetsOf(mode.subsets, choice.partition), whole = SubsetsOf(1, 0);
  uint32_t ends[6], own_ends[2] = {choice.own_ends[0], choice.own_ends[1]};
  std::copy_n(choice.ends, 6, ends);
  uint64_t indexes = choice.indexes, own_indexes = choice.own_indexes;
  const bool is_exchanged = choice.selection != 0;
  const int width = is_exchanged ? mode.second_bits : mode.index_bits;
  const int own_width = is_exchanged ? mode.index_bits : mode.second_bits;
  TurnSubsets(subsets, width, ends, &indexes);
  if (mode.second_bits != 0) TurnSubsets(whole, own_width, own_ends, &own_indexes);
  BlockBits bits;
  bits.Put(uint64_t{1} << choice.mode, choice.mode + 1);
  bits.Put(static_cast<uint64_t>(choice.partition), mode.partition_bits);
  bits.Put(static_cast<uint64_t>(choice.rotation), mode.rotation_bits);
  bits.Put(static_cast<uint64_t>(choice.selection), mode.selection_bits);
  PutEnds(mode, ends, own_ends, &bits);
  if (is_exchanged) std::swap(indexes, own_indexes);
  bits.Put(StoredIndexes(subsets, mode.index_bits, indexes), 16 * mode.index_bits - mode.subsets);
  if (mode.second_bits != 0) {
    bits.Put(StoredIndexes(whole, mode.second_bits, own_indexes), 16 * mode.second_bits - 1);
  }
  bits.Store(block);
}

}  // namespace zepjp
