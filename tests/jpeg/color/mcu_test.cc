// SPDX-License-Identifier: MIT
#include "reference/mcu.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <vector>

#include "harness/region.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;
using harness::Pattern;

// What a function takes: pixels of so many bytes, blocks of each component.
struct Shape {
  zepiSize size;
  int32_t channels;
  int components;

  int Blocks(int component) const {
    return component == 1 || component == 2 ? 1 : size.width * size.height / 64;
  }
};
constexpr zepiSize k444 = {8, 8}, k422 = {16, 8}, k411 = {16, 16};

// The blocks of all components, `shift` bytes into their memory.
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

// Calls compare(step, edge, shift, pattern) for steps, ends of pages, alignments and patterns.
template <class Compare>
void ForCases(const Shape& shape, const Compare& compare) {
  const int32_t row = shape.size.width * shape.channels;
  for (const int32_t step : {row, row + 1, row + 37, 4096}) {
    for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
      for (const size_t shift : {size_t{0}, size_t{1}, size_t{6}}) {
        for (const Pattern pattern : harness::kPatterns) compare(step, edge, shift, pattern);
      }
    }
  }
}

template <class Export, class Model>
void CompareToBlocks(const harness::Named<Export>& exported, const Model& model,
                     const Shape& shape) {
  harness::Random random(harness::Seed());
  ForCases(shape, [&](int32_t step, Edge edge, size_t shift, Pattern pattern) {
    harness::Plane<uint8_t> pixels({shape.size.width * shape.channels, shape.size.height}, step,
                                   edge);
    pixels.Fill(pattern, random);
    Blocks got(shape, edge, shift), want(shape, edge, shift);
    EXPECT_EQ(exported.call(pixels.base(), step, got.pointers()), zepStatusOk);
    model(pixels.base(), step, want.pointers());
    ASSERT_TRUE(got.Copy() == want.Copy())
        << exported.name << " step " << step << " pattern " << static_cast<int>(pattern) << " seed "
        << harness::Seed();
  });
}

template <class Export, class Model>
void CompareToPixels(const harness::Named<Export>& exported, const Model& model,
                     const Shape& shape) {
  harness::Random random(harness::Seed());
  ForCases(shape, [&](int32_t step, Edge edge, size_t shift, Pattern pattern) {
    Blocks blocks(shape, edge, shift);
    blocks.Fill(pattern, random);
    const zepiSize bytes = {shape.size.width * shape.channels, shape.size.height};
    harness::Plane<uint8_t> got(bytes, step, edge), want(bytes, step, edge);
    EXPECT_EQ(exported.call(blocks.const_pointers(), got.base(), step), zepStatusOk);
    model(blocks.const_pointers(), want.base(), step);
    ASSERT_EQ(std::memcmp(got.memory().raw(), want.memory().raw(), got.memory().bytes()), 0)
        << exported.name << " step " << step << " pattern " << static_cast<int>(pattern) << " seed "
        << harness::Seed();
  });
}

constexpr uint8_t kAlpha = 0x5A;
TEST(Mcu, RgbToBlocks) {
  CompareToBlocks(HARNESS_PAIR(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R), {k444, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R), {k444, 4, 3});
  CompareToBlocks(HARNESS_PAIR(zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R), {k422, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R), {k422, 4, 3});
  CompareToBlocks(HARNESS_PAIR(zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R), {k411, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R), {k411, 4, 3});
  CompareToBlocks(HARNESS_PAIR(zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R), {k444, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R), {k444, 4, 3});
  CompareToBlocks(HARNESS_PAIR(zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R), {k422, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R), {k422, 4, 3});
  CompareToBlocks(HARNESS_PAIR(zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R), {k411, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R), {k411, 4, 3});
}

TEST(Mcu, InksAndSamplesToBlocks) {
  CompareToBlocks(HARNESS_PAIR(zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R), {k444, 4, 4});
  CompareToBlocks(HARNESS_PAIR(zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R), {k422, 4, 4});
  CompareToBlocks(HARNESS_PAIR(zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R), {k411, 4, 4});
  CompareToBlocks(HARNESS_PAIR(zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R), {k444, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R), {k422, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R), {k411, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiSplit422LS_MCU_JPEG_8u16s_C2P3R), {k422, 2, 3});
}

TEST(Mcu, BlocksToRgb) {
  CompareToPixels(HARNESS_PAIR(zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R), {k444, 3, 3});
  CompareToPixels(HARNESS_PAIR_WITH(zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R, kAlpha),
                  {k444, 4, 3});
  CompareToPixels(HARNESS_PAIR(zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R), {k422, 3, 3});
  CompareToPixels(HARNESS_PAIR_WITH(zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R, kAlpha),
                  {k422, 4, 3});
  CompareToPixels(HARNESS_PAIR(zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R), {k411, 3, 3});
  CompareToPixels(HARNESS_PAIR_WITH(zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R, kAlpha),
                  {k411, 4, 3});
  CompareToPixels(HARNESS_PAIR(zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R), {k444, 3, 3});
  CompareToPixels(HARNESS_PAIR_WITH(zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R, kAlpha),
                  {k444, 4, 3});
  CompareToPixels(HARNESS_PAIR(zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R), {k422, 3, 3});
  CompareToPixels(HARNESS_PAIR_WITH(zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R, kAlpha),
                  {k422, 4, 3});
  CompareToPixels(HARNESS_PAIR(zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R), {k411, 3, 3});
  CompareToPixels(HARNESS_PAIR_WITH(zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R, kAlpha),
                  {k411, 4, 3});
}

TEST(Mcu, BlocksToInksAndSamples) {
  CompareToPixels(HARNESS_PAIR(zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R), {k444, 4, 4});
  CompareToPixels(HARNESS_PAIR(zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R), {k422, 4, 4});
  CompareToPixels(HARNESS_PAIR(zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R), {k411, 4, 4});
  CompareToPixels(HARNESS_PAIR(zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R), {k444, 3, 3});
  CompareToPixels(HARNESS_PAIR(zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R), {k422, 3, 3});
  CompareToPixels(HARNESS_PAIR(zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R), {k411, 3, 3});
  CompareToPixels(HARNESS_PAIR(zepiJoin422LS_MCU_JPEG_16s8u_P3C2R), {k422, 2, 3});
}

TEST(Mcu, PureBlueIsClamped) {
  uint8_t pixels[8 * 24] = {};
  for (size_t i = 2; i < sizeof(pixels); i += 3) pixels[i] = 255;
  int16_t y[64], cb[64], cr[64];
  int16_t* const mcu[] = {y, cb, cr};
  ASSERT_EQ(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(pixels, 24, mcu), zepStatusOk);
  EXPECT_EQ(cb[0], 127);
}

// All colours, a plane of one channel at a time: blocks are rows of eight pixels of the plane function.
TEST(Mcu, AllColours_Exhaustive) {
  const uint32_t stride = harness::Exhaustive() ? 1 : 41;
  std::vector<uint8_t> pixels(192);
  int16_t got[3][64], want[3][64];
  int16_t* const got_mcu[] = {got[0], got[1], got[2]};
  int16_t* const want_mcu[] = {want[0], want[1], want[2]};
  for (uint32_t colour = 0; colour < 1u << 24; colour += 64 * stride) {
    for (uint32_t i = 0; i < 64; ++i) {
      for (uint32_t k = 0; k < 3; ++k)
        pixels[3 * i + k] = static_cast<uint8_t>((colour + i) >> (8 * k));
    }
    zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(pixels.data(), 24, got_mcu);
    reference::zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(pixels.data(), 24, want_mcu);
    ASSERT_EQ(std::memcmp(got, want, sizeof(got)), 0) << "colour " << colour;
  }
}

template <size_t kComponents, class Export>
void ExpectOrderToBlocks(const harness::Named<Export>& exported) {
  const uint8_t pixels[16 * 64] = {};
  int16_t blocks[4][256] = {};
  int16_t* const mcu[] = {blocks[0], blocks[1], blocks[2], blocks[3]};
  CheckOrder(exported, &pixels[0], 64, &mcu[0])
      .template Null<0>()
      .template Planes<2, kComponents>()
      .template Step<1>()
      .Output(blocks, sizeof(blocks))
      .Run();
}

template <size_t kComponents, class Export, class... Alpha>
void ExpectOrderToPixels(const harness::Named<Export>& exported, Alpha... alpha) {
  uint8_t pixels[16 * 64] = {};
  const int16_t blocks[4][256] = {};
  const int16_t* const mcu[] = {blocks[0], blocks[1], blocks[2], blocks[3]};
  CheckOrder(exported, &mcu[0], &pixels[0], 64, alpha...)
      .template Planes<0, kComponents>()
      .template Null<1>()
      .template Step<2>()
      .Output(pixels, sizeof(pixels))
      .Run();
}

TEST(Mcu, ToBlocksChecksInOrder) {
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C4P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiRGBToYCbCr422LS_MCU_JPEG_8u16s_C4P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiRGBToYCbCr411LS_MCU_JPEG_8u16s_C4P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiBGRToYCbCr444LS_MCU_JPEG_8u16s_C4P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiBGRToYCbCr422LS_MCU_JPEG_8u16s_C4P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiBGRToYCbCr411LS_MCU_JPEG_8u16s_C4P3R));
  ExpectOrderToBlocks<4>(HARNESS_NAMED(zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R));
  ExpectOrderToBlocks<4>(HARNESS_NAMED(zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R));
  ExpectOrderToBlocks<4>(HARNESS_NAMED(zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R));
  ExpectOrderToBlocks<3>(HARNESS_NAMED(zepiSplit422LS_MCU_JPEG_8u16s_C2P3R));
}

TEST(Mcu, ToPixelsChecksInOrder) {
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr444ToRGBLS_MCU_JPEG_16s8u_P3C4R), kAlpha);
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr422ToRGBLS_MCU_JPEG_16s8u_P3C4R), kAlpha);
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr411ToRGBLS_MCU_JPEG_16s8u_P3C4R), kAlpha);
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr444ToBGRLS_MCU_JPEG_16s8u_P3C4R), kAlpha);
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr422ToBGRLS_MCU_JPEG_16s8u_P3C4R), kAlpha);
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiYCbCr411ToBGRLS_MCU_JPEG_16s8u_P3C4R), kAlpha);
  ExpectOrderToPixels<4>(HARNESS_NAMED(zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R));
  ExpectOrderToPixels<4>(HARNESS_NAMED(zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R));
  ExpectOrderToPixels<4>(HARNESS_NAMED(zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R));
  ExpectOrderToPixels<3>(HARNESS_NAMED(zepiJoin422LS_MCU_JPEG_16s8u_P3C2R));
}

}  // namespace
