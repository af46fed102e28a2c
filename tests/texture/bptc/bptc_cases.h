// SPDX-License-Identifier: MIT
// Blocks of every mode, and tests that both decoders share.
#ifndef ZEPJP_TESTS_TEXTURE_BPTC_BPTC_CASES_H_
#define ZEPJP_TESTS_TEXTURE_BPTC_BPTC_CASES_H_

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "harness/check_order.h"
#include "harness/region.h"
#include "reference/bptc.h"
#include "texture/texture_cases.h"

namespace bptc_cases {

using harness::Edge;
using harness::Random;
using texture_cases::Bytes;
using Decoding = texture_cases::Format<texture_cases::Decoder>;

// A decoder, and how the first bits of a block give its mode.
struct Format {
  Bytes modes;
  void (*set_mode)(uint8_t mode, uint8_t* block);
  Decoding decoding;
};

// Blocks of all modes in turn, or of one.
inline Bytes MakeBlocks(const Format& format, size_t count, Random& random, int only_mode = -1) {
  Bytes blocks(16 * count);
  for (uint8_t& byte : blocks) byte = static_cast<uint8_t>(random());
  for (size_t i = 0; i < count; ++i) {
    const size_t mode =
        only_mode >= 0 ? static_cast<size_t>(only_mode) : random() % format.modes.size();
    format.set_mode(format.modes[mode], &blocks[16 * i]);
  }
  return blocks;
}

constexpr int32_t kColumns = 256;
constexpr zepiSize kManySize = {4 * kColumns, 4};

inline void ExpectMany(const Format& format, const Bytes& blocks) {
  texture_cases::ExpectEqualsModel(format.decoding, blocks, kManySize,
                                   kManySize.width * format.decoding.pixel_bytes, Edge::kEnd);
}

inline void ExpectEverySize(const Format& format) {
  Random random(harness::Seed());
  texture_cases::ExpectEverySizeEqualsModel(format.decoding, 9, [&](zepiSize size) {
    return MakeBlocks(format, texture_cases::Blocks(size), random);
  });
}

inline void ExpectAnyBlocksOfEveryMode(const Format& format) {
  Random random(harness::Seed());
  const int rounds = harness::Exhaustive() ? 40 : 3;
  for (int mode = 0; mode < static_cast<int>(format.modes.size()); ++mode) {
    for (int i = 0; i < rounds; ++i) ExpectMany(format, MakeBlocks(format, kColumns, random, mode));
  }
}

// Fields of ones and zeros, and with few bits of either, for end points near the limits.
inline void ExpectExtremeBlocksOfEveryMode(const Format& format) {
  Random random(harness::Seed());
  for (const uint8_t mode : format.modes) {
    Bytes blocks(16 * kColumns);
    for (size_t i = 0; i < kColumns; ++i) {
      uint8_t* const block = &blocks[16 * i];
      std::memset(block, i % 2 ? 0xFF : 0, 16);
      for (size_t flips = i / 2 % 8; flips > 0; --flips) {
        const unsigned bit = random() % 128;
        block[bit / 8] = static_cast<uint8_t>(block[bit / 8] ^ (1U << (bit % 8)));
      }
      format.set_mode(mode, block);
    }
    ExpectMany(format, blocks);
  }
}

inline Bytes Decode(const Format& format, const Bytes& blocks, zepiSize size) {
  const int32_t step = size.width * format.decoding.pixel_bytes;
  Bytes pixels(static_cast<size_t>(step * size.height));
  EXPECT_EQ(format.decoding.call(blocks.data(), pixels.data(), step, size), zepStatusOk);
  return pixels;
}

inline void ExpectThreadsAgree(const Format& format) {
  Random random(harness::Seed());
  const zepiSize size = {61, 33};
  const Bytes blocks = MakeBlocks(format, texture_cases::Blocks(size), random);
  const Bytes want = Decode(format, blocks, size);
  std::vector<Bytes> got(4);
  std::vector<std::thread> threads;
  for (Bytes& pixels : got) threads.emplace_back([&] { pixels = Decode(format, blocks, size); });
  for (std::thread& thread : threads) thread.join();
  for (const Bytes& pixels : got) {
    EXPECT_EQ(harness::FirstDifference(pixels, want), "") << format.decoding.name;
  }
}

template <class Call, class T>
void ExpectChecksInOrder(const harness::Named<Call>& function, T* pixels) {
  const uint8_t blocks[16] = {};
  std::memset(pixels, harness::kFill, 96);
  harness::CheckOrder(function, &blocks[0], pixels, 24, zepiSize{4, 4})
      .template Null<0>()
      .template Null<1>()
      .template Bad<2>(zepStatusBadStep, {0})
      .template Size<3>()
      .Output(pixels, 96)
      .Run();
}

}  // namespace bptc_cases

#endif  // ZEPJP_TESTS_TEXTURE_BPTC_BPTC_CASES_H_
