// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "jpeg/mcu/mcu_cases.h"

namespace mcu_cases {
namespace {

template <class Export, class Model>
void CompareToPixels(const harness::Named<Export>& exported, const Model& model,
                     const Shape& shape) {
  ExpectNoDifference(
      exported.name, shape,
      [&](int32_t step, Edge edge, size_t shift, Pattern pattern, harness::Random& random) {
        Blocks blocks(shape, edge, shift);
        blocks.Fill(pattern, random);
        const zepiSize bytes = {shape.size.width * shape.channels, shape.size.height};
        harness::Plane<uint8_t> got(bytes, step, edge), want(bytes, step, edge);
        EXPECT_EQ(exported.call(blocks.const_pointers(), got.base(), step), zepStatusOk);
        model(blocks.const_pointers(), want.base(), step);
        return harness::FirstDifference(got.memory(), want.memory(), step);
      });
}

constexpr uint8_t kAlpha = 0x5A;

TEST(McuToPixels, BlocksToRgb) {
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

TEST(McuToPixels, BlocksToInksAndSamples) {
  CompareToPixels(HARNESS_PAIR(zepiYCCK444ToCMYKLS_MCU_JPEG_16s8u_P4C4R), {k444, 4, 4});
  CompareToPixels(HARNESS_PAIR(zepiYCCK422ToCMYKLS_MCU_JPEG_16s8u_P4C4R), {k422, 4, 4});
  CompareToPixels(HARNESS_PAIR(zepiYCCK411ToCMYKLS_MCU_JPEG_16s8u_P4C4R), {k411, 4, 4});
  CompareToPixels(HARNESS_PAIR(zepiSampleUp444LS_MCU_JPEG_16s8u_P3C3R), {k444, 3, 3});
  CompareToPixels(HARNESS_PAIR(zepiSampleUp422LS_MCU_JPEG_16s8u_P3C3R), {k422, 3, 3});
  CompareToPixels(HARNESS_PAIR(zepiSampleUp411LS_MCU_JPEG_16s8u_P3C3R), {k411, 3, 3});
  CompareToPixels(HARNESS_PAIR(zepiJoin422LS_MCU_JPEG_16s8u_P3C2R), {k422, 2, 3});
}

template <size_t kComponents, class Export, class... Alpha>
void ExpectOrderToPixels(const harness::Named<Export>& exported, Alpha... alpha) {
  uint8_t pixels[16 * 64] = {};
  const int16_t blocks[4][256] = {};
  const int16_t* const mcu[] = {blocks[0], blocks[1], blocks[2], blocks[3]};
  harness::CheckOrder(exported, &mcu[0], &pixels[0], 64, alpha...)
      .template Planes<0, kComponents>()
      .template Null<1>()
      .template Step<2>()
      .Output(pixels, sizeof(pixels))
      .Run();
}

TEST(McuToPixels, ChecksInOrder) {
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
}  // namespace mcu_cases
