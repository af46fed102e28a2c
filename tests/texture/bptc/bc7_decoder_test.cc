// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
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

// The mode is the number of zeros below the lowest one of the block's bits. A first byte of 0 is no
// mode.
const Format kBc7 = {{1, 2, 4, 8, 16, 32, 64, 128, 0},
                     [](uint8_t mode, uint8_t* block) {
                       const int others = mode == 0 ? 0 : block[0] & ~(2 * mode - 1);
                       block[0] = static_cast<uint8_t>(others | mode);
                     },
                     TEXTURE_FORMAT(zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R, 4, 16)};

TEST(Bc7Decoder, EverySize) { bptc_cases::ExpectEverySize(kBc7); }

TEST(Bc7Decoder, AnyBlocksOfEveryMode) { bptc_cases::ExpectAnyBlocksOfEveryMode(kBc7); }

TEST(Bc7Decoder, ExtremeBlocksOfEveryMode) { bptc_cases::ExpectExtremeBlocksOfEveryMode(kBc7); }

// All values of the partition, in all modes that have one.
TEST(Bc7Decoder, EveryPartition_Exhaustive) {
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
}

TEST(Bc7Decoder, ReservedModeGivesZeros) {
  Bytes block(16, 0xFF);
  block[0] = 0;
  EXPECT_EQ(Decode(kBc7, block, {4, 4}), Bytes(64, 0));
}

// Mode 6 with both end points 127 in all channels, p-bits 0 and 1.
TEST(Bc7Decoder, LowestBitsOfBothEndPoints) {
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

TEST(Bc7Decoder, SeveralThreads) { bptc_cases::ExpectThreadsAgree(kBc7); }

TEST(Bc7Decoder, ChecksInOrder) {
  uint8_t pixels[96];
  bptc_cases::ExpectChecksInOrder(HARNESS_NAMED(zepiTextureDecodeBlockToRGBA_BC7_8u_C1C4R), pixels);
}

}  // namespace
