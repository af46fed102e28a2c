// SPDX-License-Identifier: MIT
// What is known of a block's samples while its passes run. Samples are coded in stripes of four rows,
// column by column, and so lie in words of 64 bits: bit 4x + y of word g belongs to row y of column
// 16 g + x. Searching a word from its lowest bit upwards is the order of the scan.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_

#include <cstddef>
#include <cstdint>

#include "jpeg2k/codeblock/tables.h"

namespace zepjp::codeblock {

constexpr uint64_t kRow0 = 0x1111111111111111, kRow3 = kRow0 << 3;

// Where a block's state lies. All of it is zero to begin with.
struct Stripes {
  int width;
  int height;
  size_t stripe_count;
  size_t words;        // of a stripe
  size_t window_step;  // windows of a stripe
  // For each column of a stripe the significance in 3 x 6 bits, from the row above it to the row below,
  // three bits a row, left column first; then the signs of its own column in 6 bits. So the window of row y
  // begins at bit 3 y. There is a column more on either side.
  uint32_t* windows;
  uint64_t* significant;
  uint64_t* visited;  // by the significance pass of this plane
  uint64_t* refined;

  Stripes(int block_width, int block_height, size_t step)
      : width(block_width),
        height(block_height),
        stripe_count((static_cast<size_t>(block_height) + 3) / 4),
        words((static_cast<size_t>(block_width) + 15) / 16),
        window_step(step) {}

  size_t WordCount() const { return stripe_count * words; }
  // The arrays lie one after another from `memory` on, which is aligned for words.
  void Place(void* memory) {
    significant = static_cast<uint64_t*>(memory);
    visited = significant + WordCount();
    refined = visited + WordCount();
    windows =
        reinterpret_cast<uint32_t*>(refined + WordCount()) + 1;  // behind the column on the left
  }

  // The samples of word `g` of a stripe that belong to the block.
  uint64_t Inside(size_t stripe, size_t g) const {
    const size_t columns = static_cast<size_t>(width) - 16 * g;
    const size_t rows = static_cast<size_t>(height) - 4 * stripe;
    const uint64_t in_columns = columns >= 16 ? ~uint64_t{0} : (uint64_t{1} << (4 * columns)) - 1;
    return rows >= 4 ? in_columns : in_columns & kRow0 * ((uint64_t{1} << rows) - 1);
  }

  // Samples with a significant one among their eight neighbours.
  uint64_t Neighbours(size_t stripe, size_t g, bool is_causal) const {
    const uint64_t* row = significant + stripe * words;
    const uint64_t own = Tall(stripe, g, is_causal);
    const uint64_t left = g > 0 ? (row[g - 1] | Tall(stripe, g - 1, is_causal)) >> 60 : 0;
    const uint64_t right = g + 1 < words ? (row[g + 1] | Tall(stripe, g + 1, is_causal)) << 60 : 0;
    const uint64_t columns = row[g] | own;
    return own | columns << 4 | columns >> 4 | left | right;
  }

  // A sample of a column of `row`, the windows of a stripe, becomes significant.
  void SetSignificant(uint32_t* row, size_t stripe, uint32_t y, uint32_t is_negative,
                      bool is_causal) const {
    row[-1] |= 4u << (3 * y + 3);
    row[0] |= 2u << (3 * y + 3) | is_negative << (19 + y);
    row[1] |= 1u << (3 * y + 3);
    if (y == 0 && stripe > 0 && !is_causal) {
      uint32_t* above = row - window_step;
      above[-1] |= 4u << 15;
      above[0] |= 2u << 15 | is_negative << 23;
      above[1] |= 1u << 15;
    }
    if (y == 3 && stripe + 1 < stripe_count) {
      uint32_t* below = row + window_step;
      below[-1] |= 4u;
      below[0] |= 2u | is_negative << 18;
      below[1] |= 1u;
    }
  }

  // The context of a sign, and whether it is coded inverted.
  static Symbol SignContext(const uint32_t* row, uint32_t y) {
    const uint32_t signs = (row[0] >> (18 + y) & 1) | (row[-1] >> (19 + y) & 1) << 2 |
                           (row[1] >> (19 + y) & 1) << 4 | (row[0] >> (20 + y) & 1) << 6;
    return kSignContexts[(row[0] >> (3 * y) & 0xAA) | signs];
  }

 private:
  // Samples with a significant one above or below.
  uint64_t Tall(size_t stripe, size_t g, bool is_causal) const {
    const uint64_t* row = significant + stripe * words + g;
    uint64_t tall = (*row << 1 & ~kRow0) | (*row >> 1 & ~kRow3);
    if (stripe > 0) tall |= (*(row - words) & kRow3) >> 3;
    if (!is_causal && stripe + 1 < stripe_count) tall |= (*(row + words) & kRow0) << 3;
    return tall;
  }
};

// The window of sample `i`'s column: as far into them as the sample's row lies into its word, in bytes.
inline uint32_t* WindowOf(uint32_t* windows, uint32_t i) {
  return reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(windows) + (i & ~3u));
}

// Of a column of four: samples that a significant one in row y makes candidates behind it in the scan,
// from its own bit on.
constexpr uint64_t kAhead[4] = {1u << 1 | 1u << 4 | 1u << 5, 1u << 1 | 1u << 3 | 1u << 4 | 1u << 5,
                                1u << 1 | 1u << 3 | 1u << 4 | 1u << 5, 1u << 3 | 1u << 4};

// Columns, by their lowest bit, of which all four samples are in `open` and none in `neighbours`.
constexpr uint64_t RunColumns(uint64_t open, uint64_t neighbours) {
  uint64_t runs = open & ~neighbours;
  runs &= runs >> 1;
  runs &= runs >> 2;
  return runs & kRow0;
}

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_
