// SPDX-License-Identifier: MIT
// Shared by the tests of both directions between pixels and the blocks of an MCU.
#ifndef ZEPJP_TESTS_JPEG_MCU_MCU_CASES_H_
#define ZEPJP_TESTS_JPEG_MCU_MCU_CASES_H_

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "harness/region.h"
#include "reference/mcu.h"

namespace mcu_cases {

using harness::Edge;
using harness::Guarded;
using harness::Pattern;

// The pixels of `channels` bytes and the blocks of each component that a function takes.
struct Shape {
  zepiSize size;
  int32_t channels;
  int components;

  int Blocks(int component) const {
    return component == 1 || component == 2 ? 1 : size.width * size.height / 64;
  }
};
constexpr zepiSize k444 = {8, 8}, k422 = {16, 8}, k411 = {16, 16};

// The blocks of all components, each `shift` bytes after the start of its memory.
class Blocks {
 public:
  Blocks(const Shape& shape, Edge edge, size_t shift) : count_(shape.components) {
    for (int i = 0; i < count_; ++i) {
      const size_t bytes = static_cast<size_t>(shape.Blocks(i)) * 128;
      memory_[i] = std::make_unique<Guarded<uint8_t>>(bytes + shift, edge);
      pointers_[i] = reinterpret_cast<int16_t*>(memory_[i]->raw() + shift);
      bytes_[i] = bytes;
    }
  }
  void Fill(Pattern pattern, harness::Random& random) {
    for (int i = 0; i < count_; ++i) FillPattern(pointers_[i], bytes_[i] / 2, pattern, random);
  }
  int16_t* const* pointers() { return pointers_; }
  const int16_t* const* const_pointers() {
    for (int i = 0; i < count_; ++i) const_pointers_[i] = pointers_[i];
    return const_pointers_;
  }
  std::vector<std::vector<uint8_t>> Copy() const {
    std::vector<std::vector<uint8_t>> copy;
    for (int i = 0; i < count_; ++i) {
      copy.emplace_back(memory_[i]->raw(), memory_[i]->raw() + memory_[i]->bytes());
    }
    return copy;
  }

 private:
  int count_;
  std::unique_ptr<Guarded<uint8_t>> memory_[4];
  int16_t* pointers_[4] = {};
  const int16_t* const_pointers_[4] = {};
  size_t bytes_[4] = {};
};

// Calls difference(step, edge, shift, pattern, random) for many steps, page edges, alignments and
// patterns. It returns the difference between the function with this name and its model.
template <class Difference>
void ExpectNoDifference(const char* name, const Shape& shape, const Difference& difference) {
  harness::Random random(harness::Seed());
  const int32_t row = shape.size.width * shape.channels;
  for (const int32_t step : {row, row + 1, row + 37, 4096}) {
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      for (const size_t shift : {size_t{0}, size_t{1}, size_t{6}}) {
        for (const Pattern pattern : harness::kPatterns) {
          ASSERT_EQ(difference(step, edge, shift, pattern, random), "")
              << name << " step " << step << " pattern " << static_cast<int>(pattern) << " seed "
              << harness::Seed();
        }
      }
    }
  }
}

}  // namespace mcu_cases

#endif  // ZEPJP_TESTS_JPEG_MCU_MCU_CASES_H_
