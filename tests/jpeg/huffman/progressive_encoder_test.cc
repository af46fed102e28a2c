// SPDX-License-Identifier: MIT
#include "reference/progressive_encoder.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <vector>

#include "harness/check_order.h"
#include "jpeg/huffman/huffman_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using huffman_cases::Arena;
using huffman_cases::Block;

struct Band {
  int32_t first, last, shift;
};
Band RandomBand(Random& random) {
  const auto first = static_cast<int32_t>(1 + random() % 63);
  const auto last = static_cast<int32_t>(
      first + static_cast<int32_t>(random() % static_cast<uint32_t>(64 - first)));
  const auto shift = static_cast<int32_t>(random() % 3 != 0 ? random() % 4 : random() % 14);
  return random() % 2 == 0 ? Band{1, 63, shift} : Band{first, last, shift};
}

// What a call leaves behind; of the corrections those that count.
struct Outcome {
  zepStatus status = zepStatusOk;
  int32_t position = 0;
  int16_t last_dc = 0;
  zepiEncodeHuffmanState state = {};
};
void ExpectEqual(const Outcome& got, const Outcome& want) {
  ASSERT_EQ(got.status, want.status) << "seed " << harness::Seed();
  ASSERT_EQ(got.position, want.position);
  ASSERT_EQ(got.last_dc, want.last_dc);
  ASSERT_EQ(got.state.bits, want.state.bits);
  ASSERT_EQ(got.state.numBits, want.state.numBits);
  ASSERT_EQ(got.state.eobRun, want.state.eobRun);
  ASSERT_EQ(got.state.numCorrectionBits, want.state.numCorrectionBits);
  ASSERT_EQ(std::memcmp(got.state.correctionBits, want.state.correctionBits,
                        want.state.numCorrectionBits),
            0);
}

// Blocks of a scan by export and model, flushed at last, in buffers of one size; `encode` calls either, with an
// Outcome to change.
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
  ASSERT_EQ(std::memcmp(got_bytes, want_bytes, static_cast<size_t>(want.position)), 0)
      << "seed " << harness::Seed();
}

// Some blocks, many of them sparse, and a size that may be too small for them.
struct Case {
  explicit Case(Random& random)
      : table(huffman_cases::EncoderTable(random() % 5 == 0
                                              ? huffman_cases::RandomSparseLists(random)
                                              : huffman_cases::RandomLists(random))) {
    const size_t count = 1 + random() % 60;
    for (size_t i = 0; i < count; ++i) {
      Block block = {};
      if (random() % 3 != 0) block = huffman_cases::RandomBlock(random);
      blocks.push_back(block);
    }
    room = random() % 3 == 0 ? 1 + random() % 3000 : 100000;
  }
  zepiEncodeHuffmanSpec table;
  std::vector<Block> blocks;
  size_t room;
};

#define CALL(is_export, function, ...) \
  ((is_export) ? ::function(__VA_ARGS__) : ::reference::function(__VA_ARGS__))

TEST(ProgressiveEncoder, BandsEqualModel) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 600 && !HasFatalFailure(); ++trial) {
    const Case c(random);
    const Band band = RandomBand(random);
    const auto length = static_cast<int32_t>(c.room);
    ExpectScanEqualsModel(
        c.room, c.blocks, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
          at->status = CALL(is_export, zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, block, bytes,
                            length, &at->position, band.first, band.last, band.shift, &c.table,
                            &at->state, block == nullptr ? 1 : 0);
        });
    ExpectScanEqualsModel(
        c.room, c.blocks, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
          at->status = CALL(is_export, zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, block, bytes,
                            length, &at->position, band.first, band.last, band.shift, &c.table,
                            &at->state, block == nullptr ? 1 : 0);
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
          at->status = CALL(is_export, zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1, block, bytes,
                            length, &at->position, &at->last_dc, shift, &c.table, &at->state,
                            block == nullptr ? 1 : 0);
        });
    ExpectScanEqualsModel(
        c.room, c.blocks, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
          at->status = CALL(is_export, zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1, block, bytes,
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
        at->status =
            CALL(is_export, zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1, block, bytes, kLength,
                 &at->position, 1, 63, 0, &table, &at->state, block == nullptr ? 1 : 0);
      });
  std::vector<Block> dense(200);
  for (Block& block : dense) {
    for (int16_t& value : block)
      value = static_cast<int16_t>(random() % 2 == 0 ? 2 + random() % 9 : 0);
  }
  ExpectScanEqualsModel(
      kRoom, dense, [&](bool is_export, const int16_t* block, uint8_t* bytes, Outcome* at) {
        at->status =
            CALL(is_export, zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1, block, bytes, kLength,
                 &at->position, 1, 63, 0, &table, &at->state, block == nullptr ? 1 : 0);
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
  EXPECT_EQ(std::memcmp(&state, &before, sizeof(state)), 0);
  EXPECT_EQ(position, 0);
  EXPECT_EQ(zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(nullptr, bytes, 8, &position, 0, &state, 1),
            zepStatusOk);
  EXPECT_EQ(state.eobRun, 0u);
}

// Counts of all symbols of a scan, and after the flush.
TEST(HuffmanStatistics, EqualModel) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 400; ++trial) {
    const Case c(random);
    const Band band = RandomBand(random);
    std::vector<int32_t> got[5], want[5];
    for (auto& counts : got) {
      counts.assign(256, 0);
      if (random() % 4 == 0)
        counts[random() % 256] = INT32_MAX - static_cast<int32_t>(random() % 3);
    }
    for (int i = 0; i < 5; ++i) want[i] = got[i];
    Outcome ours[4], models[4];
    for (size_t i = 0; i <= c.blocks.size(); ++i) {
      const int16_t* block = i < c.blocks.size() ? c.blocks[i].data() : nullptr;
      const auto count = [&](bool is_export, std::vector<int32_t>* counts, Outcome* at) {
        const int32_t flush = block == nullptr ? 1 : 0;
        at[2].status =
            CALL(is_export, zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1, block,
                 counts[2].data(), band.first, band.last, band.shift, &at[2].state, flush);
        at[3].status =
            CALL(is_export, zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1, block,
                 counts[3].data(), band.first, band.last, band.shift, &at[3].state, flush);
        if (block == nullptr) return;
        at[0].status = CALL(is_export, zepiGetHuffmanStatistics8x8_JPEG_16s_C1, block,
                            counts[0].data(), counts[1].data(), &at[0].last_dc);
        at[1].status = CALL(is_export, zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1, block,
                            counts[4].data(), &at[1].last_dc, band.shift);
        CALL(is_export, zepiGetHuffmanStatisticsOne_JPEG_16s_C1, block, counts[4].data());
      };
      count(true, got, ours);
      count(false, want, models);
      for (int k = 0; k < 4; ++k) {
        models[k].state.numCorrectionBits =
            std::min(models[k].state.numCorrectionBits, uint32_t{1024});
        ASSERT_EQ(ours[k].status, models[k].status) << "kind " << k << " seed " << harness::Seed();
        ASSERT_EQ(ours[k].last_dc, models[k].last_dc);
        ASSERT_EQ(ours[k].state.eobRun, models[k].state.eobRun);
        ASSERT_EQ(ours[k].state.numCorrectionBits, models[k].state.numCorrectionBits);
      }
      for (int k = 0; k < 5; ++k)
        ASSERT_EQ(got[k], want[k]) << "kind " << k << " seed " << harness::Seed();
    }
  }
}

TEST(OptimalTable, CostsLeast) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 500; ++trial) {
    std::vector<int32_t> counts(256);
    const uint32_t used = 1 + static_cast<uint32_t>(random() % 256),
                   kind = static_cast<uint32_t>(random() % 4);
    int32_t fibonacci[2] = {1, 1};
    for (uint32_t i = 0; i < used; ++i) {
      int32_t& count = counts[random() % 256];
      switch (kind) {
        case 0: count = static_cast<int32_t>(random() % 100); break;
        case 1: count = static_cast<int32_t>(random() & INT32_MAX); break;
        case 2: count = 7; break;
        default:  // these want codes of all lengths
          count = fibonacci[0];
          fibonacci[0] = fibonacci[1];
          fibonacci[1] = std::min(fibonacci[1], 1 << 28) + std::min(count, 1 << 28);
          break;
      }
    }
    uint8_t bits[16], values[256];
    ASSERT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusOk);
    zepiEncodeHuffmanSpec table;
    ASSERT_EQ(zepiEncodeHuffmanSpecInit_JPEG_8u(bits, values, &table), zepStatusOk);
    int64_t cost = 0;
    for (size_t i = 0; i < 256; ++i) {
      const uint32_t length = table.entry[i] >> 16;
      cost += int64_t{counts[i]} * length;
      ASSERT_TRUE(counts[i] == 0 || length > 0) << "no code";
      ASSERT_TRUE(length == 0 || (table.entry[i] & 0xFFFF) != (1u << length) - 1)
          << "a code of ones";
    }
    ASSERT_EQ(cost, reference::LeastCodeLength(counts.data())) << "seed " << harness::Seed();
  }
}

TEST(OptimalTable, NoneNegativeAndEqual) {
  std::vector<int32_t> counts(256);
  uint8_t bits[16], values[256];
  ASSERT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusOk);
  EXPECT_EQ(bits[0], 1);
  EXPECT_EQ(values[0], 0);
  counts[9] = counts[200] = counts[30] = 5;
  ASSERT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusOk);
  const uint8_t want[4] = {9, 30, 200, 0};
  EXPECT_EQ(std::memcmp(values, want, 4), 0);
  counts[3] = -1;
  bits[0] = 77;
  EXPECT_EQ(zepiEncodeHuffmanRawTableInit_JPEG_8u(counts.data(), bits, values), zepStatusError);
  EXPECT_EQ(bits[0], 77);
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

TEST(HuffmanStatistics, CheckInOrder) {
  const Block block = {};
  int32_t dc[256] = {}, ac[256] = {};
  int16_t last_dc = 0;
  zepiEncodeHuffmanState state = {};
  uint8_t bits[16] = {}, values[256] = {};
  const auto band = [&](auto exported) {
    CheckOrder(exported, block.data(), &ac[0], 1, 63, 0, &state, 0)
        .template Null<1>()
        .template Null<5>()
        .template Null<0>()
        .template Bad<2>(zepStatusOutOfRange, {0, 64})
        .template Bad<3>(zepStatusOutOfRange, {0, 64})
        .template Bad<4>(zepStatusOutOfRange, {-1, 14})
        .Output(ac, sizeof(ac))
        .Output(&state, sizeof(state))
        .Run();
  };
  band(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_ACFirst_JPEG_16s_C1));
  band(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_ACRefine_JPEG_16s_C1));
  CheckOrder(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_JPEG_16s_C1), block.data(), &dc[0], &ac[0],
             &last_dc)
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Null<3>()
      .Output(dc, sizeof(dc))
      .Output(ac, sizeof(ac))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiGetHuffmanStatistics8x8_DCFirst_JPEG_16s_C1), block.data(), &dc[0],
             &last_dc, 0)
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Bad<3>(zepStatusOutOfRange, {-1, 14})
      .Output(dc, sizeof(dc))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiGetHuffmanStatisticsOne_JPEG_16s_C1), block.data(), &dc[0])
      .Null<0>()
      .Null<1>()
      .Output(dc, sizeof(dc))
      .Run();
  const int32_t* const counts = ac;
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanRawTableInit_JPEG_8u), counts, &bits[0], &values[0])
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Output(bits, sizeof(bits))
      .Output(values, sizeof(values))
      .Run();
}

}  // namespace
