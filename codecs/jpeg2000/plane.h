// SPDX-License-Identifier: MIT
// Samples or coefficients of a part of a tile's component: integers on the reversible path, floats
// on the irreversible one.
#ifndef ZEPJP_CODECS_JPEG2000_PLANE_H_
#define ZEPJP_CODECS_JPEG2000_PLANE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "codecs/jpeg2000/window.h"
#include "codecs/support/plain_vector.h"

namespace zepcodec::jpeg2000 {

// A level holds its four subbands before the inverse transform, low-pass coefficients first, and
// its samples after. Without margins the low-pass quarter of a level is the level below, in place.
// With margins each level has memory of its own. Values are not set at first.
template <class T>
class Plane {
 public:
  void Make(const std::vector<Window>& windows) {
    windows_ = windows;
    in_place_ = true;
    for (size_t r = 0; r + 1 < windows.size(); ++r) {
      in_place_ &= windows[r].made.Count() == windows[r].taken.Count();
    }
    values_.resize(windows.size());
    for (size_t r = in_place_ ? windows.size() - 1 : 0; r < windows.size(); ++r) {
      values_[r].resize(static_cast<size_t>(windows[r].made.Count()));
    }
  }

  bool in_place() const { return in_place_; }
  size_t levels() const { return windows_.size() - 1; }
  const Window& WindowAt(size_t level) const { return windows_[level]; }
  // Elements from one row to the next.
  int64_t Step(size_t level) const { return windows_[Owner(level)].made.width(); }
  int32_t StepInBytes(size_t level) const {
    return static_cast<int32_t>(Step(level) * int64_t{sizeof(T)});
  }
  T* At(size_t level, int64_t x, int64_t y) {
    return values_[Owner(level)].data() + y * Step(level) + x;
  }

  // Sets a part of a level to 0.
  void Clear(size_t level, const Rect& part) {
    for (int64_t y = part.y0; y < part.y1; ++y) {
      std::fill_n(At(level, part.x0, y), part.width(), T{});
    }
  }

  // The samples that are wanted of the highest level.
  const Rect& area() const { return windows_.back().taken; }
  T* Row(int64_t y) {
    const Window& highest = windows_.back();
    return At(levels(), highest.taken.x0 - highest.made.x0, highest.taken.y0 - highest.made.y0 + y);
  }

 private:
  // The level whose memory holds this one.
  size_t Owner(size_t level) const { return in_place_ ? levels() : level; }

  std::vector<Window> windows_;
  std::vector<PlainVector<T>> values_;
  bool in_place_ = true;
};

// Only one of the two planes is used.
class AnyPlane {
 public:
  void Make(bool reversible, const std::vector<Window>& windows) {
    reversible_ = reversible;
    reversible ? integers_.Make(windows) : reals_.Make(windows);
  }
  bool reversible() const { return reversible_; }
  Plane<int32_t>* integers() { return &integers_; }
  Plane<float>* reals() { return &reals_; }
  // Calls work(plane) for the one that is used.
  template <class Work>
  decltype(auto) Do(const Work& work) {
    return reversible_ ? work(&integers_) : work(&reals_);
  }

 private:
  bool reversible_ = true;
  Plane<int32_t> integers_;
  Plane<float> reals_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PLANE_H_
