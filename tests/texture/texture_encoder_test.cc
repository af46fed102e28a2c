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
using harness::Guarded;
using harness::Plane;
using harness::Random;
using texture_cases::Blocks;
using texture_cases::Bytes;
using texture_cases::ExpectTextureOrder;
using texture_cases::FarRows;
using Format = texture_cases::Format<texture_cases::Encoder>;

const Format kDxt1 = TEXTURE_FORMAT(zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R, 4, 8);
const Format kDxt3 = TEXTURE_FORMAT(zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R, 4, 16);
const Format kDxt5 = TEXTURE_FORMAT(zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R, 4, 16);
const Format kYCoCg = TEXTURE_FORMAT(zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R, 3, 16);
const Format kBc4 = TEXTURE_FORMAT(zepiTextureEncodeBlock_BC4_8u_C1R, 1, 8);
const Format kBc5 = TEXTURE_FORMAT(zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R, 2, 16);
const Format kFormats[] = {kDxt1, kDxt3, kDxt5, kYCoCg, kBc4, kBc5};

enum class Content { kRandom, kFlat, kTwoValues, kOneChannel, kGradient, kExtreme, kNear };
constexpr Content kContents[] = {Content::kRandom,     Content::kFlat,     Content::kTwoValues,
                                 Content::kOneChannel, Content::kGradient, Content::kExtreme,
                                 Content::kNear};

uint8_t Value(Content content, int x, int y, int channel, uint32_t key, Random& random) {
  const uint32_t own = key >> (4 * channel);
  switch (content) {
    case Content::kRandom: break;
    case Content::kFlat: return static_cast<uint8_t>(own);
    case Content::kTwoValues: return static_cast<uint8_t>(random() % 2 ? own : own >> 8);
    case Content::kOneChannel: return channel == 0 ? static_cast<uint8_t>(random()) : 77;
    case Content::kGradient:
      return static_cast<uint8_t>(static_cast<int>(own % 100) + (x * 3 + y * 5) * (1 + channel));
    case Content::kExtreme: return random() % 2 ? 255 : 0;
    case Content::kNear: return static_cast<uint8_t>(own % 200 + random() % (1 + own % 50));
  }
  return static_cast<uint8_t>(random());
}

// Compares the export with the model, with all memory of the blocks.
void ExpectEqualsModel(const Format& format, Content content, zepiSize size, int32_t step,
                       Edge edge, Random& random) {
  const zepiSize bytes = {size.width * format.pixel_bytes, size.height};
  Plane<uint8_t> src(bytes, step, edge);
  const auto key = static_cast<uint32_t>(random());
  for (int y = 0; y < size.height; ++y) {
    for (int i = 0; i < bytes.width; ++i) {
      src.base()[ptrdiff_t{y} * step + i] =
          Value(content, i / format.pixel_bytes, y, i % format.pixel_bytes, key, random);
    }
  }
  const size_t coded = Blocks(size) * static_cast<size_t>(format.block_bytes);
  Guarded<uint8_t> got(coded, edge), want(coded, edge);
  ASSERT_EQ(format.call(src.base(), step, size, got.raw()), zepStatusOk);
  ASSERT_EQ(format.model(src.base(), step, size, want.raw()), zepStatusOk);
  ASSERT_EQ(harness::FirstDifferenceOf(got.raw(), want.raw(), coded), "")
      << format.name << " " << size.width << "x" << size.height << " step " << step << " content "
      << static_cast<int>(content) << " seed " << harness::Seed();
}

TEST(TextureEncoding, EverySize) {
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    for (int width = 1; width <= 13; ++width) {
      for (int height = 1; height <= 13; ++height) {
        for (const int32_t step : texture_cases::Steps(width * format.pixel_bytes)) {
          const Content content = kContents[random() % std::size(kContents)];
          for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
            ExpectEqualsModel(format, content, {width, height}, step, edge, random);
          }
        }
      }
    }
  }
}

TEST(TextureEncoding, LargerSizes) {
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    for (const int width : {63, 64, 65, 66, 67, 68, 127, 130, 260, 515}) {
      for (const Content content : kContents) {
        ExpectEqualsModel(format, content, {width, 9}, width * format.pixel_bytes + 3, Edge::kEnd,
                          random);
      }
    }
  }
}

TEST(TextureEncoding, ManyBlocks) {
  Random random(harness::Seed());
  const int width = harness::Exhaustive() ? 20000 : 2000;
  for (const Format& format : kFormats) {
    for (const Content content : kContents) {
      ExpectEqualsModel(format, content, {width, 16}, width * format.pixel_bytes, Edge::kEnd,
                        random);
    }
  }
}

Bytes Encode(const Format& format, const Bytes& pixels, zepiSize size) {
  Bytes blocks(Blocks(size) * static_cast<size_t>(format.block_bytes));
  EXPECT_EQ(format.call(pixels.data(), size.width * format.pixel_bytes, size, blocks.data()),
            zepStatusOk);
  return blocks;
}

// Every (low, high) with every value between them, fourteen at a time besides these two.
TEST(TextureEncoding, ChannelValues_Exhaustive) {
  const int stride = harness::Exhaustive() ? 1 : 23;
  for (int low = 0; low < 256; low += stride) {
    Bytes pixels;  // 4x4 blocks, one below another
    for (int high = low; high < 256; high += stride) {
      for (int value = low; value <= high; value += 14) {
        pixels.push_back(static_cast<uint8_t>(low));
        pixels.push_back(static_cast<uint8_t>(high));
        for (int i = 0; i < 14; ++i)
          pixels.push_back(static_cast<uint8_t>(std::min(value + i, high)));
      }
    }
    const zepiSize size = {4, static_cast<int32_t>(pixels.size() / 4)};
    Bytes want(Blocks(size) * 8);
    reference::zepiTextureEncodeBlock_BC4_8u_C1R(pixels.data(), 4, size, want.data());
    ASSERT_EQ(Encode(kBc4, pixels, size), want) << "low " << low;
  }
}

// All values between low and high for each channel of colours whose other channels are constant,
// where distances are often equal.
TEST(TextureEncoding, ColorValues_Exhaustive) {
  const int stride = harness::Exhaustive() ? 1 : 29;
  for (const Format& format : {kDxt1, kDxt5, kYCoCg}) {
    for (int i = 0; i < format.pixel_bytes * 256; i += stride) {
      const int varied = i / 256, low = i % 256;
      Bytes pixels;
      const auto add = [&](int value) {
        for (int channel = 0; channel < format.pixel_bytes; ++channel) {
          const bool is_flat = channel != varied;
          pixels.push_back(static_cast<uint8_t>(is_flat ? 70 * channel + 9 : value));
        }
      };
      for (int high = low; high < 256; high += stride) {
        for (int value = low; value <= high; value += 14) {
          add(low);
          add(high);
          for (int k = 0; k < 14; ++k) add(std::min(value + k, high));
        }
      }
      const int32_t width = 4 * format.pixel_bytes;
      const zepiSize size = {4, static_cast<int32_t>(pixels.size()) / width};
      Bytes want(Blocks(size) * static_cast<size_t>(format.block_bytes));
      format.model(pixels.data(), width, size, want.data());
      ASSERT_EQ(Encode(format, pixels, size), want)
          << format.name << " channel " << varied << " low " << low;
    }
  }
}

TEST(TextureEncoding, FlatBlocks) {
  const Bytes block = Encode(kDxt1, Bytes(64, 0x80), {4, 4});
  EXPECT_EQ(block, (Bytes{0x10, 0x84, 0x10, 0x84, 0, 0, 0, 0}));
  EXPECT_EQ(Encode(kBc4, Bytes(16, 9), {4, 4}),
            (Bytes{9, 9, 0x49, 0x92, 0x24, 0x49, 0x92, 0x24}));  // indexes of 1
}

TEST(TextureEncoding, BlackAndWhite) {
  Bytes pixels(64, 255);
  std::fill_n(pixels.begin(), 32, uint8_t{0});
  EXPECT_EQ(Encode(kDxt1, pixels, {4, 4}), (Bytes{0x9E, 0xF7, 0x61, 0x08, 0x55, 0x55, 0x00, 0x00}));
  Bytes values(16, 255);
  std::fill_n(values.begin(), 8, uint8_t{0});
  EXPECT_EQ(Encode(kBc4, values, {4, 4}), (Bytes{240, 15, 0x49, 0x92, 0x24, 0, 0, 0}));
}

TEST(TextureEncoding, AlphaIsCut) {
  Bytes pixels(64, 0);
  for (size_t i = 3; i < 64; i += 4) pixels[i] = i % 8 == 3 ? 255 : 15;
  const Bytes block = Encode(kDxt3, pixels, {4, 4});
  for (size_t i = 0; i < 8; ++i) EXPECT_EQ(block[i], 0x0F);
}

TEST(TextureEncoding, OnePixelIsRepeated) {
  const Bytes pixel = {10, 200, 30, 40};
  Bytes sixteen;
  for (int i = 0; i < 16; ++i) sixteen.insert(sixteen.end(), pixel.begin(), pixel.end());
  EXPECT_EQ(Encode(kDxt5, pixel, {1, 1}), Encode(kDxt5, sixteen, {4, 4}));
}

TEST(TextureEncoding, YCoCgIsDxt5OfRearrangedChannels) {
  Random random(harness::Seed());
  Bytes ycocg, rgba;
  for (int i = 0; i < 8 * 8; ++i) {
    const auto y = static_cast<uint8_t>(random()), co = static_cast<uint8_t>(random()),
               cg = static_cast<uint8_t>(random());
    ycocg.insert(ycocg.end(), {y, co, cg});
    rgba.insert(rgba.end(), {co, cg, 0, y});
  }
  EXPECT_EQ(Encode(kYCoCg, ycocg, {8, 8}), Encode(kDxt5, rgba, {8, 8}));
}

TEST(TextureEncoding, FarRows) {
  FarRows rows;
  if (!rows.is_there()) GTEST_SKIP() << "no room for a sparse mapping";
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    const zepiSize size = FarRows::kSize;
    const auto width = static_cast<size_t>(size.width * format.pixel_bytes);
    Bytes pixels;
    for (int y = 0; y < size.height; ++y) {
      uint8_t* row = rows.row(y);
      harness::FillPattern(row, width, harness::Pattern::kRandom, random);
      pixels.insert(pixels.end(), row, row + width);
    }
    Bytes got(Blocks(size) * static_cast<size_t>(format.block_bytes));
    ASSERT_EQ(format.call(rows.row(0), FarRows::kStep, size, got.data()), zepStatusOk);
    EXPECT_EQ(harness::FirstDifference(got, Encode(format, pixels, size)), "") << format.name;
  }
}

TEST(TextureEncoding, SeveralThreads) {
  Random random(harness::Seed());
  const zepiSize size = {61, 33};
  for (const Format& format : kFormats) {
    Bytes pixels(static_cast<size_t>(size.width * size.height * format.pixel_bytes));
    for (uint8_t& byte : pixels) byte = static_cast<uint8_t>(random());
    texture_cases::ExpectSameOnThreads(format.name, [&] { return Encode(format, pixels, size); });
  }
}

template <class Call>
void ExpectChecksInOrder(harness::Named<Call> function) {
  const uint8_t pixels[64] = {};
  uint8_t blocks[16];
  std::memset(blocks, harness::kFill, sizeof(blocks));
  ExpectTextureOrder<3, 1>(CheckOrder(function, &pixels[0], 16, zepiSize{4, 4}, &blocks[0]), blocks,
                           sizeof(blocks));
}

TEST(TextureEncoding, ChecksInOrder) {
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureEncodeBlockFromRGBA_DXT1_8u_C4C1R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureEncodeBlockFromRGBA_DXT3_8u_C4C1R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureEncodeBlockFromRGBA_DXT5_8u_C4C1R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureEncodeBlockFromYCoCg_DXT5_8u_C3C1R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureEncodeBlock_BC4_8u_C1R));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureEncodeBlockFromRG_BC5_8u_C2C1R));
}

}  // namespace
