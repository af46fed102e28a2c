// SPDX-License-Identifier: MIT
#include "codecs/jpegxr/plane_quantizer.h"

#include <cstring>

#include "codecs/jpegxr/block_pattern.h"
#include "codecs/jpegxr/wrapping.h"

namespace zepcodec::jpegxr {
namespace {

// The rows of a macroblock lie far apart, so hardware prefetchers do not find the next one.
void Prefetch(Component& component, size_t x, size_t y) {
  constexpr size_t kAhead = 2;
  const size_t width = 4 * component.blocks_across;
  if ((x + kAhead + 1) * width > component.values.width()) return;
  const Window blocks = component.Macroblock(x + kAhead, y);
  for (size_t row = 0; row < blocks.height; ++row) __builtin_prefetch(blocks.Row(row));
}

}  // namespace

PlaneQuantizer::PlaneQuantizer(CodedPlane* plane, const TileArea& area)
    : plane_(plane), area_(area), above_(area.Width()), row_(area.Width()) {
  const PlaneHeader& header = plane->header;
  const auto make = [&](uint8_t index, Band band, size_t c) {
    return Quantizer(QuantizerStep(index, header.is_scaled, band, c), band);
  };
  for (size_t c = 0; c < 3; ++c) {
    dc_quantizers_[c] = make(header.dc[c], Band::kDc, c);
    lp_quantizers_[c] = make(header.lp[c], Band::kLp, c);
    hp_quantizers_[c] = make(header.hp[c], Band::kHp, c);
  }
}

void PlaneQuantizer::QuantizeLow(size_t x, LowBands* low_bands) const {
  for (size_t c = 0; c < plane_->header.Components(); ++c) {
    const Window dcs = plane_->components[c].MacroblockDcs(area_.x0 + x, area_.y0 + y_);
    auto& low = (*low_bands)[c];
    low.fill(0);
    for (size_t f = 0; f < dcs.width * dcs.height; ++f) {
      const size_t row = dcs.width == 4 ? kRowOfFrequency[f] : f / 2;
      const size_t column = dcs.width == 4 ? kColumnOfFrequency[f] : f % 2;
      low[f] = dcs.Row(row)[column];
    }
    const int32_t dc = low[0];
    lp_quantizers_[c].ApplyAll(16, low.data());
    low[0] = dc_quantizers_[c].Apply(dc);
  }
}

// Copies, quantizes and predicts the blocks of a component.
void PlaneQuantizer::QuantizeHp(size_t component, const Window& values,
                                QuantizedMacroblock* macroblock) const {
  const size_t across = values.width / 4;
  const size_t count = BlockCount(component);
  int32_t* const blocks = macroblock->blocks[component].data();
  for (size_t j = 0; j < count; ++j) {
    const size_t column = across == 4 ? ColumnOfBlock(j) : j % 2;
    const size_t row = across == 4 ? RowOfBlock(j) : j / 2;
    const int32_t* const from = values.Row(4 * row) + 4 * column;
    for (size_t r = 0; r < 4; ++r)
      std::memcpy(blocks + 16 * j + 4 * r, from + r * values.stride, 16);
  }
  hp_quantizers_[component].ApplyAll(16 * count, blocks);
  if (macroblock->hp_direction != Direction::kNone) {
    SubtractHp(component, macroblock->hp_direction, blocks);
  }
  for (size_t j = 0; j < count; ++j) {
    macroblock->magnitudes[component][j] = BlockMagnitudes(blocks + 16 * j);
  }
}

// From the last block to the first, because a block is predicted from the unchanged values of an
// earlier one.
void PlaneQuantizer::SubtractHp(size_t component, Direction direction, int32_t* blocks) const {
  const size_t across = plane_->components[component].blocks_across;
  const bool is_up = direction == Direction::kUp;
  constexpr size_t kDown[3] = {4, 8, 12}, kAcross[3] = {1, 2, 3};
  for (size_t j = BlockCount(component); j-- > 0;) {
    const size_t column = across == 4 ? ColumnOfBlock(j) : j % 2;
    const size_t row = across == 4 ? RowOfBlock(j) : j / 2;
    if ((is_up ? row : column) == 0) continue;
    const size_t other_row = is_up ? row - 1 : row;
    const size_t other_column = is_up ? column : column - 1;
    const size_t other =
        across == 4 ? BlockAt(other_row, other_column) : 2 * other_row + other_column;
    for (const size_t f : is_up ? kDown : kAcross) {
      const size_t place = 4u * kRowOfFrequency[f] + kColumnOfFrequency[f];
      blocks[16 * j + place] = WrapSub(blocks[16 * j + place], blocks[16 * other + place]);
    }
  }
}

void PlaneQuantizer::QuantizeRow(QuantizedMacroblock* macroblocks) {
  const PlaneHeader& header = plane_->header;
  above_.swap(row_);
  for (size_t x = 0; x < area_.Width(); ++x) {
    Neighbour* const current = &row_[x];
    QuantizedMacroblock* const macroblock = &macroblocks[x];
    QuantizeLow(x, &current->low);
    const Neighbours neighbours = {x > 0 ? current - 1 : nullptr, y_ > 0 ? &above_[x] : nullptr,
                                   x > 0 && y_ > 0 ? &above_[x - 1] : nullptr};
    const Direction dc = DcDirection(header.color, neighbours);
    macroblock->low = current->low;
    SubtractPrediction(header.color, dc, LpDirection(dc, neighbours, 0), neighbours,
                       &macroblock->low);
    if (!header.HasHp()) continue;
    macroblock->hp_direction = HpDirection(header.color, current->low);
    for (size_t c = 0; c < header.Components(); ++c) {
      Prefetch(plane_->components[c], area_.x0 + x, area_.y0 + y_);
      QuantizeHp(c, plane_->components[c].Macroblock(area_.x0 + x, area_.y0 + y_), macroblock);
    }
  }
  ++y_;
}

}  // namespace zepcodec::jpegxr
