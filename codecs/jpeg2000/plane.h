// SPDX-License-Identifier: MIT
// Samples or coefficients of a tile's component: integers on the reversible path, floats on the
// irreversible one.
#ifndef ZEPJP_CODECS_JPEG2000_PLANE_H_
#define ZEPJP_CODECS_JPEG2000_PLANE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "codecs/jpeg2000/geometry.h"

namespace zepcodec::jpeg2000 {

// Rows without gaps. Values are 0 at first.
template <class T>
class Plane {
 public:
  void Resize(const Rect& area) {
    width_ = std::max<int64_t>(0, area.width());
    height_ = std::max<int64_t>(0, area.height());
    values_.assign(static_cast<size_t>(width_ * height_), T{});
  }
  int64_t width() const { return width_; }
  int64_t height() const { return height_; }
  bool empty() const { return values_.empty(); }
  // Hands over the values.
  std::vector<T> Take() {
    width_ = height_ = 0;
    return std::move(values_);
  }
  int32_t StepInBytes() const { return static_cast<int32_t>(width_ * int64_t{sizeof(T)}); }
  T* At(int64_t x, int64_t y) { return values_.data() + y * width_ + x; }
  const T* At(int64_t x, int64_t y) const { return values_.data() + y * width_ + x; }

 private:
  int64_t width_ = 0;
  int64_t height_ = 0;
  std::vector<T> values_;
};

// Only one of the two planes is used.
struct AnyPlane {
  Plane<int32_t> integers;
  Plane<float> reals;

  void Resize(bool reversible, const Rect& area) {
    reversible ? integers.Resize(area) : reals.Resize(area);
  }
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_PLANE_H_
