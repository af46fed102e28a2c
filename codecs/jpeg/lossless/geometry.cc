// SPDX-License-Identifier: MIT
#include "codecs/jpeg/lossless/geometry.h"

#include <algorithm>
#include <cstddef>

#include "codecs/jpeg/geometry.h"

namespace zepcodec::jpeg::lossless {

ScanGeometry::ScanGeometry(const Frame& frame, const Scan& scan)
    : mcus_per_row(DivideUp(frame.width, frame.max_h)),
      mcu_rows(DivideUp(frame.height, frame.max_v)),
      lines(frame.max_v) {
  for (const ScanComponent& part : scan.components) {
    const FrameComponent& component = frame.components[static_cast<size_t>(part.index)];
    mcu.push_back({component.h, component.v});
  }
  if (scan.components.size() > 1) return;
  mcus_per_row = DivideUp(int64_t{frame.width} * mcu[0].h, frame.max_h);
  mcu_rows = DivideUp(int64_t{frame.height} * mcu[0].v, frame.max_v);
  lines = 1;
  mcu[0] = Sampling();
}

int RowsInABand(const ScanGeometry& geometry, int restart_interval) {
  constexpr int kMcuRows = 16;
  const int in_interval = restart_interval / geometry.mcus_per_row;
  const int mcu_rows = in_interval > 0 ? DivideUp(kMcuRows, in_interval) * in_interval : kMcuRows;
  return mcu_rows * geometry.lines;
}

bool IsPlain(const Frame& frame) {
  return std::all_of(frame.components.begin(), frame.components.end(),
                     [&](const FrameComponent& component) {
                       return component.h == frame.max_h && component.v == frame.max_v;
                     });
}

int64_t SampleCount(const Frame& frame) {
  int64_t count = 0;
  for (const FrameComponent& component : frame.components) {
    count += int64_t{DivideUp(int64_t{frame.width} * component.h, frame.max_h)} *
             DivideUp(int64_t{frame.height} * component.v, frame.max_v);
  }
  return count;
}

}  // namespace zepcodec::jpeg::lossless
