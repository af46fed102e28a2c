// SPDX-License-Identifier: MIT
#include "reference/block_decoder.h"

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
using Bytes = std::vector<uint8_t>;

// The results of a call besides the block.
struct Outcome {
  zepStatus status;
  int32_t position;
  int32_t marker;
  int16_t last_dc;
  zepiDecodeHuffmanState state;
};

bool operator==(const Outcome& a, const Outcome& b) {
  return a.status == b.status && a.position == b.position && a.marker == b.marker &&
         a.last_dc == b.last_dc && std::memcmp(&a.state, &b.state, sizeof(a.state)) == 0;
}

std::ostream& operator<<(std::ostream& out, const Outcome& outcome) {
  return out << "status " << outcome.status << " position " << outcome.position << " marker "
             << outcome.marker << " DC " << outcome.last_dc << " bits " << outcome.state.bits
             << " count " << outcome.state.numBits;
}

class DecoderTest : public ::testing::Test {
 protected:
  DecoderTest() : random_(harness::Seed()) { start_.state.spare = 0x12345678; }

  // Decodes one block with the export and with the model.
  Outcome ExpectEqualsModel(const Bytes& bytes, const Tables& tables, const Outcome& before) {
    Outcome got = before, want = before;
    Side& side = edge_toggle_ ? at_start_ : at_end_;
    edge_toggle_ = !edge_toggle_;
    away_ = (away_ + 1) % 5;  // addresses of any alignment
    const auto length = static_cast<int32_t>(bytes.size());
    const uint8_t* src = side.src.Buffer(bytes);
    auto* got_dst = reinterpret_cast<int16_t*>(side.dst.Buffer(sizeof(Block), away_));
    auto* want_dst = reinterpret_cast<int16_t*>(side.model_dst.Buffer(sizeof(Block), away_));
    got.status = zepiDecodeHuffman8x8_JPEG_1u16s_C1(src, length, &got.position, got_dst,
                                                    &got.last_dc, &got.marker, &tables.dc_decoder,
                                                    &tables.ac_decoder, &got.state);
    want.status = reference::zepiDecodeHuffman8x8_JPEG_1u16s_C1(
        bytes.data(), length, &want.position, want_dst, &want.last_dc, &want.marker,
        &tables.dc_decoder, &tables.ac_decoder, &want.state);
    EXPECT_EQ(got, want) << "length " << length << " from " << before << " seed "
                         << harness::Seed();
    EXPECT_EQ(side.dst.DifferenceTo(side.model_dst), "")
        << "coefficients; length " << length << " from " << before << " seed " << harness::Seed();
    std::memcpy(block_.data(), want_dst, sizeof(Block));
    return got;
  }

  // Decodes blocks until one fails, at most `max_blocks`.
  Outcome ExpectStreamEqualsModel(const Bytes& bytes, const Tables& tables, Outcome state,
                                  int max_blocks = 1000) {
    blocks_.clear();
    for (int i = 0; i < max_blocks && !HasFailure(); ++i) {
      state = ExpectEqualsModel(bytes, tables, state);
      if (state.status != zepStatusOk) break;
      blocks_.push_back(block_);
    }
    return state;
  }

  std::vector<Block> RandomBlocks(size_t max_count) {
    std::vector<Block> blocks(1 + random_() % max_count);
    for (Block& block : blocks) block = huffman_cases::RandomBlock(random_);
    return blocks;
  }

  Bytes RandomBytes(size_t count, unsigned ff_in) {
    Bytes bytes(count);
    for (uint8_t& byte : bytes) {
      byte = random_() % ff_in == 0 ? 0xFF : static_cast<uint8_t>(random_() % 256);
      if (random_() % (3 * ff_in) == 0) byte = 0;
    }
    return bytes;
  }

  Random random_;
  Outcome start_ = {};
  Block block_;                // of the last call
  std::vector<Block> blocks_;  // of the last stream

 private:
  struct Side {
    static constexpr size_t kCapacity = 20000;
    explicit Side(Edge edge)
        : src(kCapacity, edge), dst(sizeof(Block) + 1, edge), model_dst(sizeof(Block) + 1, edge) {}
    Arena src, dst, model_dst;
  };
  Side at_start_{Edge::kStart}, at_end_{Edge::kEnd};
  size_t away_ = 0;
  bool edge_toggle_ = false;
};

TEST_F(DecoderTest, RoundTrip) {
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    const Tables tables =
        i % 3 != 0 ? huffman_cases::RandomTables(random_) : huffman_cases::StandardTables();
    std::vector<Block> blocks = RandomBlocks(20);
    if (i % 3 == 0) {  // the standard's tables have no codes for larger values
      for (Block& block : blocks) {
        for (int16_t& value : block) value = static_cast<int16_t>(value % 1024);
      }
    }
    const Bytes bytes = huffman_cases::Encode(blocks, tables);
    const Outcome end =
        ExpectStreamEqualsModel(bytes, tables, start_, static_cast<int>(blocks.size()));
    EXPECT_EQ(end.status, zepStatusOk);
    EXPECT_EQ(blocks_, blocks);
  }
}

TEST_F(DecoderTest, EndsAtEveryByte) {
  for (int i = 0; i < 60 && !HasFailure(); ++i) {
    const Tables tables = huffman_cases::RandomTables(random_);
    const Bytes bytes = huffman_cases::Encode(RandomBlocks(4), tables);
    for (size_t length = 0; length <= bytes.size() && !HasFailure(); ++length) {
      const Bytes part(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(length));
      ExpectStreamEqualsModel(part, tables, start_);
      // Now with a marker in place of the remaining bytes.
      Bytes marked = part;
      marked.insert(marked.end(), {0xFF, 0xD3, 0x11, 0x22});
      ExpectStreamEqualsModel(marked, tables, start_);
    }
  }
}

TEST_F(DecoderTest, RandomBytes) {
  for (int i = 0; i < 12000 && !HasFailure(); ++i) {
    const Tables tables =
        i % 2 != 0 ? huffman_cases::RandomTables(random_) : huffman_cases::StandardTables();
    const Bytes bytes = RandomBytes(random_() % 400, i % 5 == 0 ? 3 : 200);
    Outcome state = start_;
    for (int tries = 0; tries < 6; ++tries) {  // go on after failures
      state = ExpectStreamEqualsModel(bytes, tables, state, 30);
      if (random_() % 2) state.marker = 0;
    }
  }
}

// Tables of lists with too many, too few or wrapping codes.
TEST_F(DecoderTest, WildTables) {
  for (int i = 0; i < 40000 && !HasFailure(); ++i) {
    Tables tables = {};
    const huffman_cases::Lists dc = huffman_cases::WildLists(random_);
    const huffman_cases::Lists ac = huffman_cases::WildLists(random_);
    zepiDecodeHuffmanSpecInit_JPEG_8u(dc.bits.data(), dc.vals.data(), &tables.dc_decoder);
    zepiDecodeHuffmanSpecInit_JPEG_8u(ac.bits.data(), ac.vals.data(), &tables.ac_decoder);
    if (i % 3 == 0) tables.dc_decoder = huffman_cases::StandardTables().dc_decoder;
    ExpectStreamEqualsModel(RandomBytes(random_() % 100, 50), tables, start_, 10);
  }
}

// Fill bytes before stuffed zeros, and stuffed bytes everywhere.
TEST_F(DecoderTest, FillBytes) {
  for (int i = 0; i < 3000 && !HasFailure(); ++i) {
    const Tables tables = huffman_cases::RandomTables(random_);
    std::vector<Block> blocks = RandomBlocks(10);
    const Bytes bytes = huffman_cases::Encode(blocks, tables);
    Bytes filled;
    for (const uint8_t byte : bytes) {
      filled.push_back(byte);
      if (byte == 0xFF) filled.insert(filled.end(), random_() % 4, 0xFF);
    }
    ExpectStreamEqualsModel(filled, tables, start_, static_cast<int>(blocks.size()));
    EXPECT_EQ(blocks_, blocks);
  }
}

// The stream continues in another buffer after any call.
TEST_F(DecoderTest, Resumption) {
  for (int i = 0; i < 1500 && !HasFailure(); ++i) {
    const Tables tables = huffman_cases::RandomTables(random_);
    const std::vector<Block> blocks = RandomBlocks(20);
    Bytes bytes = huffman_cases::Encode(blocks, tables);
    Outcome state = start_;
    for (const Block& block : blocks) {
      state = ExpectEqualsModel(bytes, tables, state);
      EXPECT_EQ(state.status, zepStatusOk);
      EXPECT_EQ(block_, block);
      const auto read = static_cast<size_t>(state.position);
      const size_t drop = random_() % 2 ? read : random_() % (read + 1);
      bytes.erase(bytes.begin(), bytes.begin() + static_cast<ptrdiff_t>(drop));
      state.position -= static_cast<int32_t>(drop);
    }
  }
}

// Every number of valid bits, of any value, before any bytes.
TEST_F(DecoderTest, AnyBitsReadAhead) {
  for (int i = 0; i < 30000 && !HasFailure(); ++i) {
    const Tables tables =
        i % 2 != 0 ? huffman_cases::RandomTables(random_) : huffman_cases::StandardTables();
    Outcome state = start_;
    state.state.numBits = static_cast<int32_t>(random_() % 33);
    state.state.bits = static_cast<uint32_t>(random_());
    state.state.reserved = static_cast<uint32_t>(random_() % 2);
    state.position = static_cast<int32_t>(random_() % 5);
    state.last_dc = static_cast<int16_t>(random_());
    if (random_() % 16 == 0) state.marker = 0xD9;
    ExpectStreamEqualsModel(RandomBytes(5 + random_() % 90, 60), tables, state, 4);
  }
}

TEST_F(DecoderTest, Positions) {
  const Tables tables = huffman_cases::StandardTables();
  const Bytes bytes(40, 0x55);
  for (const int32_t position : {-1, -7, INT_MIN, 40, 41, 47, INT_MAX, INT_MAX - 8}) {
    for (int32_t bits = 0; bits <= 32; ++bits) {
      Outcome state = start_;
      state.position = position;
      state.state.numBits = bits;
      state.state.bits = bits < 6 ? 0 : 0xAU << (bits - 6);  // DC 0, end of block, zeros
      const Outcome end = ExpectEqualsModel(bytes, tables, state);
      EXPECT_EQ(end.position, position);
      EXPECT_EQ(end.status == zepStatusOk, bits >= 6) << bits;
    }
  }
}

TEST_F(DecoderTest, Markers) {
  const Tables tables = huffman_cases::StandardTables();
  const Outcome end = ExpectEqualsModel({0xFF, 0xD9, 0x00}, tables, start_);
  EXPECT_EQ(end.status, zepStatusBadHuffCode);
  EXPECT_EQ(end.marker, 0xD9);
  EXPECT_EQ(end.position, 2);
  EXPECT_EQ(ExpectEqualsModel({0xFF, 0xD9, 0x00}, tables, end), end);
  // 00 1010 is a block of zeros; two more bits remain.
  Outcome one = ExpectEqualsModel({0x2B, 0xFF, 0xFF, 0xD0, 0x2B}, tables, start_);
  EXPECT_EQ(one.status, zepStatusOk);
  EXPECT_EQ(one.marker, 0xD0);
  EXPECT_EQ(one.position, 4);
  EXPECT_EQ(one.state.numBits, 2);
  EXPECT_EQ(ExpectEqualsModel({0x2B, 0xFF, 0xFF, 0xD0, 0x2B}, tables, one).status,
            zepStatusBadHuffCode);
}

// A last FF with nothing after it fails, even if the bits read before it are enough.
TEST_F(DecoderTest, LoneFf) {
  const Tables tables = huffman_cases::StandardTables();
  const Outcome end = ExpectEqualsModel({0x2B, 0xFF}, tables, start_);
  EXPECT_EQ(end.status, zepStatusBufferExhausted);
  EXPECT_EQ(end.position, 2);
  EXPECT_EQ(end.state.numBits, 8);
}

// Any number of FF bytes before a zero count as one byte.
TEST_F(DecoderTest, StuffedByte) {
  Tables tables = {};
  const huffman_cases::Lists ends = {{2}, {0, 0}};  // every bit: DC 0, or end of block
  tables.dc_decoder = tables.ac_decoder = huffman_cases::DecoderTable(ends);
  for (const Bytes& bytes : {Bytes{0xFF, 0x00}, Bytes{0xFF, 0xFF, 0xFF, 0x00}}) {
    const Outcome end = ExpectEqualsModel(bytes, tables, start_);
    EXPECT_EQ(end.status, zepStatusOk);
    EXPECT_EQ(end.position, static_cast<int32_t>(bytes.size()));
    EXPECT_EQ(end.state.bits, 0xFFU);
    EXPECT_EQ(end.state.numBits, 6);
  }
}

// A run that goes past position 63, and one that ends on it.
TEST_F(DecoderTest, RunsBehindTheBlock) {
  huffman_cases::Lists dc = {{1}, {0}};
  huffman_cases::Lists ac = {{0, 0, 0, 5}, {0xF0, 0x01, 0xE1, 0xF1, 0x00}};
  const Tables tables = huffman_cases::MakeTables(dc, ac);
  // DC 0; (0,1) x 15: positions 1..15; then ZRL three times: up to 63.
  const auto stream = [](const std::vector<int>& symbols) {
    std::vector<bool> bits = {false};
    for (const int symbol : symbols) {
      for (int i = 3; i >= 0; --i) bits.push_back(symbol >> i & 1);
      if (symbol >= 1 && symbol <= 3) bits.push_back(true);
    }
    bits.resize((bits.size() + 7) / 8 * 8 + 64, true);
    Bytes bytes;
    for (size_t i = 0; i < bits.size(); i += 8) {
      unsigned byte = 0;
      for (size_t j = 0; j < 8; ++j) byte = byte * 2 + bits[i + j];
      bytes.push_back(static_cast<uint8_t>(byte));
      if (byte == 0xFF) bytes.push_back(0);
    }
    return bytes;
  };
  std::vector<int> symbols(15, 1);
  symbols.insert(symbols.end(), {0, 0, 0});
  const Outcome ends_on_63 = ExpectEqualsModel(stream(symbols), tables, start_);
  EXPECT_EQ(ends_on_63.status, zepStatusOk);
  EXPECT_EQ(ExpectEqualsModel(stream({1, 0, 0, 0, 0}), tables, start_).status,
            zepStatusBadHuffCode);
  EXPECT_EQ(ExpectEqualsModel(stream({0, 0, 0, 2}), tables, start_).status, zepStatusOk);
  EXPECT_EQ(block_[63], 1);
  EXPECT_EQ(ExpectEqualsModel(stream({0, 0, 0, 3}), tables, start_).status, zepStatusBadHuffCode);
}

TEST_F(DecoderTest, DcCategories) {
  huffman_cases::Lists dc = {{0, 0, 0, 0, 0, 32}, {}};
  for (uint8_t i = 0; i < 32; ++i) dc.vals.push_back(static_cast<uint8_t>(31 - i));
  const huffman_cases::Lists ac = {{1}, {0}};
  const Tables tables = huffman_cases::MakeTables(dc, ac);
  for (uint8_t category = 0; category < 32; ++category) {
    for (const uint8_t fill : {uint8_t{0}, uint8_t{0xA5}, uint8_t{0xEE}}) {
      const auto first = static_cast<uint8_t>((31 - category) << 2 | (fill & 3));
      Outcome state = start_;
      state.last_dc = -30000;
      const Outcome end = ExpectEqualsModel({first, fill, fill, fill, fill, 0x00}, tables, state);
      const bool bad = category > 16;
      const zepStatus want = bad ? zepStatusBadHuffCode : zepStatusOk;
      EXPECT_TRUE(fill != 0 || end.status == want) << int{category};
      EXPECT_TRUE(!bad || (end.status == zepStatusBadHuffCode && end.last_dc == -30000));
    }
  }
}

// (r, 0) with r of 1 to 14 ends the block.
TEST_F(DecoderTest, UnusedRunsEndTheBlock) {
  huffman_cases::Lists ac = {{0, 0, 0, 0, 16}, {}};
  for (int run = 0; run < 16; ++run) ac.vals.push_back(static_cast<uint8_t>(run << 4));
  const Tables tables = huffman_cases::MakeTables({{1}, {0}}, ac);
  for (int run = 0; run < 15; ++run) {
    const Bytes bytes(40, static_cast<uint8_t>(run << 2));
    EXPECT_EQ(ExpectEqualsModel(bytes, tables, start_).status, zepStatusOk);
    EXPECT_EQ(block_, Block());
  }
}

// A state with arbitrary bytes is harmless.
TEST_F(DecoderTest, AnyState) {
  const Tables tables = huffman_cases::StandardTables();
  Arena src(200, Edge::kEnd);
  for (int i = 0; i < 20000; ++i) {
    zepiDecodeHuffmanState state;
    for (uint32_t* word : {&state.bits, &state.reserved, &state.eobRun, &state.spare}) {
      *word = static_cast<uint32_t>(random_());
    }
    state.numBits = static_cast<int32_t>(random_());
    const Bytes bytes = RandomBytes(random_() % 200, 90);
    int32_t position = static_cast<int32_t>(random_() % (bytes.size() + 1)), marker = 0;
    int16_t last_dc = 0;
    Block block;
    zepiDecodeHuffman8x8_JPEG_1u16s_C1(src.Buffer(bytes), static_cast<int32_t>(bytes.size()),
                                       &position, block.data(), &last_dc, &marker,
                                       &tables.dc_decoder, &tables.ac_decoder, &state);
    ASSERT_GE(position, 0);
    ASSERT_LE(position, static_cast<int32_t>(bytes.size()));
  }
}

TEST_F(DecoderTest, ChecksInOrder) {
  const Tables tables = huffman_cases::StandardTables();
  const Bytes bytes(64, 0x28);
  int32_t position = 3, marker = 0;
  int16_t last_dc = 5;
  Block block;
  block.fill(0x5A5A);
  zepiDecodeHuffmanState state = {};
  CheckOrder(HARNESS_NAMED(zepiDecodeHuffman8x8_JPEG_1u16s_C1), bytes.data(), 64, &position,
             block.data(), &last_dc, &marker, &tables.dc_decoder, &tables.ac_decoder, &state)
      .Null<0>()
      .Bad<1>(zepStatusBadArg, {-1, INT_MIN})
      .Null<2>()
      .Null<3>()
      .Null<4>()
      .Null<5>()
      .Null<6>()
      .Null<7>()
      .Null<8>()
      .Output(&position, sizeof(position))
      .Output(block.data(), sizeof(block))
      .Output(&last_dc, sizeof(last_dc))
      .Output(&marker, sizeof(marker))
      .Output(&state, sizeof(state))
      .Run();
}

}  // namespace
