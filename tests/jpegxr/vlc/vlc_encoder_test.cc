// SPDX-License-Identifier: MIT
#include "harness/check_order.h"
#include "harness/difference.h"
#include "jpegxr/vlc/vlc_cases.h"

namespace {

using harness::CheckOrder;
using vlc_cases::Bits;
using vlc_cases::Edge;
using vlc_cases::Guarded;
using vlc_cases::kStateBytes;
using vlc_cases::Random;
using vlc_cases::RandomBits;
using vlc_cases::RandomValue;
using vlc_cases::Scramble;
using vlc_cases::State;

// 15 x 64 bits and the pending ones
constexpr size_t kRoom = 128;

// The results of a call.
struct Written {
  zepStatus status = -1;
  std::vector<uint8_t> bytes;
  Bits bits;
  std::vector<uint8_t> others;  // further outputs
};

void ExpectSame(const Written& got, const Written& want) {
  ASSERT_EQ(got.status, want.status);
  ASSERT_EQ(harness::FirstDifference(got.bytes, want.bytes), "");
  ASSERT_EQ(got.bits.count, want.bits.count);
  ASSERT_EQ(got.bits.acc, want.bits.acc);
  ASSERT_EQ(harness::FirstDifference(got.others, want.others), "");
}

// Calls encode(&dst, &acc, &count) with memory of exactly the size that the model wrote.
template <class Encode>
Written Write(Bits bits, size_t size, Encode encode) {
  Guarded<uint8_t> memory(size);
  uint8_t* dst = memory.raw();
  Written written;
  written.status = encode(&dst, &bits.acc, &bits.count);
  written.bits = bits;
  written.bytes.assign(memory.raw(), dst);
  return written;
}

// A block's elements at any address, rows `step` bytes apart, with a protected page after the last.
template <class T>
class BlockMemory {
 public:
  BlockMemory(uint32_t step, Edge edge) : step_(step), memory_(3 * step + 4 * sizeof(T), edge) {}
  void Set(size_t i, T value) {
    std::memcpy(memory_.raw() + i / 4 * step_ + i % 4 * sizeof(T), &value, sizeof(T));
  }
  const T* get() const { return reinterpret_cast<const T*>(memory_.raw()); }

 private:
  uint32_t step_;
  Guarded<uint8_t> memory_;
};

template <class T>
auto Encode(bool is_model, bool is_flex) {
  return [=](const T* src, uint32_t step, uint32_t channel, uint32_t model_bits, uint32_t trim_bits,
             uint8_t** dst, uint32_t* acc, uint32_t* count, zepiVLCState* state, int32_t* flex,
             zepiVLCContext* ctx) {
    if constexpr (sizeof(T) == 2) {
      if (is_flex) {
        return is_model ? reference::zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(
                              src, step, channel, model_bits, trim_bits, dst, acc, count, state,
                              flex, ctx)
                        : zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(src, step, channel, model_bits,
                                                                trim_bits, dst, acc, count, state,
                                                                flex, ctx);
      }
      return is_model ? reference::zepiVLCEncode4x4_JPEGXR_16s1u_C1R(src, step, channel, model_bits,
                                                                     dst, acc, count, state, ctx)
                      : zepiVLCEncode4x4_JPEGXR_16s1u_C1R(src, step, channel, model_bits, dst, acc,
                                                          count, state, ctx);
    } else {
      if (is_flex) {
        return is_model ? reference::zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(
                              src, step, channel, model_bits, trim_bits, dst, acc, count, state,
                              flex, ctx)
                        : zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(src, step, channel, model_bits,
                                                                trim_bits, dst, acc, count, state,
                                                                flex, ctx);
      }
      return is_model ? reference::zepiVLCEncode4x4_JPEGXR_32s1u_C1R(src, step, channel, model_bits,
                                                                     dst, acc, count, state, ctx)
                      : zepiVLCEncode4x4_JPEGXR_32s1u_C1R(src, step, channel, model_bits, dst, acc,
                                                          count, state, ctx);
    }
  };
}

template <class T>
struct Case {
  T values[16];
  uint32_t step, channel, model_bits, trim_bits;
  bool is_flex;
  Bits bits;
  Edge edge;
};

// Codes a case with export and model, which both continue with their state.
template <class T>
void Compare(const Case<T>& given, State* state) {
  BlockMemory<T> block(given.step, given.edge);
  for (size_t i = 0; i < 16; ++i) block.Set(i, given.values[i]);
  const auto run = [&](bool is_model, size_t size, State* with) {
    Guarded<int32_t> flex(16);
    zepiVLCContext context = {5, 77};
    Written written = Write(given.bits, size, [&](uint8_t** dst, uint32_t* acc, uint32_t* count) {
      return Encode<T>(is_model, given.is_flex)(block.get(), given.step, given.channel,
                                                given.model_bits, given.trim_bits, dst, acc, count,
                                                with->get(), flex.data(), &context);
    });
    written.others.assign(flex.raw(), flex.raw() + flex.bytes());
    written.others.push_back(static_cast<uint8_t>(context.count));
    written.others.push_back(static_cast<uint8_t>(context.multiplier));
    return written;
  };
  State model_state = *state;
  const Written want = run(true, kRoom, &model_state);
  const Written got = run(false, want.bytes.size(), state);
  ExpectSame(got, want);
  ASSERT_TRUE(*state == model_state);
}

template <class T>
Case<T> RandomCase(Random& random) {
  Case<T> random_case;
  const unsigned spreads[] = {0, 1, 3, 4, 6, 9, 14, 18, 32};
  const unsigned spread = spreads[random() % std::size(spreads)];
  const auto zeros = static_cast<unsigned>(random() % 4);  // of four values, how many are 0
  for (T& value : random_case.values) {
    value = random() % 4 < zeros ? T{0} : RandomValue<T>(spread, random);
  }
  random_case.step = static_cast<uint32_t>(4 * sizeof(T) + random() % 3 * (random() % 9));
  random_case.channel = static_cast<uint32_t>(random() % 3);
  random_case.model_bits = static_cast<uint32_t>(random() % 2 ? random() % 16 : random() % 4);
  random_case.trim_bits = static_cast<uint32_t>(random() % 16);
  random_case.is_flex = random() % 2 != 0;
  random_case.bits = RandomBits(random);
  random_case.edge = random() % 2 ? Edge::kStart : Edge::kEnd;
  return random_case;
}

template <class T>
void CompareRandom(int rounds) {
  Random random(harness::Seed());
  State state(harness::Seed() % 4);
  for (int round = 0; round < rounds; ++round) {
    if (round % 50 == 0) Scramble(random, &state);
    if (round % 20 == 0) {
      zepiVLCScanSet_JPEGXR(state.get(), static_cast<uint32_t>(random() % 3));
      zepiVLCScanReset_JPEGXR(state.get(), static_cast<uint32_t>(random() % 3));
      zepiVLCAdapt_JPEGXR(state.get(), 1);
    }
    Compare(RandomCase<T>(random), &state);
    ASSERT_FALSE(testing::Test::HasFatalFailure())
        << "round " << round << " seed " << harness::Seed();
  }
}

TEST(VlcEncoder, RandomBlocksAsTheModel16s) { CompareRandom<int16_t>(8000); }
TEST(VlcEncoder, RandomBlocksAsTheModel32s) { CompareRandom<int32_t>(8000); }

// Every set of significant coefficients, with every set of magnitudes above 1 (or a sample), in
// every choice of tables for one channel.
TEST(VlcEncoder, EverySetOfSlots_Exhaustive) {
  Random random(harness::Seed());
  const uint32_t step = harness::Exhaustive() ? 1 : 61;
  for (auto set = static_cast<uint32_t>(random() % step); set < 0x8000; set += step) {
    Case<int16_t> given = {};
    given.step = 8;
    given.channel = set / 4 % 2;
    State state;
    Scramble(random, &state);
    zepiVLCScanSet_JPEGXR(state.get(), set % 2);
    for (uint32_t k = 1; k < 16; ++k) {
      if ((set >> (k - 1) & 1) == 0) continue;
      const uint32_t x = reference::GetWord(state.get(), reference::VlcScanWord(set % 2, k, 2));
      const uint32_t y = reference::GetWord(state.get(), reference::VlcScanWord(set % 2, k, 3));
      const int magnitude = 1 + static_cast<int>(random() % 2 * (random() % 20));
      given.values[4 * y + x] = static_cast<int16_t>(random() % 2 ? magnitude : -magnitude);
    }
    Compare(given, &state);
    ASSERT_FALSE(HasFatalFailure()) << "set " << set << " seed " << harness::Seed();
  }
}

// Escapes of every length and all magnitudes below them, in every level table, for the first and
// for another coefficient.
TEST(VlcEncoder, EveryMagnitude) {
  std::vector<int32_t> magnitudes;
  for (int32_t m = 1; m < 70; ++m) magnitudes.push_back(m);
  for (int n = 4; n < 31; ++n) {
    for (const int64_t off : {-1, 0, 1, 2, 3}) {
      const int64_t m = (int64_t{1} << n) + off;
      if (m <= INT32_MAX) magnitudes.push_back(static_cast<int32_t>(m));
    }
  }
  magnitudes.push_back(INT32_MAX);
  magnitudes.push_back(INT32_MIN);
  for (const int32_t magnitude : magnitudes) {
    for (const int32_t value : {magnitude, magnitude == INT32_MIN ? INT32_MIN : -magnitude}) {
      for (uint32_t tables = 0; tables < 16; ++tables) {
        State state;
        zepiVLCScanSet_JPEGXR(state.get(), 1);
        reference::ForceVlcTable(state.get(), 19, tables % 2);
        reference::ForceVlcTable(state.get(), 20, tables / 2 % 2);
        Case<int32_t> given = {};
        given.step = 16;
        if (tables < 8) given.values[1] = value;          // slot 1
        if (tables % 8 < 4) given.values[4 * 2] = value;  // slot 2
        if (tables >= 4) given.values[4 * 3 + 3] = value;
        Compare(given, &state);
        ASSERT_FALSE(HasFatalFailure()) << value << " tables " << tables;
      }
    }
  }
}

TEST(VlcEncoder, ByHand) {
  State state;
  zepiVLCScanSet_JPEGXR(state.get(), 1);
  int16_t block[16] = {};
  block[1] = -1;  // coefficient 1 is at position 4, 5 and 10 at 1 and 2
  uint8_t bytes[kRoom] = {}, *dst = bytes;
  uint32_t acc = 0, count = 0;
  zepiVLCContext context = {0, 0};
  EXPECT_EQ(
      zepiVLCEncode4x4_JPEGXR_16s1u_C1R(block, 8, 0, 0, &dst, &acc, &count, state.get(), &context),
      zepStatusOk);
  // Symbol 0 (a run, magnitude 1, the last): 0010, the sign 1, a run of 3 out of 14: 001 and one
  // bit 0.
  EXPECT_EQ(dst, bytes);
  EXPECT_EQ(count, 9u);
  EXPECT_EQ(acc, 0b001010010u << 23);
  EXPECT_EQ(context.count, 1u);
  EXPECT_EQ(reference::GetWord(state.get(), reference::VlcWord(13, reference::kVlcDelta1)), 1u);
  EXPECT_EQ(reference::GetWord(state.get(), reference::VlcWord(13, reference::kVlcDelta2)), 2u);
  EXPECT_EQ(reference::GetWord(state.get(), reference::VlcScanWord(1, 4, 0)), 27u);
}

TEST(VlcEncoder, EmptyBlocksChangeNothing) {
  State state, before;
  const int16_t block[16] = {123, 3, -3, 2};
  uint8_t* dst = nullptr;
  uint8_t byte = 0x5A;
  dst = &byte;
  uint32_t acc = 0xDEADBEEF, count = 31;
  zepiVLCContext context = {3, 0};
  int32_t flex[16];
  EXPECT_EQ(zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(block, 8, 0, 2, 1, &dst, &acc, &count,
                                                  state.get(), flex, &context),
            zepStatusOk);
  EXPECT_TRUE(state == before);
  EXPECT_EQ(dst, &byte);
  EXPECT_EQ(acc, 0xDEADBEEF);
  EXPECT_EQ(count, 31u);
  EXPECT_EQ(context.count, 3u);
  EXPECT_EQ(flex[0], 0);
  EXPECT_EQ(flex[1], 5);  // t = 1, positive: 2 (2 * 1 + 0) + 1
  EXPECT_EQ(flex[2], 7);
  EXPECT_EQ(flex[3], 5);
  EXPECT_EQ(flex[4], 0);
  EXPECT_EQ(zepiVLCEncodeDC420_JPEGXR_32s1u(flex, 0, &dst, &acc, &count, state.get()), zepStatusOk);
  EXPECT_EQ(zepiVLCEncodeDC422_JPEGXR_32s1u(flex, 0, &dst, &acc, &count, state.get()), zepStatusOk);
  EXPECT_EQ(zepiVLCEncodeDC444_JPEGXR_32s1u(flex, 0, 1, &dst, &acc, &count, state.get()),
            zepStatusOk);
  EXPECT_TRUE(state == before);
  EXPECT_EQ(count, 31u);
}

TEST(VlcEncoder, LowpassScanAsTheModel) {
  Random random(harness::Seed());
  State state(1);
  for (int round = 0; round < 8000; ++round) {
    if (round % 50 == 0) Scramble(random, &state);
    zepiVLCScanSet_JPEGXR(state.get(), round % 7 == 0 ? static_cast<uint32_t>(random() % 3) : 2);
    Guarded<uint8_t> src(64 + random() % 4);
    const unsigned spreads[] = {0, 1, 3, 4, 6, 9, 14, 18, 32};
    const unsigned spread = spreads[random() % std::size(spreads)];
    const auto zeros = static_cast<unsigned>(random() % 4);
    for (size_t i = 0; i < 16; ++i) {
      const int32_t value = random() % 4 < zeros ? 0 : RandomValue<int32_t>(spread, random);
      std::memcpy(src.raw() + 4 * i, &value, 4);
    }
    const auto* values = reinterpret_cast<const int32_t*>(src.raw());
    const auto model_bits = static_cast<uint32_t>(random() % 16);
    State model_state = state;
    Guarded<uint8_t> want_pairs(128), want_packed(64), got_packed(64 + random() % 4);
    uint32_t want_count = 99, got_count = 98;
    reference::zepiVLCScan4x4DC_JPEGXR_32s(
        values, model_bits, model_state.get(), reinterpret_cast<int32_t*>(want_pairs.raw()),
        &want_count, reinterpret_cast<int32_t*>(want_packed.raw()));
    Guarded<uint8_t> got_pairs(8 * want_count);
    ASSERT_EQ(zepiVLCScan4x4DC_JPEGXR_32s(values, model_bits, state.get(),
                                          reinterpret_cast<int32_t*>(got_pairs.raw()), &got_count,
                                          reinterpret_cast<int32_t*>(got_packed.raw())),
              zepStatusOk);
    ASSERT_EQ(got_count, want_count) << round;
    ASSERT_EQ(harness::FirstDifferenceOf(got_pairs.raw(), want_pairs.raw(), 8 * want_count), "")
        << round;
    ASSERT_EQ(harness::FirstDifferenceOf(got_packed.raw(), want_packed.raw(), 64), "") << round;
    ASSERT_TRUE(state == model_state) << round;
  }
}

// Pairs, including some that do not fit and levels of 0.
TEST(VlcEncoder, LowpassPairsAsTheModel) {
  Random random(harness::Seed());
  State state(3);
  for (int round = 0; round < 9000; ++round) {
    if (round % 50 == 0) Scramble(random, &state);
    if (round % 20 == 0) zepiVLCAdapt_JPEGXR(state.get(), 0);
    const int format = round % 3;
    const uint32_t most = format == 0 ? 6 : format == 1 ? 14 : 16;
    const auto count = static_cast<uint32_t>(random() % (most + 1));
    const auto channel = static_cast<uint32_t>(random() % 3);
    const unsigned spread = 2 + static_cast<unsigned>(random() % 30);
    const bool is_odd = random() % 16 == 0;
    Guarded<uint8_t> pairs(8 * count);
    for (uint32_t i = 0; i < count; ++i) {
      const uint32_t run = static_cast<uint32_t>(is_odd ? random() : random() % 3 * (random() % 3));
      int32_t level = RandomValue<int32_t>(spread, random);
      if (level == 0 && !is_odd) level = 1;
      std::memcpy(pairs.raw() + 8 * i, &run, 4);
      std::memcpy(pairs.raw() + 8 * i + 4, &level, 4);
    }
    const auto* list = reinterpret_cast<const int32_t*>(pairs.raw());
    const auto encode = [&](bool is_model, size_t size, const Bits& bits, State* with) {
      return Write(bits, size, [&](uint8_t** dst, uint32_t* acc, uint32_t* left) {
        if (format == 0) {
          return is_model
                     ? reference::zepiVLCEncodeDC420_JPEGXR_32s1u(list, count, dst, acc, left,
                                                                  with->get())
                     : zepiVLCEncodeDC420_JPEGXR_32s1u(list, count, dst, acc, left, with->get());
        }
        if (format == 1) {
          return is_model
                     ? reference::zepiVLCEncodeDC422_JPEGXR_32s1u(list, count, dst, acc, left,
                                                                  with->get())
                     : zepiVLCEncodeDC422_JPEGXR_32s1u(list, count, dst, acc, left, with->get());
        }
        return is_model ? reference::zepiVLCEncodeDC444_JPEGXR_32s1u(list, count, channel, dst, acc,
                                                                     left, with->get())
                        : zepiVLCEncodeDC444_JPEGXR_32s1u(list, count, channel, dst, acc, left,
                                                          with->get());
      });
    };
    State model_state = state;
    const Bits bits = RandomBits(random);
    const Written want = encode(true, kRoom + 8, bits, &model_state);
    const Written got = encode(false, want.bytes.size(), bits, &state);
    ExpectSame(got, want);
    ASSERT_TRUE(state == model_state);
    ASSERT_FALSE(HasFatalFailure()) << "round " << round << " seed " << harness::Seed();
  }
}

// A copy of a state at another address codes the same.
TEST(VlcEncoder, StatesMayBeCopied) {
  Random random(harness::Seed());
  State state;
  for (int round = 0; round < 200; ++round) Compare(RandomCase<int16_t>(random), &state);
  auto copy = std::make_unique<State>(1);
  *copy = state;
  for (int round = 0; round < 200; ++round) {
    const auto given = RandomCase<int16_t>(random);
    Compare(given, &state);
    Compare(given, copy.get());
    ASSERT_TRUE(*copy == state);
  }
}

class VlcEncoderChecks : public testing::Test {
 protected:
  template <class Call, class T>
  void CheckBlocks(const harness::Named<Call>& named, const T* src) {
    CheckOrder(named, src, 4u * static_cast<uint32_t>(sizeof(T)), 1u, 2u, &dst_, &acc_, count_,
               state_.get(), &context_)
        .template Null<0>()
        .template Null<4>()
        .template Bad<4>(zepStatusNullPtr, {&none_})
        .template Null<5>()
        .template Null<6>()
        .template Null<7>()
        .template Null<8>()
        .template Bad<3>(zepStatusOutOfRange, {16u, 17u, 0xFFFFFFFFu})
        .Output(&dst_, sizeof(dst_))
        .Output(bytes_, sizeof(bytes_))
        .Output(&acc_, 4)
        .Output(count_, 4)
        .Output(state_.get(), kStateBytes)
        .Output(&context_, sizeof(context_))
        .Run();
  }
  template <class Call, class T>
  void CheckFlex(const harness::Named<Call>& named, const T* src) {
    CheckOrder(named, src, 4u * static_cast<uint32_t>(sizeof(T)), 1u, 2u, 1u, &dst_, &acc_, count_,
               state_.get(), &flex_[0], &context_)
        .template Null<0>()
        .template Null<5>()
        .template Bad<5>(zepStatusNullPtr, {&none_})
        .template Null<6>()
        .template Null<7>()
        .template Null<8>()
        .template Null<9>()
        .template Null<10>()
        .template Bad<3>(zepStatusOutOfRange, {16u, 0xFFFFFFFFu})
        .template Bad<4>(zepStatusOutOfRange, {16u, 0xFFFFFFFFu})
        .Output(&dst_, sizeof(dst_))
        .Output(bytes_, sizeof(bytes_))
        .Output(&acc_, 4)
        .Output(count_, 4)
        .Output(state_.get(), kStateBytes)
        .Output(flex_, sizeof(flex_))
        .Output(&context_, sizeof(context_))
        .Run();
  }
  template <class Call>
  void CheckPairs(const harness::Named<Call>& named, uint32_t most) {
    const int32_t* const pairs = pairs_;
    CheckOrder(named, pairs, 1u, &dst_, &acc_, count_, state_.get())
        .template Null<0>()
        .template Null<2>()
        .template Bad<2>(zepStatusNullPtr, {&none_})
        .template Null<3>()
        .template Null<4>()
        .template Null<5>()
        .template Bad<1>(zepStatusOutOfRange, {most + 1, 0xFFFFFFFFu})
        .Output(&dst_, sizeof(dst_))
        .Output(bytes_, sizeof(bytes_))
        .Output(&acc_, 4)
        .Output(count_, 4)
        .Output(state_.get(), kStateBytes)
        .Run();
  }

  State state_;
  uint8_t bytes_[kRoom] = {};
  uint8_t* dst_ = bytes_;
  uint32_t acc_ = 0x12345678, counts_[1] = {20};
  uint32_t* count_ = counts_;
  uint8_t* none_ = nullptr;
  int32_t flex_[16] = {};
  int32_t pairs_[32] = {2, -3};
  zepiVLCContext context_ = {1, 2};
};

TEST_F(VlcEncoderChecks, InTheirOrder) {
  const int16_t narrow[16] = {1, 20, 30, 40};
  const int32_t wide[16] = {1, 20, 30, 40};
  CheckBlocks(HARNESS_NAMED(zepiVLCEncode4x4_JPEGXR_16s1u_C1R), &narrow[0]);
  CheckBlocks(HARNESS_NAMED(zepiVLCEncode4x4_JPEGXR_32s1u_C1R), &wide[0]);
  CheckFlex(HARNESS_NAMED(zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R), &narrow[0]);
  CheckFlex(HARNESS_NAMED(zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R), &wide[0]);
  CheckPairs(HARNESS_NAMED(zepiVLCEncodeDC420_JPEGXR_32s1u), 6);
  CheckPairs(HARNESS_NAMED(zepiVLCEncodeDC422_JPEGXR_32s1u), 14);
  const int32_t* const pairs = pairs_;
  CheckOrder(HARNESS_NAMED(zepiVLCEncodeDC444_JPEGXR_32s1u), pairs, 1u, 1u, &dst_, &acc_, count_,
             state_.get())
      .Null<0>()
      .Null<3>()
      .Bad<3>(zepStatusNullPtr, {&none_})
      .Null<4>()
      .Null<5>()
      .Null<6>()
      .Bad<1>(zepStatusOutOfRange, {17u, 0xFFFFFFFFu})
      .Output(&dst_, sizeof(dst_))
      .Output(bytes_, sizeof(bytes_))
      .Output(state_.get(), kStateBytes)
      .Run();
  // A count above 32 is checked after all pointers.
  for (const uint32_t count : {33u, 34u, 0xFFFFFFFFu}) {
    *count_ = count;
    const State before = state_;
    EXPECT_EQ(zepiVLCEncode4x4_JPEGXR_16s1u_C1R(narrow, 8, 0, 0, &dst_, &acc_, count_, state_.get(),
                                                &context_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCEncode4x4_JPEGXR_32s1u_C1R(wide, 16, 0, 0, &dst_, &acc_, count_, state_.get(),
                                                &context_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCEncode4x4_JPEGXR_32s1u_C1R(wide, 16, 0, 0, &dst_, &acc_, count_, state_.get(),
                                                nullptr),
              zepStatusNullPtr);
    EXPECT_EQ(zepiVLCEncode4x4Flex_JPEGXR_16s1u_C1R(narrow, 8, 0, 0, 0, &dst_, &acc_, count_,
                                                    state_.get(), flex_, &context_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCEncode4x4Flex_JPEGXR_32s1u_C1R(wide, 16, 0, 0, 0, &dst_, &acc_, count_,
                                                    state_.get(), flex_, &context_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCEncodeDC420_JPEGXR_32s1u(pairs, 0, &dst_, &acc_, count_, state_.get()),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCEncodeDC422_JPEGXR_32s1u(pairs, 1, &dst_, &acc_, count_, state_.get()),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCEncodeDC444_JPEGXR_32s1u(pairs, 1, 0, &dst_, &acc_, count_, state_.get()),
              zepStatusOutOfRange);
    EXPECT_EQ(*count_, count);
    EXPECT_TRUE(state_ == before);
  }
  uint32_t pair_count = 55;
  CheckOrder(HARNESS_NAMED(zepiVLCScan4x4DC_JPEGXR_32s), &wide[0], 3u, state_.get(), &pairs_[0],
             &pair_count, &flex_[0])
      .Null<0>()
      .Null<2>()
      .Null<3>()
      .Null<4>()
      .Null<5>()
      .Bad<1>(zepStatusOutOfRange, {16u, 0xFFFFFFFFu})
      .Output(pairs_, sizeof(pairs_))
      .Output(&pair_count, 4)
      .Output(flex_, sizeof(flex_))
      .Output(state_.get(), kStateBytes)
      .Run();
}

}  // namespace
