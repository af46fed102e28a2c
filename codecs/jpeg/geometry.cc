// SPDX-License-Identifier: MIT
#include "codecs/jpeg/geometry.h"

namespace zepcodec::jpeg {
namespace {

ComponentGeometry Place(const FrameComponent& component, const Frame& frame, int unit) {
  ComponentGeometry place{};
  place.h = component.h;
  place.v = component.v;
  place.block_size = unit;
  const auto fits = [&](int size) {
    return frame.max_h * unit % (component.h * size) == 0 &&
           frame.max_v * unit % (component.v * size) == 0;
  };
  while (place.block_size < 8 && fits(place.block_size * 2)) place.block_size *= 2;
  const int64_t across = int64_t{frame.width} * component.h;
  const int64_t down = int64_t{frame.height} * component.v;
  place.width = DivideUp(across * place.block_size, 8 * frame.max_h);
  place.height = DivideUp(down * place.block_size, 8 * frame.max_v);
  place.blocks_per_row = DivideUp(across, 8 * frame.max_h);
  place.block_rows = DivideUp(down, 8 * frame.max_v);
  return place;
}

}  // namespace

Geometry::Geometry(const Frame& frame, int scale)
    : width(DivideUp(frame.width, scale)),
      height(DivideUp(frame.height, scale)),
      max_h(frame.max_h),
      max_v(frame.max_v),
      unit(8 / scale),
      mcus_per_row(DivideUp(frame.width, 8 * frame.max_h)),
      mcu_rows(DivideUp(frame.height, 8 * frame.max_v)) {
  for (const FrameComponent& component : frame.components) {
    components.push_back(Place(component, frame, unit));
  }
  SetStep();
}

// An odd number of cache lines: rows do not compete for the same places in the cache.
void Geometry::SetStep() { step = (mcus_per_row * McuWidth() + 63) / 64 * 64 | 64; }

}  // namespace zepcodec::jpeg
