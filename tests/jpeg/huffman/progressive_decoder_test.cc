// SPDX-License-Identifier: MIT
#include "reference/progressive_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "jpeg/huffman/progressive_cases.h"
#include "reference/coefficients.h"
#include "reference/progressive_encoder.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using huffman_cases::Arena;
using huffman_cases::Block;
using Bytes = std::vector<uint8_t>;

enum class Kind { kFirstDc, kRefinedDc, kFirst, kRefined };
constexpr Kind kKinds[] = {Kind::kFirstDc, Kind::kRefinedDc, Kind::kFirst, Kind::kRefined};

struct Scan {
  Kind kind;
  int32_t first, last, shift;
  huffman_cases::Lists lists;
};

Scan RandomScan(Kind kind, Random& random) {
  Scan scan = {kind, 1, 63, static_cast<int32_t>(random() % 4), {}};
  if (random() % 4 == 0) scan.shift = static_cast<int32_t>(random() % 14);
  if (random() % 2 == 0) {
    scan.first = static_cast<int32_t>(1 + random() % 63);
    scan.last =
        scan.first + static_cast<int32_t>(random() % (64u - static_cast<uint32_t>(scan.first)));
  }
  scan.lists = huffman_cases::RandomLists(random);
  return scan;
}

struct Outcome {
  zepStatus status = zepStatusOk;
  int32_t position = 0, marker = 0;
  int16_t last_dc = 0;
  zepiDecodeHuffmanState state = {};
};
void ExpectEqual(const Outcome& got, const Outcome& want) {
  ASSERT_EQ(got.status, want.status) << "seed " << harness::Seed();
  ASSERT_EQ(got.position, want.position);
  ASSERT_EQ(got.marker, want.marker);
  ASSERT_EQ(got.last_dc, want.last_dc);
  ASSERT_EQ(harness::FirstByteDifference(&got.state, &want.state, sizeof(got.state)), "");
}

void Decode(bool is_export, const Scan& scan, const zepiDecodeHuffmanSpec& table,
            const uint8_t* bytes, int32_t length, int16_t* block, Outcome* at) {
  switch (scan.kind) {
    case Kind::kFirstDc:
      at->status = HUFFMAN_CALL(is_export, zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1, bytes,
                                length, &at->position, block, &at->last_dc, &at->marker, scan.shift,
                                &table, &at->state);
      break;
    case Kind::kRefinedDc:
      at->status = HUFFMAN_CALL(is_export, zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1, bytes,
                                length, &at->position, block, &at->marker, scan.shift, &at->state);
      break;
    case Kind::kFirst:
      at->status = HUFFMAN_CALL(is_export, zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1, bytes,
                                length, &at->position, block, &at->marker, scan.first, scan.last,
                                scan.shift, &table, &at->state);
      break;
    case Kind::kRefined:
      at->status = HUFFMAN_CALL(is_export, zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1, bytes,
                                length, &at->position, block, &at->marker, scan.first, scan.last,
                                scan.shift, &table, &at->state);
      break;
  }
}

// Coded by the model, with a marker at the end.
Bytes Encode(const Scan& scan, const std::vector<Block>& blocks) {
  const zepiEncodeHuffmanSpec table = huffman_cases::EncoderTable(scan.lists);
  Bytes bytes(blocks.size() * 600 + 4096);
  const auto length = static_cast<int32_t>(bytes.size());
  int32_t at = 0;
  int16_t last_dc = 0;
  zepiEncodeHuffmanState state = {};
  for (size_t i = 0; i <= blocks.size(); ++i) {
    const int16_t* block = i < blocks.size() ? blocks[i].data() : nullptr;
    const int32_t flush = block == nullptr ? 1 : 0;
    zepStatus status = zepStatusOk;
    switch (scan.kind) {
      case Kind::kFirstDc:
        status = reference::zepiEncodeHuffman8x8_DCFirst_JPEG_16s1u_C1(
            block, bytes.data(), length, &at, &last_dc, scan.shift, &table, &state, flush);
        break;
      case Kind::kRefinedDc:
        status = reference::zepiEncodeHuffman8x8_DCRefine_JPEG_16s1u_C1(
            block, bytes.data(), length, &at, scan.shift, &state, flush);
        break;
      case Kind::kFirst:
        status = reference::zepiEncodeHuffman8x8_ACFirst_JPEG_16s1u_C1(
            block, bytes.data(), length, &at, scan.first, scan.last, scan.shift, &table, &state,
            flush);
        break;
      case Kind::kRefined:
        status = reference::zepiEncodeHuffman8x8_ACRefine_JPEG_16s1u_C1(
            block, bytes.data(), length, &at, scan.first, scan.last, scan.shift, &table, &state,
            flush);
        break;
    }
    EXPECT_EQ(status, zepStatusOk);
  }
  bytes.resize(static_cast<size_t>(at));
  bytes.insert(bytes.end(), {0xFF, 0xD9});
  return bytes;
}

std::vector<Block> RandomBlocks(Random& random) {
  std::vector<Block> blocks(1 + random() % 50);
  for (Block& block : blocks) {
    if (random() % 3 == 0) continue;
    block = huffman_cases::RandomBlock(random);
    for (int16_t& value : block) value = std::max<int16_t>(value, -32767);
  }
  return blocks;
}

// The part of a coefficient that the scans before a refinement have coded.
int16_t WithoutBits(int16_t value, int32_t count) {
  const int32_t magnitude = std::abs(int32_t{value}) >> count << count;
  return static_cast<int16_t>(value < 0 ? -magnitude : magnitude);
}

// Decodes blocks with export and model until one fails; returns the blocks of the export.
std::vector<Block> ExpectEqualsModel(const Scan& scan, const Bytes& bytes,
                                     const std::vector<Block>& start, Outcome at, Arena* source,
                                     Arena* target) {
  const zepiDecodeHuffmanSpec table = huffman_cases::DecoderTable(scan.lists);
  const uint8_t* src = source->Buffer(bytes);
  const auto length = static_cast<int32_t>(bytes.size());
  std::vector<Block> decoded;
  Outcome got = at, want = at;
  for (const Block& before : start) {
    auto* dst = reinterpret_cast<int16_t*>(target->Buffer(sizeof(Block), decoded.size() % 3));
    std::memcpy(dst, before.data(), sizeof(Block));
    Block got_block, want_block = before;
    Decode(true, scan, table, src, length, dst, &got);
    std::memcpy(got_block.data(), dst, sizeof(Block));
    Decode(false, scan, table, bytes.data(), length, want_block.data(), &want);
    ExpectEqual(got, want);
    EXPECT_EQ(harness::FirstDifference(got_block, want_block, 8), "") << "seed " << harness::Seed();
    if (testing::Test::HasFailure() || got.status != zepStatusOk) break;
    decoded.push_back(got_block);
  }
  return decoded;
}

class ProgressiveDecoder : public testing::Test {
 protected:
  ProgressiveDecoder() : random_(harness::Seed()) {}
  Arena* Source() { return random_() % 2 == 0 ? &at_end_ : &at_start_; }

  Random random_;
  Arena at_end_{1 << 16, Edge::kEnd}, at_start_{1 << 16, Edge::kStart};
  Arena block_end_{256, Edge::kEnd}, block_start_{256, Edge::kStart};
};

// The bits that a scan codes come back; other bits stay.
TEST_F(ProgressiveDecoder, RoundTrip) {
  for (int trial = 0; trial < 300 && !HasFailure(); ++trial) {
    for (const Kind kind : kKinds) {
      const Scan scan = RandomScan(kind, random_);
      const std::vector<Block> blocks = RandomBlocks(random_);
      const Bytes bytes = Encode(scan, blocks);
      const bool refines = kind == Kind::kRefined || kind == Kind::kRefinedDc;
      std::vector<Block> start(blocks.size()), want(blocks.size());
      for (size_t i = 0; i < blocks.size(); ++i) {
        const bool is_dc = kind == Kind::kFirstDc || kind == Kind::kRefinedDc;
        const int32_t first = is_dc ? 0 : scan.first, last = is_dc ? 0 : scan.last;
        for (int32_t k = first; k <= last; ++k) {
          const auto natural = static_cast<size_t>(reference::kZigzag.natural[k]);
          const int16_t value = blocks[i][natural];
          const auto keep = [&](int32_t bits) {
            return is_dc ? static_cast<int16_t>(value & ~((1 << bits) - 1))
                         : WithoutBits(value, bits);
          };
          want[i][natural] = keep(scan.shift);
          if (refines) start[i][natural] = keep(scan.shift + 1);
        }
      }
      EXPECT_EQ(ExpectEqualsModel(scan, bytes, start, {}, Source(),
                                  trial % 2 == 0 ? &block_end_ : &block_start_),
                want)
          << "kind " << static_cast<int>(kind) << " seed " << harness::Seed();
    }
  }
}

// Streams that are cut off or damaged, or contain bytes that stop reading.
TEST_F(ProgressiveDecoder, DamagedEqualsModel) {
  for (int trial = 0; trial < 1500 && !HasFailure(); ++trial) {
    const Kind kind = kKinds[trial % 4];
    Scan scan = RandomScan(kind, random_);
    const std::vector<Block> blocks = RandomBlocks(random_);
    Bytes bytes = Encode(scan, blocks);
    std::vector<Block> start = RandomBlocks(random_);
    start.resize(blocks.size() + 5);
    if (random_() % 3 == 0) scan.lists = huffman_cases::RandomSparseLists(random_);
    switch (random_() % 4) {
      case 0: bytes.resize(random_() % bytes.size()); break;
      case 1:
        bytes.resize(random_() % bytes.size());
        bytes.push_back(0xFF);
        break;
      case 2:
        for (int i = 0; i < 4; ++i)
          bytes[random_() % bytes.size()] = static_cast<uint8_t>(random_());
        break;
      default: bytes[random_() % bytes.size()] = 0xFF; break;
    }
    Outcome at;
    at.state.eobRun = random_() % 4 == 0 ? static_cast<uint32_t>(random_() % 3) : 0;
    at.state.spare = 0x12345678;
    ExpectEqualsModel(scan, bytes, start, at, Source(),
                      trial % 2 == 0 ? &block_end_ : &block_start_);
  }
}

TEST_F(ProgressiveDecoder, LongestRun) {
  Scan scan = RandomScan(Kind::kFirst, random_);
  std::vector<Block> blocks(40000);
  const Bytes bytes = Encode(scan, blocks);
  EXPECT_EQ(ExpectEqualsModel(scan, bytes, blocks, {}, Source(), &block_end_), blocks);
}

TEST_F(ProgressiveDecoder, ChecksInOrder) {
  // One code, 0, for the symbol 0.
  const zepiDecodeHuffmanSpec table = huffman_cases::DecoderTable({{1}, {0}});
  const Bytes source(16);
  int32_t position = 0, marker = 0;
  int16_t last_dc = 0;
  Block block = {};
  zepiDecodeHuffmanState state = {};
  const auto finish = [&](auto& check) {
    check.Output(block.data(), sizeof(block))
        .Output(&position, sizeof(position))
        .Output(&marker, sizeof(marker))
        .Output(&last_dc, sizeof(last_dc))
        .Output(&state, sizeof(state))
        .Run();
  };
  const auto band = [&](auto exported) {
    CheckOrder check(exported, source.data(), 16, &position, block.data(), &marker, 1, 63, 0,
                     &table, &state);
    check.template Null<0>().template Bad<1>(zepStatusBadArg, {-1, INT_MIN}).template Null<2>();
    check.template Null<3>().template Null<4>().template Null<8>().template Null<9>();
    check.template Bad<5>(zepStatusBadArg, {0, 64}).template Bad<6>(zepStatusBadArg, {0, 64});
    check.template Bad<7>(zepStatusBadArg, {-1, 14});
    finish(check);
  };
  band(HARNESS_NAMED(zepiDecodeHuffman8x8_ACFirst_JPEG_1u16s_C1));
  band(HARNESS_NAMED(zepiDecodeHuffman8x8_ACRefine_JPEG_1u16s_C1));
  CheckOrder first(HARNESS_NAMED(zepiDecodeHuffman8x8_DCFirst_JPEG_1u16s_C1), source.data(), 16,
                   &position, block.data(), &last_dc, &marker, 0, &table, &state);
  first.Null<0>().Bad<1>(zepStatusBadArg, {-1}).Null<2>().Null<3>().Null<4>().Null<5>();
  first.Null<7>().Null<8>().Bad<6>(zepStatusBadArg, {-1, 14});
  finish(first);
  CheckOrder refine(HARNESS_NAMED(zepiDecodeHuffman8x8_DCRefine_JPEG_1u16s_C1), source.data(), 16,
                    &position, block.data(), &marker, 0, &state);
  refine.Null<0>().Bad<1>(zepStatusBadArg, {-1}).Null<2>().Null<3>().Null<4>().Null<6>();
  refine.Bad<5>(zepStatusBadArg, {-1, 14});
  finish(refine);
}

}  // namespace
