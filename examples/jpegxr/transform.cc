// SPDX-License-Identifier: MIT
#include "jpegxr/transform.h"

#include <algorithm>
#include <vector>

#include "jpegxr/overlap.h"
#include "jpegxr/overlap_operators.h"
#include "zepjp.h"

namespace jpegxr {
namespace {

zepiSize SizeOf(const Window& window) {
  return {static_cast<int32_t>(window.width), static_cast<int32_t>(window.height)};
}

// The parts of a plane that filters treat as planes of their own: all, or the tiles. The unit is what a macroblock
// takes of it.
std::vector<Window> FilteredParts(const FrameHeader& frame, const Window& plane, size_t unit_width,
                                  size_t unit_height) {
  if (!frame.has_hard_tiles) return {plane};
  std::vector<Window> parts;
  for (size_t tile = 0; tile < frame.TileCount(); ++tile) {
    const TileArea area = AreaOfTile(frame, tile);
    parts.push_back(plane.Part(area.x0 * unit_width, area.y0 * unit_height,
                               area.Width() * unit_width, area.Height() * unit_height));
  }
  return parts;
}

template <class Change>
void ForEachValue(const Window& window, const Change& change) {
  for (size_t y = 0; y < window.height; ++y) {
    int32_t* const row = window.Row(y);
    for (size_t x = 0; x < window.width; ++x) row[x] = change(row[x]);
  }
}

void Hadamard2x2(const Window& dcs, size_t y, size_t x) {
  int32_t* const row0 = dcs.Row(y) + x;
  int32_t* const row1 = dcs.Row(y + 1) + x;
  W a = row0[0], b = row0[1], c = row1[0], d = row1[1];
  Hadamard(a, b, c, d);
  row0[0] = a.value;
  row0[1] = b.value;
  row1[0] = c.value;
  row1[1] = d.value;
}

// 4:2:0 has one square in a macroblock, 4:2:2 two, one above the other.
void HadamardAll(const Window& dcs) {
  for (size_t y = 0; y < dcs.height; y += 2) {
    for (size_t x = 0; x < dcs.width; x += 2) Hadamard2x2(dcs, y, x);
  }
}

// The sums of the two squares of 4:2:2, at rows 0 and 2 of a macroblock, as their mean and difference.
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

// Without the filter: all of it, or some rows of macroblocks.
void ForwardSecondTransform(const ComponentView& view, const Window& dcs) {
  if (view.is_halved) ForEachValue(dcs, [](int32_t value) { return value >> 1; });
  if (!view.is_small) {
    zepiPCTFwd_JPEGXR_32s_C1IR(dcs.data, dcs.StepInBytes(), SizeOf(dcs));
    return;
  }
  HadamardAll(dcs);
  if (view.is_422) JoinSquares(dcs);
}

void ForwardSecondStage(const FrameHeader& frame, const ComponentView& view) {
  const Window dcs = view.component->dcs.All();
  if (frame.overlap == Overlap::kBoth) {
    for (const Window& part :
         FilteredParts(frame, dcs, view.component->blocks_across, view.component->blocks_down)) {
      view.is_small ? PreFilterSmallRows(part, 0, part.height) : PreFilterPlane(part);
    }
  }
  ForwardSecondTransform(view, dcs);
}

void InverseSecondTransform(const ComponentView& view, const Window& dcs) {
  if (view.is_small) {
    if (view.is_422) PartSquares(dcs);
    HadamardAll(dcs);
  } else {
    zepiPCTInv_JPEGXR_32s_C1IR(dcs.data, dcs.StepInBytes(), SizeOf(dcs));
  }
  if (view.is_halved) ForEachValue(dcs, [](int32_t value) { return (W(value) << 1).value; });
}

void InverseSecondStage(const FrameHeader& frame, const ComponentView& view) {
  const Window dcs = view.component->dcs.All();
  InverseSecondTransform(view, dcs);
  if (frame.overlap != Overlap::kBoth) return;
  for (const Window& part :
       FilteredParts(frame, dcs, view.component->blocks_across, view.component->blocks_down)) {
    view.is_small ? PostFilterSmallRows(part, 0, part.height) : PostFilterPlane(part);
  }
}

// One row of blocks, whose places of DC become 0.
void GatherDcs(Component* component, size_t row) {
  int32_t* const from = component->values.All().Row(4 * row);
  int32_t* const to = component->dcs.All().Row(row);
  for (size_t i = 0; i < component->dcs.width(); ++i) {
    to[i] = from[4 * i];
    from[4 * i] = 0;
  }
}
void ScatterDcs(Component* component, size_t row) {
  const int32_t* const from = component->dcs.All().Row(row);
  int32_t* const to = component->values.All().Row(4 * row);
  for (size_t i = 0; i < component->dcs.width(); ++i) to[4 * i] = from[i];
}

Window BlockRow(Component* component, size_t row) {
  return component->values.All().Part(0, 4 * row, component->values.width(), 4);
}

// Rows of blocks from `begin` to before `end`, and the filters between them and behind the last one; before the
// first one too where the row before it is done.
void InverseRows(Component* component, bool is_filtered, bool follows, size_t begin, size_t end) {
  const Window all = component->values.All();
  const size_t count = all.height / 4;
  for (size_t row = begin; row < end; ++row) {
    ScatterDcs(component, row);
    const Window blocks = BlockRow(component, row);
    zepiPCTInv_JPEGXR_32s_C1IR(blocks.data, blocks.StepInBytes(), SizeOf(blocks));
    if (!is_filtered) continue;
    if (follows || row > begin || row == 0) PostFilterRow(all, static_cast<ptrdiff_t>(row) - 1);
    if (row + 1 == count) PostFilterRow(all, static_cast<ptrdiff_t>(row));
  }
}

// The filter behind the last row, too, where the row behind it is there.
void ForwardRows(Component* component, bool is_filtered, bool leads, size_t begin, size_t end) {
  const Window all = component->values.All();
  const size_t count = all.height / 4;
  for (size_t row = begin; row < end; ++row) {
    if (is_filtered) {
      if (row == 0) PreFilterRow(all, -1);
      if (leads || row + 1 < end || end == count) {
        PreFilterRow(all, static_cast<ptrdiff_t>(row));
      }
    }
    const Window blocks = BlockRow(component, row);
    zepiPCTFwd_JPEGXR_32s_C1IR(blocks.data, blocks.StepInBytes(), SizeOf(blocks));
    GatherDcs(component, row);
  }
}

// A part of a component for one thread: some rows of blocks.
struct Share {
  size_t component;
  size_t begin;
  size_t end;
};

std::vector<Share> SharesOf(CodedPlane* plane, size_t threads) {
  std::vector<Share> shares;
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    const size_t rows = plane->components[c].dcs.height();
    const size_t parts = std::min(threads, rows);
    for (size_t i = 0; i < parts; ++i) {
      shares.push_back({c, rows * i / parts, rows * (i + 1) / parts});
    }
  }
  return shares;
}

// The filters where two shares meet.
template <class FilterRow>
void FilterSeams(const std::vector<Share>& shares, CodedPlane* plane, const FilterRow& filter) {
  for (const Share& share : shares) {
    if (share.begin == 0) continue;
    filter(plane->components[share.component].values.All(),
           static_cast<ptrdiff_t>(share.begin) - 1);
  }
}

template <class FilterPlane>
void FilterTiles(const FrameHeader& frame, CodedPlane* plane, const FilterPlane& filter) {
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    Component& component = plane->components[c];
    for (const Window& part :
         FilteredParts(frame, component.values.All(), 4 * component.blocks_across,
                       4 * component.blocks_down)) {
      filter(part);
    }
  }
}

}  // namespace

Status Forward(const FrameHeader& frame, size_t threads, CodedPlane* plane) {
  const bool has_overlap = frame.overlap != Overlap::kNone;
  const bool is_filtered = has_overlap && !frame.has_hard_tiles;
  const std::vector<Share> shares = SharesOf(plane, threads);
  if (has_overlap && frame.has_hard_tiles) FilterTiles(frame, plane, PreFilterPlane);
  if (is_filtered) FilterSeams(shares, plane, PreFilterRow);
  Status status = RunParallel(threads, shares.size(), [&] {
    return [&](size_t i) {
      const Share& share = shares[i];
      ForwardRows(&plane->components[share.component], is_filtered, false, share.begin, share.end);
    };
  });
  for (size_t c = 0; c < plane->header.Components(); ++c)
    ForwardSecondStage(frame, ViewOf(plane, c));
  return status;
}

Status Inverse(const FrameHeader& frame, size_t threads, CodedPlane* plane) {
  const bool has_overlap = frame.overlap != Overlap::kNone;
  const bool is_filtered = has_overlap && !frame.has_hard_tiles;
  for (size_t c = 0; c < plane->header.Components(); ++c)
    InverseSecondStage(frame, ViewOf(plane, c));
  const std::vector<Share> shares = SharesOf(plane, threads);
  Status status = RunParallel(threads, shares.size(), [&] {
    return [&](size_t i) {
      const Share& share = shares[i];
      InverseRows(&plane->components[share.component], is_filtered, false, share.begin, share.end);
    };
  });
  if (is_filtered) FilterSeams(shares, plane, PostFilterRow);
  if (has_overlap && frame.has_hard_tiles) FilterTiles(frame, plane, PostFilterPlane);
  return status;
}

void InverseDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    const ComponentView view = ViewOf(plane, c);
    const Window dcs = view.component->dcs.All();
    const size_t rows = view.component->blocks_down;
    InverseSecondTransform(view, dcs.Part(0, rows * mb_row, dcs.width, rows));
    if (frame.overlap != Overlap::kBoth) continue;
    const bool is_last = rows * (mb_row + 1) == dcs.height;
    if (view.is_small) {
      PostFilterSmallRows(dcs, rows * mb_row, rows * (mb_row + 1));
    } else {
      PostFilterRow(dcs, static_cast<ptrdiff_t>(mb_row) - 1);
      if (is_last) PostFilterRow(dcs, static_cast<ptrdiff_t>(mb_row));
    }
  }
}

void InverseMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    Component& component = plane->components[c];
    const size_t rows = component.blocks_down;
    InverseRows(&component, frame.overlap != Overlap::kNone, true, rows * mb_row,
                rows * (mb_row + 1));
  }
}

void ForwardMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    Component& component = plane->components[c];
    const size_t rows = component.blocks_down;
    const bool is_last = rows * (mb_row + 1) == component.dcs.height();
    ForwardRows(&component, frame.overlap != Overlap::kNone, true,
                rows * mb_row - (mb_row == 0 ? 0 : 1), rows * (mb_row + 1) - (is_last ? 0 : 1));
  }
}

void ForwardDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    const ComponentView view = ViewOf(plane, c);
    const Window dcs = view.component->dcs.All();
    const size_t rows = view.component->blocks_down;
    if (frame.overlap == Overlap::kBoth && view.is_small) {
      const size_t end = std::min(dcs.height, rows * (mb_row + 1) + 1);
      PreFilterSmallRows(dcs, mb_row == 0 ? 0 : rows * mb_row + 2, end);
    } else if (frame.overlap == Overlap::kBoth) {
      if (mb_row == 0) PreFilterRow(dcs, -1);
      PreFilterRow(dcs, static_cast<ptrdiff_t>(mb_row));
    }
    ForwardSecondTransform(view, dcs.Part(0, rows * mb_row, dcs.width, rows));
  }
}

}  // namespace jpegxr
