// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/tile_samples.h"

#include <algorithm>

#include "codecs/jpeg2000/areas.h"
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

Plane<int32_t>* Of(AnyPlane* plane, const Plane<int32_t>*) { return plane->integers(); }
Plane<float>* Of(AnyPlane* plane, const Plane<float>*) { return plane->reals(); }

void InverseComponents(int32_t* const* rows, zepiSize size) {
  zepiRCTInv_JPEG2K_32s_P3IR(rows, 4 * size.width, size);
}
void InverseComponents(float* const* rows, zepiSize size) {
  zepiICTInv_JPEG2K_32f_P3IR(rows, 4 * size.width, size);
}

Rect AreaOf(AnyPlane* plane) {
  return plane->Do([](auto* own) { return own->area(); });
}

bool AreEqual(const Rect& a, const Rect& b) {
  return a.x0 == b.x0 && a.y0 == b.y0 && a.x1 == b.x1 && a.y1 == b.y1;
}

}  // namespace

template <class T>
void SampleReader::MakeThree(const Rect& part, Parts<T>* parts) {
  for (size_t c = 0; c < 3; ++c) {
    (*parts)[c].Make(part, Of(&tile_->planes[c], static_cast<Plane<T>*>(nullptr)));
  }
  for (int64_t y = 0; y < part.height(); ++y) {
    T* const rows[3] = {(*parts)[0].Row(y), (*parts)[1].Row(y), (*parts)[2].Row(y)};
    InverseComponents(rows, {static_cast<int32_t>(part.width()), 1});
  }
  made_ = part;
}

void SampleReader::Read(size_t component, const Rect& area, int32_t* to) {
  const Range range(tile_->size.components[component]);
  if (tile_->planes.empty()) {
    std::fill_n(to, area.Count(), range.middle());
    return;
  }
  if (area.empty()) return;
  tile_->planes[component].Do([&](auto* plane) {
    auto* const parts = PartsFor(plane);
    const Rect part = Moved(area, -plane->area().x0, -plane->area().y0);
    const bool is_transformed = tile_->IsTransformed(component);
    if (!is_transformed) {
      (*parts)[0].Make(part, plane);
      made_ = Rect();
    } else if (!AreEqual(part, made_)) {
      MakeThree(part, parts);
    }
    auto& own = (*parts)[is_transformed ? component : 0];
    for (int64_t y = 0; y < part.height(); ++y, to += part.width()) {
      const auto* const row = own.Row(y);
      std::transform(row, row + part.width(), to, [&](auto value) { return range.Limited(value); });
    }
  });
}

namespace {

// Stores `count` components from the number `first` on, which agree in their planes' sizes.
Status StoreTogether(ThreadPool* pool, size_t first, size_t count, const std::vector<Rect>& areas,
                     TileSamples* tile, Image* image) {
  for (size_t c = first; c < first + count; ++c) {
    PlainVector<int32_t>& samples = image->components[c].samples;
    if (samples.empty()) samples.resize(static_cast<size_t>(areas[c].Count()));
  }
  const Rect own = AreaOf(&tile->planes[first]);
  const Status status = ForAreas(pool, own.width(), own.height(), [&] {
    return [&, reader = SampleReader(tile),
            memory = PlainVector<int32_t>()](const Rect& part) mutable {
      memory.resize(static_cast<size_t>(part.Count()));
      for (size_t c = first; c < first + count; ++c) {
        const Rect plane = AreaOf(&tile->planes[c]);
        const Rect area = Moved(part, plane.x0, plane.y0);
        const Rect shown = Intersection(area, areas[c]);
        reader.Read(c, area, memory.data());
        for (int64_t y = shown.y0; y < shown.y1 && !shown.empty(); ++y) {
          const int32_t* const row = memory.data() + (y - area.y0) * area.width();
          std::copy_n(row + (shown.x0 - area.x0), shown.width(),
                      image->components[c].Row(static_cast<int>(y - areas[c].y0)) +
                          (shown.x0 - areas[c].x0));
        }
      }
    };
  });
  for (size_t c = first; c < first + count; ++c) tile->planes[c] = AnyPlane();
  return status;
}

}  // namespace

Status Store(ThreadPool* pool, const std::vector<Rect>& areas, TileSamples* tile, Image* image) {
  Status status;
  size_t count = 0;
  for (size_t c = 0; status.ok() && c < tile->planes.size(); c += count) {
    count = tile->IsTransformed(c) ? 3 : 1;
    status = StoreTogether(pool, c, count, areas, tile, image);
  }
  return status;
}

}  // namespace zepcodec::jpeg2000
