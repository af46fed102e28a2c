// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "harness/check_order.h"
#include "harness/region.h"
#include "reference/texture.h"
#include "texture/texture_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using texture_cases::Blocks;
using texture_cases::Bytes;
using texture_cases::ExpectEqualsModel;
using texture_cases::ExpectTextureOrder;
using texture_cases::FarRows;
using Format = texture_cases::Format<texture_cases::Decoder>;

const Format kDxt1 = TEXTURE_FORMAT(zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R, 4, 8);
const Format kDxt3 = TEXTURE_FORMAT(zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R, 4, 16);
const Format kDxt5 = TEXTURE_FORMAT(zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R, 4, 16);
const Format kBc4 = TEXTURE_FORMAT(zepiTextureDecodeBlock_BC4_8u_C1R, 1, 8);
const Format kBc5 = TEXTURE_FORMAT(zepiTextureDecodeBlockToRG_BC5_8u_C1C2R, 2, 16);
const Format kFormats[] = {kDxt1, kDxt3, kDxt5, kBc4, kBc5};

Bytes RandomBlocks(const Format& format, zepiSize size, Random& random) {
  Bytes blocks(Blocks(size) * static_cast<size_t>(format.block_bytes));
  for (uint8_t& byte : blocks) byte = static_cast<uint8_t>(random());
  return blocks;
}

TEST(TextureDecoding, EverySize) {
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    texture_cases::ExpectEverySizeEqualsModel(
        format, 13, [&](zepiSize size) { return RandomBlocks(format, size, random); });
  }
}

TEST(TextureDecoding, LargerSizes) {
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    for (const int width : {63, 64, 65, 66, 67, 68, 127, 130, 260, 515}) {
      const zepiSize size = {width, 9};
      ExpectEqualsModel(format, RandomBlocks(format, size, random), size,
                        width * format.pixel_bytes + 3, Edge::kEnd);
    }
  }
}

// All pairs of end points, or a random one of each `stride`, each with all indexes.
template <class MakeBlock>
void ExpectPalettes(const Format& format, uint64_t pairs, uint32_t stride, MakeBlock make) {
  constexpr int32_t kColumns = 256;
  const zepiSize size = {4 * kColumns, 4};
  Bytes blocks(kColumns * static_cast<size_t>(format.block_bytes));
  Random random(harness::Seed());
  uint64_t next = 0;
  while (next < pairs && !::testing::Test::HasFatalFailure()) {
    for (int32_t i = 0; i < kColumns; ++i, next += stride) {
      const uint64_t pair = std::min(next + random() % stride, pairs - 1);
      make(static_cast<uint32_t>(pair), &blocks[static_cast<size_t>(i * format.block_bytes)]);
    }
    ExpectEqualsModel(format, blocks, size, 4 * kColumns * format.pixel_bytes, Edge::kEnd);
  }
}

void StoreColors(uint32_t pair, uint8_t* part) {
  const uint32_t indexes = 0xE4E4E4E4;  // 0 1 2 3 in each row
  std::memcpy(part, &pair, 4);
  std::memcpy(part + 4, &indexes, 4);
}

// All pairs of 6 bits of green and 5 of red and blue; red may decide the order of c0 and c1.
TEST(TextureDecoding, ColorPalettes_Exhaustive) {
  for (const Format* format : {&kDxt1, &kDxt3, &kDxt5}) {
    ExpectPalettes(*format, 3 << 12, 1, [&](uint32_t pair, uint8_t* block) {
      const uint32_t a = pair & 63, b = pair >> 6 & 63, red = pair >> 12;
      const uint32_t red_a = red == 0 ? 31 : red == 1 ? 0 : a & 31;
      const uint32_t red_b = red == 0 ? 0 : red == 1 ? 31 : b & 31;
      const uint32_t c0 = red_a << 11 | a << 5 | (a & 31), c1 = red_b << 11 | b << 5 | (b & 31);
      std::memset(block, 0x5A, static_cast<size_t>(format->block_bytes));
      StoreColors(c0 | c1 << 16, block + format->block_bytes - 8);
    });
  }
}

TEST(TextureDecoding, AnyColors) {
  const uint32_t stride = harness::Exhaustive() ? 9973 : 999983;
  for (const Format* format : {&kDxt1, &kDxt3, &kDxt5}) {
    ExpectPalettes(*format, uint64_t{1} << 32, stride, [&](uint32_t pair, uint8_t* block) {
      std::memset(block, 0xC3, static_cast<size_t>(format->block_bytes));
      StoreColors(pair, block + format->block_bytes - 8);
    });
  }
}

// A colour of 16 bits as bytes R G B 255.
uint32_t Widened(uint32_t color) {
  const uint32_t r = color >> 11, g = color >> 5 & 63, b = color & 31;
  return (r << 3 | r >> 2) | (g << 2 | g >> 4) << 8 | (b << 3 | b >> 2) << 16 | 255U << 24;
}

// The four colours of c0 with every c1. A channel depends on that channel of both only, so each has
// a table of its third and fourth values by the bits of c1; they add up to the colours.
class PalettesOf {
 public:
  PalettesOf() : palettes_(4 * 65536) {}

  const std::vector<uint32_t>& For(uint32_t c0) {
    const uint32_t color = Widened(c0);
    for (uint32_t bits = 0; bits < 64; ++bits) {
      red_[bits % 32] = Mixed(color, Widened(bits % 32 << 11), 0);
      green_[bits] = Mixed(color, Widened(bits << 5), 8);
      blue_[bits % 32] = Mixed(color, Widened(bits % 32), 16);
    }
    uint32_t* palette = palettes_.data();
    for (uint32_t c1 = 0; c1 < 65536; ++c1, palette += 4) {
      const Mixture &red = red_[c1 >> 11], &green = green_[c1 >> 5 & 63], &blue = blue_[c1 & 31];
      palette[0] = color;
      palette[1] = 255U << 24 | red.end | green.end | blue.end;
      palette[2] = 255U << 24 | (c0 > c1 ? red.third | green.third | blue.third
                                         : red.half | green.half | blue.half);
      palette[3] =
          c0 > c1 ? 255U << 24 | red.two_thirds | green.two_thirds | blue.two_thirds : 0xFFFFFFFF;
    }
    return palettes_;
  }

 private:
  // Values of one channel, in its place.
  struct Mixture {
    uint32_t end, half, third, two_thirds;
  };
  static Mixture Mixed(uint32_t color0, uint32_t color1, uint32_t shift) {
    const uint32_t e0 = color0 >> shift & 255, e1 = color1 >> shift & 255;
    return {e1 << shift, (e0 + e1) / 2 << shift, (2 * e0 + e1) / 3 << shift,
            (e0 + 2 * e1) / 3 << shift};
  }

  Mixture red_[32], green_[64], blue_[32];
  std::vector<uint32_t> palettes_;
};

// All 2^32 pairs of colours (or all with some c0), with all indexes, compared in the first row of
// each block.
TEST(TextureDecoding, AllColors_Exhaustive) {
  Bytes blocks(size_t{8} * 65536);
  std::vector<uint32_t> got(4 * 65536);
  PalettesOf palettes;
  Random random(harness::Seed());
  for (uint32_t c1 = 0; c1 < 65536; ++c1) StoreColors(c1 << 16, &blocks[size_t{8} * c1]);
  for (uint32_t c0 = 0; c0 < 65536;) {
    for (size_t i = 0; i < blocks.size(); i += 8) std::memcpy(&blocks[i], &c0, 2);
    ASSERT_EQ(kDxt1.call(blocks.data(), reinterpret_cast<uint8_t*>(got.data()), 16 * 65536,
                         {4 * 65536, 1}),
              zepStatusOk);
    ASSERT_EQ(harness::FirstDifference(got, palettes.For(c0)), "")
        << "c0 " << c0 << " seed " << harness::Seed();
    c0 += harness::Exhaustive() ? 1 : 1 + static_cast<uint32_t>(random() % 8192);
  }
}

TEST(TextureDecoding, ChannelPalettes_Exhaustive) {
  for (const Format& format : {kDxt5, kBc4, kBc5}) {
    ExpectPalettes(format, 1 << 16, 1, [&](uint32_t pair, uint8_t* block) {
      const uint8_t part[8] = {static_cast<uint8_t>(pair),
                               static_cast<uint8_t>(pair >> 8),
                               0x88,
                               0xC6,
                               0xFA,
                               0x77,
                               0x39,
                               0x05};  // 0 to 7 and back
      for (int i = 0; i < format.block_bytes; i += 8) std::memcpy(block + i, part, 8);
    });
  }
}

TEST(TextureDecoding, AllNibbles) {
  const zepiSize size = {16, 4};
  Bytes blocks(4 * 16);
  for (int i = 0; i < 8; ++i)
    blocks[static_cast<size_t>(i)] = static_cast<uint8_t>(i * 0x22 + 0x10);
  ExpectEqualsModel(kDxt3, blocks, size, 64, Edge::kEnd);
}

Bytes Decode(const Format& format, const Bytes& blocks, zepiSize size) {
  Bytes pixels(static_cast<size_t>(size.width * size.height * format.pixel_bytes));
  EXPECT_EQ(format.call(blocks.data(), pixels.data(), size.width * format.pixel_bytes, size),
            zepStatusOk);
  return pixels;
}

Bytes FirstPixel(const Format& format, const Bytes& blocks) {
  return Decode(format, blocks, {1, 1});
}

TEST(TextureDecoding, FourthColorOfThreeIsOpaqueWhite) {
  EXPECT_EQ(Decode(kDxt1, {0, 0, 0, 0, 255, 255, 255, 255}, {4, 4}), Bytes(64, 255));
}

TEST(TextureDecoding, ThirdsTruncate) {
  EXPECT_EQ(FirstPixel(kDxt1, {0x00, 0xF8, 0x1F, 0x00, 0xAA, 0xAA, 0xAA, 0xAA}),
            (Bytes{170, 0, 85, 255}));
}

TEST(TextureDecoding, FourBitsOfAlphaAreNotRepeated) {
  Bytes block(16, 0);
  std::fill_n(block.begin(), 8, uint8_t{0xFF});
  EXPECT_EQ(FirstPixel(kDxt3, block)[3], 240);
}

TEST(TextureDecoding, ChannelRoundsToNearest) {
  Bytes block(16, 0);
  block[1] = 255;
  block[2] = 2;
  EXPECT_EQ(FirstPixel(kDxt5, block)[3], 51);
  EXPECT_EQ(FirstPixel(kBc4, block)[0], 51);
  std::swap(block[0], block[1]);
  EXPECT_EQ(FirstPixel(kDxt5, block)[3], 219);
  EXPECT_EQ(FirstPixel(kBc5, block)[0], 219);
}

TEST(TextureDecoding, FarRows) {
  FarRows rows;
  if (!rows.is_there()) GTEST_SKIP() << "no room for a sparse mapping";
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    const zepiSize size = FarRows::kSize;
    const Bytes blocks = RandomBlocks(format, size, random);
    const auto width = static_cast<size_t>(size.width * format.pixel_bytes);
    Bytes want(static_cast<size_t>(size.height) * width);
    format.model(blocks.data(), want.data(), static_cast<int32_t>(width), size);
    for (const bool upwards : {false, true}) {
      ASSERT_EQ(format.call(blocks.data(), rows.row(upwards ? size.height - 1 : 0),
                            upwards ? -FarRows::kStep : FarRows::kStep, size),
                zepStatusOk);
      for (int y = 0; y < size.height; ++y) {
        const uint8_t* row = rows.row(upwards ? size.height - 1 - y : y);
        ASSERT_EQ(harness::FirstDifferenceOf(row, &want[static_cast<size_t>(y) * width], width), "")
            << format.name << " row " << y;
      }
    }
  }
}

TEST(TextureDecoding, SeveralThreads) {
  Random random(harness::Seed());
  const zepiSize size = {61, 33};
  for (const Format& format : kFormats) {
    const Bytes blocks = RandomBlocks(format, size, random);
    texture_cases::ExpectSameOnThreads(format.name, [&] { return Decode(format, blocks, size); });
  }
}

template <class Call>
void ExpectChecksInOrder(harness::Named<Call> function) {
  uint8_t pixels[64];
  const uint8_t blocks[16] = {};
  std::memset(pixels, harness::kFill, sizeof(pixels));
  ExpectTextureOrder<1, 2>(CheckOrder(function, &blocks[0], &pixels[0], 16, zepiSize{4, 4}), pixels,
                           sizeof(pixels));
}

TEST(TextureDecoding, ChecksInOrder) {
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGBA_DXT1_8u_C1C4R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGBA_DXT3_8u_C1C4R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGBA_DXT5_8u_C1C4R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlock_BC4_8u_C1R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRG_BC5_8u_C1C2R));
}

}  // namespace
