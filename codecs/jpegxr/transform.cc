// SPDX-License-Identifier: MIT
// Two stages of a 4x4 transform. The first one works on the samples; its DC coefficients, one in
// 16, form a plane of their own, on which the second stage is the same transform again. In halved
// chroma that plane is too small for 4x4 blocks: it gets 2x2 Hadamard transforms, and in 4:2:2 the
// two sums of a macroblock become their mean and difference. An overlap filter comes before each
// forward and after each inverse stage, if the picture has it.
//
// The blocks are the library's (zepiPCTFwd_JPEGXR_32s_C1IR and its inverse); this file orders
// stages and filters. A filter changes two rows on either side of a border of blocks, so each stage
// works some rows above the previous one.
#include "codecs/jpegxr/transform.h"

#include <algorithm>

#include "codecs/jpegxr/overlap.h"
#include "codecs/jpegxr/quantizer.h"
#include "codecs/jpegxr/wrapping.h"
#include "zepjp.h"

namespace zepcodec::jpegxr {
namespace {

using W = Wrapping;

zepiSize SizeOf(const Window& window) {
  return {static_cast<int32_t>(window.width), static_cast<int32_t>(window.height)};
}

constexpr OverlapFilter kPreFilter = {FilterKind::kPre};

// The second stage corrects no leaks.
OverlapFilter SecondPostFilter(const FrameHeader& frame) {
  return {frame.has_old_filters ? FilterKind::kOldPost : FilterKind::kPost};
}

// Old streams: leaks of at least a quantizer step are compensated in the high-pass band.
OverlapFilter FirstPostFilter(const FrameHeader& frame, const PlaneHeader& header, size_t c) {
  constexpr int32_t kSmallestStep = 21, kAny = INT32_MAX;
  OverlapFilter filter = SecondPostFilter(frame);
  if (!frame.has_old_filters) return filter;
  const int32_t step = QuantizerStep(header.hp[c], header.is_scaled, Band::kHp, c);
  filter.leak_limit = !header.HasHp() ? kAny : step < kSmallestStep ? 0 : step;
  return filter;
}

// Calls use(part) for the parts of the area, in this row of macroblocks, that filters treat as
// planes of their own: all of it, or each hard tile.
template <class Use>
void ForParts(const FrameHeader& frame, const TileArea& area, size_t mb_row, const Use& use) {
  if (!frame.has_hard_tiles) return use(area);
  const auto below = std::upper_bound(frame.rows.begin(), frame.rows.end(), mb_row);
  const size_t y0 = std::max<size_t>(*(below - 1), area.y0);
  const size_t y1 = std::min<size_t>(*below, area.y1);
  for (size_t i = 0; i + 1 < frame.columns.size(); ++i) {
    const size_t x0 = std::max<size_t>(frame.columns[i], area.x0);
    const size_t x1 = std::min<size_t>(frame.columns[i + 1], area.x1);
    if (x0 < x1) use(TileArea{x0, y0, x1, y1});
  }
}

template <class Change>
void ForEachValue(const Window& window, const Change& change) {
  for (size_t y = 0; y < window.height; ++y) {
    int32_t* const row = window.Row(y);
    for (size_t x = 0; x < window.width; ++x) row[x] = change(row[x]);
  }
}

// Sums and differences of four values; its own inverse.
void Hadamard2x2(const Window& dcs, size_t y, size_t x) {
  int32_t* const row0 = dcs.Row(y) + x;
  int32_t* const row1 = dcs.Row(y + 1) + x;
  const W a = W(row0[0]) + row1[1], b = W(row0[1]) - row1[0];
  const W half = (a - b) >> 1;
  const W c = half - row1[1], d = half - row1[0];
  row0[0] = (a - d).value;
  row0[1] = (b + c).value;
  row1[0] = c.value;
  row1[1] = d.value;
}

// A macroblock has one 2x2 square in 4:2:0, and two, one above the other, in 4:2:2.
void HadamardAll(const Window& dcs) {
  for (size_t y = 0; y < dcs.height; y += 2) {
    for (size_t x = 0; x < dcs.width; x += 2) Hadamard2x2(dcs, y, x);
  }
}

// 4:2:2: replaces the sums of the two squares, in rows 0 and 2 of a macroblock, by their mean and
// difference.
void JoinSquares(const Window& dcs) {
  for (size_t y = 0; y < dcs.height; y += 4) {
    for (size_t x = 0; x < dcs.width; x += 2) {
      int32_t* const upper = dcs.Row(y) + x;
      int32_t* const lower = dcs.Row(y + 2) + x;
      const W difference = W(*lower) - *upper;
      *lower = difference.value;
      *upper = (W(*upper) + ((difference + 1) >> 1)).value;
    }
  }
}
void PartSquares(const Window& dcs) {
  for (size_t y = 0; y < dcs.height; y += 4) {
    for (size_t x = 0; x < dcs.width; x += 2) {
      int32_t* const upper = dcs.Row(y) + x;
      int32_t* const lower = dcs.Row(y + 2) + x;
      const W difference = *lower;
      const W sum = W(*upper) - ((difference + 1) >> 1);
      *upper = sum.value;
      *lower = (difference + sum).value;
    }
  }
}

struct ComponentView {
  Component* component;
  bool is_small;  // 4:2:0 or 4:2:2 chroma
  bool is_422;
  bool is_halved;  // between the stages
};

ComponentView ViewOf(CodedPlane* plane, size_t c) {
  const ColorFormat color = plane->header.color;
  return {&plane->components[c], c > 0 && IsSubsampled(color), c > 0 && color == ColorFormat::k422,
          c > 0 && plane->header.is_scaled};
}

// The second stage without its filter, over a whole plane or some rows of macroblocks.
void ForwardSecondTransform(const ComponentView& view, const Window& dcs) {
  if (view.is_halved) ForEachValue(dcs, [](int32_t value) { return value >> 1; });
  if (!view.is_small) {
    zepiPCTFwd_JPEGXR_32s_C1IR(dcs.Row(0), dcs.StepInBytes(), SizeOf(dcs));
    return;
  }
  HadamardAll(dcs);
  if (view.is_422) JoinSquares(dcs);
}

void InverseSecondTransform(const ComponentView& view, const Window& dcs) {
  if (view.is_small) {
    if (view.is_422) PartSquares(dcs);
    HadamardAll(dcs);
  } else {
    zepiPCTInv_JPEGXR_32s_C1IR(dcs.Row(0), dcs.StepInBytes(), SizeOf(dcs));
  }
  if (view.is_halved) ForEachValue(dcs, [](int32_t value) { return (W(value) << 1).value; });
}

// One row of blocks; the places of DC become 0.
void GatherDcs(const Window& values, const Window& dcs, size_t row) {
  int32_t* const from = values.Row(4 * row);
  int32_t* const to = dcs.Row(row);
  for (size_t i = 0; i < dcs.width; ++i) {
    to[i] = from[4 * i];
    from[4 * i] = 0;
  }
}
void ScatterDcs(const Window& dcs, const Window& values, size_t row) {
  const int32_t* const from = dcs.Row(row);
  int32_t* const to = values.Row(4 * row);
  for (size_t i = 0; i < dcs.width; ++i) to[4 * i] = from[i];
}

Window BlockRow(const Window& values, size_t row) {
  return values.Part(0, 4 * row, values.width, 4);
}

}  // namespace

void InverseDcRow(const FrameHeader& frame, const TileArea& area, size_t mb_row, size_t c,
                  CodedPlane* plane) {
  const OverlapFilter filter = SecondPostFilter(frame);
  const ComponentView view = ViewOf(plane, c);
  const size_t rows = view.component->blocks_down;
  ForParts(frame, area, mb_row, [&](const TileArea& part) {
    const Window dcs = view.component->Dcs(part);
    const size_t row = mb_row - part.y0;
    InverseSecondTransform(view, dcs.Part(0, rows * row, dcs.width, rows));
    if (frame.overlap != Overlap::kBoth) return;
    if (view.is_small) {
      FilterSmallRows(filter, dcs, rows * row, rows * (row + 1));
      return;
    }
    FilterRow(filter, dcs, static_cast<ptrdiff_t>(row) - 1);
    if (mb_row + 1 == part.y1) FilterRow(filter, dcs, static_cast<ptrdiff_t>(row));
  });
}

void InverseMbRow(const FrameHeader& frame, const TileArea& area, size_t mb_row, size_t c,
                  CodedPlane* plane) {
  const OverlapFilter filter = FirstPostFilter(frame, plane->header, c);
  Component& component = plane->components[c];
  ForParts(frame, area, mb_row, [&](const TileArea& part) {
    const Window values = component.Values(part);
    const Window dcs = component.Dcs(part);
    const size_t begin = component.blocks_down * (mb_row - part.y0);
    for (size_t row = begin; row < begin + component.blocks_down; ++row) {
      ScatterDcs(dcs, values, row);
      const Window blocks = BlockRow(values, row);
      zepiPCTInv_JPEGXR_32s_C1IR(blocks.Row(0), blocks.StepInBytes(), SizeOf(blocks));
      if (frame.overlap == Overlap::kNone) continue;
      FilterRow(filter, values, static_cast<ptrdiff_t>(row) - 1);
      if (row + 1 == dcs.height) FilterRow(filter, values, static_cast<ptrdiff_t>(row));
    }
  });
}

void ForwardMbRow(const FrameHeader& frame, size_t mb_row, size_t c, CodedPlane* plane) {
  Component& component = plane->components[c];
  const size_t rows = component.blocks_down;
  ForParts(frame, AreaOf(frame), mb_row, [&](const TileArea& part) {
    const Window values = component.Values(part);
    const Window dcs = component.Dcs(part);
    const size_t begin = rows * (mb_row - part.y0);
    const size_t end = begin + rows - (mb_row + 1 == part.y1 ? 0 : 1);
    for (size_t row = begin - (begin == 0 ? 0 : 1); row < end; ++row) {
      if (frame.overlap != Overlap::kNone) {
        if (row == 0) FilterRow(kPreFilter, values, -1);
        FilterRow(kPreFilter, values, static_cast<ptrdiff_t>(row));
      }
      const Window blocks = BlockRow(values, row);
      zepiPCTFwd_JPEGXR_32s_C1IR(blocks.Row(0), blocks.StepInBytes(), SizeOf(blocks));
      GatherDcs(values, dcs, row);
    }
  });
}

void ForwardDcRow(const FrameHeader& frame, size_t mb_row, size_t c, CodedPlane* plane) {
  const ComponentView view = ViewOf(plane, c);
  const size_t rows = view.component->blocks_down;
  ForParts(frame, AreaOf(frame), mb_row, [&](const TileArea& part) {
    const Window dcs = view.component->Dcs(part);
    const size_t row = mb_row - part.y0;
    if (frame.overlap == Overlap::kBoth && view.is_small) {
      const size_t end = std::min(dcs.height, rows * (row + 1) + 1);
      FilterSmallRows(kPreFilter, dcs, row == 0 ? 0 : rows * row + 2, end);
    } else if (frame.overlap == Overlap::kBoth) {
      if (row == 0) FilterRow(kPreFilter, dcs, -1);
      FilterRow(kPreFilter, dcs, static_cast<ptrdiff_t>(row));
    }
    ForwardSecondTransform(view, dcs.Part(0, rows * row, dcs.width, rows));
  });
}

}  // namespace zepcodec::jpegxr
