// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>

#include "texture/bptc/bptc_cases.h"

namespace {

using bptc_cases::Decode;
using bptc_cases::ExpectMany;
using bptc_cases::Format;
using bptc_cases::kColumns;
using bptc_cases::MakeBlocks;
using harness::Random;
using texture_cases::Bytes;

uint16_t* AsHalves(uint8_t* bytes) { return reinterpret_cast<uint16_t*>(bytes); }

// The numbers of the modes: two have two bits, the other modes and the reserved ones have five.
const Bytes kModes = {0, 1, 2, 3, 6, 7, 10, 11, 14, 15, 18, 19, 22, 23, 26, 27, 30, 31};
void SetMode(uint8_t mode, uint8_t* block) {
  const auto bits = static_cast<uint8_t>(mode < 2 ? 3 : 31);
  block[0] = static_cast<uint8_t>((block[0] & ~bits) | mode);
}

const bptc_cases::Decoding kDecodeUnsigned = {
    "zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R", 6, 16,
    [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
      return zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(src, AsHalves(dst), step, size);
    },
    [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
      return reference::zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R(src, AsHalves(dst), step,
                                                                      size);
    }};
const bptc_cases::Decoding kDecodeSigned = {
    "zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R", 6, 16,
    [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
      return zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(src, AsHalves(dst), step, size);
    },
    [](const uint8_t* src, uint8_t* dst, int32_t step, zepiSize size) {
      return reference::zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R(src, AsHalves(dst), step,
                                                                      size);
    }};
const Format kUnsigned = {kModes, SetMode, kDecodeUnsigned};
const Format kSigned = {kModes, SetMode, kDecodeSigned};
const Format kFormats[] = {kUnsigned, kSigned};

TEST(Bc6hDecoder, EverySize) {
  for (const Format& format : kFormats) bptc_cases::ExpectEverySize(format);
}

TEST(Bc6hDecoder, AnyBlocksOfEveryMode) {
  for (const Format& format : kFormats) bptc_cases::ExpectAnyBlocksOfEveryMode(format);
}

TEST(Bc6hDecoder, ExtremeBlocksOfEveryMode) {
  for (const Format& format : kFormats) bptc_cases::ExpectExtremeBlocksOfEveryMode(format);
}

// All values of the partition, in the modes that have one.
TEST(Bc6hDecoder, EveryPartition_Exhaustive) {
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
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
TEST(Bc6hDecoder, SixteenBitEndPoints_Exhaustive) {
  const uint32_t stride = harness::Exhaustive() ? 1 : 16;
  Random random(harness::Seed());
  for (const Format& format : kFormats) {
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

TEST(Bc6hDecoder, ReservedModesGiveZeros) {
  Bytes block(16, 0xFF);
  for (const uint8_t mode : Bytes{19, 23, 27, 31}) {
    block[0] = mode;
    EXPECT_EQ(Decode(kUnsigned, block, {4, 4}), Bytes(96, 0));
    EXPECT_EQ(Decode(kSigned, block, {4, 4}), Bytes(96, 0));
  }
}

TEST(Bc6hDecoder, HalvesOfTheLimits) {
  // Mode 3, all end points 1023: the largest possible value, 65504.
  Bytes block(16, 0xFF);
  block[0] = 0xE3;
  uint16_t half;
  std::memcpy(&half, Decode(kUnsigned, block, {1, 1}).data(), 2);
  EXPECT_EQ(half, 0x7BFF);
  // As signed numbers they are -1: 2 units of 64 and half a one, of 32768.
  std::memcpy(&half, Decode(kSigned, block, {1, 1}).data(), 2);
  EXPECT_EQ(half, 0x8000 | 96 * 31 / 32);
}

TEST(Bc6hDecoder, SeveralThreads) {
  for (const Format& format : kFormats) bptc_cases::ExpectThreadsAgree(format);
}

TEST(Bc6hDecoder, ChecksInOrder) {
  uint16_t pixels[48];
  bptc_cases::ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGB_BC6HU_8u16u_C1C3R),
                                  pixels);
  bptc_cases::ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGB_BC6HS_8u16u_C1C3R),
                                  pixels);
}

}  // namespace
