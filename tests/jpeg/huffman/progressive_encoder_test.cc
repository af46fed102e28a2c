// SPDX-License-Identifier: MIT
#include "reference/progressive_encoder.h"

#include <gtest/gtest.h>

#include <climits>
#include <vector>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "jpeg/huffman/progressive_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using huffman_cases::Arena;
using huffman_cases::Band;
using huffman_cases::Block;
using huffman_cases::Case;
using huffman_cases::Outcome;
using huffman_cases::RandomBand;

void ExpectEqual(const Outcome& got, const Outcome& want) {
  ASSERT_EQ(got.status, want.status) << "seed " << harness::Seed();
  ASSERT_EQ(got.position, want.position);
  ASSERT_EQ(got.last_dc, want.last_dc);
  ASSERT_EQ(got.state.bits, want.state.bits);
  ASSERT_EQ(got.state.numBits, want.state.numBits);
  ASSERT_EQ(got.state.eobRun, want.state.eobRun);
  ASSERT_EQ(got.state.numCorrectionBits, want.state.numCorrectionBits);
  ASSERT_EQ(harness::FirstByteDifference(got.state.correctionBits, want.state.correctionBits,
                                         want.state.numCorrectionBits),
            "");
}

// Encodes the blocks of a scan with export and model and flushes at the end, in buffers of one
// size. `encode` calls either, with an Outcome to change.
template <class Encode>
void ExpectScanEqualsModel(size_t room, const std::vector<Block>& blocks, const Encode& encode) {
  Arena got_arena(1 << 17, Edge::kEnd), want_arena(1 << 17, Edge::kEnd);
  uint8_t* got_bytes = got_arena.Buffer(room);
  uint8_t* want_bytes = want_arena.Buffer(room);
  Outcome got, want;
  for (size_t i = 0; i <= blocks.size(); ++i) {
    const int16_t* block = i < blocks.size() ? blocks[i].data() : nullptr;
    encode(true, block, got_bytes, &got);
    encode(false, block, want_bytes, &want);
    ExpectEqual(got, want);
    if (testing::Test::HasFatalFailure()) return;
    if (got.status != zepStatusOk) break;
  }
  ASSERT_EQ(harness::FirstDifferenceOf(got_bytes, want_bytes, static_cast<size_t>(want.position)),
            "")
      << "seed " << harness::Seed();
}

TEST(ProgressiveEncoder, BandsEqualModel) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 600 && !HasFatalFailure(); ++trial) {
    const Case c(random);
    const Band band = RandomBand(random);
    const auto length = static_cast<int32_t>(c.room);
    ExpectScanEqualsModel(
        c.room, c.blocks, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
          at->status = HUFFMAN_CALL(is_export, zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, block,
                                    bytes, length, &at->position, band.first, band.last, band.shift,
                                    &c.table, &at->state, block == nullptr ? 1 : 0);
        });
    ExpectScanEqualsModel(
        c.room, c.blocks, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
          at->status = HUFFMAN_CALL(is_export, zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, block,
                                    bytes, length, &at->position, band.first, band.last, band.shift,
                                    &c.table, &at->state, block == nullptr ? 1 : 0);
        });
  }
}

TEST(ProgressiveEncoder, DcEqualsModel) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 600 && !HasFatalFailure(); ++trial) {
    const Case c(random);
    const int32_t shift = RandomBand(random).shift;
    const auto length = static_cast<int32_t>(c.room);
    ExpectScanEqualsModel(
        c.room, c.blocks, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
          at->status = HUFFMAN_CALL(is_export, zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1, block,
                                    bytes, length, &at->position, &at->last_dc, shift, &c.table,
                                    &at->state, block == nullptr ? 1 : 0);
        });
    ExpectScanEqualsModel(
        c.room, c.blocks, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
          at->status =
              HUFFMAN_CALL(is_export, zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1, block, bytes,
                           length, &at->position, shift, &at->state, block == nullptr ? 1 : 0);
        });
  }
}

TEST(ProgressiveEncoder, LongestRunAndFullCorrections) {
  Random random(harness::Seed());
  const zepiEncodeHuffmanSpec table =
      huffman_cases::EncoderTable(huffman_cases::RandomLists(random));
  const std::vector<Block> empty(70000);
  constexpr size_t kRoom = 60000;
  constexpr auto kLength = static_cast<int32_t>(kRoom);
  ExpectScanEqualsModel(
      kRoom, empty, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
        at->status = HUFFMAN_CALL(is_export, zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, block,
                                  bytes, kLength, &at->position, 1, 63, 0, &table, &at->state,
                                  block == nullptr ? 1 : 0);
      });
  std::vector<Block> dense(200);
  for (Block& block : dense) {
    for (int16_t& value : block)
      value = static_cast<int16_t>(random() % 2 == 0 ? 2 + random() % 9 : 0);
  }
  ExpectScanEqualsModel(
      kRoom, dense, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
        at->status = HUFFMAN_CALL(is_export, zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, block,
                                  bytes, kLength, &at->position, 1, 63, 0, &table, &at->state,
                                  block == nullptr ? 1 : 0);
      });
}

TEST(ProgressiveEncoder, RunWithoutTableStays) {
  zepiEncodeHuffmanState state = {};
  state.eobRun = 5;
  state.numBits = 2;
  const zepiEncodeHuffmanState before = state;
  uint8_t bytes[8] = {};
  int32_t position = 0;
  EXPECT_EQ(zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(nullptr, bytes, 8, &position, 0, 0, 0,
                                                       nullptr, &state, 1),
            zepStatusNullPtr);
  EXPECT_EQ(harness::FirstByteDifference(&state, &before, sizeof(state)), "");
  EXPECT_EQ(position, 0);
  EXPECT_EQ(zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(nullptr, bytes, 8, &position, 0, &state, 1),
            zepStatusOk);
  EXPECT_EQ(state.eobRun, 0u);
}

TEST(ProgressiveEncoder, ChecksInOrder) {
  Random random(harness::Seed());
  const zepiEncodeHuffmanSpec table =
      huffman_cases::EncoderTable(huffman_cases::RandomLists(random));
  const Block block = {};
  uint8_t bytes[64] = {};
  int32_t position = 0;
  int16_t last_dc = 0;
  zepiEncodeHuffmanState state = {};
  const auto finish = [&](auto& check) {
    check.Output(bytes, sizeof(bytes))
        .Output(&position, sizeof(position))
        .Output(&state, sizeof(state))
        .Run();
  };
  const auto band = [&](auto exported) {
    CheckOrder check(exported, block.data(), &bytes[0], 64, &position, 1, 63, 0, &table, &state, 0);
    check.template Null<1>()
        .template Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
        .template Null<3>()
        .template Null<8>();
    check.template Null<0>().template Null<7>().template Bad<4>(zepStatusBadArg, {0, 64, -1});
    check.template Bad<5>(zepStatusBadArg, {0, 64}).template Bad<6>(zepStatusBadArg, {-1, 14});
    finish(check);
  };
  band(HARNESS_NAMED(zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1));
  band(HARNESS_NAMED(zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1));
  CheckOrder first(HARNESS_NAMED(zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1), block.data(),
                   &bytes[0], 64, &position, &last_dc, 0, &table, &state, 0);
  first.Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1})
      .Null<3>()
      .Null<7>()
      .Null<0>()
      .Null<4>()
      .Null<6>();
  first.Bad<5>(zepStatusBadArg, {-1, 14});
  finish(first);
  CheckOrder refine(HARNESS_NAMED(zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1), block.data(),
                    &bytes[0], 64, &position, 0, &state, 0);
  refine.Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1})
      .Null<3>()
      .Null<5>()
      .Null<0>()
      .Bad<4>(zepStatusBadArg, {-1, 14});
  finish(refine);
}

}  // namespace
