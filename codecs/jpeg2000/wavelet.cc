// SPDX-License-Identifier: MIT
// A level splits an area into four bands: lifting along all columns, then along all rows, low-pass
// results first. The next level does the same to the low-pass quarter. The inverse goes back.
//
// Threads share the rows of a level, then its columns. Columns go in strips that are wide enough
// for whole registers and narrow enough for the second cache. A thread takes several strips side by
// side, as two threads that write into the same cache lines slow each other down.
#include "codecs/jpeg2000/wavelet.h"

#include <algorithm>

#include "codecs/jpeg2000/wavelet_lines.h"
#include "codecs/support/parallel.h"

namespace zepcodec::jpeg2000 {
namespace {

constexpr int64_t kStrip = 32;
constexpr int64_t kColumnsAtOnce = 8 * kStrip;
constexpr int64_t kSamplesAtOnce = 1 << 15;

enum class Direction { kRows, kColumns };

// Rows or columns of a plane, for one thread.
struct Item {
  AnyPlane* plane;
  size_t level;
  Direction direction;
  int64_t begin, end;
};

template <class T>
Lines<T> RowOf(const Rect& area, int64_t row, size_t level, Plane<T>* plane) {
  return {plane->At(level, 0, row), 1, 1, area.width(), static_cast<int>(area.x0 & 1)};
}

// The level has at least two columns, so that these lie more than an element apart.
template <class T>
Lines<T> ColumnsOf(const Rect& area, int64_t first, int64_t end, size_t level, Plane<T>* plane) {
  return {plane->At(level, first, 0), plane->Step(level), end - first, area.height(),
          static_cast<int>(area.y0 & 1)};
}

// Calls transform(lines) for the lines of an item.
template <class T, class Transform>
void ForLines(const Item& item, Plane<T>* plane, const Transform& transform) {
  const Rect& area = plane->WindowAt(item.level).made;
  if (item.direction == Direction::kRows) {
    for (int64_t y = item.begin; y < item.end; ++y) {
      transform(RowOf(area, y, item.level, plane));
    }
  } else {
    for (int64_t x = item.begin; x < item.end; x += kStrip) {
      transform(ColumnsOf(area, x, std::min(x + kStrip, item.end), item.level, plane));
    }
  }
}

// Work memory for either kind of samples.
struct Transforms {
  LineTransform<int32_t> integers;
  LineTransform<float> reals;
  LineTransform<int32_t>* For(const Plane<int32_t>*) { return &integers; }
  LineTransform<float>* For(const Plane<float>*) { return &reals; }
};

const Rect& AreaAt(size_t level, AnyPlane* plane) {
  return plane->Do([&](auto* own) -> const Rect& { return own->WindowAt(level).made; });
}

// The items of the transform that many levels below the highest one of each plane, so that
// components of different depth finish together.
std::vector<Item> ItemsOf(size_t below, Direction direction, std::vector<AnyPlane>* planes) {
  std::vector<Item> items;
  for (AnyPlane& plane : *planes) {
    const size_t levels = plane.Do([](auto* own) { return own->levels(); });
    if (below >= levels) continue;
    const size_t level = levels - below;
    const Rect& area = AreaAt(level, &plane);
    if (area.empty()) continue;
    const bool are_rows = direction == Direction::kRows;
    const int64_t count = are_rows ? area.height() : area.width();
    const int64_t at_once =
        are_rows ? std::max<int64_t>(1, kSamplesAtOnce / area.width()) : kColumnsAtOnce;
    for (int64_t first = 0; first < count; first += at_once) {
      items.push_back({&plane, level, direction, first, std::min(first + at_once, count)});
    }
  }
  return items;
}

// Calls transform(lines, line_transform) for all items.
template <class Transform>
Status ForItems(const std::vector<Item>& items, ThreadPool* pool, const Transform& transform) {
  return RunParallel(pool, items.size(), [&] {
    return [&, transforms = Transforms()](size_t i) mutable {
      items[i].plane->Do([&](auto* plane) {
        auto* const own = transforms.For(plane);
        ForLines(items[i], plane, [&](const auto& lines) { transform(lines, own); });
      });
    };
  });
}

size_t MostLevels(std::vector<AnyPlane>* planes) {
  size_t most = 0;
  for (AnyPlane& plane : *planes) {
    most = std::max(most, plane.Do([](auto* own) { return own->levels(); }));
  }
  return most;
}

// Copies what a level takes from the level below.
template <class T>
void TakeLower(size_t level, Plane<T>* plane) {
  const Window& lower = plane->WindowAt(level - 1);
  const int64_t x = lower.taken.x0 - lower.made.x0, y = lower.taken.y0 - lower.made.y0;
  for (int64_t row = 0; row < lower.taken.height(); ++row) {
    std::copy_n(plane->At(level - 1, x, y + row), std::max<int64_t>(0, lower.taken.width()),
                plane->At(level, 0, row));
  }
}

void TakeLower(size_t below, std::vector<AnyPlane>* planes) {
  for (AnyPlane& plane : *planes) {
    plane.Do([&](auto* own) {
      if (!own->in_place() && below < own->levels()) TakeLower(own->levels() - below, own);
    });
  }
}

}  // namespace

Status ForwardWavelets(ThreadPool* pool, std::vector<AnyPlane>* planes) {
  const auto forward = [](const auto& lines, auto* transform) { transform->Forward(lines); };
  Status status;
  for (size_t below = 0; status.ok() && below < MostLevels(planes); ++below) {
    status = ForItems(ItemsOf(below, Direction::kColumns, planes), pool, forward);
    if (status.ok()) {
      status = ForItems(ItemsOf(below, Direction::kRows, planes), pool, forward);
    }
  }
  return status;
}

Status InverseWavelets(ThreadPool* pool, std::vector<AnyPlane>* planes) {
  const auto inverse = [](const auto& lines, auto* transform) { transform->Inverse(lines); };
  Status status;
  for (size_t below = MostLevels(planes); status.ok() && below-- > 1;) {
    TakeLower(below, planes);
    status = ForItems(ItemsOf(below, Direction::kRows, planes), pool, inverse);
    if (status.ok()) {
      status = ForItems(ItemsOf(below, Direction::kColumns, planes), pool, inverse);
    }
  }
  TakeLower(0, planes);
  return status;
}

}  // namespace zepcodec::jpeg2000
