// SPDX-License-Identifier: MIT
// Tests of functions over regions: the export and its scalar model get the same input, and all
// memory of their outputs is compared, including the bytes between rows.
#ifndef ZEPJP_TESTS_HARNESS_REGION_H_
#define ZEPJP_TESTS_HARNESS_REGION_H_

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "harness/guarded.h"
#include "harness/random.h"
#include "zepjp.h"

namespace harness {

// A plane of `size` elements with rows `step` bytes apart. With a negative step, each row lies
// below the address of the row before.
template <class T>
class Plane {
 public:
  Plane(zepiSize size, int32_t step, Edge edge)
      : size_(size), step_(step), memory_(Bytes(size, step), edge) {}

  T* base() {
    const ptrdiff_t lowest =
        step_ < 0 && size_.height > 0 ? ptrdiff_t{step_} * (size_.height - 1) : 0;
    return reinterpret_cast<T*>(memory_.raw() - lowest);
  }
  Guarded<uint8_t>& memory() { return memory_; }

  void Fill(Pattern pattern, Random& random) {
    for (int32_t y = 0; y < size_.height; ++y) {
      auto* row = reinterpret_cast<uint8_t*>(base()) + ptrdiff_t{step_} * y;
      FillPattern(reinterpret_cast<T*>(row), static_cast<size_t>(size_.width), pattern, random);
    }
  }

 private:
  static size_t Bytes(zepiSize size, int32_t step) {
    if (size.width < 1 || size.height < 1) return 0;
    return static_cast<size_t>(std::abs(step)) * static_cast<size_t>(size.height - 1) +
           static_cast<size_t>(size.width) * sizeof(T);
  }

  zepiSize size_;
  int32_t step_;
  Guarded<uint8_t> memory_;
};

// Interleaved channels: one plane, passed as a pointer.
template <class T, int kChannels>
class Interleaved {
 public:
  using Element = T;
  static int32_t MinStep(zepiSize size) {
    return size.width * kChannels * static_cast<int32_t>(sizeof(T));
  }
  Interleaved(zepiSize size, int32_t step, Edge edge)
      : plane_({size.width * kChannels, size.height}, step, edge) {}
  void Fill(Pattern pattern, Random& random) { plane_.Fill(pattern, random); }
  T* Argument() { return plane_.base(); }
  const T* ConstArgument() { return plane_.base(); }
  template <class Visit>
  void ForMemory(const Visit& visit) {
    visit(plane_.memory(), 0);
  }

 private:
  Plane<T> plane_;
};

// `kPlanes` planes that share a step, passed as an array of pointers. Planes 1 and 2 are smaller by
// kDivideX and kDivideY, rounded down, or up with kUp.
template <class T, int kPlanes, int kDivideX = 1, int kDivideY = 1, bool kUp = false>
class Planar {
 public:
  using Element = T;
  static int32_t MinStep(zepiSize size) { return size.width * static_cast<int32_t>(sizeof(T)); }
  Planar(zepiSize size, int32_t step, Edge edge) {
    for (int i = 0; i < kPlanes; ++i) {
      const bool chroma = i == 1 || i == 2;
      const zepiSize own = chroma ? zepiSize{(size.width + (kUp ? kDivideX - 1 : 0)) / kDivideX,
                                             (size.height + (kUp ? kDivideY - 1 : 0)) / kDivideY}
                                  : size;
      planes_[i] = std::make_unique<Plane<T>>(own, step, edge);
      const_pointers_[i] = pointers_[i] = planes_[i]->base();
    }
  }
  void Fill(Pattern pattern, Random& random) {
    for (auto& plane : planes_) plane->Fill(pattern, random);
  }
  T* const* Argument() { return pointers_; }
  const T* const* ConstArgument() { return const_pointers_; }
  template <class Visit>
  void ForMemory(const Visit& visit) {
    for (int i = 0; i < kPlanes; ++i) visit(planes_[i]->memory(), i);
  }

 private:
  std::unique_ptr<Plane<T>> planes_[kPlanes];
  T* pointers_[kPlanes];
  const T* const_pointers_[kPlanes];
};

template <class Image>
std::vector<std::vector<uint8_t>> MemoryOf(Image& image) {
  std::vector<std::vector<uint8_t>> copies;
  image.ForMemory([&](Guarded<uint8_t>& memory, int) {
    copies.emplace_back(memory.raw(), memory.raw() + memory.bytes());
  });
  return copies;
}

// What a function accepts beyond the usual.
struct Takes {
  bool any_step = false;   // 0 and negative steps
  int32_t width_unit = 1;  // widths are multiples of it
  zepiSize min_size = {1, 1};

  // The steps to try for rows of at least `min_step` bytes.
  std::vector<int32_t> Steps(int32_t min_step) const {
    std::vector<int32_t> steps = {min_step, min_step + 1, min_step + 37};
    if (any_step) steps.push_back(-min_step - 3);
    return steps;
  }
};

// Compares the export with its model, both called as (source, step, destination, step, size).
template <class Src, class Dst, class Export, class Model>
void CompareRegion(const Named<Export>& exported, const Model& model, zepiSize size,
                   Pattern pattern, Edge edge, int32_t src_step, int32_t dst_step, Random& random) {
  Src src(size, src_step, edge);
  Dst got(size, dst_step, edge);
  Dst want(size, dst_step, edge);
  src.Fill(pattern, random);
  const zepStatus status =
      exported.call(src.ConstArgument(), src_step, got.Argument(), dst_step, size);
  EXPECT_EQ(status, model(src.ConstArgument(), src_step, want.Argument(), dst_step, size));
  const std::string difference = FirstDifference(MemoryOf(got), MemoryOf(want), dst_step);
  EXPECT_EQ(difference, "") << exported.name << " " << size.width << "x" << size.height << " steps "
                            << src_step << ", " << dst_step << " pattern "
                            << static_cast<int>(pattern) << " edge " << static_cast<int>(edge)
                            << " seed " << Seed();
}

// Compares the export with its model over sizes, patterns, steps and edges.
template <class Src, class Dst, class Export, class Model>
void CompareRegions(const Named<Export>& exported, const Model& model, const Takes& takes = {}) {
  Random random(Seed());
  const int32_t max_width = 2 * 128 + 3;  // more than twice the longest vector step
  for (int32_t width = 1; width <= max_width; ++width) {
    const zepiSize size = {width * takes.width_unit, 1 + width % 4};
    if (size.width < takes.min_size.width || size.height < takes.min_size.height) continue;
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      const auto src_steps = takes.Steps(Src::MinStep(size));
      const auto dst_steps = takes.Steps(Dst::MinStep(size));
      const Pattern pattern = kPatterns[random() % std::size(kPatterns)];
      CompareRegion<Src, Dst>(exported, model, size, pattern, edge,
                              src_steps[random() % src_steps.size()],
                              dst_steps[random() % dst_steps.size()], random);
      if (::testing::Test::HasFailure()) return;
    }
  }
  const zepiSize large = {1000 * takes.width_unit, 17};  // above the limit for one thread
  for (const Pattern pattern : kPatterns) {
    CompareRegion<Src, Dst>(exported, model, large, pattern, Edge::kEnd, Src::MinStep(large) + 5,
                            Dst::MinStep(large) + 3, random);
  }
}

// The export and the scalar model of the same name, as two arguments.
#define HARNESS_PAIR(function) \
  HARNESS_NAMED(function), [](auto... args) { return ::reference::function(args...); }

// The same with more arguments after those that they are called with.
#define HARNESS_PAIR_WITH(function, ...)                                                      \
  ::harness::Named{#function, [](auto... args) { return ::function(args..., __VA_ARGS__); }}, \
      [](auto... args) { return ::reference::function(args..., __VA_ARGS__); }

}  // namespace harness

#endif  // ZEPJP_TESTS_HARNESS_REGION_H_
