// SPDX-License-Identifier: MIT
// Two stages of a 4x4 transform. The first one works on the samples; its DC coefficients, one in
// 16, form a plane of their own, on which the second stage is the same transform again. In halved
// chroma that plane is too small for 4x4 blocks: it gets 2x2 Hadamard transforms, and in 4:2:2 the
// two sums of a macroblock become their mean and difference. An overlap filter comes before each
// forward and after each inverse stage, if the picture has it.
//
// The blocks are the library's (zepiPCTFwd_JPEGXR_32s_C1IR and its inverse); this file orders
// stages and filters. A filter changes two rows on either side of a border of blocks, so each stage
// works some rows above the previous one. All stages go through the picture together, in strips of
// a few rows of macroblocks, so that they find their data in the cache.
#include "codecs/jpegxr/transform.h"

#include <algorithm>
#include <array>
#include <vector>

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

using Filters = std::array<OverlapFilter, 3>;  // of components

Filters FirstPostFilters(const FrameHeader& frame, const PlaneHeader& header) {
  return {FirstPostFilter(frame, header, 0), FirstPostFilter(frame, header, 1),
          FirstPostFilter(frame, header, 2)};
}

// Whether the filter of the first stage crosses the borders of all rows of blocks.
bool CrossesRows(const FrameHeader& frame) {
  return frame.overlap != Overlap::kNone && !frame.has_hard_tiles;
}

// The parts of a plane that filters treat as planes of their own: the whole plane, or each hard
// tile. A unit is the area of a macroblock in the plane.
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
    zepiPCTFwd_JPEGXR_32s_C1IR(dcs.data, dcs.StepInBytes(), SizeOf(dcs));
    return;
  }
  HadamardAll(dcs);
  if (view.is_422) JoinSquares(dcs);
}

void FilterSecondStage(const FrameHeader& frame, const OverlapFilter& filter,
                       const ComponentView& view, const Window& dcs) {
  if (frame.overlap != Overlap::kBoth) return;
  for (const Window& part :
       FilteredParts(frame, dcs, view.component->blocks_across, view.component->blocks_down)) {
    view.is_small ? FilterSmallRows(filter, part, 0, part.height) : FilterPlane(filter, part);
  }
}

void ForwardSecondStage(const FrameHeader& frame, const ComponentView& view) {
  const Window dcs = view.component->dcs.All();
  FilterSecondStage(frame, kPreFilter, view, dcs);
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
  FilterSecondStage(frame, SecondPostFilter(frame), view, dcs);
}

// One row of blocks; the places of DC become 0.
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

// The rows of blocks from `begin` up to but excluding `end`, with the filters between them and
// after the last one, and also above the first one if the row above is done. Null: no filter.
void InverseRows(const OverlapFilter* filter, bool follows, size_t begin, size_t end,
                 Component* component) {
  const Window all = component->values.All();
  const size_t count = all.height / 4;
  for (size_t row = begin; row < end; ++row) {
    ScatterDcs(component, row);
    const Window blocks = BlockRow(component, row);
    zepiPCTInv_JPEGXR_32s_C1IR(blocks.data, blocks.StepInBytes(), SizeOf(blocks));
    if (filter == nullptr) continue;
    if (follows || row > begin || row == 0) {
      FilterRow(*filter, all, static_cast<ptrdiff_t>(row) - 1);
    }
    if (row + 1 == count) FilterRow(*filter, all, static_cast<ptrdiff_t>(row));
  }
}

// Includes the filter below the last row if the row below is there.
void ForwardRows(bool is_filtered, bool leads, size_t begin, size_t end, Component* component) {
  const Window all = component->values.All();
  const size_t count = all.height / 4;
  for (size_t row = begin; row < end; ++row) {
    if (is_filtered) {
      if (row == 0) FilterRow(kPreFilter, all, -1);
      if (leads || row + 1 < end || end == count) {
        FilterRow(kPreFilter, all, static_cast<ptrdiff_t>(row));
      }
    }
    const Window blocks = BlockRow(component, row);
    zepiPCTFwd_JPEGXR_32s_C1IR(blocks.data, blocks.StepInBytes(), SizeOf(blocks));
    GatherDcs(component, row);
  }
}

// A share of a component for one thread: some rows of blocks.
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

// The filters across the border of two shares.
void FilterSeams(const Filters& filters, const std::vector<Share>& shares, CodedPlane* plane) {
  for (const Share& share : shares) {
    if (share.begin == 0) continue;
    FilterRow(filters[share.component], plane->components[share.component].values.All(),
              static_cast<ptrdiff_t>(share.begin) - 1);
  }
}

// Hard tiles: each is filtered as a plane of its own.
void FilterTiles(const FrameHeader& frame, const Filters& filters, CodedPlane* plane) {
  if (frame.overlap == Overlap::kNone || !frame.has_hard_tiles) return;
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    Component& component = plane->components[c];
    for (const Window& part :
         FilteredParts(frame, component.values.All(), 4 * component.blocks_across,
                       4 * component.blocks_down)) {
      FilterPlane(filters[c], part);
    }
  }
}

}  // namespace

Status Forward(const FrameHeader& frame, size_t threads, CodedPlane* plane) {
  constexpr Filters kFilters = {kPreFilter, kPreFilter, kPreFilter};
  const bool is_filtered = CrossesRows(frame);
  const std::vector<Share> shares = SharesOf(plane, threads);
  FilterTiles(frame, kFilters, plane);
  if (is_filtered) FilterSeams(kFilters, shares, plane);
  Status status = RunParallel(threads, shares.size(), [&] {
    return [&](size_t i) {
      const Share& share = shares[i];
      ForwardRows(is_filtered, false, share.begin, share.end, &plane->components[share.component]);
    };
  });
  for (size_t c = 0; c < plane->header.Components(); ++c)
    ForwardSecondStage(frame, ViewOf(plane, c));
  return status;
}

Status Inverse(const FrameHeader& frame, size_t threads, CodedPlane* plane) {
  const Filters filters = FirstPostFilters(frame, plane->header);
  const bool is_filtered = CrossesRows(frame);
  for (size_t c = 0; c < plane->header.Components(); ++c)
    InverseSecondStage(frame, ViewOf(plane, c));
  const std::vector<Share> shares = SharesOf(plane, threads);
  Status status = RunParallel(threads, shares.size(), [&] {
    return [&](size_t i) {
      const Share& share = shares[i];
      InverseRows(is_filtered ? &filters[share.component] : nullptr, false, share.begin, share.end,
                  &plane->components[share.component]);
    };
  });
  if (is_filtered) FilterSeams(filters, shares, plane);
  FilterTiles(frame, filters, plane);
  return status;
}

void InverseDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  const OverlapFilter filter = SecondPostFilter(frame);
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    const ComponentView view = ViewOf(plane, c);
    const Window dcs = view.component->dcs.All();
    const size_t rows = view.component->blocks_down;
    InverseSecondTransform(view, dcs.Part(0, rows * mb_row, dcs.width, rows));
    if (frame.overlap != Overlap::kBoth) continue;
    const bool is_last = rows * (mb_row + 1) == dcs.height;
    if (view.is_small) {
      FilterSmallRows(filter, dcs, rows * mb_row, rows * (mb_row + 1));
    } else {
      FilterRow(filter, dcs, static_cast<ptrdiff_t>(mb_row) - 1);
      if (is_last) FilterRow(filter, dcs, static_cast<ptrdiff_t>(mb_row));
    }
  }
}

void InverseMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  const Filters filters = FirstPostFilters(frame, plane->header);
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    Component& component = plane->components[c];
    const size_t rows = component.blocks_down;
    InverseRows(CrossesRows(frame) ? &filters[c] : nullptr, true, rows * mb_row,
                rows * (mb_row + 1), &component);
  }
}

void ForwardMbRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    Component& component = plane->components[c];
    const size_t rows = component.blocks_down;
    const bool is_last = rows * (mb_row + 1) == component.dcs.height();
    ForwardRows(CrossesRows(frame), true, rows * mb_row - (mb_row == 0 ? 0 : 1),
                rows * (mb_row + 1) - (is_last ? 0 : 1), &component);
  }
}

void ForwardDcRow(const FrameHeader& frame, size_t mb_row, CodedPlane* plane) {
  for (size_t c = 0; c < plane->header.Components(); ++c) {
    const ComponentView view = ViewOf(plane, c);
    const Window dcs = view.component->dcs.All();
    const size_t rows = view.component->blocks_down;
    if (frame.overlap == Overlap::kBoth && view.is_small) {
      const size_t end = std::min(dcs.height, rows * (mb_row + 1) + 1);
      FilterSmallRows(kPreFilter, dcs, mb_row == 0 ? 0 : rows * mb_row + 2, end);
    } else if (frame.overlap == Overlap::kBoth) {
      if (mb_row == 0) FilterRow(kPreFilter, dcs, -1);
      FilterRow(kPreFilter, dcs, static_cast<ptrdiff_t>(mb_row));
    }
    ForwardSecondTransform(view, dcs.Part(0, rows * mb_row, dcs.width, rows));
  }
}

}  // namespace zepcodec::jpegxr
