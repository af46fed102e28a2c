// SPDX-License-Identifier: MIT
#include "codecs/jpeg/window.h"

#include <algorithm>

namespace zepcodec::jpeg {
namespace {

// One pixel more on each side of the region, in whole MCUs.
McuWindow McusOf(const Geometry& whole, const Region& region) {
  const int width = whole.McuWidth(), height = whole.McuHeight();
  return {std::max(region.x - 1, 0) / width,
          std::min((region.x + region.width) / width + 1, whole.mcus_per_row),
          std::max(region.y - 1, 0) / height,
          std::min((region.y + region.height) / height + 1, whole.mcu_rows)};
}

Geometry ColumnsOf(const Geometry& whole, const McuWindow& mcus) {
  Geometry part = whole;
  const auto cut = [&](int* count, int in_mcu) {
    *count = std::min(*count, mcus.end_column * in_mcu) - mcus.first_column * in_mcu;
  };
  cut(&part.width, whole.McuWidth());
  cut(&part.mcus_per_row, 1);
  for (ComponentGeometry& place : part.components) {
    cut(&place.width, place.h * place.block_size);
    cut(&place.blocks_per_row, place.h);
  }
  part.SetStep();
  return part;
}

}  // namespace

bool McuWindow::Meets(int64_t first, int64_t count, int mcus_per_row) const {
  const int64_t end = first + count;
  const int64_t last_row = std::min<int64_t>((end - 1) / mcus_per_row, end_row - 1);
  for (int64_t row = std::max<int64_t>(first / mcus_per_row, first_row); row <= last_row; ++row) {
    const int64_t start = row * mcus_per_row;
    if (first - start < end_column && end - start > first_column) return true;
  }
  return false;
}

Window::Window(const Geometry& whole, const Region& its_region)
    : region(its_region),
      mcus(McusOf(whole, region)),
      geometry(ColumnsOf(whole, mcus)),
      left(region.x - mcus.first_column * whole.McuWidth()) {}

int Window::FirstLine(int mcu_row) const {
  if (mcu_row == 0) return 0;
  const int top = mcu_row * geometry.McuHeight();
  return mcu_row == mcus.first_row ? top + 1 : top - 1;
}

int Window::EndLine(int mcu_row) const {
  if (mcu_row + 1 == geometry.mcu_rows) return geometry.height;
  return (mcu_row + 1) * geometry.McuHeight() - 1;
}

Window::Lines Window::LinesOf(int first, int end) const {
  const int top = std::max(FirstLine(first), region.y);
  const int bottom = std::min(EndLine(end - 1), region.y + region.height);
  return {top - region.y, std::max(bottom - top, 0)};
}

}  // namespace zepcodec::jpeg
