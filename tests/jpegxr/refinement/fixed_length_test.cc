// SPDX-License-Identifier: MIT
#include "reference/fixed_length.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "harness/check_order.h"
#include "harness/difference.h"
#include "harness/guarded.h"
#include "harness/random.h"

namespace {

using harness::CheckOrder;
using harness::Edge;
using harness::Guarded;
using harness::Random;

// The state of a stream after a call.
struct Stream {
  uint32_t accumulator = 0;
  uint32_t count = 0;
  friend bool operator==(const Stream& a, const Stream& b) {
    return a.accumulator == b.accumulator && a.count == b.count;
  }
};

Stream RandomStream(Random& random, uint32_t max_count) {
  return {static_cast<uint32_t>(random()), static_cast<uint32_t>(random() % (max_count + 1))};
}

// A block with some zeros, at any place between protected pages.
template <class T>
class Block {
 public:
  Block(int32_t step, Edge edge)
      : step_(step), memory_(3 * static_cast<size_t>(std::abs(step)) + 4 * sizeof(T), edge) {}

  T* data() {
    return reinterpret_cast<T*>(memory_.raw() + (step_ < 0 ? -3 * ptrdiff_t{step_} : 0));
  }
  std::vector<uint8_t> Bytes() const { return {memory_.raw(), memory_.raw() + memory_.bytes()}; }
  void Assign(const Block& other) {
    std::memcpy(memory_.raw(), other.memory_.raw(), memory_.bytes());
  }
  void Set(int row, int column, T value) {
    std::memcpy(reinterpret_cast<uint8_t*>(data()) + ptrdiff_t{row} * step_ +
                    static_cast<size_t>(column) * sizeof(T),
                &value, sizeof(T));
  }
  void Fill(uint32_t shift, Random& random) {
    for (int i = 0; i < 16; ++i) {
      const auto value = static_cast<int32_t>(random()) >> shift;
      Set(i / 4, i % 4, random() % 3 == 0 ? T{0} : static_cast<T>(value));
    }
  }

 private:
  int32_t step_;
  Guarded<uint8_t> memory_;
};

template <class T>
int32_t RandomStep(Random& random) {
  const auto row = static_cast<int32_t>(4 * sizeof(T));
  const int32_t steps[] = {row, row + 1, row + 24, -row - 3};
  return steps[random() % 4];
}

// Bytes with random bits, or with few bits set.
void FillBytes(Guarded<uint8_t>& bytes, bool is_sparse, Random& random) {
  for (size_t i = 0; i < bytes.count(); ++i) {
    bytes.raw()[i] = static_cast<uint8_t>(is_sparse ? random() & random() & random() : random());
  }
}

// The export may read only the bytes that the model reads: they end at a protected page.
template <class T, class Export, class Model>
void CompareDecoders(const Export& exported, const Model& model) {
  Random random(harness::Seed());
  Guarded<uint8_t> source(64);
  for (int round = 0; round < 10000; ++round) {
    const int32_t step = RandomStep<T>(random);
    Block<T> got(step, Edge::kEnd), want(step, Edge::kEnd);
    got.Fill(static_cast<uint32_t>(random() % 32), random);
    want.Assign(got);
    FillBytes(source, round % 2 == 0, random);
    const auto m = static_cast<uint32_t>(random() % 16);
    const auto multiplier = static_cast<T>(random() % 3 == 0 ? 1 : random() >> random() % 32);
    const auto refine = static_cast<uint32_t>(random() % 2 * random());
    const Stream before = RandomStream(random, 32);
    Stream expected = before;
    const uint8_t* expected_from = source.raw();
    ASSERT_EQ(model(&expected_from, &expected.accumulator, &expected.count, want.data(), step, m,
                    multiplier, refine),
              zepStatusOk);
    const auto used = static_cast<size_t>(expected_from - source.raw());
    Guarded<uint8_t> exact(used);
    std::memcpy(exact.raw(), source.raw(), used);
    const uint8_t* from = exact.raw();
    Stream stream = before;
    ASSERT_EQ(exported(&from, &stream.accumulator, &stream.count, got.data(), step, m, multiplier,
                       refine),
              zepStatusOk);
    ASSERT_TRUE(stream == expected && from == exact.raw() + used)
        << "round " << round << " m " << m << " count " << before.count << " seed "
        << harness::Seed();
    ASSERT_EQ(harness::FirstDifference(got.Bytes(), want.Bytes()), "")
        << "round " << round << " m " << m;
  }
}

#define CALL(function) [](auto... arguments) { return function(arguments...); }
#define CALLS(function) CALL(::function), CALL(reference::function)

TEST(FixedLength, DecodersEqualModel) {
  CompareDecoders<int32_t>(CALLS(zepiFLCDecode4x4_JPEGXR_1u32s_C1IR));
  CompareDecoders<int16_t>(CALLS(zepiFLCDecode4x4_JPEGXR_1u16s_C1IR));
}

template <class T, class Export, class Model>
void CompareEncoders(const Export& exported, const Model& model) {
  Random random(harness::Seed());
  for (int round = 0; round < 10000; ++round) {
    const int32_t step = RandomStep<T>(random);
    Block<T> block(step, round % 2 == 0 ? Edge::kEnd : Edge::kStart);
    block.Fill(static_cast<uint32_t>(random() % 32), random);
    Guarded<int32_t> packed(16);
    for (size_t i = 0; i < 16; ++i)
      packed.data()[i] = static_cast<int32_t>(random() >> random() % 32);
    const auto m = static_cast<uint32_t>(random() % 16);
    const auto trim = static_cast<uint32_t>(random() % 16);
    const auto coded = static_cast<uint32_t>(random() % 2 * random());
    const Stream before = RandomStream(random, 32);
    std::vector<uint8_t> want(64);
    uint8_t* to = want.data();
    Stream expected = before;
    ASSERT_EQ(model(block.data(), step, packed.data(), &to, &expected.accumulator, &expected.count,
                    m, trim, coded),
              zepStatusOk);
    want.resize(static_cast<size_t>(to - want.data()));
    Guarded<uint8_t> got(want.size());
    to = got.raw();
    Stream stream = before;
    ASSERT_EQ(exported(block.data(), step, packed.data(), &to, &stream.accumulator, &stream.count,
                       m, trim, coded),
              zepStatusOk);
    ASSERT_TRUE(stream == expected && to == got.raw() + got.count())
        << "round " << round << " m " << m << " trim " << trim << " coded " << coded << " seed "
        << harness::Seed();
    ASSERT_EQ(harness::FirstDifferenceOf(got.raw(), want.data(), got.count()), "")
        << "round " << round;
  }
}

TEST(FixedLength, EncodersEqualModel) {
  CompareEncoders<int32_t>(CALLS(zepiFLCEncode4x4_JPEGXR_32s1u_C1R));
  CompareEncoders<int16_t>(CALLS(zepiFLCEncode4x4_JPEGXR_16s1u_C1R));
}

// A block as the adaptive coder leaves it (trimmed to `model_bits`), and its refinement as packed
// values.
struct Split {
  int32_t high[16], packed[16];
};
Split SplitBlock(const int32_t* block, uint32_t model_bits, uint32_t trim) {
  Split split = {};
  const uint32_t m = model_bits - trim;
  for (int i = 1; i < 16; ++i) {
    const auto magnitude = static_cast<uint32_t>(std::abs(block[i]));
    const uint32_t is_negative = block[i] < 0 ? 1 : 0;
    const auto level = static_cast<int32_t>(magnitude >> model_bits << model_bits);
    split.high[i] = is_negative != 0 ? -level : level;
    const uint32_t t = magnitude >> trim & ((1U << m) - 1);
    const uint32_t bits = level != 0 ? 2 * t : t == 0 ? 0 : 2 * (2 * t + is_negative) + 1;
    split.packed[i] = static_cast<int32_t>(bits);
  }
  return split;
}

TEST(FixedLength, DecodingRestoresTheBlock) {
  Random random(harness::Seed());
  for (int round = 0; round < 5000; ++round) {
    const auto model_bits = static_cast<uint32_t>(random() % 16);
    const auto trim = static_cast<uint32_t>(random() % (model_bits + 1));
    const bool is_coded = round % 2 == 0;
    int32_t block[16];
    for (int32_t& value : block) {
      value = static_cast<int32_t>(random() % 65536) - 32768;
      if (!is_coded) value = value % (1 << model_bits);
    }
    Split split = SplitBlock(block, model_bits, trim);
    uint8_t bytes[64] = {};
    uint8_t* to = bytes;
    Stream writer, reader;
    ASSERT_EQ(zepiFLCEncode4x4_JPEGXR_32s1u_C1R(block, 16, split.packed, &to, &writer.accumulator,
                                                &writer.count, model_bits - trim, trim, is_coded),
              zepStatusOk);
    for (uint32_t i = 0; i < 2; ++i)
      *to++ = static_cast<uint8_t>(writer.accumulator >> (24 - 8 * i));
    const uint8_t* from = bytes;
    ASSERT_EQ(
        zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(&from, &reader.accumulator, &reader.count, split.high,
                                           16, model_bits - trim, 1 << trim, is_coded),
        zepStatusOk);
    for (int i = 1; i < 16; ++i) {
      const int32_t kept = std::abs(block[i]) >> trim << trim;
      ASSERT_EQ(split.high[i], block[i] < 0 ? -kept : kept) << i << " seed " << harness::Seed();
    }
  }
}

TEST(FixedLength, KnownBits) {
  // 101: -2; then thirteen zeros of two bits; 01 0: 1.
  const uint8_t bytes[8] = {0xA0, 0, 0, 0x02, 0};
  const uint8_t* from = bytes;
  Stream stream;
  int32_t block[16] = {};
  block[7] = 77;  // (1, 3), which q = 0 does not change
  ASSERT_EQ(zepiFLCDecode4x4_JPEGXR_1u32s_C1IR(&from, &stream.accumulator, &stream.count, block, 16,
                                               2, 5, 0),
            zepStatusOk);
  EXPECT_EQ(block[2], -10);
  EXPECT_EQ(block[7], 77);
  EXPECT_EQ(block[10], 5);
  EXPECT_EQ(from, bytes + 6);
  EXPECT_EQ(stream.count, 48U - 32U);
}

TEST(FixedLength, NothingHappensWithoutBits) {
  Stream stream = {0x12345678, 31};
  int16_t block[16] = {1, 2, 3};
  const int16_t before[16] = {1, 2, 3};
  const int32_t packed[16] = {0, 3, 3};
  const uint8_t* from = reinterpret_cast<const uint8_t*>(block);
  uint8_t byte = 9;
  uint8_t* to = &byte;
  EXPECT_EQ(zepiFLCDecode4x4_JPEGXR_1u16s_C1IR(&from, &stream.accumulator, &stream.count, block, 8,
                                               0, 7, 1),
            zepStatusOk);
  EXPECT_EQ(zepiFLCEncode4x4_JPEGXR_16s1u_C1R(block, 8, packed, &to, &stream.accumulator,
                                              &stream.count, 0, 3, 1),
            zepStatusOk);
  EXPECT_TRUE((stream == Stream{0x12345678, 31}));
  EXPECT_EQ(harness::FirstByteDifference(block, before, sizeof(block)), "");
  EXPECT_EQ(byte, 9);
}

// Two sets of arguments, because the count can be a null pointer or a value that is too large.
template <class Checks>
Checks Copy(const Checks& checks) {
  return checks;
}

template <class T, class Call>
void ExpectDecoderChecks(harness::Named<Call> function) {
  const uint8_t bytes[64] = {};
  const uint8_t *from = bytes, *no_bytes = nullptr;
  Stream stream, bad_stream = {0, 33};
  T block[16] = {};
  const auto checks = CheckOrder(function, &from, &stream.accumulator, &stream.count, &block[0],
                                 static_cast<int32_t>(4 * sizeof(T)), 4U, T{1}, 0U)
                          .Output(block, sizeof(block))
                          .Output(&stream, sizeof(stream))
                          .Output(&from, sizeof(from))
                          .template Bad<0>(zepStatusNullPtr, {nullptr, &no_bytes})
                          .template Null<1>()
                          .template Null<3>();
  Copy(checks).template Null<2>().template Bad<5>(zepStatusOutOfRange, {16U, ~0U}).Run();
  Copy(checks)
      .template Bad<2>(zepStatusOutOfRange, {&bad_stream.count})
      .template Bad<5>(zepStatusOutOfRange, {16U, ~0U})
      .Run();
}

template <class T, class Call>
void ExpectEncoderChecks(harness::Named<Call> function) {
  uint8_t bytes[64] = {};
  uint8_t *to = bytes, *no_bytes = nullptr;
  Stream stream, bad_stream = {0, 33};
  const T block[16] = {};
  const int32_t packed[16] = {};
  const auto checks = CheckOrder(function, &block[0], static_cast<int32_t>(4 * sizeof(T)),
                                 &packed[0], &to, &stream.accumulator, &stream.count, 4U, 2U, 0U)
                          .Output(bytes, sizeof(bytes))
                          .Output(&stream, sizeof(stream))
                          .Output(&to, sizeof(to))
                          .template Null<0>()
                          .template Null<2>()
                          .template Bad<3>(zepStatusNullPtr, {nullptr, &no_bytes})
                          .template Null<4>();
  Copy(checks)
      .template Null<5>()
      .template Bad<6>(zepStatusOutOfRange, {16U, ~0U})
      .template Bad<7>(zepStatusOutOfRange, {16U, ~0U})
      .Run();
  Copy(checks)
      .template Bad<5>(zepStatusOutOfRange, {&bad_stream.count})
      .template Bad<6>(zepStatusOutOfRange, {16U, ~0U})
      .template Bad<7>(zepStatusOutOfRange, {16U, ~0U})
      .Run();
}

TEST(FixedLength, ChecksInOrder) {
  ExpectDecoderChecks<int32_t>(HARNESS_NAMED(zepiFLCDecode4x4_JPEGXR_1u32s_C1IR));
  ExpectDecoderChecks<int16_t>(HARNESS_NAMED(zepiFLCDecode4x4_JPEGXR_1u16s_C1IR));
  ExpectEncoderChecks<int32_t>(HARNESS_NAMED(zepiFLCEncode4x4_JPEGXR_32s1u_C1R));
  ExpectEncoderChecks<int16_t>(HARNESS_NAMED(zepiFLCEncode4x4_JPEGXR_16s1u_C1R));
}

}  // namespace
