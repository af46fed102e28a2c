// SPDX-License-Identifier: MIT
#include "reference/direct_coder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "jpeg/huffman/huffman_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using huffman_cases::Arena;
using huffman_cases::Block;
using huffman_cases::Tables;
using Bytes = std::vector<uint8_t>;

struct Outcome {
  zepStatus status = zepStatusOk;
  int32_t position = 0;
  int32_t marker = 0;
  int16_t last_dc = 0;
};
void ExpectEqual(const Outcome& got, const Outcome& want) {
  ASSERT_EQ(got.status, want.status) << "seed " << harness::Seed();
  ASSERT_EQ(got.position, want.position) << "seed " << harness::Seed();
  ASSERT_EQ(got.marker, want.marker);
  ASSERT_EQ(got.last_dc, want.last_dc);
}

// Blocks, some of which only tables with the symbol 0xFF can code.
std::vector<Block> RandomBlocks(Random& random) {
  std::vector<Block> blocks(1 + random() % 12);
  for (Block& block : blocks) {
    block = huffman_cases::RandomBlock(random);
    for (int16_t& value : block) value = std::max<int16_t>(value, -32767);
  }
  return blocks;
}

// Encodes with export and model; returns the bytes that the model wrote.
Bytes ExpectEncodesAsModel(const std::vector<Block>& blocks, const Tables& tables, size_t room,
                           Arena* got_arena, Arena* want_arena) {
  uint8_t* const got_bytes = got_arena->Buffer(room);
  uint8_t* const want_bytes = want_arena->Buffer(room);
  const auto length = static_cast<int32_t>(room);
  Outcome got, want;
  for (const Block& block : blocks) {
    got.status = zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block.data(), got_bytes, length,
                                                           &got.position, &got.last_dc,
                                                           &tables.dc_encoder, &tables.ac_encoder);
    want.status = reference::zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(
        block.data(), want_bytes, length, &want.position, &want.last_dc, &tables.dc_encoder,
        &tables.ac_encoder);
    ExpectEqual(got, want);
    if (testing::Test::HasFatalFailure() || got.status != zepStatusOk) break;
  }
  // Of the last byte only the bits before the position are kept.
  const auto whole = static_cast<size_t>(want.position / 8);
  const uint8_t is_before = static_cast<uint8_t>(0xFF00 >> (want.position % 8));
  Bytes result(want_bytes, want_bytes + whole), got_result(got_bytes, got_bytes + whole);
  if (is_before != 0) {
    result.push_back(want_bytes[whole] & is_before);
    got_result.push_back(got_bytes[whole] & is_before);
  }
  EXPECT_EQ(harness::FirstDifference(got_result, result), "") << "seed " << harness::Seed();
  return result;
}

// Decodes until a block fails; returns the blocks before it.
std::vector<Block> ExpectDecodesAsModel(const Bytes& bytes, const Tables& tables, Outcome start,
                                        size_t most, Arena* arena) {
  const uint8_t* src = arena->Buffer(bytes);
  const auto length = static_cast<int32_t>(bytes.size());
  Outcome got = start, want = start;
  std::vector<Block> blocks;
  while (blocks.size() < most) {
    Block got_block = {}, want_block = {};
    got.status = zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
        src, length, &got.position, got_block.data(), &got.last_dc, &got.marker, &tables.dc_decoder,
        &tables.ac_decoder);
    want.status = reference::zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(
        bytes.data(), length, &want.position, want_block.data(), &want.last_dc, &want.marker,
        &tables.dc_decoder, &tables.ac_decoder);
    ExpectEqual(got, want);
    EXPECT_EQ(harness::FirstDifference(got_block, want_block, 8), "") << "seed " << harness::Seed();
    if (testing::Test::HasFailure() || got.status != zepStatusOk) break;
    blocks.push_back(got_block);
  }
  return blocks;
}

class DirectCoder : public testing::Test {
 protected:
  DirectCoder() : random_(harness::Seed()) {}
  Arena* Source() { return random_() % 2 == 0 ? &at_end_ : &at_start_; }

  Random random_;
  Arena at_end_{1 << 14, Edge::kEnd}, at_start_{1 << 14, Edge::kStart};
  Arena model_end_{1 << 14, Edge::kEnd};
};

TEST_F(DirectCoder, RoundTrip) {
  for (int trial = 0; trial < 400 && !HasFailure(); ++trial) {
    const Tables tables = huffman_cases::RandomTables(random_);
    const std::vector<Block> blocks = RandomBlocks(random_);
    const Bytes bytes = ExpectEncodesAsModel(blocks, tables, 1 << 13, &at_end_, &model_end_);
    if (HasFailure()) return;
    EXPECT_EQ(ExpectDecodesAsModel(bytes, tables, {}, blocks.size(), Source()), blocks);
  }
}

TEST_F(DirectCoder, RoomEndsAnywhere) {
  for (int trial = 0; trial < 400 && !HasFailure(); ++trial) {
    ExpectEncodesAsModel(RandomBlocks(random_), huffman_cases::RandomTables(random_),
                         1 + random_() % 600, &at_end_, &model_end_);
  }
}

TEST_F(DirectCoder, SymbolsWithoutCodes) {
  for (int trial = 0; trial < 100 && !HasFailure(); ++trial) {
    const huffman_cases::Lists lists = huffman_cases::RandomSparseLists(random_);
    ExpectEncodesAsModel(RandomBlocks(random_), huffman_cases::MakeTables(lists, lists), 1 << 13,
                         &at_end_, &model_end_);
  }
}

// Streams that are damaged, cut off, or contain markers and fill bytes, from any position.
TEST_F(DirectCoder, DamagedDecodesAsModel) {
  for (int trial = 0; trial < 3000 && !HasFailure(); ++trial) {
    const Tables tables = huffman_cases::RandomTables(random_);
    Bytes bytes =
        ExpectEncodesAsModel(RandomBlocks(random_), tables, 1 << 13, &at_end_, &model_end_);
    switch (random_() % 4) {
      case 0: bytes.resize(random_() % (bytes.size() + 1)); break;
      case 1: bytes.insert(bytes.end(), {0xFF, static_cast<uint8_t>(random_() % 3)}); break;
      case 2:
        bytes[random_() % bytes.size()] = 0xFF;
        bytes.insert(bytes.end(), {0xFF, 0xFF, 0xD9, 0});
        break;
      default:
        for (uint64_t i = random_() % 4; i > 0; --i) {
          bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(random_() % bytes.size()), 0xFF);
        }
    }
    Outcome start;
    if (random_() % 3 == 0 && !bytes.empty()) {
      start.position = static_cast<int32_t>(random_() % (8 * bytes.size() + 1));
    }
    ExpectDecodesAsModel(bytes, tables, start, 100, Source());
  }
}

TEST_F(DirectCoder, MarkersWaitUntilBitsAreNeeded) {
  const Tables tables = huffman_cases::StandardTables();
  const std::vector<Block> blocks = {Block{5}, Block{9, 1}};
  Bytes bytes(64);
  int32_t position = 0, marker = 0;
  int16_t last_dc = 0;
  for (const Block& block : blocks) {
    ASSERT_EQ(
        zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block.data(), bytes.data(), 64, &position,
                                                  &last_dc, &tables.dc_encoder, &tables.ac_encoder),
        zepStatusOk);
  }
  const int32_t end = position;
  const auto last = static_cast<size_t>((end + 7) / 8);
  bytes[last - 1] |= static_cast<uint8_t>((1 << (8 * last - static_cast<size_t>(end))) - 1);
  bytes[last] = 0xFF;
  bytes[last + 1] = 0xD9;
  position = last_dc = 0;
  Block block;
  const auto decode = [&] {
    return zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(bytes.data(), 64, &position, block.data(),
                                                     &last_dc, &marker, &tables.dc_decoder,
                                                     &tables.ac_decoder);
  };
  for (const Block& want : blocks) {
    ASSERT_EQ(decode(), zepStatusOk);
    EXPECT_EQ(block, want);
    EXPECT_EQ(marker, 0);
  }
  EXPECT_EQ(position, end);
  EXPECT_EQ(decode(), zepStatusBadHuffCode);
  EXPECT_EQ(marker, 0xD9);
  EXPECT_EQ(position, static_cast<int32_t>(8 * last));
  EXPECT_EQ(last_dc, 9);
  const Block before = block;
  EXPECT_EQ(decode(), zepStatusBadHuffCode);  // until the marker is cleared
  EXPECT_EQ(block, before);
}

TEST_F(DirectCoder, PositionsOutsideTheBuffer) {
  const Tables tables = huffman_cases::StandardTables();
  for (const int32_t position : {-1, INT_MIN, 8 * 16 + 1, INT_MAX}) {
    Bytes bytes(16, 0x5A);
    Block block = {};
    int32_t at = position, marker = 0;
    int16_t last_dc = 7;
    EXPECT_EQ(
        zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1(block.data(), bytes.data(), 16, &at, &last_dc,
                                                  &tables.dc_encoder, &tables.ac_encoder),
        zepStatusBufferExhausted);
    EXPECT_EQ(
        zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(bytes.data(), 16, &at, block.data(), &last_dc,
                                                  &marker, &tables.dc_decoder, &tables.ac_decoder),
        zepStatusBufferExhausted);
    EXPECT_EQ(at, position);
    EXPECT_EQ(last_dc, 7);
    EXPECT_EQ(bytes, Bytes(16, 0x5A));
  }
}

TEST_F(DirectCoder, ChecksInOrder) {
  const Tables tables = huffman_cases::StandardTables();
  const zepiDecodeHuffmanSpec zero_bits = huffman_cases::DecoderTable({{1}, {0}});
  Block block = {};
  const Block source = {};
  uint8_t bytes[64] = {};
  const uint8_t coded[64] = {};
  int32_t position = 0, marker = 0;
  int16_t last_dc = 0;
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffman8x8_Direct_JPEG_16s1u_C1), source.data(), &bytes[0], 64,
             &position, &last_dc, &tables.dc_encoder, &tables.ac_encoder)
      .Null<0>()
      .Null<1>()
      .Null<3>()
      .Null<4>()
      .Null<5>()
      .Null<6>()
      .Bad<2>(zepStatusBadSize, {0, -1, 1 << 28, INT_MAX})
      .Output(bytes, sizeof(bytes))
      .Output(&position, sizeof(position))
      .Output(&last_dc, sizeof(last_dc))
      .Run();
  CheckOrder check(HARNESS_NAMED(zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1), &coded[0], 64,
                   &position, block.data(), &last_dc, &marker, &zero_bits, &zero_bits);
  check.Null<0>().Null<2>().Null<3>().Null<4>().Null<5>().Null<6>().Null<7>();
  check.Bad<1>(zepStatusBadArg, {-1, INT_MIN});
  check.Output(block.data(), sizeof(block)).Output(&position, sizeof(position));
  check.Output(&marker, sizeof(marker)).Output(&last_dc, sizeof(last_dc)).Run();
  EXPECT_EQ(zepiDecodeHuffman8x8_Direct_JPEG_1u16s_C1(coded, 1 << 28, &position, block.data(),
                                                      &last_dc, &marker, &zero_bits, &zero_bits),
            zepStatusBadSize);
}

}  // namespace
