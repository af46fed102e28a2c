// SPDX-License-Identifier: MIT
// The flags of a block's samples while its passes run.
//
// The scan goes through stripes of four rows, column by column (ISO/IEC 15444-1, D.1). The flags
// are stored in that order, in words of 64 bits for 16 columns of a stripe: bit 4x + y of word g is
// row y of column 16g + x. Searching a word from its lowest bit upwards follows the scan. A pass
// finds the samples that it codes with a few operations on whole words:
//
//   neighbours         significant samples shifted by 1 (vertically), 4 (horizontally), 3 and 5
//                      (diagonally), and across the borders of the word
//   significance pass  neighbours & ~significant
//   refinement pass    significant & ~visited
//   cleanup pass       all samples that the other two did not code
//
// A context depends on the 3 x 3 neighbourhood of one sample. For that the decoder has a second
// array, `windows`. It holds for each column of a stripe the significance of 3 columns by 6 rows in
// 18 bits: the window of row y is one shift by 3y. The encoder computes contexts from words
// (contexts.h) and has flags of its own.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_

#include <cstddef>
#include <cstdint>

#include "jpeg2k/codeblock/tables.h"

namespace zepjp::codeblock {

constexpr uint64_t kRow0 = 0x1111111111111111, kRow3 = kRow0 << 3;

// The arrays of a block's state, which start as zeros.
struct Stripes {
  int width;
  int height;
  size_t stripe_count;
  size_t words;        // of a stripe
  size_t window_step;  // windows of a stripe
  // For each column of a stripe: the significance of 3 x 6 samples, from the row above to the row
  // below, three bits a row, left column first; above them the signs of the column itself in 6
  // bits. So the window of row y begins at bit 3 y. There is one more column on either side.
  uint32_t* windows = nullptr;
  uint64_t* significant = nullptr;
  uint64_t* visited = nullptr;  // coded by the significance pass of this plane
  uint64_t* refined = nullptr;

  Stripes(int block_width, int block_height, size_t step)
      : width(block_width),
        height(block_height),
        stripe_count((static_cast<size_t>(block_height) + 3) / 4),
        words((static_cast<size_t>(block_width) + 15) / 16),
        window_step(step) {}

  size_t WordCount() const { return stripe_count * words; }
  // Places the arrays one after another at `memory`, which is aligned for 64-bit words.
  void Place(void* memory) {
    significant = static_cast<uint64_t*>(memory);
    visited = significant + WordCount();
    refined = visited + WordCount();
    windows = reinterpret_cast<uint32_t*>(refined + WordCount()) +
              1;  // skips the extra column on the left
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

  // The windows of a word's columns, and those of the stripes above and below, which also contain
  // the samples of the first and last row. If there is no such stripe, a scratch array takes its
  // place, so that no branch is needed.
  struct Columns {
    uint32_t* own;
    uint32_t* beside[4];
    uint32_t sample[4];
    uint32_t sign[4];

    uint32_t* Of(uint32_t i) const { return At(own, i); }

    // Sample `i` of the word becomes significant.
    void SetSignificant(uint32_t i, uint32_t is_negative) const {
      const uint32_t y = i % 4;
      const uint32_t unit = 8u << (3 * y);
      Set(At(own, i), unit, is_negative << (19 + y));
      Set(At(beside[y], i), sample[y], sign[y] & (0u - is_negative));
    }

   private:
    // The window of sample `i`'s column.
    static uint32_t* At(uint32_t* windows, uint32_t i) {
      return reinterpret_cast<uint32_t*>(reinterpret_cast<uint8_t*>(windows) + (i & ~3u));
    }
    static void Set(uint32_t* window, uint32_t unit, uint32_t sign_bit) {
      window[-1] |= 4 * unit;
      window[0] |= 2 * unit | sign_bit;
      window[1] |= unit;
    }
  };
  // `unused` is the scratch array, of 18 words.
  Columns ColumnsOf(size_t stripe, size_t g, bool is_causal, uint32_t* unused) const {
    uint32_t* own = windows + stripe * window_step + 16 * g;
    const bool has_above = stripe > 0 && !is_causal, has_below = stripe + 1 < stripe_count;
    return {own,
            {has_above ? own - window_step : unused + 1, unused + 1, unused + 1,
             has_below ? own + window_step : unused + 1},
            {1u << 15, 0, 0, 1u},
            {1u << 23, 0, 0, 1u << 18}};
  }

  // Twice the context of a sign, plus 1 if the sign is coded inverted.
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

// For a sample in row y of a column: its neighbours that come later in the scan, as bits relative
// to its own. They become candidates of the significance pass when the sample becomes significant.
constexpr uint64_t kAhead[4] = {1u << 1 | 1u << 4 | 1u << 5, 1u << 1 | 1u << 3 | 1u << 4 | 1u << 5,
                                1u << 1 | 1u << 3 | 1u << 4 | 1u << 5, 1u << 3 | 1u << 4};

// Columns, marked at their lowest bit, whose four samples are all in `open` and not in
// `neighbours`.
constexpr uint64_t RunColumns(uint64_t open, uint64_t neighbours) {
  uint64_t runs = open & ~neighbours;
  runs &= runs >> 1;
  runs &= runs >> 2;
  return runs & kRow0;
}

// The number of consecutive such columns from bit `i` on.
constexpr uint32_t RunLength(uint64_t runs, uint32_t i) {
  const uint64_t others = ~(runs >> i) & kRow0;
  return others == 0 ? 16 : static_cast<uint32_t>(__builtin_ctzll(others)) / 4;
}

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_
