// SPDX-License-Identifier: MIT
// Neighbouring macroblocks are alike, so quantized values are coded as differences.
//
// DC is predicted from the left, from above, from the mean of both or not at all. The choice takes
// no bits: with a = the DC above left, the value on the left differs from it by |a - left| (the
// change downwards) and the one above by |a - up| (the change to the right). If one change is less
// than a quarter of the other, the prediction follows it: from above where values hardly change
// downwards, from the left where they hardly change to the right. Low-pass values take the same
// direction if both macroblocks have the same quantizer: frequencies across from the left,
// frequencies down from above. High-pass values are predicted inside the macroblock, block by
// block, along the direction in which its low-pass values are less than a quarter of those in the
// other.
//
// Values come from files, so distances are 64-bit and the predicted sums wrap.
#include "codecs/jpegxr/prediction.h"

#include "codecs/jpegxr/wrapping.h"

namespace zepcodec::jpegxr {
namespace {

int64_t Distance(int32_t a, int32_t b) {
  const int64_t difference = int64_t{a} - b;
  return difference < 0 ? -difference : difference;
}
int64_t Magnitude(int32_t a) { return Distance(a, 0); }

// The direction of prediction, from two measures of change: see above.
Direction Smaller(int64_t horizontal, int64_t vertical, Direction neither) {
  if (4 * horizontal < vertical) return Direction::kUp;
  if (4 * vertical < horizontal) return Direction::kLeft;
  return neither;
}

int32_t Mean(int32_t left, int32_t up, bool rounds_up) {
  return static_cast<int32_t>((int64_t{left} + up + (rounds_up ? 1 : 0)) >> 1);
}

int32_t DcPrediction(ColorFormat format, Direction dc, const Neighbours& neighbours, size_t c) {
  switch (dc) {
    case Direction::kLeft: return neighbours.left->low[c][0];
    case Direction::kUp: return neighbours.up->low[c][0];
    case Direction::kMean:
      return Mean(neighbours.left->low[c][0], neighbours.up->low[c][0],
                  c > 0 && IsSubsampled(format));
    default: return 0;
  }
}

// The frequencies among 16 values that continue across a vertical or horizontal border.
constexpr size_t kAcross[3] = {1, 2, 3};
constexpr size_t kDown[3] = {4, 8, 12};

void Add(int32_t value, int32_t* to) { *to = WrapAdd(*to, value); }
void Subtract(int32_t value, int32_t* from) { *from = WrapSub(*from, value); }

// Calls change(value of the neighbour, frequency) for the low-pass predictions of a component that
// come from a neighbouring macroblock.
template <class Change>
void ForEachLp(ColorFormat format, Direction lp, const std::array<int32_t, 16>& from, size_t c,
               const Change& change) {
  const bool is_up = lp == Direction::kUp;
  if (c == 0 || !IsSubsampled(format)) {
    for (const size_t f : is_up ? kDown : kAcross) change(from[f], f);
  } else if (format == ColorFormat::k420) {
    const size_t f = is_up ? 2 : 1;
    change(from[f], f);
  } else if (is_up) {
    change(from[4], 4);
    change(from[6], 2);
  } else {
    for (const size_t f : {size_t{4}, size_t{1}, size_t{5}}) change(from[f], f);
  }
}

const Neighbour& Source(Direction lp, const Neighbours& neighbours) {
  return lp == Direction::kUp ? *neighbours.up : *neighbours.left;
}

void AddColumns(int32_t* row, const int32_t* above, size_t width, size_t column) {
  for (size_t x = column; x < width; x += 4) row[x] = WrapAdd(row[x], above[x]);
}

constexpr size_t kHpDown[3] = {4, 8, 12};

}  // namespace

Direction DcDirection(ColorFormat format, const Neighbours& neighbours) {
  if (neighbours.left == nullptr) {
    return neighbours.up == nullptr ? Direction::kNone : Direction::kUp;
  }
  if (neighbours.up == nullptr) return Direction::kLeft;
  const LowBands& left = neighbours.left->low;
  const LowBands& up = neighbours.up->low;
  const LowBands& up_left = neighbours.up_left->low;
  int64_t horizontal = Distance(up_left[0][0], left[0][0]);
  int64_t vertical = Distance(up_left[0][0], up[0][0]);
  if (format != ColorFormat::kGrey) {
    const int64_t weight = format == ColorFormat::k420 ? 8 : format == ColorFormat::k422 ? 4 : 2;
    horizontal *= weight;
    vertical *= weight;
    for (size_t c = 1; c < 3; ++c) {
      horizontal += Distance(up_left[c][0], left[c][0]);
      vertical += Distance(up_left[c][0], up[c][0]);
    }
  }
  return Smaller(horizontal, vertical, Direction::kMean);
}

Direction LpDirection(Direction dc, const Neighbours& neighbours, uint32_t lp_quantizer) {
  if (dc == Direction::kUp && neighbours.up->lp_quantizer == lp_quantizer) return dc;
  if (dc == Direction::kLeft && neighbours.left->lp_quantizer == lp_quantizer) return dc;
  return Direction::kNone;
}

void AddPrediction(ColorFormat format, Direction dc, Direction lp, const Neighbours& neighbours,
                   LowBands* low) {
  for (size_t c = 0; c < ComponentCount(format); ++c) {
    auto& values = (*low)[c];
    Add(DcPrediction(format, dc, neighbours, c), &values[0]);
    if (lp != Direction::kNone) {
      ForEachLp(format, lp, Source(lp, neighbours).low[c], c,
                [&](int32_t value, size_t f) { Add(value, &values[f]); });
    }
    // 4:2:2 chroma: the lower half of the macroblock is predicted from its upper half.
    if (c > 0 && format == ColorFormat::k422 && dc == Direction::kUp) Add(values[2], &values[6]);
  }
}

void SubtractPrediction(ColorFormat format, Direction dc, Direction lp,
                        const Neighbours& neighbours, LowBands* low) {
  for (size_t c = 0; c < ComponentCount(format); ++c) {
    auto& values = (*low)[c];
    if (c > 0 && format == ColorFormat::k422 && dc == Direction::kUp)
      Subtract(values[2], &values[6]);
    if (lp != Direction::kNone) {
      ForEachLp(format, lp, Source(lp, neighbours).low[c], c,
                [&](int32_t value, size_t f) { Subtract(value, &values[f]); });
    }
    Subtract(DcPrediction(format, dc, neighbours, c), &values[0]);
  }
}

Direction HpDirection(ColorFormat format, const LowBands& low) {
  int64_t horizontal = 0;
  int64_t vertical = 0;
  for (const size_t f : kAcross) horizontal += Magnitude(low[0][f]);
  for (const size_t f : kDown) vertical += Magnitude(low[0][f]);
  for (size_t c = 1; c < ComponentCount(format); ++c) {
    horizontal += Magnitude(low[c][1]);
    vertical += Magnitude(low[c][format == ColorFormat::k444 ? 4 : 2]);
    if (format == ColorFormat::k422) {
      horizontal += Magnitude(low[c][5]);
      vertical += Magnitude(low[c][6]);
    }
  }
  return Smaller(horizontal, vertical, Direction::kNone);
}

void AddHpPrediction(Direction direction, const Window& blocks) {
  if (direction == Direction::kUp) {
    for (size_t y = 4; y < blocks.height; y += 4) {
      for (const size_t f : kHpDown) {
        AddColumns(blocks.Row(y + kRowOfFrequency[f]), blocks.Row(y - 4 + kRowOfFrequency[f]),
                   blocks.width, kColumnOfFrequency[f]);
      }
    }
  } else if (direction == Direction::kLeft) {
    for (size_t y = 0; y < blocks.height; y += 4) {
      for (const size_t f : kAcross) {
        int32_t* const row = blocks.Row(y + kRowOfFrequency[f]);
        for (size_t x = 4 + kColumnOfFrequency[f]; x < blocks.width; x += 4) {
          row[x] = WrapAdd(row[x], row[x - 4]);
        }
      }
    }
  }
}

}  // namespace zepcodec::jpegxr
