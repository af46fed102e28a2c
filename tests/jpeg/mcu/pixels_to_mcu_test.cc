// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "jpeg/mcu/mcu_cases.h"

namespace mcu_cases {
namespace {

template <class Export, class Model>
void CompareToBlocks(const harness::Named<Export>& exported, const Model& model,
                     const Shape& shape) {
  ExpectNoDifference(
      exported.name, shape,
      [&](int32_t step, Edge edge, size_t shift, Pattern pattern, harness::Random& random) {
        harness::Plane<uint8_t> pixels({shape.size.width * shape.channels, shape.size.height}, step,
                                       edge);
        pixels.Fill(pattern, random);
        Blocks got(shape, edge, shift), want(shape, edge, shift);
        EXPECT_EQ(exported.call(pixels.base(), step, got.pointers()), zepStatusOk);
        model(pixels.base(), step, want.pointers());
        return harness::FirstDifference(got.Copy(), want.Copy(), 16);
      });
}

TEST(PixelsToMcu, RgbToBlocks) {
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

TEST(PixelsToMcu, InksAndSamplesToBlocks) {
  CompareToBlocks(HARNESS_PAIR(zepiCMYKToYCCK444LS_MCU_JPEG_8u16s_C4P4R), {k444, 4, 4});
  CompareToBlocks(HARNESS_PAIR(zepiCMYKToYCCK422LS_MCU_JPEG_8u16s_C4P4R), {k422, 4, 4});
  CompareToBlocks(HARNESS_PAIR(zepiCMYKToYCCK411LS_MCU_JPEG_8u16s_C4P4R), {k411, 4, 4});
  CompareToBlocks(HARNESS_PAIR(zepiSampleDown444LS_MCU_JPEG_8u16s_C3P3R), {k444, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiSampleDown422LS_MCU_JPEG_8u16s_C3P3R), {k422, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiSampleDown411LS_MCU_JPEG_8u16s_C3P3R), {k411, 3, 3});
  CompareToBlocks(HARNESS_PAIR(zepiSplit422LS_MCU_JPEG_8u16s_C2P3R), {k422, 2, 3});
}

TEST(PixelsToMcu, PureBlueIsClamped) {
  uint8_t pixels[8 * 24] = {};
  for (size_t i = 2; i < sizeof(pixels); i += 3) pixels[i] = 255;
  int16_t y[64], cb[64], cr[64];
  int16_t* const mcu[] = {y, cb, cr};
  ASSERT_EQ(zepiRGBToYCbCr444LS_MCU_JPEG_8u16s_C3P3R(pixels, 24, mcu), zepStatusOk);
  EXPECT_EQ(cb[0], 127);
}

// All colours, 64 at a time.
TEST(PixelsToMcu, AllColours_Exhaustive) {
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
    for (int i = 0; i < 3; ++i) {
      ASSERT_EQ(harness::FirstDifference(got[i], want[i], 8), "")
          << "component " << i << " colour " << colour;
    }
  }
}

template <size_t kComponents, class Export>
void ExpectOrderToBlocks(const harness::Named<Export>& exported) {
  const uint8_t pixels[16 * 64] = {};
  int16_t blocks[4][256] = {};
  int16_t* const mcu[] = {blocks[0], blocks[1], blocks[2], blocks[3]};
  harness::CheckOrder(exported, &pixels[0], 64, &mcu[0])
      .template Null<0>()
      .template Planes<2, kComponents>()
      .template Step<1>()
      .Output(blocks, sizeof(blocks))
      .Run();
}

TEST(PixelsToMcu, ChecksInOrder) {
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

}  // namespace
}  // namespace mcu_cases
