// SPDX-License-Identifier: MIT
// The samples of a block in the order of the encoder's scan.
//
// The scan goes through stripes of four rows, column by column (ISO/IEC 15444-1, D.1). Words of 64
// bits have that order and hold 16 columns of a stripe: bit 4x + y of word g is row y of column
// 16g + x. Searching a word from its lowest bit upwards follows the scan. A pass finds the samples
// that it codes with a few operations on whole words:
//
//   neighbours         significant samples shifted by 1 (vertically), 4 (horizontally), 3 and 5
//                      (diagonally), and across the borders of the word
//   significance pass  neighbours & ~significant
//   refinement pass    significant & ~visited
//   cleanup pass       all samples that the other two did not code
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_STRIPES_H_

#include <cstddef>
#include <cstdint>

#include "zepjp.h"

namespace zepjp::codeblock {

constexpr uint64_t kRow0 = 0x1111111111111111, kRow3 = kRow0 << 3;

struct Stripes {
  size_t width;
  size_t height;
  size_t stripe_count;
  size_t words;  // of a stripe

  explicit Stripes(zepiSize size)
      : width(static_cast<size_t>(size.width)),
        height(static_cast<size_t>(size.height)),
        stripe_count((height + 3) / 4),
        words((width + 15) / 16) {}

  size_t WordCount() const { return stripe_count * words; }

  // The samples of word `g` of a stripe that belong to the block.
  uint64_t Inside(size_t stripe, size_t g) const {
    const size_t columns = width - 16 * g, rows = height - 4 * stripe;
    const uint64_t in_columns = columns >= 16 ? ~uint64_t{0} : (uint64_t{1} << (4 * columns)) - 1;
    return rows >= 4 ? in_columns : in_columns & kRow0 * ((uint64_t{1} << rows) - 1);
  }
};

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
