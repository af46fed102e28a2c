// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>

#include "harness/check_order.h"
#include "harness/guarded.h"
#include "jpeg/huffman/huffman_cases.h"
#include "reference/huffman_tables.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;
using harness::Random;
using huffman_cases::Lists;

// The lists and the record between protected pages; the symbols have exactly the length that the
// counts give.
template <class Record>
struct Build {
  explicit Build(const Lists& lists, Edge edge = Edge::kEnd)
      : bits(16, edge), vals(lists.vals.size(), edge), record(sizeof(Record) / 4, edge) {
    std::memcpy(bits.data(), lists.bits.data(), 16);
    if (vals.bytes() != 0) std::memcpy(vals.data(), lists.vals.data(), vals.bytes());
  }
  Record* table() { return reinterpret_cast<Record*>(record.data()); }

  Guarded<uint8_t> bits, vals;
  Guarded<uint32_t> record;
};

zepStatus BuildEncoder(const Lists& lists, zepiEncodeHuffmanSpec* table) {
  Build<zepiEncodeHuffmanSpec> build(lists);
  const zepStatus status =
      zepiEncodeHuffmanSpecInit_JPEG_8u(build.bits.data(), build.vals.data(), build.table());
  *table = *build.table();
  return status;
}

zepStatus BuildDecoder(const Lists& lists, zepiDecodeHuffmanSpec* table) {
  Build<zepiDecodeHuffmanSpec> build(lists);
  const zepStatus status =
      zepiDecodeHuffmanSpecInit_JPEG_8u(build.bits.data(), build.vals.data(), build.table());
  *table = *build.table();
  return status;
}

zepStatus EncoderStatus(const Lists& lists) {
  zepiEncodeHuffmanSpec table;
  return BuildEncoder(lists, &table);
}

zepStatus DecoderStatus(const Lists& lists) {
  zepiDecodeHuffmanSpec table;
  return BuildDecoder(lists, &table);
}

// The given counts of codes of 1, 2, ... bits, for the symbols 0, 1, 2, ...
Lists Counts(std::initializer_list<int> counts) {
  Lists lists = {};
  size_t length = 0, sum = 0;
  for (const int count : counts) {
    lists.bits[length++] = static_cast<uint8_t>(count);
    sum += static_cast<size_t>(count);
  }
  for (size_t i = 0; i < sum && i < 256; ++i) lists.vals.push_back(static_cast<uint8_t>(i));
  return lists;
}

// Compares both builders with their models, record and status, for bad lists too.
void ExpectEqualsModel(const Lists& lists, const char* what) {
  zepiEncodeHuffmanSpec encoder, encoder_model;
  EXPECT_EQ(BuildEncoder(lists, &encoder),
            reference::zepiEncodeHuffmanSpecInit_JPEG_8u(lists.bits.data(), lists.vals.data(),
                                                         &encoder_model))
      << what;
  EXPECT_EQ(harness::FirstByteDifference(&encoder, &encoder_model, sizeof(encoder)), "") << what;
  zepiDecodeHuffmanSpec decoder, decoder_model;
  EXPECT_EQ(BuildDecoder(lists, &decoder),
            reference::zepiDecodeHuffmanSpecInit_JPEG_8u(lists.bits.data(), lists.vals.data(),
                                                         &decoder_model))
      << what;
  EXPECT_EQ(harness::FirstByteDifference(&decoder, &decoder_model, sizeof(decoder)), "") << what;
}

TEST(HuffmanTables, Sizes) {
  int32_t size = 0;
  EXPECT_EQ(zepiEncodeHuffmanSpecGetBufSize_JPEG_8u(&size), zepStatusOk);
  EXPECT_EQ(size, 1024);
  EXPECT_EQ(zepiDecodeHuffmanSpecGetBufSize_JPEG_8u(&size), zepStatusOk);
  EXPECT_EQ(size, 1644);
}

TEST(HuffmanTables, StandardLuminanceDc) {
  zepiEncodeHuffmanSpec encoder;
  ASSERT_EQ(BuildEncoder(huffman_cases::StandardDc(), &encoder), zepStatusOk);
  EXPECT_EQ(encoder.entry[0], 2U << 16);
  for (uint32_t s = 1; s <= 5; ++s) EXPECT_EQ(encoder.entry[s], 3U << 16 | (s + 1));
  EXPECT_EQ(encoder.entry[11], 9U << 16 | 0x1FE);
  for (size_t s = 12; s < 256; ++s) EXPECT_EQ(encoder.entry[s], 0U);

  zepiDecodeHuffmanSpec decoder;
  ASSERT_EQ(BuildDecoder(huffman_cases::StandardDc(), &decoder), zepStatusOk);
  EXPECT_EQ(decoder.fast[0x00], 2U << 16);
  EXPECT_EQ(decoder.fast[0x3F], 2U << 16);
  EXPECT_EQ(decoder.fast[0x40], 3U << 16 | 1);
  EXPECT_EQ(decoder.fast[0xFE], 8U << 16 | 10);
  EXPECT_EQ(decoder.fast[0xFF], 0U);
  EXPECT_EQ(decoder.lastCode[1], 65535);
  EXPECT_EQ(decoder.firstCode[3], 2);
  EXPECT_EQ(decoder.lastCode[3], 6);
  EXPECT_EQ(decoder.firstIndex[3], 1);
  EXPECT_EQ(decoder.firstCode[9], 0x1FE);
  EXPECT_EQ(decoder.lastCode[9], 0x1FE);
  EXPECT_EQ(decoder.firstIndex[9], 11);
  EXPECT_EQ(decoder.symbol[11], 11);
  EXPECT_EQ(decoder.lastCode[17], 65535);
  EXPECT_EQ(decoder.lastCode[0], 0);
}

// The bytes of the record are part of the interface.
TEST(HuffmanTables, DecoderRecord) {
  zepiDecodeHuffmanSpec decoder;
  ASSERT_EQ(BuildDecoder(huffman_cases::StandardDc(), &decoder), zepStatusOk);
  const auto* bytes = reinterpret_cast<const uint8_t*>(&decoder);
  EXPECT_EQ(bytes[2 * 11], 11);             // symbol 11
  EXPECT_EQ(bytes[512 + 4 * 0x40], 1);      // symbol of the prefix 0x40
  EXPECT_EQ(bytes[512 + 4 * 0x40 + 2], 3);  // its length
  EXPECT_EQ(bytes[1536 + 2 * 9], 0xFE);     // first code of 9 bits
  EXPECT_EQ(bytes[1572 + 2 * 3], 6);        // last code of 3 bits
  EXPECT_EQ(bytes[1608 + 2 * 9], 11);       // first index of 9 bits
}

TEST(HuffmanTables, NoCodes) {
  zepiEncodeHuffmanSpec encoder;
  ASSERT_EQ(BuildEncoder(Counts({}), &encoder), zepStatusOk);
  for (const uint32_t entry : encoder.entry) EXPECT_EQ(entry, 0U);
  zepiDecodeHuffmanSpec decoder;
  ASSERT_EQ(BuildDecoder(Counts({}), &decoder), zepStatusOk);
  for (const uint32_t entry : decoder.fast) EXPECT_EQ(entry, 0U);
  for (int l = 1; l <= 17; ++l) EXPECT_EQ(decoder.lastCode[l], 65535);
}

TEST(HuffmanTables, NumberOfCodes) {
  EXPECT_EQ(EncoderStatus(Counts({0, 0, 0, 0, 0, 0, 0, 0, 100, 156})), zepStatusOk);
  EXPECT_EQ(DecoderStatus(Counts({0, 0, 0, 0, 0, 0, 0, 0, 100, 156})), zepStatusOk);
  EXPECT_EQ(EncoderStatus(Counts({0, 0, 0, 0, 0, 0, 0, 0, 100, 157})), zepStatusBadHuffTable);
  EXPECT_EQ(DecoderStatus(Counts({0, 0, 0, 0, 0, 0, 0, 0, 100, 157})), zepStatusBadHuffTable);
}

// The encoder refuses a code of all ones of any length.
TEST(HuffmanTables, FullLists) {
  EXPECT_EQ(EncoderStatus(Counts({1})), zepStatusOk);
  EXPECT_EQ(EncoderStatus(Counts({2})), zepStatusBadHuffTable);
  EXPECT_EQ(EncoderStatus(Counts({3})), zepStatusBadHuffTable);
  EXPECT_EQ(EncoderStatus(Counts({0, 3})), zepStatusOk);
  EXPECT_EQ(EncoderStatus(Counts({0, 4})), zepStatusBadHuffTable);
  EXPECT_EQ(EncoderStatus(Counts({1, 1, 1})), zepStatusOk);
  EXPECT_EQ(EncoderStatus(Counts({1, 1, 2})), zepStatusBadHuffTable);
  EXPECT_EQ(EncoderStatus(Counts({0, 4, 1})), zepStatusBadHuffTable);
  EXPECT_EQ(EncoderStatus(Counts({1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1})), zepStatusOk);
  EXPECT_EQ(EncoderStatus(Counts({1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2})),
            zepStatusBadHuffTable);
}

// The decoder refuses only a code that begins after the end of its table of 8-bit prefixes.
TEST(HuffmanTables, OverfullListsOfDecoder) {
  EXPECT_EQ(DecoderStatus(Counts({2})), zepStatusOk);
  EXPECT_EQ(DecoderStatus(Counts({3})), zepStatusOk);
  EXPECT_EQ(DecoderStatus(Counts({4})), zepStatusBadHuffTable);
  EXPECT_EQ(DecoderStatus(Counts({0, 5})), zepStatusOk);
  EXPECT_EQ(DecoderStatus(Counts({0, 6})), zepStatusBadHuffTable);
  EXPECT_EQ(DecoderStatus(Counts({2, 1})), zepStatusOk);
  EXPECT_EQ(DecoderStatus(Counts({2, 2})), zepStatusBadHuffTable);
  EXPECT_EQ(DecoderStatus(Counts({3, 0, 0, 0, 0, 0, 0, 0, 200})), zepStatusOk);

  zepiDecodeHuffmanSpec table;
  ASSERT_EQ(BuildDecoder(Counts({3}), &table), zepStatusOk);
  EXPECT_EQ(table.fast[127], 1U << 16);
  EXPECT_EQ(table.fast[128], 1U << 16 | 1);
  EXPECT_EQ(table.fast[255], 1U << 16 | 1);
  EXPECT_EQ(table.lastCode[1], 2);
}

// Codes of more than 16 bits keep their low 16 bits.
TEST(HuffmanTables, LongCodesOfDecoder) {
  zepiDecodeHuffmanSpec table;
  ASSERT_EQ(BuildDecoder(Counts({3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}), &table),
            zepStatusOk);
  EXPECT_EQ(table.firstCode[16], (3U << 15) & 0xFFFF);
  EXPECT_EQ(table.lastCode[16], ((3U << 15) + 6) & 0xFFFF);
}

TEST(HuffmanTables, SymbolListedTwiceKeepsItsLastCode) {
  Lists lists = Counts({0, 3});
  lists.vals = {7, 9, 7};
  zepiEncodeHuffmanSpec table;
  ASSERT_EQ(BuildEncoder(lists, &table), zepStatusOk);
  EXPECT_EQ(table.entry[7], 2U << 16 | 2);
  EXPECT_EQ(table.entry[9], 2U << 16 | 1);
}

TEST(HuffmanTables, EqualsModel) {
  Random random(harness::Seed());
  for (int i = 0; i < 4000 && !HasFailure(); ++i) {
    ExpectEqualsModel(huffman_cases::RandomLists(random), "all symbols");
    ExpectEqualsModel(huffman_cases::RandomSparseLists(random), "some symbols");
    ExpectEqualsModel(huffman_cases::WildLists(random), "wild");
  }
  // Two lengths at a time, every count.
  for (int first = 0; first < 256 && !HasFailure(); ++first) {
    for (size_t length = 0; length < 16; ++length) {
      Lists lists = {};
      lists.vals.resize(256, 1);
      lists.bits[length] = static_cast<uint8_t>(first);
      lists.bits[random() % 16] = static_cast<uint8_t>(random() % 256);
      ExpectEqualsModel(lists, "two lengths");
    }
  }
}

TEST(HuffmanTables, GuardedInFront) {
  Build<zepiEncodeHuffmanSpec> encoder(huffman_cases::StandardAc(), Edge::kStart);
  EXPECT_EQ(
      zepiEncodeHuffmanSpecInit_JPEG_8u(encoder.bits.data(), encoder.vals.data(), encoder.table()),
      zepStatusOk);
  Build<zepiDecodeHuffmanSpec> decoder(huffman_cases::StandardAc(), Edge::kStart);
  EXPECT_EQ(
      zepiDecodeHuffmanSpecInit_JPEG_8u(decoder.bits.data(), decoder.vals.data(), decoder.table()),
      zepStatusOk);
}

TEST(HuffmanTables, ChecksInOrder) {
  const Lists lists = huffman_cases::StandardDc();
  const uint8_t* bits = lists.bits.data();
  const uint8_t* vals = lists.vals.data();
  zepiEncodeHuffmanSpec encoder;
  std::memset(&encoder, 0x5A, sizeof(encoder));
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanSpecInit_JPEG_8u), bits, vals, &encoder)
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Output(&encoder, sizeof(encoder))
      .Run();
  zepiDecodeHuffmanSpec decoder;
  std::memset(&decoder, 0x5A, sizeof(decoder));
  CheckOrder(HARNESS_NAMED(zepiDecodeHuffmanSpecInit_JPEG_8u), bits, vals, &decoder)
      .Null<0>()
      .Null<1>()
      .Null<2>()
      .Output(&decoder, sizeof(decoder))
      .Run();
  int32_t size = 77;
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanSpecGetBufSize_JPEG_8u), &size)
      .Null<0>()
      .Output(&size, sizeof(size))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiDecodeHuffmanSpecGetBufSize_JPEG_8u), &size).Null<0>().Run();
}

}  // namespace
