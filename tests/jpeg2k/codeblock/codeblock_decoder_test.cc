// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <climits>
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
using codeblock_cases::SegmentLengths;
using harness::CheckOrder;
using harness::Guarded;
using harness::Random;
using reference::CodeBlock;
using reference::CodedBlock;
using reference::DecodedBlock;
using Samples = std::vector<uint32_t>;
using Bytes = std::vector<uint8_t>;

constexpr int kConceal = 0x10000, kKeepBlock = 0x20000, kKeepBits = 0x40000, kKeepFlags = 0x80000;

int32_t StateSize(zepiSize size) {
  int32_t bytes = -1, same = -2;
  EXPECT_EQ(zepiDecodeGetBufSize_JPEG2K(size, &bytes), zepStatusOk);
  EXPECT_EQ(zepiDecodeCBProgrGetStateSize_JPEG2K(size, &same), zepStatusOk);
  EXPECT_EQ(bytes, same);
  return bytes;
}

struct Outcome {
  zepStatus status;
  Samples samples;
  int32_t error_plane = -1;
};

// Decodes in one call; source, block and state end at protected pages.
Outcome DecodeAtOnce(zepiSize size, const Bytes& bytes, const std::vector<int32_t>& lengths,
                     int subband, int bits, int passes, int flags) {
  Guarded<uint8_t> src(bytes.size());
  if (!bytes.empty()) std::memcpy(src.data(), bytes.data(), bytes.size());
  Guarded<int32_t> dst(static_cast<size_t>(size.width) * static_cast<size_t>(size.height));
  Guarded<uint8_t> state(static_cast<size_t>(StateSize(size)));
  Outcome outcome;
  const int32_t none = 0;
  outcome.status = zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
      src.data(), dst.data(), 4 * size.width, size, subband, bits, passes,
      lengths.empty() ? &none : lengths.data(), static_cast<int32_t>(lengths.size()), flags,
      &outcome.error_plane, state.data());
  outcome.samples.resize(dst.count());
  std::memcpy(outcome.samples.data(), dst.raw(), dst.bytes());
  return outcome;
}

void CompareWithModel(zepiSize size, const Bytes& bytes, const std::vector<int32_t>& lengths,
                      int subband, int bits, int passes, int flags) {
  const Outcome got = DecodeAtOnce(size, bytes, lengths, subband, bits, passes, flags);
  const DecodedBlock want = reference::DecodeCodeBlock(size.width, size.height, bytes, lengths,
                                                       subband, bits, passes, flags);
  ASSERT_EQ(got.status, want.failed ? zepStatusJPEG2KDecodeError : zepStatusOk);
  ASSERT_EQ(got.error_plane, want.failed ? want.bit_plane : -1);
  ASSERT_EQ(harness::FirstDifference(got.samples, want.samples, static_cast<size_t>(size.width)),
            "");
}

TEST(CodeBlockDecoder, EveryStyleSubbandAndContent) {
  Random random(harness::Seed());
  for (int style = 0; style < 64; ++style) {
    for (int subband = 0; subband < 4; ++subband) {
      for (const Content content : kContents) {
        const int width = 1 + static_cast<int>(random() % 40);
        const int height = 1 + static_cast<int>(random() % 21);
        const int planes = 1 + static_cast<int>(random() % (random() % 4 == 0 ? 31 : 9));
        const CodeBlock block = Block(width, height, content, planes, random);
        Encoder encoder(width, height);
        const CodedBlock coded = encoder.Encode(block, subband, planes, style);
        const int passes = static_cast<int>(coded.passes.size());
        const auto lengths = SegmentLengths(coded, passes, style);
        const auto where = [&] {
          return ::testing::Message()
                 << width << " x " << height << " planes " << planes << " style " << style
                 << " subband " << subband << " content " << static_cast<int>(content);
        };
        // All planes are restored.
        const Outcome whole = DecodeAtOnce({width, height}, coded.bytes, lengths, subband,
                                           coded.planes, passes, style);
        ASSERT_EQ(whole.status, zepStatusOk) << where();
        const uint32_t kept = ~((1u << (31 - planes)) - 1);
        for (size_t i = 0; i < block.samples.size(); ++i) {
          uint32_t want = block.samples[i] & kept;
          if ((want & 0x7FFFFFFF) == 0) want = 0;
          ASSERT_EQ(whole.samples[i], want) << where() << " sample " << i;
        }
        // Cut after any pass, with and without midpoints.
        const int cut =
            passes == 0 ? 0 : 1 + static_cast<int>(random() % static_cast<unsigned>(passes));
        for (const int flags : {0, kKeepBits}) {
          CompareWithModel({width, height}, coded.bytes, SegmentLengths(coded, cut, style), subband,
                           coded.planes + flags / kKeepBits, cut, style | flags);
          ASSERT_FALSE(HasFatalFailure()) << where() << " cut " << cut;
        }
      }
    }
  }
}

double Value(uint32_t sample) {
  const auto magnitude = static_cast<double>(sample & 0x7FFFFFFF);
  return (sample & 0x80000000u) != 0 ? -magnitude : magnitude;
}

// Every truncation point gives the distortion that the query predicted, from the number of bytes
// that its length gives.
TEST(CodeBlockDecoder, TruncationKeepsThePromise) {
  Random random(harness::Seed());
  for (int round = 0; round < 120; ++round) {
    const int style = round % 64;
    const int width = 1 + static_cast<int>(random() % 33),
              height = 1 + static_cast<int>(random() % 17);
    const int planes = 1 + round % 7;  // distortion uses seven bits
    const Content content = round % 3 == 0 ? Content::kDense : Content::kPhoto;
    const CodeBlock block = Block(width, height, content, planes, random);
    Encoder encoder(width, height);
    const CodedBlock coded = encoder.Encode(block, 1, planes, style);
    const int lowest = 31 - planes;
    double error = 0, removed = 0;
    for (const uint32_t sample : block.samples) error += Value(sample) * Value(sample);
    for (size_t k = 0; k < coded.passes.size(); ++k) {
      removed += coded.passes[k].distortion;
      const int count = static_cast<int>(k) + 1;
      Bytes bytes(coded.bytes.begin(), coded.bytes.begin() + coded.passes[k].truncated_length);
      const Outcome cut = DecodeAtOnce({width, height}, bytes, SegmentLengths(coded, count, style),
                                       1, coded.planes, count, style | kKeepBits);
      ASSERT_EQ(cut.status, zepStatusOk);
      double left = 0;
      for (size_t i = 0; i < block.samples.size(); ++i) {
        const uint32_t exact = cut.samples[i] & ~((1u << lowest) - 1);  // on the lowest plane
        const double distance = Value(block.samples[i]) - Value(exact);
        left += distance * distance;
      }
      const double scale = std::ldexp(1, 2 * lowest);
      ASSERT_NEAR(removed, (error - left) / scale, 1e-6 * (1 + removed))
          << "pass " << k << " style " << style << " planes " << planes;
    }
  }
}

TEST(CodeBlockDecoder, AnyBytesAsTheModel) {
  Random random(harness::Seed());
  for (int round = 0; round < 3000; ++round) {
    const zepiSize size = {1 + static_cast<int>(random() % 24),
                           1 + static_cast<int>(random() % 12)};
    Bytes bytes;
    std::vector<int32_t> lengths;
    const int segments = 1 + static_cast<int>(random() % 12);
    const unsigned ff = random() % 4 == 0 ? 3 : 40;  // one of `ff` bytes is FF
    for (int k = 0; k < segments; ++k) {
      lengths.push_back(static_cast<int32_t>(random() % 60));
      for (int32_t i = 0; i < lengths.back(); ++i) {
        bytes.push_back(random() % ff == 0 ? 0xFF : static_cast<uint8_t>(random()));
      }
    }
    if (random() % 4 == 0) lengths.push_back(-7);
    const int flags = static_cast<int>(random() % 64) | (random() % 2 ? kConceal : 0) |
                      (random() % 2 ? kKeepBits : 0);
    const int bits = static_cast<int>(random() % 34) - 1;
    const int passes = static_cast<int>(random() % 100) - 2;
    CompareWithModel(size, bytes, lengths, static_cast<int>(random() % 4), bits, passes, flags);
    ASSERT_FALSE(HasFatalFailure()) << "round " << round << " seed " << harness::Seed();
  }
}

// Decodes each segment alone, in a state of any alignment and contents.
TEST(CodeBlockDecoder, StepByStepAsAtOnce) {
  Random random(harness::Seed());
  for (int style = 0; style < 64; ++style) {
    const zepiSize size = {17 + style % 5, 9 + style % 3};
    const CodeBlock block = Block(size.width, size.height, Content::kPhoto, 8, random);
    Encoder encoder(size.width, size.height);
    CodedBlock coded = encoder.Encode(block, 3, 8, style);
    const int passes = static_cast<int>(coded.passes.size());
    const auto lengths = SegmentLengths(coded, passes, style);
    if (style % 2 == 0 && !coded.bytes.empty()) coded.bytes[coded.bytes.size() / 2] ^= 0x10;
    const Outcome at_once =
        DecodeAtOnce(size, coded.bytes, lengths, 3, coded.planes, passes, style | kKeepBits);
    const size_t bytes = static_cast<size_t>(StateSize(size));
    Guarded<uint8_t> memory(bytes + 3);
    std::memset(memory.raw(), 0xEE, memory.bytes());
    auto* state = reinterpret_cast<zepiDecodeStateJPEG2K*>(memory.raw() + 3);
    Samples samples(block.samples.size(), 0x55555555);
    auto* dst = reinterpret_cast<int32_t*>(samples.data());
    ASSERT_EQ(zepiDecodeCBProgrInit_JPEG2K(state), zepStatusOk);
    ASSERT_EQ(zepiDecodeCBProgrStep_JPEG2K(coded.bytes.data(), 1, state),
              zepStatusJPEG2KNotAttached);
    ASSERT_EQ(zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst, 4 * size.width, size, state, 3,
                                                     coded.planes, style),
              zepStatusOk);
    int32_t plane = -9, left = -9;
    zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(state, &plane);
    EXPECT_EQ(plane, coded.planes - 1);
    zepiDecodeCBProgrGetPassCounter_JPEG2K(state, &left);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(zepiDecodeCBProgrStep_JPEG2K(coded.bytes.data(), 1, state),
              zepStatusOk);  // no passes
    zepiDecodeCBProgrSetPassCounter_JPEG2K(passes, state);
    zepStatus status = zepStatusOk;
    size_t at = 0;
    for (const int32_t length : lengths) {
      if (status != zepStatusOk) break;
      status = zepiDecodeCBProgrStep_JPEG2K(coded.bytes.data() + at, length, state);
      at += static_cast<size_t>(length);
    }
    ASSERT_EQ(status, at_once.status) << style;
    ASSERT_EQ(harness::FirstDifference(samples, at_once.samples), "") << style;
    zepiDecodeCBProgrGetPassCounter_JPEG2K(state, &left);
    zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(state, &plane);
    if (status == zepStatusOk) {
      EXPECT_EQ(left, 0);
      EXPECT_EQ(plane, 31 - 8);
    } else {
      EXPECT_EQ(plane, at_once.error_plane);
      EXPECT_EQ(zepiDecodeCBProgrStep_JPEG2K(coded.bytes.data(), 1, state),
                left > 0 ? zepStatusJPEG2KDecodeError : zepStatusOk);
    }
  }
}

TEST(CodeBlockDecoder, PassByPass) {
  Random random(harness::Seed());
  const CodeBlock block = Block(20, 15, Content::kDense, 9, random);
  Encoder encoder(20, 15);
  const CodedBlock coded = encoder.Encode(block, 0, 9, reference::kTerminate);
  const int passes = static_cast<int>(coded.passes.size());
  const auto lengths = SegmentLengths(coded, passes, reference::kTerminate);
  zepiDecodeStateJPEG2K* state = nullptr;
  ASSERT_EQ(zepiDecodeCBProgrInitAlloc_JPEG2K(&state, {20, 15}), zepStatusOk);
  Samples samples(block.samples.size());
  zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(reinterpret_cast<int32_t*>(samples.data()), 80, {20, 15},
                                         state, 0, coded.planes, reference::kTerminate);
  zepiDecodeCBProgrSetPassCounter_JPEG2K(passes, state);
  size_t at = 0;
  for (int k = 0; k < passes; ++k) {
    const auto length = lengths[static_cast<size_t>(k)];
    ASSERT_EQ(zepiDecodeCBProgrStep_JPEG2K(coded.bytes.data() + at, length, state), zepStatusOk);
    at += static_cast<size_t>(length);
    int32_t left = 0, plane = 0;
    zepiDecodeCBProgrGetPassCounter_JPEG2K(state, &left);
    zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(state, &plane);
    EXPECT_EQ(left, passes - 1 - k);
    EXPECT_EQ(plane, coded.planes - 1 - (k + 2) / 3);
    const DecodedBlock want =
        reference::DecodeCodeBlock(20, 15, coded.bytes, SegmentLengths(coded, k + 1, 4), 0,
                                   coded.planes, k + 1, reference::kTerminate | kKeepBits);
    ASSERT_EQ(harness::FirstDifference(samples, want.samples, 20), "") << k;
  }
  EXPECT_EQ(zepiDecodeCBProgrFree_JPEG2K(state), zepStatusOk);
}

TEST(CodeBlockDecoder, ErrorsAreFoundAndConcealed) {
  Random random(harness::Seed());
  int found = 0;
  for (int round = 0; round < 200; ++round) {
    const int style = reference::kSegmentationSymbols | reference::kPredictable |
                      (round % 2 ? reference::kTerminate : 0);
    const CodeBlock block = Block(32, 32, Content::kPhoto, 10, random);
    Encoder encoder(32, 32);
    CodedBlock coded = encoder.Encode(block, 0, 10, style);
    coded.bytes[random() % coded.bytes.size()] ^= static_cast<uint8_t>(1 + random() % 255);
    const int passes = static_cast<int>(coded.passes.size());
    const auto lengths = SegmentLengths(coded, passes, style);
    CompareWithModel({32, 32}, coded.bytes, lengths, 0, coded.planes, passes, style | kConceal);
    ASSERT_FALSE(HasFatalFailure());
    found += DecodeAtOnce({32, 32}, coded.bytes, lengths, 0, coded.planes, passes, style).status !=
             zepStatusOk;
  }
  EXPECT_GT(found, 180);
}

// Returns whether a byte after FF uses the bit that is stuffed there: some codes then have two
// forms.
bool HasStuffedOnes(const Bytes& bytes) {
  for (size_t i = 1; i < bytes.size(); ++i) {
    if (bytes[i - 1] == 0xFF && bytes[i] >= 0x80) return true;
  }
  return false;
}

// Predictable termination alone finds most damage in a segment. A segment that it accepts is, byte
// for byte, one that an encoder writes for the same decisions.
TEST(CodeBlockDecoder, PredictableTerminationFindsDamage) {
  Random random(harness::Seed());
  for (const int style : {20, 21, 22, 28, 31}) {
    int found = 0, accepted = 0, compared = 0;
    for (int round = 0; round < 400; ++round) {
      const CodeBlock block = Block(16, 16, Content::kPhoto, 8, random);
      Encoder encoder(16, 16);
      CodedBlock coded = encoder.Encode(block, 0, 8, style);
      const size_t at = random() % coded.bytes.size();
      coded.bytes[at] ^= static_cast<uint8_t>(1 + random() % 255);
      const int passes = static_cast<int>(coded.passes.size());
      const auto lengths = SegmentLengths(coded, passes, style);
      const Outcome got =
          DecodeAtOnce({16, 16}, coded.bytes, lengths, 0, coded.planes, passes, style);
      if (got.status != zepStatusOk) ++found;
      if (got.status != zepStatusOk || HasStuffedOnes(coded.bytes)) continue;
      ++accepted;
      const CodeBlock decoded = {16, 16, got.samples};
      const CodedBlock again = reference::EncodeCodeBlock(decoded, 0, 8, style);
      if (again.planes != coded.planes) continue;  // the damage cleared the top plane
      ++compared;
      EXPECT_EQ(harness::FirstDifference(again.bytes, coded.bytes), "")
          << "style " << style << " round " << round;
    }
    // Padding of raw segments is short; many of their single-bit errors cannot be detected.
    EXPECT_GT(found, (style & reference::kBypass) != 0 ? 300 : 380) << style;
    EXPECT_GE(2 * compared, accepted);
  }
}

// Bytes after the segment, or too few bytes.
TEST(CodeBlockDecoder, PredictableTerminationTellsLengths) {
  Random random(harness::Seed());
  int found = 0, count = 0;
  for (int round = 0; round < 200; ++round) {
    const int style = round % 2 == 0 ? 20 : 21;
    const CodeBlock block = Block(16, 16, Content::kDense, 6, random);
    Encoder encoder(16, 16);
    const CodedBlock coded = encoder.Encode(block, 0, 6, style);
    const int passes = static_cast<int>(coded.passes.size());
    auto lengths = SegmentLengths(coded, passes, style);
    const size_t k = random() % lengths.size();
    const size_t end = static_cast<size_t>(coded.passes[k].truncated_length);
    Bytes bytes = coded.bytes;
    if (round % 4 < 2 && lengths[k] > 0) {
      bytes.erase(bytes.begin() + static_cast<ptrdiff_t>(end) - 1);
      --lengths[k];
    } else {
      bytes.insert(bytes.begin() + static_cast<ptrdiff_t>(end),
                   static_cast<uint8_t>(random() % 255));
      ++lengths[k];
    }
    ++count;
    found += DecodeAtOnce({16, 16}, bytes, lengths, 0, coded.planes, passes, style).status !=
             zepStatusOk;
  }
  // A missing raw byte of eight used bits looks like an FF that was left out.
  EXPECT_GE(found, count - 10);
}

TEST(CodeBlockDecoder, WithoutSegmentsTheBlockIsCleared) {
  for (const int flags : {0, kKeepBlock}) {
    Samples samples(12, 0x12345678);
    Bytes state(static_cast<size_t>(StateSize({4, 3})));
    const uint8_t src = 0;
    const int32_t length = 0;
    EXPECT_EQ(zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(&src, reinterpret_cast<int32_t*>(samples.data()),
                                                   16, {4, 3}, 0, 8, 5, &length, 0,
                                                   flags | kKeepBits, nullptr, state.data()),
              zepStatusOk);
    EXPECT_EQ(harness::FirstDifference(samples, Samples(12, flags == 0 ? 0 : 0x12345678)), "");
  }
}

TEST(CodeBlockDecoder, ClearedFlagsMayBeKept) {
  Random random(harness::Seed());
  const CodeBlock block = Block(21, 18, Content::kDense, 6, random);
  Encoder encoder(21, 18);
  const CodedBlock coded = encoder.Encode(block, 2, 6, 0);
  const auto length = static_cast<int32_t>(coded.bytes.size());
  Bytes state(static_cast<size_t>(StateSize({21, 18})));
  Samples samples(block.samples.size());
  EXPECT_EQ(zepiDecodeCodeBlock_JPEG2K_1u32s_C1R(
                coded.bytes.data(), reinterpret_cast<int32_t*>(samples.data()), 84, {21, 18}, 2,
                coded.planes, 100, &length, 1, kKeepFlags, nullptr, state.data()),
            zepStatusOk);
  // The planes below those of the encoder are decoded from no data; the planes above are right.
  for (size_t i = 0; i < samples.size(); ++i) {
    const uint32_t want = block.samples[i];
    if ((want & 0x7FFFFFFF) != 0) {
      EXPECT_EQ(samples[i] >> 25, want >> 25);
    }
  }
}

TEST(CodeBlockDecoder, StateSizes) {
  EXPECT_EQ(StateSize({64, 64}), 288 * 34 + 388);
  EXPECT_EQ(StateSize({1, 1}), 32 * 3 + 388);
  EXPECT_EQ(StateSize({4, 1024}), 32 * 514 + 388);
  EXPECT_EQ(StateSize({1024, 4}), 4128 * 4 + 388);
  int32_t size = 5;
  EXPECT_EQ(zepiDecodeGetBufSize_JPEG2K({INT_MAX, INT_MAX}, &size), zepStatusBadSize);
  EXPECT_EQ(size, 5);
  zepiDecodeStateJPEG2K* state = reinterpret_cast<zepiDecodeStateJPEG2K*>(&size);
  EXPECT_EQ(zepiDecodeCBProgrInitAlloc_JPEG2K(&state, {INT_MAX, INT_MAX}), zepStatusMemAlloc);
  EXPECT_EQ(state, nullptr);
}

TEST(CodeBlockDecoder, Checks) {
  Bytes state(static_cast<size_t>(StateSize({4, 4})));
  int32_t dst[16] = {}, lengths[1] = {1}, plane = 0, size = 0, counter = 0;
  const uint8_t src[4] = {};
  CheckOrder(HARNESS_NAMED(zepiDecodeCodeBlock_JPEG2K_1u32s_C1R), &src[0], &dst[0], 16,
             zepiSize{4, 4}, 0, 5, 3, static_cast<const int32_t*>(lengths), 1, 0, &plane,
             state.data())
      .Null<0>()
      .Null<11>()
      .Size<3>()
      .Null<7>()
      .Null<1>()
      .Step<2>()
      .Output(dst, sizeof(dst))
      .Output(state.data(), state.size())
      .Output(&plane, 4)
      .Run();
  CheckOrder(HARNESS_NAMED(zepiDecodeGetBufSize_JPEG2K), zepiSize{4, 4}, &size)
      .Size<0>()
      .Null<1>()
      .Output(&size, 4)
      .Run();
  CheckOrder(HARNESS_NAMED(zepiDecodeCBProgrGetStateSize_JPEG2K), zepiSize{4, 4}, &size)
      .Size<0>()
      .Null<1>()
      .Output(&size, 4)
      .Run();
  zepiDecodeStateJPEG2K* made = nullptr;
  CheckOrder(HARNESS_NAMED(zepiDecodeCBProgrInitAlloc_JPEG2K), &made, zepiSize{4, 4})
      .Null<0>()
      .Size<1>()
      .Output(&made, sizeof(made))
      .Run();
  EXPECT_EQ(zepiDecodeCBProgrFree_JPEG2K(made), zepStatusOk);  // made by the good call
  EXPECT_EQ(zepiDecodeCBProgrInit_JPEG2K(nullptr), zepStatusNullPtr);
  EXPECT_EQ(zepiDecodeCBProgrFree_JPEG2K(nullptr), zepStatusNullPtr);

  auto* progress = reinterpret_cast<zepiDecodeStateJPEG2K*>(state.data());
  const zepiDecodeStateJPEG2K* const constant = progress;
  zepiDecodeCBProgrInit_JPEG2K(progress);
  CheckOrder(HARNESS_NAMED(zepiDecodeCBProgrAttach_JPEG2K_32s_C1R), &dst[0], 16, zepiSize{4, 4},
             progress, 0, 5, 0)
      .Null<3>()
      .Null<0>()
      .Step<1>()
      .Size<2>()
      .Output(dst, sizeof(dst))
      .Output(state.data(), state.size())
      .Run();
  CheckOrder(HARNESS_NAMED(zepiDecodeCBProgrSetPassCounter_JPEG2K), 3, progress).Null<1>().Run();
  CheckOrder(HARNESS_NAMED(zepiDecodeCBProgrGetPassCounter_JPEG2K), constant, &counter)
      .Null<0>()
      .Null<1>()
      .Output(&counter, 4)
      .Run();
  CheckOrder(HARNESS_NAMED(zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K), constant, &plane)
      .Null<0>()
      .Null<1>()
      .Output(&plane, 4)
      .Run();
  zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst, 16, {4, 4}, progress, 0, 5, 0);
  CheckOrder(HARNESS_NAMED(zepiDecodeCBProgrStep_JPEG2K), &src[0], 4, progress)
      .Null<0>()
      .Null<2>()
      .Output(state.data(), state.size())
      .Run();
}

TEST(CodeBlockDecoder, OtherStatesAreRefused) {
  Bytes memory(static_cast<size_t>(StateSize({4, 4})));
  auto* state = reinterpret_cast<zepiDecodeStateJPEG2K*>(memory.data());
  zepiDecodeCBProgrInit_JPEG2K(state);
  EXPECT_EQ(std::memcmp(memory.data(), "PAMC", 4), 0);
  int32_t value = 0, dst[16];
  const uint8_t src = 0;
  for (size_t i = 0; i < 4; ++i) {
    memory[i] ^= 1;
    EXPECT_EQ(zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(dst, 16, {4, 4}, state, 0, 5, 0),
              zepStatusContextMismatch);
    EXPECT_EQ(zepiDecodeCBProgrAttach_JPEG2K_32s_C1R(nullptr, 0, {0, 0}, state, 0, 5, 0),
              zepStatusContextMismatch);
    EXPECT_EQ(zepiDecodeCBProgrSetPassCounter_JPEG2K(1, state), zepStatusContextMismatch);
    EXPECT_EQ(zepiDecodeCBProgrGetPassCounter_JPEG2K(state, &value), zepStatusContextMismatch);
    EXPECT_EQ(zepiDecodeCBProgrGetCurBitPlaneNum_JPEG2K(state, nullptr), zepStatusContextMismatch);
    EXPECT_EQ(zepiDecodeCBProgrStep_JPEG2K(&src, 1, state), zepStatusContextMismatch);
    memory[i] ^= 1;
  }
}

}  // namespace
