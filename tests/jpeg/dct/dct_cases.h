// SPDX-License-Identifier: MIT
// Blocks and tables, and comparisons with the models, for the tests of transforms and quantization.
#ifndef ZEPJP_TESTS_JPEG_DCT_DCT_CASES_H_
#define ZEPJP_TESTS_JPEG_DCT_DCT_CASES_H_

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "harness/check_order.h"
#include "harness/guarded.h"
#include "harness/random.h"
#include "harness/region.h"
#include "reference/dct.h"

namespace dct_cases {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;
using harness::Named;
using harness::Pattern;
using harness::Random;

// Room for a block, plus one byte with `odd`, so that the block starts at an odd address.
inline size_t BlockBytes(int odd) { return 128 + static_cast<size_t>(odd % 2); }

// Input blocks and tables of all kinds, at odd addresses too.
struct Inputs {
  explicit Inputs(Random& random, int round)
      : edge(round % 2 == 0 ? Edge::kEnd : Edge::kStart),
        block(BlockBytes(round % 3), edge),
        table(BlockBytes(round % 5), edge) {
    const auto pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
    harness::FillPattern(src(), 64, pattern, random);
    harness::FillPattern(steps(), 64, Pattern::kRandom, random);
    const auto kind = static_cast<int>(random() % 6);
    const bool has_step_one = random() % 2 == 0;
    for (int i = 0; i < 64; ++i) {
      int16_t value;
      uint16_t step;
      std::memcpy(&value, block.raw() + 2 * i, 2);
      std::memcpy(&step, table.raw() + 2 * i, 2);
      if (kind == 0) value = static_cast<int16_t>(value % 300);  // the range in codecs
      if (kind == 0) step = static_cast<uint16_t>(1 + step % 20);
      if (kind == 1) step = 1;
      if (kind == 2) value = random() % 8 == 0 ? value : int16_t{0};
      if (kind == 3) step = random() % 2 == 0 ? 32768 : 65535;
      if (kind >= 4) value = static_cast<int16_t>((value & 511) - 256);  // small for kernels
      if (kind >= 4 && !has_step_one) step /= 2;
      if (kind == 5 && i == round % 64) value = has_step_one ? 256 : -257;
      std::memcpy(block.raw() + 2 * i, &value, 2);
      std::memcpy(table.raw() + 2 * i, &step, 2);
    }
  }
  int16_t* src() { return reinterpret_cast<int16_t*>(block.raw()); }
  uint16_t* steps() { return reinterpret_cast<uint16_t*>(table.raw()); }

  Edge edge;
  Guarded<uint8_t> block, table;
};

constexpr int kRounds = 4000;

inline std::vector<uint8_t> Bytes(const Guarded<uint8_t>& memory) {
  return {memory.raw(), memory.raw() + memory.bytes()};
}

// Compares functions from a block to a block.
template <class Call, class Model>
void CompareBlocks(const Named<Call>& exported, const Model& model) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    Guarded<uint8_t> got(BlockBytes(round % 7), in.edge), want(got.bytes(), in.edge);
    const int16_t* const src = in.src();
    const uint16_t* const table = in.steps();
    exported.call(src, reinterpret_cast<int16_t*>(got.raw()), table);
    model(src, reinterpret_cast<int16_t*>(want.raw()), table);
    ASSERT_EQ(harness::FirstDifference(got, want), "")
        << exported.name << " round " << round << " seed " << harness::Seed();
  }
}

// Compares functions in place; the model works on a copy.
template <class Call, class Model>
void CompareInPlace(const Named<Call>& exported, const Model& model) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    std::vector<uint8_t> want = Bytes(in.block);
    const uint16_t* const table = in.steps();
    model(reinterpret_cast<int16_t*>(want.data()), table);
    exported.call(in.src(), table);
    ASSERT_EQ(harness::FirstDifference(Bytes(in.block), want), "")
        << exported.name << " round " << round << " seed " << harness::Seed();
  }
}

template <class Sample>
size_t RegionBytes(int32_t step, int32_t size) {
  return static_cast<size_t>(step * (size - 1)) + static_cast<size_t>(size) * sizeof(Sample);
}

// Compares functions from a block to size x size samples.
template <class Sample, class Call, class Model>
void CompareToSamples(const Named<Call>& exported, const Model& model, int32_t size) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    // With steps smaller than a row, rows overlap; they are written top to bottom.
    const int32_t step =
        round % 9 == 0 ? 1 + round % 5 : size * static_cast<int32_t>(sizeof(Sample)) + round % 5;
    Guarded<uint8_t> got(RegionBytes<Sample>(step, size), in.edge), want(got.bytes(), in.edge);
    const int16_t* const src = in.src();
    const uint16_t* const table = in.steps();
    exported.call(src, reinterpret_cast<Sample*>(got.raw()), step, table);
    model(src, reinterpret_cast<Sample*>(want.raw()), step, table);
    ASSERT_EQ(harness::FirstDifference(got, want), "")
        << exported.name << " round " << round << " step " << step << " seed " << harness::Seed();
  }
}

// Compares functions from 8x8 samples to a block.
template <class Sample, class Call, class Model>
void CompareFromSamples(const Named<Call>& exported, const Model& model) {
  Random random(harness::Seed());
  for (int round = 0; round < kRounds; ++round) {
    Inputs in(random, round);
    const int32_t step = 8 * static_cast<int32_t>(sizeof(Sample)) + round % 5;
    Guarded<uint8_t> samples(RegionBytes<Sample>(step, 8), in.edge);
    const auto pattern = harness::kPatterns[random() % std::size(harness::kPatterns)];
    harness::FillPattern(samples.raw(), samples.bytes(), pattern, random);
    Guarded<uint8_t> got(BlockBytes(round % 7), in.edge), want(got.bytes(), in.edge);
    const auto* const src = reinterpret_cast<const Sample*>(samples.raw());
    const uint16_t* const table = in.steps();
    exported.call(src, step, reinterpret_cast<int16_t*>(got.raw()), table);
    model(src, step, reinterpret_cast<int16_t*>(want.raw()), table);
    ASSERT_EQ(harness::FirstDifference(got, want), "")
        << exported.name << " round " << round << " seed " << harness::Seed();
  }
}

// Arguments of all exports.
struct Buffers {
  int16_t block[64] = {}, result[64] = {};
  uint8_t samples[64] = {}, raw[64] = {};
  uint16_t words[64] = {}, table[64] = {};
};

// Tests the order of checks of (source block, destination block, table) and of (block in place,
// table).
template <class Call>
void ExpectBlocksOrder(const Named<Call>& function) {
  Buffers b;
  CheckOrder(function, static_cast<const int16_t*>(b.block), &b.result[0],
             static_cast<const uint16_t*>(b.table))
      .template Null<0>()
      .template Null<1>()
      .template Null<2>()
      .Output(b.result, sizeof(b.result))
      .Run();
}
template <class Call>
void ExpectInPlaceOrder(const Named<Call>& function) {
  Buffers b;
  CheckOrder(function, &b.result[0], static_cast<const uint16_t*>(b.table))
      .template Null<0>()
      .template Null<1>()
      .Output(b.result, sizeof(b.result))
      .Run();
}

}  // namespace dct_cases

#endif  // ZEPJP_TESTS_JPEG_DCT_DCT_CASES_H_
