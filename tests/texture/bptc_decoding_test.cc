// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <thread>

#include "harness/check_order.h"
#include "harness/region.h"
#include "reference/bptc.h"
#include "texture/texture_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using texture_cases::Blocks;
using texture_cases::Bytes;
using texture_cases::ExpectEqualsModel;
using Format = texture_cases::Format<texture_cases::Decoder>;

uint16_t* AsHalves(uint8_t* bytes) { return reinterpret_cast<uint16_t*>(bytes); }

const Format kUnsigned = {"zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R", 6, 16,
                          [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
                            return zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(src, AsHalves(dst),
                                                                                 step, size);
                          },
                          [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
                            return reference::zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(
                                src, AsHalves(dst), step, size);
                          }};
const Format kSigned = {"zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R", 6, 16,
                        [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
                          return zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(src, AsHalves(dst),
                                                                               step, size);
                        },
                        [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
                          return reference::zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(
                              src, AsHalves(dst), step, size);
                        }};
const Format kBc7 = TEXTURE_FORMAT(zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R, 4, 16);
const Format kFormats[] = {kUnsigned, kSigned, kBc7};

// Numbers of modes as a block's first bits: BC7's and none, and BC6H's, all in five bits.
const Bytes kBc7Modes = {1, 2, 4, 8, 16, 32, 64, 128, 0};
const Bytes kBc6hModes = {0, 1, 2, 3, 6, 7, 10, 11, 14, 15, 18, 19, 22, 23, 26, 27, 30, 31};

const Bytes& ModesOf(const Format& format) {
  return format.pixel_bytes == 4 ? kBc7Modes : kBc6hModes;
}

void SetMode(const Format& format, uint8_t mode, uint8_t* block) {
  if (format.pixel_bytes != 4) {
    const auto bits = static_cast<uint8_t>(mode < 2 ? 3 : 31);
    block[0] = static_cast<uint8_t>((block[0] & ~bits) | mode);
  } else if (mode == 0) {
    block[0] = 0;
  } else {
    block[0] = static_cast<uint8_t>((block[0] & ~(2 * mode - 1)) | mode);
  }
}

// Blocks of all modes in turn, or of one.
Bytes MakeBlocks(const Format& format, size_t count, Random& random, int only_mode = -1) {
  Bytes blocks(16 * count);
  for (uint8_t& byte : blocks) byte = static_cast<uint8_t>(random());
  const Bytes& modes = ModesOf(format);
  for (size_t i = 0; i < count; ++i) {
    const size_t mode = only_mode >= 0 ? static_cast<size_t>(only_mode) : random() % modes.size();
    SetMode(format, modes[mode], &blocks[16 * i]);
  }
  return blocks;
}

TEST(BptcDecoding, EverySize) {
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    texture_cases::ExpectEverySizeEqualsModel(
        format, 9, [&](zepiSize size) { return MakeBlocks(format, Blocks(size), random); });
  }
}

constexpr int32_t kColumns = 256;
constexpr zepiSize kManySize = {4 * kColumns, 4};

void ExpectMany(const Format& format, const Bytes& blocks) {
  ExpectEqualsModel(format, blocks, kManySize, kManySize.width * format.pixel_bytes, Edge::kEnd);
}

TEST(BptcDecoding, AnyBlocksOfEveryMode) {
  Random random(harness::Seed());
  const int rounds = harness::Exhaustive() ? 40 : 3;
  for (const Format& format : kFormats) {
    for (int mode = 0; mode < static_cast<int>(ModesOf(format).size()); ++mode) {
      for (int i = 0; i < rounds; ++i)
        ExpectMany(format, MakeBlocks(format, kColumns, random, mode));
    }
  }
}

// Fields of ones and zeros, and of few bits of either, as end points at the limits have them.
TEST(BptcDecoding, ExtremeBlocksOfEveryMode) {
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
    for (size_t mode = 0; mode < ModesOf(format).size(); ++mode) {
      Bytes blocks(16 * kColumns);
      for (size_t i = 0; i < kColumns; ++i) {
        uint8_t* const block = &blocks[16 * i];
        std::memset(block, i % 2 ? 0xFF : 0, 16);
        for (size_t flips = i / 2 % 8; flips > 0; --flips) {
          const unsigned bit = random() % 128;
          block[bit / 8] = static_cast<uint8_t>(block[bit / 8] ^ (1U << (bit % 8)));
        }
        SetMode(format, ModesOf(format)[mode], block);
      }
      ExpectMany(format, blocks);
    }
  }
}

// The partition is where the mode says; here in all modes that have one, with all its values.
TEST(BptcDecoding, EveryPartition_Exhaustive) {
  Random random(harness::Seed());
  for (const unsigned mode : {0U, 1U, 2U, 3U, 7U}) {
    Bytes blocks = MakeBlocks(kBc7, kColumns, random, static_cast<int>(mode));
    for (unsigned i = 0; i < kColumns; ++i) {
      uint16_t word;
      std::memcpy(&word, &blocks[size_t{16} * i], 2);
      const auto field = static_cast<unsigned>(63 << (mode + 1));
      word = static_cast<uint16_t>((word & ~field) | (i % 64) << (mode + 1));
      std::memcpy(&blocks[size_t{16} * i], &word, 2);
    }
    ExpectMany(kBc7, blocks);
  }
  for (const Format& format : {kUnsigned, kSigned}) {
    Bytes blocks = MakeBlocks(format, kColumns, random, 2);
    for (unsigned i = 0; i < kColumns; ++i) {
      uint16_t word;
      std::memcpy(&word, &blocks[size_t{16} * i + 9], 2);
      word = static_cast<uint16_t>((word & ~(31U << 5)) | (i % 32) << 5);
      std::memcpy(&blocks[size_t{16} * i + 9], &word, 2);
    }
    ExpectMany(format, blocks);
  }
}

// All end points of the 16-bit mode in one channel, with all sixteen indexes.
TEST(BptcDecoding, SixteenBitEndPoints_Exhaustive) {
  const uint32_t stride = harness::Exhaustive() ? 1 : 16;
  Random random(harness::Seed());
  for (const Format& format : {kUnsigned, kSigned}) {
    for (uint32_t start = 0; start < 65536; start += kColumns * stride) {
      Bytes blocks;
      for (uint32_t i = 0; i < kColumns; ++i) {
        const uint32_t end = (start + i * stride + random() % stride) & 0xFFFF;
        uint64_t low = 15 | uint64_t{end & 1023} << 5;
        for (uint32_t bit = 10; bit < 16; ++bit) low |= uint64_t{end >> bit & 1} << (39 + 15 - bit);
        low |= uint64_t{random() & 15} << 35;
        const uint64_t high = 0xFEDCBA9876543210;
        Bytes block(16);
        std::memcpy(block.data(), &low, 8);
        std::memcpy(block.data() + 8, &high, 8);
        blocks.insert(blocks.end(), block.begin(), block.end());
      }
      ExpectMany(format, blocks);
    }
  }
}

Bytes Decode(const Format& format, const Bytes& blocks, zepiSize size) {
  Bytes pixels(static_cast<size_t>(size.width * size.height * format.pixel_bytes));
  EXPECT_EQ(format.call(blocks.data(), pixels.data(), size.width * format.pixel_bytes, size),
            zepStatusOk);
  return pixels;
}

TEST(BptcDecoding, ReservedModesGiveZeros) {
  Bytes block(16, 0xFF);
  block[0] = 0;
  EXPECT_EQ(Decode(kBc7, block, {4, 4}), Bytes(64, 0));
  for (const uint8_t mode : Bytes{19, 23, 27, 31}) {
    block[0] = mode;
    EXPECT_EQ(Decode(kUnsigned, block, {4, 4}), Bytes(96, 0));
    EXPECT_EQ(Decode(kSigned, block, {4, 4}), Bytes(96, 0));
  }
}

// Mode 6 with both end points 127 in all channels, p-bits 0 and 1.
TEST(BptcDecoding, LowestBitsOfBothEndPoints) {
  Bytes block(16, 0xFF);
  block[0] = 0xC0;
  block[7] = 0x7F;  // the first p-bit
  std::fill(block.begin() + 8, block.end(), uint8_t{0});
  block[8] = 0x01;   // the second
  block[15] = 0xF0;  // the last pixel's index: 15
  const Bytes pixels = Decode(kBc7, block, {4, 4});
  EXPECT_EQ(pixels[0], 254);
  EXPECT_EQ(pixels[63], 255);
}

TEST(BptcDecoding, HalvesOfTheLimits) {
  // Mode 3, all end points 1023: the highest value there is, 65504.
  Bytes block(16, 0xFF);
  block[0] = 0xE3;
  uint16_t half;
  std::memcpy(&half, Decode(kUnsigned, block, {1, 1}).data(), 2);
  EXPECT_EQ(half, 0x7BFF);
  // As signed numbers they are -1: 2 units of 64 and half a one, of 32768.
  std::memcpy(&half, Decode(kSigned, block, {1, 1}).data(), 2);
  EXPECT_EQ(half, 0x8000 | 96 * 31 / 32);
}

TEST(BptcDecoding, SeveralThreads) {
  Random random(harness::Seed());
  const zepiSize size = {61, 33};
  for (const Format& format : kFormats) {
    const Bytes blocks = MakeBlocks(format, Blocks(size), random);
    const Bytes want = Decode(format, blocks, size);
    std::vector<Bytes> got(4);
    std::vector<std::thread> threads;
    for (Bytes& pixels : got) {
      threads.emplace_back([&] { pixels = Decode(format, blocks, size); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const Bytes& pixels : got) EXPECT_EQ(pixels, want) << format.name;
  }
}

template <class Call, class T>
void ExpectChecksInOrder(harness::Named<Call> function, T* pixels) {
  const uint8_t blocks[16] = {};
  CheckOrder(function, &blocks[0], pixels, 24, zepiSize{4, 4})
      .template Null<0>()
      .template Null<1>()
      .template Bad<2>(zepStatusBadStep, {0})
      .template Size<3>()
      .Output(pixels, 96)
      .Run();
}

TEST(BptcDecoding, ChecksInOrder) {
  uint16_t pixels[48];
  std::memset(pixels, harness::kFill, sizeof(pixels));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R), pixels);
  std::memset(pixels, harness::kFill, sizeof(pixels));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R), pixels);
  std::memset(pixels, harness::kFill, sizeof(pixels));
  ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R),
                      reinterpret_cast<uint8_t*>(pixels));
}

}  // namespace
