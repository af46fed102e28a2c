// SPDX-License-Identifier: MIT
#include "reference/block_encoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "harness/check_order.h"
#include "jpeg/huffman/huffman_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using huffman_cases::Arena;
using huffman_cases::Block;
using huffman_cases::Tables;

constexpr size_t kMaxBlockBytes = 512;  // twice 32 bits and 63 times 31 bits

// The results of a call besides the buffer.
struct Outcome {
  zepStatus status;
  int32_t position;
  int16_t last_dc;
  zepiEncodeHuffmanState state;
};

bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.position == b.position && a.last_dc == b.last_dc &&
         std::memcmp(&a.state, &b.state, sizeof(a.state)) == 0;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "status " << outcome.status << " position " << outcome.position << " DC "
             << outcome.last_dc << " bits " << outcome.state.bits << " count "
             << outcome.state.numBits;
}

// Compares the export with the model on the same buffer, state and block.
class EncoderTest : public ::testing::Test {
 protected:
  static constexpr size_t kCapacity = 4096;
  struct Side {
    Arena dst;
    Arena src;
    explicit Side(Edge edge) : dst(kCapacity, edge), src(2 * sizeof(Block), edge) {}
  };

  // At one of the protected pages, or a few bytes away, for any alignment.
  const int16_t* Place(const Block& block, Arena* arena) {
    away_ = (away_ + 1) % 5;
    uint8_t* at = arena->Buffer(sizeof(Block), away_);
    std::memcpy(at, block.data(), sizeof(Block));
    return reinterpret_cast<const int16_t*>(at);
  }

  Outcome ExpectEqualsModel(const Block& block, const Tables& tables, int32_t length,
                            const Outcome& before, int32_t flush = 0) {
    Outcome got = before, want = before;
    Side& side = edge_toggle_ ? at_start_ : at_end_;
    Side& model = edge_toggle_ ? model_at_start_ : model_at_end_;
    edge_toggle_ = !edge_toggle_;
    uint8_t* got_dst = side.dst.Buffer(static_cast<size_t>(length));
    uint8_t* want_dst = model.dst.Buffer(static_cast<size_t>(length));
    const int16_t* src = Place(block, &side.src);
    got.status = zepiEncodeHuffman8x8_JPEG_16s1u_C1(src, got_dst, length, &got.position,
                                                    &got.last_dc, &tables.dc_encoder,
                                                    &tables.ac_encoder, &got.state, flush);
    want.status = reference::zepiEncodeHuffman8x8_JPEG_16s1u_C1(
        block.data(), want_dst, length, &want.position, &want.last_dc, &tables.dc_encoder,
        &tables.ac_encoder, &want.state, flush);
    EXPECT_EQ(got, want) << "length " << length << " from " << before << " seed "
                         << harness::Seed();
    EXPECT_EQ(side.dst.DifferenceTo(model.dst), "")
        << "bytes; length " << length << " from " << before << " seed " << harness::Seed();
    bytes_.assign(want_dst, want_dst + std::clamp(want.position, 0, length));
    return got;
  }

  // A state that the encoder can leave.
  Outcome RandomState(Random& random) {
    const Tables tables = huffman_cases::StandardTables();
    Outcome outcome = {};
    uint8_t scratch[4 * kMaxBlockBytes];
    for (unsigned blocks = random() % 4; blocks > 0; --blocks) {
      Block block = {};
      block[0] = static_cast<int16_t>(random() % 1024);
      block[1 + random() % 63] = static_cast<int16_t>(random() % 200);
      outcome.status = reference::zepiEncodeHuffman8x8_JPEG_16s1u_C1(
          block.data(), scratch, sizeof(scratch), &outcome.position, &outcome.last_dc,
          &tables.dc_encoder, &tables.ac_encoder, &outcome.state, 0);
    }
    outcome.position = 0;
    return outcome;
  }

  std::vector<uint8_t> bytes_;  // written by the last call, up to the position

 private:
  Side at_start_{Edge::kStart}, at_end_{Edge::kEnd};
  Side model_at_start_{Edge::kStart}, model_at_end_{Edge::kEnd};
  size_t away_ = 0;
  bool edge_toggle_ = false;
};

TEST_F(EncoderTest, EqualsModel) {
  Random random(harness::Seed());
  for (int i = 0; i < 30000 && !HasFailure(); ++i) {
    const Tables tables =
        i % 3 != 0 ? huffman_cases::RandomTables(random) : huffman_cases::StandardTables();
    Outcome state = RandomState(random);
    state.position = static_cast<int32_t>(random() % 50);
    state.last_dc = static_cast<int16_t>(random() % 2 ? random() : 0);
    ExpectEqualsModel(huffman_cases::RandomBlock(random), tables, 1024, state);
  }
}

TEST_F(EncoderTest, StreamEqualsModel) {
  Random random(harness::Seed());
  for (int i = 0; i < 300 && !HasFailure(); ++i) {
    const Tables tables = huffman_cases::RandomTables(random);
    Outcome state = {};
    for (int block = 0; block < 40; ++block) {
      state = ExpectEqualsModel(huffman_cases::RandomBlock(random), tables, 1024, state);
      state.position %= 300;
    }
    ExpectEqualsModel({}, tables, 1024, state, 1);
  }
}

// The buffer ends after each byte in turn, starting with no room at all.
TEST_F(EncoderTest, EveryLength) {
  Random random(harness::Seed());
  for (int i = 0; i < 2000 && !HasFailure(); ++i) {
    const Tables tables = huffman_cases::RandomTables(random);
    const Block block = huffman_cases::RandomBlock(random);
    Outcome state = RandomState(random);
    state.position = static_cast<int32_t>(random() % 3);
    const Outcome full = ExpectEqualsModel(block, tables, 1024, state);
    for (int32_t length = 1; length <= full.position + 20; ++length) {
      ExpectEqualsModel(block, tables, length, state);
    }
  }
}

// At positions outside the buffer there is no room.
TEST_F(EncoderTest, Positions) {
  Random random(harness::Seed());
  const Tables tables = huffman_cases::StandardTables();
  Block block = {};
  for (int16_t& value : block) value = 17;
  for (const int32_t position : {-1, -1000, INT_MIN, 64, 65, 1000, INT_MAX, INT_MAX - 3}) {
    Outcome state = RandomState(random);
    state.position = position;
    EXPECT_EQ(ExpectEqualsModel(block, tables, 64, state).status, zepStatusBufferExhausted);
    EXPECT_EQ(ExpectEqualsModel(block, tables, 64, state).position, position);
    ExpectEqualsModel({}, tables, 64, state);
    ExpectEqualsModel({}, tables, 64, state, 1);
  }
}

TEST_F(EncoderTest, MissingSymbols) {
  Random random(harness::Seed());
  for (int i = 0; i < 20000 && !HasFailure(); ++i) {
    const Tables tables = huffman_cases::MakeTables(huffman_cases::RandomSparseLists(random),
                                                    huffman_cases::RandomSparseLists(random));
    ExpectEqualsModel(huffman_cases::RandomBlock(random), tables, 700, RandomState(random));
  }
  const Tables empty = huffman_cases::MakeTables({}, {});
  EXPECT_EQ(ExpectEqualsModel({}, empty, 100, {}).status, zepStatusBadHuffTable);
}

// The lowest value has no category; the coefficients before it are written.
TEST_F(EncoderTest, LowestAcValue) {
  Random random(harness::Seed());
  const Tables tables = huffman_cases::RandomTables(random);
  for (size_t at = 1; at < 64; ++at) {
    Block block = huffman_cases::RandomBlock(random);
    block[at] = -32768;
    EXPECT_EQ(ExpectEqualsModel(block, tables, 700, {}).status, zepStatusBadHuffTable);
    Block alone = {};
    alone[at] = -32768;
    EXPECT_EQ(ExpectEqualsModel(alone, tables, 700, {}).status, zepStatusBadHuffTable);
    ExpectEqualsModel(alone, tables, 1, RandomState(random));
  }
}

// Differences of 16 bits, after any number of pending bits.
TEST_F(EncoderTest, LargeDcDifferences) {
  Random random(harness::Seed());
  for (int i = 0; i < 2000 && !HasFailure(); ++i) {
    const Tables tables = huffman_cases::RandomTables(random);
    Outcome state = RandomState(random);
    const bool up = random() % 2 != 0;
    state.last_dc = static_cast<int16_t>(up ? -32768 + static_cast<int>(random() % 3)
                                            : 32767 - static_cast<int>(random() % 3));
    Block block = {};
    block[0] = static_cast<int16_t>(up ? 32767 - static_cast<int>(random() % 3)
                                       : -32768 + static_cast<int>(random() % 3));
    EXPECT_EQ(ExpectEqualsModel(block, tables, 64, state).status, zepStatusOk);
  }
}

// All 16-bit values, each at one position.
TEST_F(EncoderTest, AllValues_Exhaustive) {
  Random random(harness::Seed());
  const Tables tables = huffman_cases::RandomTables(random);
  const int step = harness::Exhaustive() ? 1 : 97;
  for (int value = -32768; value <= 32767 && !HasFailure(); value += step) {
    Block block = {};
    block[random() % 64] = static_cast<int16_t>(value);
    ExpectEqualsModel(block, tables, 64, {});
  }
}

// The longest possible block: 16-bit codes and values of 15 bits everywhere.
TEST_F(EncoderTest, LongestBlock) {
  huffman_cases::Lists lists = {};
  lists.bits[15] = 255;
  for (int i = 0; i < 255; ++i) lists.vals.push_back(static_cast<uint8_t>(i));
  const Tables tables = huffman_cases::MakeTables(lists, lists);
  for (const int16_t value : {int16_t{32767}, int16_t{-32767}, int16_t{-16384}}) {
    Block block;
    block.fill(value);
    Outcome state = {};
    state.state.numBits = 7;
    state.state.bits = 0xFEFFFFU & 0xFE0000U;
    for (int32_t length = 240; length < 520; ++length) {
      ExpectEqualsModel(block, tables, length, state);
    }
  }
}

TEST_F(EncoderTest, FlushWithoutPendingBitsWritesNothing) {
  const Tables tables = huffman_cases::StandardTables();
  const Outcome after = ExpectEqualsModel({}, tables, 1, {}, 1);
  EXPECT_EQ(after.status, zepStatusOk);
  EXPECT_EQ(after.position, 0);
  EXPECT_EQ(after.state.numBits, 0);
}

TEST_F(EncoderTest, FlushPadsWithOnes) {
  const Tables tables = huffman_cases::StandardTables();
  Outcome state = {};
  state.state.numBits = 3;
  state.state.bits = 0xA00000;  // 101
  const Outcome after = ExpectEqualsModel({}, tables, 5, state, -7);
  EXPECT_EQ(after.status, zepStatusOk);
  EXPECT_EQ(bytes_, std::vector<uint8_t>{0xBF});
  // Without room the state still starts anew.
  state.position = 5;
  const Outcome full = ExpectEqualsModel({}, tables, 5, state, 1);
  EXPECT_EQ(full.status, zepStatusBufferExhausted);
  EXPECT_EQ(full.state.numBits, 0);
  EXPECT_EQ(full.state.bits, 0U);
}

TEST_F(EncoderTest, StuffedZero) {
  const Tables tables = huffman_cases::StandardTables();
  Outcome state = {};
  state.state.numBits = 7;
  state.state.bits = 0xFE0000;
  const Outcome enough = ExpectEqualsModel({}, tables, 2, state, 1);
  EXPECT_EQ(enough.status, zepStatusOk);
  EXPECT_EQ(bytes_, (std::vector<uint8_t>{0xFF, 0x00}));
  const Outcome one_short = ExpectEqualsModel({}, tables, 1, state, 1);
  EXPECT_EQ(one_short.status, zepStatusBufferExhausted);
  EXPECT_EQ(one_short.position, 1);
  EXPECT_EQ(bytes_, std::vector<uint8_t>{0xFF});
}

TEST_F(EncoderTest, RunsAndEnd) {
  const Tables tables = huffman_cases::StandardTables();
  Outcome state = {};
  Block block = {};
  block[63] = 1;  // 62 zeros: ZRL three times, then (14, 1), and no end of block
  state = ExpectEqualsModel(block, tables, 100, state);
  // 00, three times 11111111001, 1111111111101011 for (14, 1), 1.
  EXPECT_EQ(bytes_, (std::vector<uint8_t>{0x3F, 0xCF, 0xF9, 0xFF, 0x00, 0x3F, 0xFD}));
  EXPECT_EQ(state.state.numBits, 4);
  EXPECT_EQ(state.state.bits, 0xFD700000U);
}

// A state with arbitrary bytes is harmless.
TEST_F(EncoderTest, AnyState) {
  Random random(harness::Seed());
  const Tables tables = huffman_cases::StandardTables();
  for (int i = 0; i < 20000; ++i) {
    zepiEncodeHuffmanState state = {};
    state.bits = static_cast<uint32_t>(random());
    state.numBits = static_cast<int32_t>(random());
    Arena dst(kMaxBlockBytes, i % 2 ? Edge::kStart : Edge::kEnd);
    const int32_t length = static_cast<int32_t>(1 + random() % kMaxBlockBytes);
    int32_t position = static_cast<int32_t>(random() % 20);
    int16_t last_dc = 0;
    const Block block = huffman_cases::RandomBlock(random);
    zepiEncodeHuffman8x8_JPEG_16s1u_C1(block.data(), dst.Buffer(static_cast<size_t>(length)),
                                       length, &position, &last_dc, &tables.dc_encoder,
                                       &tables.ac_encoder, &state, 0);
    ASSERT_LE(position, std::max(length, 20));
  }
}

TEST_F(EncoderTest, ChecksInOrder) {
  const Tables tables = huffman_cases::StandardTables();
  const Block block = {};
  uint8_t dst[64] = {};
  int32_t position = 3;
  int16_t last_dc = 5;
  zepiEncodeHuffmanState state = {};
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffman8x8_JPEG_16s1u_C1), block.data(), &dst[0], 64,
             &position, &last_dc, &tables.dc_encoder, &tables.ac_encoder, &state, 0)
      .Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
      .Null<3>()
      .Null<7>()
      .Null<0>()
      .Null<4>()
      .Null<5>()
      .Null<6>()
      .Output(dst, sizeof(dst))
      .Output(&position, sizeof(position))
      .Output(&last_dc, sizeof(last_dc))
      .Output(&state, sizeof(state))
      .Run();
  // A flush uses no other arguments.
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffman8x8_JPEG_16s1u_C1),
             static_cast<const int16_t*>(nullptr), &dst[0], 64, &position,
             static_cast<int16_t*>(nullptr), static_cast<const zepiEncodeHuffmanSpec*>(nullptr),
             static_cast<const zepiEncodeHuffmanSpec*>(nullptr), &state, 1)
      .Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
      .Null<3>()
      .Null<7>()
      .Output(dst, sizeof(dst))
      .Output(&state, sizeof(state))
      .Run();
}

}  // namespace
