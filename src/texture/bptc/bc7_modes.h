// SPDX-License-Identifier: MIT
// The eight modes of BC7 blocks and the positions of their fields (Khronos Data Format
// Specification, 20). From the lowest bit up, a block has: the mode m as m zeros and a one, the
// partition, the rotation, the selection of indexes, the end points (all R, all G, all B, all A,
// each subset by subset), the p-bits, the indexes, the second indexes.
#ifndef ZEPJP_SRC_TEXTURE_BPTC_BC7_MODES_H_
#define ZEPJP_SRC_TEXTURE_BPTC_BC7_MODES_H_

namespace zepjp {

// A p-bit is the lowest bit of all channels of an end point, or of both end points of a subset.
enum Bc7PBits { kNoPBits, kEachPBits, kSharedPBits };

struct Bc7Mode {
  int number, subsets, partition_bits, rotation_bits, selection_bits, color_bits, alpha_bits;
  Bc7PBits p_bits;
  int index_bits, second_bits;

  // The number of stored bits of a channel.
  constexpr int Width(int channel) const { return channel < 3 ? color_bits : alpha_bits; }
  // The position of the bits of an end point of a subset.
  constexpr int EndPoint(int channel, int subset, int end) const {
    return FirstEndPoint() + 2 * subsets * channel * color_bits +
           (2 * subset + end) * Width(channel);
  }
  constexpr int FirstPBit() const {
    return FirstEndPoint() + 2 * subsets * (3 * color_bits + alpha_bits);
  }
  constexpr int FirstIndexes() const {
    const int p = p_bits == kNoPBits ? 0 : p_bits == kSharedPBits ? subsets : 2 * subsets;
    return FirstPBit() + p;
  }
  constexpr int SecondIndexes() const { return FirstIndexes() + 16 * index_bits - subsets; }

 private:
  constexpr int FirstEndPoint() const {
    return number + 1 + partition_bits + rotation_bits + selection_bits;
  }
};

constexpr Bc7Mode kBc7Modes[8] = {
    {0, 3, 4, 0, 0, 4, 0, kEachPBits, 3, 0}, {1, 2, 6, 0, 0, 6, 0, kSharedPBits, 3, 0},
    {2, 3, 6, 0, 0, 5, 0, kNoPBits, 2, 0},   {3, 2, 6, 0, 0, 7, 0, kEachPBits, 2, 0},
    {4, 1, 0, 2, 1, 5, 6, kNoPBits, 2, 3},   {5, 1, 0, 2, 0, 7, 8, kNoPBits, 2, 2},
    {6, 1, 0, 0, 0, 7, 7, kEachPBits, 4, 0}, {7, 2, 6, 0, 0, 5, 5, kEachPBits, 2, 0}};

}  // namespace zepjp

#endif  // ZEPJP_SRC_TEXTURE_BPTC_BC7_MODES_H_
