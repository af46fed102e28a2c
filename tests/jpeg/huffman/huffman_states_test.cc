// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "harness/check_order.h"
#include "harness/guarded.h"
#include "zepjp.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;

std::vector<uint8_t> Bytes(Guarded<uint32_t>& words) {
  return std::vector<uint8_t>(words.raw(), words.raw() + words.bytes());
}

TEST(HuffmanStates, Sizes) {
  int32_t size = 0;
  EXPECT_EQ(zepiEncodeHuffmanStateGetBufSize_JPEG_8u(&size), zepStatusOk);
  EXPECT_EQ(size, 1048);
  EXPECT_EQ(zepiDecodeHuffmanStateGetBufSize_JPEG_8u(&size), zepStatusOk);
  EXPECT_EQ(size, 24);
}

TEST(HuffmanStates, InitZeroes) {
  for (const Edge edge : {Edge::kStart, Edge::kEnd}) {
    Guarded<uint32_t> encoder(1048 / 4, edge);
    EXPECT_EQ(zepiEncodeHuffmanStateInit_JPEG_8u(
                  reinterpret_cast<zepiEncodeHuffmanState*>(encoder.data())),
              zepStatusOk);
    EXPECT_EQ(harness::FirstDifference(Bytes(encoder), std::vector<uint8_t>(1048)), "");

    Guarded<uint32_t> decoder(24 / 4, edge);
    EXPECT_EQ(zepiDecodeHuffmanStateInit_JPEG_8u(
                  reinterpret_cast<zepiDecodeHuffmanState*>(decoder.data())),
              zepStatusOk);
    std::vector<uint8_t> expected(20);
    expected.resize(24, harness::kFill);  // the last word is not changed
    EXPECT_EQ(harness::FirstDifference(Bytes(decoder), expected), "");
  }
}

TEST(HuffmanStates, ChecksInOrder) {
  zepiEncodeHuffmanState encoder;
  std::memset(&encoder, 0x77, sizeof(encoder));
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanStateInit_JPEG_8u), &encoder)
      .Null<0>()
      .Output(&encoder, sizeof(encoder))
      .Run();
  zepiDecodeHuffmanState decoder;
  std::memset(&decoder, 0x77, sizeof(decoder));
  CheckOrder(HARNESS_NAMED(zepiDecodeHuffmanStateInit_JPEG_8u), &decoder)
      .Null<0>()
      .Output(&decoder, sizeof(decoder))
      .Run();
  int32_t size = 77;
  CheckOrder(HARNESS_NAMED(zepiEncodeHuffmanStateGetBufSize_JPEG_8u), &size)
      .Null<0>()
      .Output(&size, sizeof(size))
      .Run();
  CheckOrder(HARNESS_NAMED(zepiDecodeHuffmanStateGetBufSize_JPEG_8u), &size).Null<0>().Run();
}

}  // namespace
