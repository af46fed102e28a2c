// SPDX-License-Identifier: MIT
// Numbers in files: both byte orders, no access outside, and the place in the file.
#include "codecs/support/byte_reader.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "codecs/support/byte_writer.h"
#include "harness/guarded.h"

namespace {

using zepcodec::ByteOrder;
using zepcodec::ByteReader;
using zepcodec::ByteWriter;

using Bytes = std::vector<uint8_t>;

TEST(ByteReader, BothOrders) {
  const Bytes bytes = {1, 2, 3, 4, 5, 6, 7, 8};
  ByteReader big(bytes.data(), bytes.size());
  EXPECT_EQ(big.Word(), 0x0102);
  EXPECT_EQ(big.Long(), 0x03040506U);
  EXPECT_EQ(big.Byte(), 7);
  ByteReader little(bytes.data(), bytes.size(), ByteOrder::kLittle);
  EXPECT_EQ(little.Word(), 0x0201);
  EXPECT_EQ(little.Long(), 0x06050403U);
  EXPECT_EQ(little.At(0).Number(8), 0x0807060504030201U);
  EXPECT_FALSE(little.failed());
}

// In memory that ends where the bytes end.
TEST(ByteReader, TheEnd) {
  harness::Guarded<uint8_t> memory(3);
  std::memset(memory.data(), 0x55, 3);
  ByteReader reader(memory.data(), 3);
  EXPECT_EQ(reader.Word(), 0x5555);
  EXPECT_EQ(reader.Word(), 0) << "half of a number is none";
  EXPECT_TRUE(reader.failed());
  EXPECT_EQ(reader.left(), 0U);
  EXPECT_EQ(reader.Byte(), 0);
  EXPECT_FALSE(reader.Skip(SIZE_MAX));
  EXPECT_TRUE(reader.At(4).failed());
  EXPECT_FALSE(reader.At(3).failed());
  EXPECT_EQ(ByteReader().Long(), 0U);
}

TEST(ByteReader, PartsKnowTheirPlaceInTheFile) {
  const Bytes bytes = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
  ByteReader file(bytes.data(), bytes.size(), ByteOrder::kLittle, 100);
  file.Skip(2);
  ByteReader part = file.Take(4);
  EXPECT_EQ(part.offset(), 102U);
  EXPECT_EQ(part.Word(), 0x0302);
  EXPECT_EQ(part.offset(), 104U);
  EXPECT_EQ(part.At(1).offset(), 103U);
  EXPECT_EQ(file.offset(), 106U);
  ByteReader too_long = file.Take(5);
  EXPECT_TRUE(too_long.failed());
  EXPECT_EQ(too_long.left(), 0U);
  EXPECT_TRUE(file.failed());
}

TEST(ByteWriter, WritesWhatTheReaderReads) {
  for (const ByteOrder order : {ByteOrder::kBig, ByteOrder::kLittle}) {
    Bytes bytes;
    ByteWriter writer(&bytes, order);
    writer.Byte(0x1FF);
    writer.Word(0x1234);
    writer.Long(uint64_t{0xFFFF89ABCDEF});
    writer.Number(0x0102030405, 5);
    writer.Set(1, 0x4321, 2);
    ByteReader reader(bytes.data(), bytes.size(), order);
    EXPECT_EQ(reader.Byte(), 0xFF);
    EXPECT_EQ(reader.Word(), 0x4321);
    EXPECT_EQ(reader.Long(), 0x89ABCDEFU);
    EXPECT_EQ(reader.Number(5), 0x0102030405U);
    EXPECT_EQ(reader.left(), 0U);
  }
}

}  // namespace
