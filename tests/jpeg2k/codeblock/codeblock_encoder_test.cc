// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "harness/guarded.h"
#include "jpeg2k/codeblock/codeblock_cases.h"

namespace {

using codeblock_cases::Block;
using codeblock_cases::Content;
using codeblock_cases::Encoder;
using codeblock_cases::kContents;
using harness::CheckOrder;
using harness::Random;
using reference::CodeBlock;
using reference::CodedBlock;

void ExpectSame(const CodedBlock& got, const CodedBlock& want) {
  ASSERT_EQ(got.planes, want.planes);
  ASSERT_EQ(got.passes.size(), want.passes.size());
  double got_sum = 0, want_sum = 0;
  for (size_t k = 0; k < want.passes.size(); ++k) {
    ASSERT_EQ(got.passes[k].rate, want.passes[k].rate) << "pass " << k;
    ASSERT_EQ(got.passes[k].truncated_length, want.passes[k].truncated_length) << "pass " << k;
    got_sum += got.passes[k].distortion;
    want_sum += want.passes[k].distortion;
    ASSERT_NEAR(got_sum, want_sum, 1e-13 * std::abs(want_sum)) << "pass " << k;
  }
  ASSERT_EQ(harness::FirstDifference(got.bytes, want.bytes), "");
}

void CompareWithModel(const CodeBlock& block, int subband, int magnitude_bits, int style) {
  Encoder encoder(block.width, block.height);
  const CodedBlock want = reference::EncodeCodeBlock(block, subband, magnitude_bits, style);
  ExpectSame(encoder.Encode(block, subband, magnitude_bits, style), want);
  const int segments = std::max<int>(static_cast<int>(want.segment_lengths.size()), 1);
  ASSERT_EQ(encoder.segments(), segments);
}

TEST(CodeBlockEncoder, EveryStyleSubbandAndContent) {
  Random random(harness::Seed());
  for (int style = 0; style < 64; ++style) {
    for (int subband = 0; subband < 4; ++subband) {
      for (const Content content : kContents) {
        const int width = 1 + static_cast<int>(random() % 20);
        const int height = 1 + static_cast<int>(random() % 13);
        const int planes = 1 + static_cast<int>(random() % (random() % 4 == 0 ? 31 : 9));
        const CodeBlock block = Block(width, height, content, planes, random);
        CompareWithModel(block, subband, planes, style);
        ASSERT_FALSE(HasFatalFailure())
            << width << " x " << height << " planes " << planes << " style " << style << " subband "
            << subband << " content " << static_cast<int>(content) << " seed " << harness::Seed();
      }
    }
  }
}

TEST(CodeBlockEncoder, Sizes) {
  Random random(harness::Seed());
  const int stride = harness::Exhaustive() ? 1 : 7;
  for (int width = 1; width <= 64; width += stride) {
    for (int height = 1; height <= 64; height += 1 + (width % 3) * 5) {
      const CodeBlock block = Block(width, height, Content::kPhoto, 3, random);
      CompareWithModel(block, width % 4, 3, 0);
      ASSERT_FALSE(HasFatalFailure()) << width << " x " << height << " seed " << harness::Seed();
    }
  }
}

TEST(CodeBlockEncoder, LongBlocks) {
  Random random(harness::Seed());
  for (const zepiSize size : {zepiSize{1024, 4}, zepiSize{4, 1024}, zepiSize{64, 64}}) {
    for (const int style : {0, 8, 63}) {
      const CodeBlock block = Block(size.width, size.height, Content::kPhoto, 4, random);
      CompareWithModel(block, 2, 4, style);
      ASSERT_FALSE(HasFatalFailure()) << size.width << " style " << style;
    }
  }
}

TEST(CodeBlockEncoder, MagnitudeBitsAreClamped) {
  Random random(harness::Seed());
  const CodeBlock block = Block(9, 9, Content::kFractions, 31, random);
  for (const int bits : {-5, 0, 1, 30, 31, 32, 1000}) CompareWithModel(block, 1, bits, 0);
}

TEST(CodeBlockEncoder, ZerosMakeNoCode) {
  Encoder encoder(8, 8);
  Random random(harness::Seed());
  const CodedBlock coded = encoder.Encode(Block(8, 8, Content::kZero, 8, random), 0, 8, 0);
  EXPECT_EQ(coded.planes, 0);
  EXPECT_EQ(coded.passes.size(), 0u);
  EXPECT_EQ(coded.bytes.size(), 0u);
  EXPECT_EQ(encoder.segments(), 1);
}

TEST(CodeBlockEncoder, StoresInPieces) {
  Random random(harness::Seed());
  const CodeBlock block = Block(20, 20, Content::kDense, 9, random);
  Encoder encoder(64, 64);
  const CodedBlock whole = encoder.Encode(block, 0, 9, 4);
  for (const int32_t capacity : {1, 2, 7, 100}) {
    EXPECT_EQ(harness::FirstDifference(encoder.Encode(block, 0, 9, 4, capacity).bytes, whole.bytes),
              "");
  }
  uint8_t byte = 0x77;
  int32_t length = 1, unfinished = 1;
  EXPECT_EQ(zepiEncodeStoreBits_JPEG2K_1u(&byte, &length, encoder.state(), &unfinished),
            zepStatusOk);
  EXPECT_EQ(length, 0);
  EXPECT_EQ(unfinished, 0);
  EXPECT_EQ(byte, 0x77);
}

TEST(CodeBlockEncoder, AStateServesManyBlocks) {
  Random random(harness::Seed());
  Encoder encoder(40, 40);
  for (int round = 0; round < 60; ++round) {
    const int width = 1 + static_cast<int>(random() % 40),
              height = 1 + static_cast<int>(random() % 40);
    const auto content = kContents[random() % 8];
    const CodeBlock block = Block(width, height, content, 6, random);
    const int style = static_cast<int>(random() % 64);
    Encoder fresh(width, height);
    ExpectSame(encoder.Encode(block, 3, 6, style), fresh.Encode(block, 3, 6, style));
  }
}

// Rows at any address, between protected pages.
TEST(CodeBlockEncoder, ReadsItsRowsOnly) {
  Random random(harness::Seed());
  for (const int width : {1, 3, 15, 16, 17, 33}) {
    for (const int step : {4 * width, 4 * width + 1, 4 * width + 64}) {
      const int height = 6;
      const CodeBlock block = Block(width, height, Content::kDense, 7, random);
      const size_t bytes = static_cast<size_t>(step * (height - 1) + 4 * width);
      for (const auto edge : {harness::Edge::kStart, harness::Edge::kEnd}) {
        harness::Guarded<uint8_t> memory(bytes, edge);
        for (int y = 0; y < height; ++y) {
          std::memcpy(memory.raw() + y * step, block.samples.data() + y * width,
                      static_cast<size_t>(4 * width));
        }
        Encoder encoder(width, height), other(width, height);
        int32_t planes = 0, passes = 0, segments = 0;
        ASSERT_EQ(zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(
                      reinterpret_cast<const int32_t*>(memory.raw()), step, {width, height},
                      encoder.state(), 0, 7, 0, 0, 0, &planes, &passes, &segments),
                  zepStatusOk);
        std::vector<uint8_t> code(100000);
        int32_t length = 100000, unfinished = 0;
        zepiEncodeStoreBits_JPEG2K_1u(code.data(), &length, encoder.state(), &unfinished);
        code.resize(static_cast<size_t>(length));
        EXPECT_EQ(harness::FirstDifference(code, other.Encode(block, 0, 7, 0).bytes), "")
            << width << " step " << step;
      }
    }
  }
}

TEST(CodeBlockEncoder, Checks) {
  Encoder encoder(4, 4);
  int32_t src[16] = {1 << 20}, planes = 0, passes = 0, segments = 0;
  zepiEncodeStateJPEG2K* const state = encoder.state();
  CheckOrder(HARNESS_NAMED(zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R),
             static_cast<const int32_t*>(src), 16, zepiSize{4, 4}, state, 0, 20, 0, 0, 0, &planes,
             &passes, &segments)
      .Null<3>()
      .Null<9>()
      .Null<10>()
      .Null<11>()
      .Size<2>()
      .Null<0>()
      .Step<1>()
      .Output(&planes, 4)
      .Output(&passes, 4)
      .Output(&segments, 4)
      .Run();
  ASSERT_EQ(zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(src, 16, {4, 4}, state, 0, 20, 0, 0, 0, &planes,
                                                   &passes, &segments),
            zepStatusOk);
  int32_t value = 0;
  double dist = 0;
  const zepiEncodeStateJPEG2K* const constant = state;
  CheckOrder(HARNESS_NAMED(zepiEncodeGetRate_JPEG2K), constant, 0, &value)
      .Null<0>()
      .Null<2>()
      .Bad<1>(zepStatusJPEG2KBadPassNumber, {-1, INT_MIN, passes, INT_MAX})
      .Output(&value, 4)
      .Run();
  CheckOrder(HARNESS_NAMED(zepiEncodeGetTermPassLen_JPEG2K), constant, 0, &value)
      .Null<0>()
      .Null<2>()
      .Bad<1>(zepStatusJPEG2KBadPassNumber, {-1, INT_MIN, passes, INT_MAX})
      .Output(&value, 4)
      .Run();
  CheckOrder(HARNESS_NAMED(zepiEncodeGetDist_JPEG2K), constant, 0, &dist)
      .Null<0>()
      .Null<2>()
      .Bad<1>(zepStatusJPEG2KBadPassNumber, {-1, INT_MIN, passes, INT_MAX})
      .Output(&dist, 8)
      .Run();
  uint8_t code[16];
  int32_t length = 16, unfinished = 7;
  CheckOrder(HARNESS_NAMED(zepiEncodeStoreBits_JPEG2K_1u), &code[0], &length, state, &unfinished)
      .Null<2>()
      .Null<0>()
      .Null<1>()
      .Null<3>()
      .Output(code, 16)
      .Output(&length, 4)
      .Output(&unfinished, 4)
      .Run();
  for (const int32_t bad : {0, -1, INT_MIN}) {
    length = bad;
    EXPECT_EQ(zepiEncodeStoreBits_JPEG2K_1u(code, &length, state, &unfinished), zepStatusBadSize);
    EXPECT_EQ(length, bad);
  }
  zepiEncodeStateJPEG2K* made = nullptr;
  CheckOrder(HARNESS_NAMED(zepiEncodeInitAlloc_JPEG2K), &made, zepiSize{4, 4})
      .Null<0>()
      .Size<1>()
      .Output(&made, sizeof(made))
      .Run();
  EXPECT_EQ(zepiEncodeFree_JPEG2K(made), zepStatusOk);  // made by the good call
  EXPECT_EQ(zepiEncodeFree_JPEG2K(nullptr), zepStatusNullPtr);
}

TEST(CodeBlockEncoder, OtherStatesAreRefused) {
  Encoder encoder(4, 4);
  char id[4];
  std::memcpy(id, encoder.state(), 4);
  EXPECT_EQ(std::memcmp(id, "DSML", 4), 0);
  for (int i = 0; i < 4; ++i) {
    reinterpret_cast<char*>(encoder.state())[i] ^= 1;
    int32_t src[16] = {}, a = 0, b = 0, c = 0;
    double d = 0;
    uint8_t byte = 0;
    zepiEncodeStateJPEG2K* const state = encoder.state();
    EXPECT_EQ(
        zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(src, 16, {4, 4}, state, 0, 1, 0, 0, 0, &a, &b, &c),
        zepStatusContextMismatch);
    EXPECT_EQ(zepiEncodeLoadCodeBlock_JPEG2K_32s_C1R(nullptr, 0, {0, 0}, state, 0, 1, 0, 0, 0,
                                                     nullptr, nullptr, nullptr),
              zepStatusContextMismatch);
    EXPECT_EQ(zepiEncodeGetRate_JPEG2K(state, -1, nullptr), zepStatusContextMismatch);
    EXPECT_EQ(zepiEncodeGetTermPassLen_JPEG2K(state, 0, &a), zepStatusContextMismatch);
    EXPECT_EQ(zepiEncodeGetDist_JPEG2K(state, 0, &d), zepStatusContextMismatch);
    EXPECT_EQ(zepiEncodeStoreBits_JPEG2K_1u(&byte, &a, state, &b), zepStatusContextMismatch);
    EXPECT_EQ(zepiEncodeStoreBits_JPEG2K_1u(nullptr, nullptr, state, nullptr),
              zepStatusContextMismatch);
    reinterpret_cast<char*>(encoder.state())[i] ^= 1;
  }
}

TEST(CodeBlockEncoder, SizesBeyondMemory) {
  for (const zepiSize size : {zepiSize{INT_MAX, INT_MAX}, zepiSize{INT_MAX, 1},
                              zepiSize{1, INT_MAX}, zepiSize{1 << 16, 1 << 16}}) {
    int dummy;
    auto* state = reinterpret_cast<zepiEncodeStateJPEG2K*>(&dummy);
    EXPECT_EQ(zepiEncodeInitAlloc_JPEG2K(&state, size), zepStatusMemAlloc);
    EXPECT_EQ(state, nullptr);
  }
}

}  // namespace
