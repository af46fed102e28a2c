// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/tile_samples.h"

#include <algorithm>

#include "codecs/jpeg2000/row_bands.h"
#include "zepjp.h"

namespace zepcodec::jpeg2000 {
namespace {

// The samples of a component: from -half to half - 1, then moved by the offset.
struct Range {
  explicit Range(const SizeSegment::ComponentSize& sizes)
      : half(1 << (sizes.bits - 1)), offset(sizes.is_signed ? 0 : half) {}

  int32_t Limited(int32_t value) const { return std::clamp(value, -half, half - 1) + offset; }
  // NaN becomes the lowest value.
  int32_t Limited(float value) const {
    const auto low = static_cast<float>(-half);
    const float limited = std::max(low, std::min(value, static_cast<float>(half - 1)));
    return static_cast<int32_t>(limited - low + 0.5F) - half + offset;
  }
  int32_t middle() const { return offset; }

  int32_t half;
  int32_t offset;
};

template <class T>
void InverseOf(zepStatus(ZEP_CALL* transform)(T* const*, int32_t, zepiSize), int64_t begin,
               int64_t end, Plane<T>* c0, Plane<T>* c1, Plane<T>* c2) {
  T* const rows[3] = {c0->Row(begin), c1->Row(begin), c2->Row(begin)};
  transform(rows, c0->StepInBytes(c0->levels()),
            {static_cast<int32_t>(c0->area().width()), static_cast<int32_t>(end - begin)});
}

}  // namespace

Status TileSamples::InverseComponents(ThreadPool* pool) {
  AnyPlane &c0 = planes_[0], &c1 = planes_[1], &c2 = planes_[2];
  const Rect area = c0.Do([](auto* plane) { return plane->area(); });
  if (area.empty()) return Status();
  return ForRowBands(pool, area.height(), 3 * area.width(), [&](int64_t begin, int64_t end) {
    if (c0.reversible()) {
      InverseOf(zepiRCTInv_JPEG2K_32s_P3IR, begin, end, c0.integers(), c1.integers(),
                c2.integers());
    } else {
      InverseOf(zepiICTInv_JPEG2K_32f_P3IR, begin, end, c0.reals(), c1.reals(), c2.reals());
    }
  });
}

void TileSamples::Read(size_t component, int64_t x, int64_t y, int64_t count, int32_t* to) {
  const Range range(size_.components[component]);
  if (planes_.empty()) {
    std::fill_n(to, count, range.middle());
    return;
  }
  planes_[component].Do([&](auto* plane) {
    const auto* const from = plane->Row(y - plane->area().y0) + (x - plane->area().x0);
    std::transform(from, from + count, to, [&](auto value) { return range.Limited(value); });
  });
}

Status TileSamples::Store(ThreadPool* pool, const std::vector<Rect>& areas, Image* image) {
  Status status;
  for (size_t c = 0; !planes_.empty() && status.ok() && c < planes_.size(); ++c) {
    Component& component = image->components[c];
    const Rect own = planes_[c].Do([](auto* plane) { return plane->area(); });
    const Rect part = Intersection(own, areas[c]);
    if (part.empty()) continue;
    if (component.samples.empty() && planes_[c].reversible() && planes_[c].integers()->CanTake() &&
        own.Count() == areas[c].Count()) {
      status = TakeIntegers(pool, c, &component);
      continue;
    }
    if (component.samples.empty()) {
      component.samples.resize(static_cast<size_t>(areas[c].Count()));
    }
    status = ForRowBands(pool, part.height(), part.width(), [&](int64_t begin, int64_t end) {
      for (int64_t y = part.y0 + begin; y < part.y0 + end; ++y) {
        Read(c, part.x0, y, part.width(),
             component.Row(static_cast<int>(y - areas[c].y0)) + (part.x0 - areas[c].x0));
      }
    });
    planes_[c] = AnyPlane();
  }
  return status;
}

Status TileSamples::TakeIntegers(ThreadPool* pool, size_t number, Component* component) {
  const Range range(size_.components[number]);
  component->samples = planes_[number].integers()->Take();
  const auto count = static_cast<int64_t>(component->samples.size());
  return ForRowBands(pool, count, 1, [&](int64_t begin, int64_t end) {
    int32_t* const samples = component->samples.data();
    std::transform(samples + begin, samples + end, samples + begin,
                   [&](int32_t value) { return range.Limited(value); });
  });
}

}  // namespace zepcodec::jpeg2000
