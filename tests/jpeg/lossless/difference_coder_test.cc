// SPDX-License-Identifier: MIT
#include "reference/difference_coder.h"

#include <gtest/gtest.h>

#include <climits>
#include <numeric>
#include <vector>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "jpeg/huffman/huffman_cases.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Random;
using huffman_cases::Arena;
using Bytes = std::vector<uint8_t>;
using Samples = std::vector<int16_t>;

// Tables with all categories, 0 to 16.
huffman_cases::Lists AllCategories(Random& random) {
  std::vector<uint8_t> symbols(17);
  std::iota(symbols.begin(), symbols.end(), uint8_t{0});
  return huffman_cases::RandomLists(symbols, random);
}

// Rows of up to four components, and tables for them.
struct Rows {
  Rows(int32_t columns, int32_t count, Random& random) : width(columns), components(count) {
    for (int32_t i = 0; i < count; ++i) {
      const bool is_odd = random() % 8 == 0;
      const huffman_cases::Lists lists =
          is_odd ? huffman_cases::RandomSparseLists(random) : AllCategories(random);
      encoders[i] = huffman_cases::EncoderTable(lists);
      decoders[i] = huffman_cases::DecoderTable(lists);
      const auto shift = static_cast<uint32_t>(random() % 20);
      samples[i].resize(static_cast<size_t>(columns));
      for (int16_t& sample : samples[i]) {
        const auto any = static_cast<int16_t>(random());
        sample = static_cast<int16_t>(shift > 15 ? (random() % 30 == 0 ? INT16_MIN : any % 3)
                                                 : any >> shift);
      }
      source[i] = samples[i].data();
      encoder_pointers[i] = &encoders[i];
      decoder_pointers[i] = &decoders[i];
    }
  }
  int32_t width, components;
  Samples samples[4];
  zepiEncodeHuffmanSpec encoders[4];
  zepiDecodeHuffmanSpec decoders[4];
  const int16_t* source[4] = {};
  const zepiEncodeHuffmanSpec* encoder_pointers[4] = {};
  const zepiDecodeHuffmanSpec* decoder_pointers[4] = {};
};

struct Encoded {
  zepStatus status;
  int32_t position;
  zepiEncodeHuffmanState state;
};

TEST(DifferenceCoder, RowsEncodeAsModel) {
  Random random(harness::Seed());
  Arena got_arena(4096, Edge::kEnd), want_arena(4096, Edge::kEnd);
  for (int trial = 0; trial < 3000; ++trial) {
    const Rows rows(1 + static_cast<int32_t>(random() % 140),
                    1 + static_cast<int32_t>(random() % 4), random);
    const size_t room = 1 + random() % 3000;
    uint8_t* got_bytes = got_arena.Buffer(room);
    uint8_t* want_bytes = want_arena.Buffer(room);
    Encoded got = {}, want = {};
    if (random() % 2 != 0) {  // in the middle of a byte
      got.state.numBits = static_cast<int32_t>(random() % 8);
      got.state.bits = static_cast<uint32_t>(random()) & (0xFFFFFFu << (24 - got.state.numBits));
      want.state = got.state;
    }
    got.position = want.position = static_cast<int32_t>(random() % 3);
    const auto length = static_cast<int32_t>(room);
    got.status = zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(rows.source, got_bytes, length, &got.position,
                                                      rows.width, rows.components,
                                                      rows.encoder_pointers, &got.state, 0);
    want.status = reference::zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(
        rows.source, want_bytes, length, &want.position, rows.width, rows.components,
        rows.encoder_pointers, &want.state, 0);
    ASSERT_EQ(got.status, want.status) << "seed " << harness::Seed();
    ASSERT_EQ(got.position, want.position);
    ASSERT_EQ(harness::FirstByteDifference(&got.state, &want.state, sizeof(got.state)), "");
    ASSERT_EQ(harness::FirstByteDifference(got_bytes, want_bytes,
                                           static_cast<size_t>(std::min(got.position, length))),
              "");
  }
}

struct Decoded {
  zepStatus status;
  int32_t position;
  int32_t marker;
  zepiDecodeHuffmanState state;
};

// Decodes with export and model, row after row.
void ExpectDecodesAsModel(const Bytes& bytes, const Rows& rows, Decoded start, Arena* arena) {
  Decoded got = start, want = start;
  const uint8_t* src = arena->Buffer(bytes);
  const auto length = static_cast<int32_t>(bytes.size());
  for (int row = 0; row < 4; ++row) {
    Samples got_samples[4], want_samples[4];
    int16_t *got_rows[4] = {}, *want_rows[4] = {};
    for (int i = 0; i < rows.components; ++i) {
      got_samples[i].assign(static_cast<size_t>(rows.width), 0x5A5A);
      want_samples[i] = got_samples[i];
      got_rows[i] = got_samples[i].data();
      want_rows[i] = want_samples[i].data();
    }
    got.status = zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(src, length, &got.position, got_rows,
                                                      rows.width, rows.components, &got.marker,
                                                      rows.decoder_pointers, &got.state);
    want.status = reference::zepiDecodeHuffmanRow_JPEG_1u16s_C1P4(
        bytes.data(), length, &want.position, want_rows, rows.width, rows.components, &want.marker,
        rows.decoder_pointers, &want.state);
    ASSERT_EQ(got.status, want.status) << "row " << row << " seed " << harness::Seed();
    ASSERT_EQ(got.position, want.position);
    ASSERT_EQ(got.marker, want.marker);
    ASSERT_EQ(harness::FirstByteDifference(&got.state, &want.state, sizeof(got.state)), "");
    for (int i = 0; i < rows.components; ++i)
      ASSERT_EQ(harness::FirstDifference(got_samples[i], want_samples[i]), "") << "component " << i;
    if (got.status != zepStatusOk) return;
  }
}

Bytes EncodeRow(const Rows& rows) {
  Bytes bytes(static_cast<size_t>(rows.width * rows.components) * 8 + 64);
  zepiEncodeHuffmanState state = {};
  int32_t position = 0;
  const auto length = static_cast<int32_t>(bytes.size());
  for (const int32_t flush : {0, 1}) {
    reference::zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(rows.source, bytes.data(), length, &position,
                                                    rows.width, rows.components,
                                                    rows.encoder_pointers, &state, flush);
  }
  bytes.resize(static_cast<size_t>(position));
  return bytes;
}

TEST(DifferenceCoder, RowsDecodeAsModel) {
  Random random(harness::Seed());
  Arena at_end(1 << 14, Edge::kEnd), at_start(1 << 14, Edge::kStart);
  for (int trial = 0; trial < 3000; ++trial) {
    const Rows rows(1 + static_cast<int32_t>(random() % 140),
                    1 + static_cast<int32_t>(random() % 4), random);
    Bytes bytes = EncodeRow(rows);
    switch (random() % 4) {
      case 0:
        for (int i = 0; i < 3 && !bytes.empty(); ++i)
          bytes[random() % bytes.size()] = static_cast<uint8_t>(random());
        break;
      case 1:
        if (!bytes.empty()) bytes[random() % bytes.size()] = 0xFF;
        break;
      case 2:
        bytes.resize(random() % (bytes.size() + 1));
        if (random() % 2 == 0) bytes.push_back(0xFF);
        break;
      default: break;
    }
    Decoded start = {};
    start.state.spare = 0x12345678;
    ExpectDecodesAsModel(bytes, rows, start, trial % 2 != 0 ? &at_end : &at_start);
    if (HasFailure()) return;
  }
}

// Rows that take several chunks of the fast row reader: unchanged, cut off, and with one changed
// byte.
TEST(DifferenceCoder, LongRowsDecodeAsModel) {
  Random random(harness::Seed());
  Arena at_end(1 << 17, Edge::kEnd);
  for (int trial = 0; trial < 200; ++trial) {
    const Rows rows(100 + static_cast<int32_t>(random() % 2500),
                    1 + static_cast<int32_t>(random() % 4), random);
    Bytes bytes = EncodeRow(rows);
    if (bytes.size() > (1 << 17)) continue;
    if (!bytes.empty() && trial % 3 == 1) bytes.resize(random() % bytes.size());
    if (!bytes.empty() && trial % 3 == 2) {
      bytes[random() % bytes.size()] = random() % 2 != 0 ? 0xFF : static_cast<uint8_t>(random());
    }
    ExpectDecodesAsModel(bytes, rows, Decoded{}, &at_end);
    if (HasFailure()) return;
  }
}

TEST(DifferenceCoder, OneByOneIsARow) {
  Random random(harness::Seed());
  for (int trial = 0; trial < 300; ++trial) {
    const Rows rows(1 + static_cast<int32_t>(random() % 60), 1, random);
    const Bytes want = EncodeRow(rows);
    Bytes got(want.size() + 1);
    zepiEncodeHuffmanState state = {};
    int32_t position = 0;
    const auto length = static_cast<int32_t>(got.size());
    zepStatus status = zepStatusOk;
    for (size_t x = 0; x < rows.samples[0].size() && status == zepStatusOk; ++x) {
      status = zepiEncodeHuffmanOne_JPEG_16s1u_C1(&rows.samples[0][x], got.data(), length,
                                                  &position, &rows.encoders[0], &state, 0);
    }
    zepiEncodeHuffmanOne_JPEG_16s1u_C1(nullptr, got.data(), length, &position, nullptr, &state, 1);
    got.resize(static_cast<size_t>(position));
    ASSERT_EQ(harness::FirstDifference(got, want), "") << "seed " << harness::Seed();
    if (status != zepStatusOk) continue;
    Decoded at = {};
    for (const int16_t sample : rows.samples[0]) {
      int16_t decoded = 0;
      ASSERT_EQ(zepiDecodeHuffmanOne_JPEG_1u16s_C1(got.data(), position, &at.position, &decoded,
                                                   &at.marker, &rows.decoders[0], &at.state),
                zepStatusOk);
      ASSERT_EQ(decoded, sample);
    }
  }
}

TEST(DifferenceCoder, FarDifferenceIsItsCodeAlone) {
  zepiEncodeHuffmanSpec table = {};
  table.entry[16] = 3u << 16 | 5;
  const int16_t difference = INT16_MIN;
  uint8_t bytes[32] = {};
  zepiEncodeHuffmanState state = {};
  int32_t position = 0;
  ASSERT_EQ(
      zepiEncodeHuffmanOne_JPEG_16s1u_C1(&difference, bytes, 32, &position, &table, &state, 0),
      zepStatusOk);
  EXPECT_EQ(state.numBits, 3);
  EXPECT_EQ(state.bits >> 21, 5u);
}

TEST(DifferenceCoder, EncodersCheckInOrder) {
  Random random(harness::Seed());
  const zepiEncodeHuffmanSpec table = huffman_cases::EncoderTable(AllCategories(random));
  const zepiEncodeHuffmanSpec* const tables[] = {&table, &table, &table, &table};
  const int16_t samples[8] = {};
  const int16_t* const planes[] = {samples, samples, samples, samples};
  uint8_t bytes[64] = {};
  int32_t position = 0;
  zepiEncodeHuffmanState state = {};
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanOne_JPEG_16s1u_C1), &samples[0], &bytes[0], 64,
             &position, &table, &state, 0)
      .Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
      .Null<3>()
      .Null<5>()
      .Null<0>()
      .Null<4>()
      .Output(bytes, sizeof(bytes))
      .Output(&position, sizeof(position))
      .Output(&state, sizeof(state))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanRow_JPEG_16s1u_P4C1), &planes[0], &bytes[0], 64,
             &position, 8, 4, &tables[0], &state, 0)
      .Null<1>()
      .Bad<2>(zepStatusBadSize, {0, -1, INT_MIN})
      .Null<3>()
      .Null<7>()
      .Null<0>()
      .Null<6>()
      .Bad<4>(zepStatusBadSize, {0, -1, INT_MIN})
      .Bad<5>(zepStatusBadSize, {0, 5, -1})
      .EachPlane<0, 4>()
      .EachPlane<6, 4>()
      .Output(bytes, sizeof(bytes))
      .Output(&position, sizeof(position))
      .Output(&state, sizeof(state))
      .Run();
}

TEST(DifferenceCoder, FlushLooksAtTheBufferOnly) {
  uint8_t bytes[4] = {};
  int32_t position = 0;
  zepiEncodeHuffmanState state = {};
  state.numBits = 3;
  EXPECT_EQ(
      zepiEncodeHuffmanRow_JPEG_16s1u_P4C1(nullptr, bytes, 4, &position, 0, 9, nullptr, &state, 1),
      zepStatusOk);
  EXPECT_EQ(position, 1);
  EXPECT_EQ(bytes[0], 0x1F);
}

TEST(DifferenceCoder, DecodersCheckInOrder) {
  Random random(harness::Seed());
  const zepiDecodeHuffmanSpec table = huffman_cases::DecoderTable(AllCategories(random));
  const zepiDecodeHuffmanSpec* const tables[] = {&table, &table, &table, &table};
  int16_t samples[4][8] = {};
  int16_t* const planes[] = {samples[0], samples[1], samples[2], samples[3]};
  const uint8_t bytes[256] = {};
  int32_t position = 0, marker = 0;
  zepiDecodeHuffmanState state = {};
  CheckOrder(HARNESS_NAMED(zepiDecodeHuffmanOne_JPEG_1u16s_C1), &bytes[0], 256, &position,
             &samples[0][0], &marker, &table, &state)
      .Null<0>()
      .Bad<1>(zepStatusBadArg, {-1, INT_MIN})
      .Null<2>()
      .Null<3>()
      .Null<4>()
      .Null<5>()
      .Null<6>()
      .Output(samples, sizeof(samples))
      .Output(&position, sizeof(position))
      .Output(&state, sizeof(state))
      .Run();
  position = 0;
  state = {};
  CheckOrder(HARNESS_NAMED(zepiDecodeHuffmanRow_JPEG_1u16s_C1P4), &bytes[0], 256, &position,
             &planes[0], 8, 4, &marker, &tables[0], &state)
      .Null<0>()
      .Bad<1>(zepStatusBadArg, {-1, INT_MIN})
      .Null<2>()
      .Null<3>()
      .Null<6>()
      .Null<7>()
      .Null<8>()
      .Bad<4>(zepStatusBadSize, {0, -1, INT_MIN})
      .Bad<5>(zepStatusBadSize, {0, 5, -1})
      .EachPlane<3, 4>()
      .EachPlane<7, 4>()
      .Output(samples, sizeof(samples))
      .Output(&position, sizeof(position))
      .Output(&state, sizeof(state))
      .Run();
}

}  // namespace
