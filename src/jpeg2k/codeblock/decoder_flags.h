// SPDX-License-Identifier: MIT
// The flags of a block's samples while the passes of the decoder run.
//
// The scan goes through stripes of four rows, column by column (ISO/IEC 15444-1, D.1). A unit is
// eight columns of a stripe. Its words are in the order of the scan, so a search from the lowest
// bit upwards follows the scan. There are two layouts, with six bits for each column:
//
//   inner      bit 6x + y is row y of column x
//   bordered   the same shifted by 7: bit 6 (x + 1) + (y + 1). The words also hold the neighbours
//              of the unit, which are the samples of one more row or column on each side
//
// So a neighbourhood needs no other word: a shift by a sample's inner bit gives its window of 3 x 3
// samples, with the columns in bits 0 to 2, 6 to 8 and 12 to 14.
#ifndef ZEPJP_SRC_JPEG2K_CODEBLOCK_DECODER_FLAGS_H_
#define ZEPJP_SRC_JPEG2K_CODEBLOCK_DECODER_FLAGS_H_

#include <cstddef>
#include <cstdint>

#include "hwy/base.h"
#include "jpeg2k/codeblock/tables.h"
#include "zepjp.h"

namespace zepjp::codeblock {

constexpr int kBorder = 7;                      // from the inner to the bordered layout
constexpr uint64_t kFirstRow = 0x041041041041;  // of the inner layout
// The neighbours of a sample that come later in the scan, or are in the border.
constexpr uint64_t kAhead = 1u << 1 | 1u << 5 | 1u << 6 | 1u << 7;

class DecoderFlags {
 public:
  DecoderFlags(zepiSize size, void* memory)
      : width_(static_cast<size_t>(size.width)),
        height_(static_cast<size_t>(size.height)),
        units_((width_ + 7) / 8),
        stripes_((height_ + 3) / 4) {
    significant_ = static_cast<uint64_t*>(memory);
    negative_ = significant_ + (units_ + 2) * (stripes_ + 2);
    visited_ = negative_ + (units_ + 2) * (stripes_ + 2);
    refined_ = visited_ + units_ * stripes_;
  }
  static uint64_t Bytes(zepiSize size) {
    const uint64_t units = (static_cast<uint64_t>(size.width) + 7) / 8;
    const uint64_t stripes = (static_cast<uint64_t>(size.height) + 3) / 4;
    return 16 * ((units + 2) * (stripes + 2) + units * stripes);
  }

  size_t units() const { return units_; }  // of a stripe
  size_t stripes() const { return stripes_; }

  // Bordered words.
  uint64_t* Significant(size_t stripe, size_t g) const { return significant_ + At(stripe, g); }
  uint64_t* Negative(size_t stripe, size_t g) const { return negative_ + At(stripe, g); }
  // Inner words: samples that the significance pass of this plane coded, and samples that were
  // refined.
  uint64_t* Visited(size_t stripe, size_t g) const { return visited_ + stripe * units_ + g; }
  uint64_t* Refined(size_t stripe, size_t g) const { return refined_ + stripe * units_ + g; }

  // The inner word of the samples that belong to the block.
  HWY_INLINE uint64_t Inside(size_t stripe, size_t g) const {
    const size_t columns = width_ - 8 * g, rows = height_ - 4 * stripe;
    const uint64_t first =
        columns >= 8 ? kFirstRow : kFirstRow & ((uint64_t{1} << 6 * columns) - 1);
    return first * (rows >= 4 ? 15 : (1u << rows) - 1);
  }

  // Stores the bordered words of a unit and adds its samples to the borders of the units around it.
  // With vertically causal contexts the stripe above does not see them.
  HWY_INLINE void Store(size_t stripe, size_t g, uint64_t significant, uint64_t negative,
                        bool is_causal) const {
    Share(Significant(stripe, g), significant, is_causal);
    Share(Negative(stripe, g), negative, is_causal);
  }

 private:
  size_t At(size_t stripe, size_t g) const { return (stripe + 1) * (units_ + 2) + g + 1; }

  HWY_INLINE void Share(uint64_t* word, uint64_t samples, bool is_causal) const {
    constexpr uint64_t kInner = (kFirstRow * 15) << kBorder;
    constexpr uint64_t kTop = kFirstRow | kFirstRow << 12;  // of ten columns
    *word = samples;
    samples &= kInner;
    const uint64_t to_left = samples << 48 & uint64_t{63} << 54, to_right = samples >> 48;
    word[-1] |= to_left;
    word[1] |= to_right;
    uint64_t* below = word + units_ + 2;
    below[-1] |= to_left >> 4 & kTop;
    below[0] |= samples >> 4 & kTop;
    below[1] |= to_right >> 4 & kTop;
    if (is_causal) return;
    uint64_t* above = word - units_ - 2;
    above[-1] |= to_left << 4 & kTop << 5;
    above[0] |= samples << 4 & kTop << 5;
    above[1] |= to_right << 4 & kTop << 5;
  }

  size_t width_, height_, units_, stripes_;
  uint64_t* significant_;
  uint64_t* negative_;
  uint64_t* visited_;
  uint64_t* refined_;
};

// The inner word of the samples with a significant one among their eight neighbours.
HWY_INLINE uint64_t Neighbours(uint64_t significant) {
  const uint64_t tall = significant << 1 | significant >> 1;
  const uint64_t columns = significant | tall;
  return (tall | columns << 6 | columns >> 6) >> kBorder;
}

// A multiplication that moves three groups of bits, at distances of 6, to the top of 32 bits, the
// last one lowest.
constexpr uint32_t kGather = 1u << 29 | 1u << 20 | 1u << 11;

// The index of kZeroContexts for a sample of the inner layout.
HWY_INLINE uint32_t Window(uint64_t significant, uint32_t i) {
  return (static_cast<uint32_t>(significant >> i) & 0x71C7) * kGather >> 23;
}

// The index of kSignContexts.
HWY_INLINE uint32_t SignWindow(uint64_t significant, uint64_t negative, uint32_t i) {
  constexpr uint32_t kBeside = 0x2142;  // W, N, S, E
  const uint32_t any = static_cast<uint32_t>(significant >> i) & kBeside;
  const uint32_t minus = static_cast<uint32_t>(negative >> i) & kBeside;
  return (any + 2 * minus) * kGather >> 24;
}

// The columns, marked at their first row, whose four samples are all in `samples`.
constexpr uint64_t FullColumns(uint64_t samples) {
  samples &= samples >> 1;
  return samples & samples >> 2 & kFirstRow;
}

// The number of consecutive columns in `columns` from bit `i` on.
constexpr uint32_t ColumnRun(uint64_t columns, uint32_t i) {
  const uint64_t others = ~(columns >> i) & (kFirstRow | uint64_t{1} << 48);
  return static_cast<uint32_t>(__builtin_ctzll(others)) / 6;
}

}  // namespace zepjp::codeblock

#endif  // ZEPJP_SRC_JPEG2K_CODEBLOCK_DECODER_FLAGS_H_
