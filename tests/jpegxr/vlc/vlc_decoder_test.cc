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
using Bytes = std::vector<uint8_t>;

enum class Kind { k16s, k32s, kDc420, kDc422, kDc444 };
constexpr Kind kKinds[] = {Kind::k16s, Kind::k32s, Kind::kDc420, Kind::kDc422, Kind::kDc444};

struct Call {
  Kind kind;
  uint32_t model_bits, step, channel;
  int32_t multiplier;
  Bits bits;
};

size_t TargetBytes(const Call& call) {
  switch (call.kind) {
    case Kind::k16s: return 3 * call.step + 8;
    case Kind::k32s: return 3 * call.step + 16;
    case Kind::kDc420: return 24;
    case Kind::kDc422: return 56;
    default: return 64;
  }
}

struct Outcome {
  zepStatus status;
  size_t bytes_read;
  Bits bits;
  uint32_t count;
  Bytes target;
};

zepStatus Decode(const Call& call, bool is_model, const uint8_t** src, uint32_t* acc,
                 uint32_t* count, zepiVLCState* state, uint8_t* to, zepiVLCContext* context) {
  auto* wide = reinterpret_cast<int32_t*>(to);
  auto* narrow = reinterpret_cast<int16_t*>(to);
  switch (call.kind) {
    case Kind::k16s:
      return is_model ? reference::zepiVLCDecode4x4_JPEGXR_1u16s_C1R(
                            src, acc, count, call.model_bits, state, call.step, call.channel,
                            narrow, context)
                      : zepiVLCDecode4x4_JPEGXR_1u16s_C1R(src, acc, count, call.model_bits, state,
                                                          call.step, call.channel, narrow, context);
    case Kind::k32s:
      return is_model ? reference::zepiVLCDecode4x4_JPEGXR_1u32s_C1R(
                            src, acc, count, call.model_bits, state, call.step, call.channel, wide,
                            context)
                      : zepiVLCDecode4x4_JPEGXR_1u32s_C1R(src, acc, count, call.model_bits, state,
                                                          call.step, call.channel, wide, context);
    case Kind::kDc420:
      return is_model ? reference::zepiVLCDecodeDC420_JPEGXR_1u32s(src, acc, count, state, wide)
                      : zepiVLCDecodeDC420_JPEGXR_1u32s(src, acc, count, state, wide);
    case Kind::kDc422:
      return is_model ? reference::zepiVLCDecodeDC422_JPEGXR_1u32s(src, acc, count, state, wide)
                      : zepiVLCDecodeDC422_JPEGXR_1u32s(src, acc, count, state, wide);
    default: break;
  }
  return is_model ? reference::zepiVLCDecodeDC444_JPEGXR_1u32s(src, acc, count, state, wide)
                  : zepiVLCDecodeDC444_JPEGXR_1u32s(src, acc, count, state, wide);
}

// Decodes bytes that end at a protected page, to memory of exactly the size of the block.
Outcome Run(const Call& call, bool is_model, const uint8_t* bytes, size_t size, State* state) {
  Guarded<uint8_t> src(size), dst(TargetBytes(call));
  if (size > 0) std::memcpy(src.raw(), bytes, size);
  if (call.kind == Kind::kDc444) {
    const int32_t selector = static_cast<int32_t>(call.channel);
    std::memcpy(dst.raw(), &selector, 4);
  }
  const uint8_t* at = src.raw();
  Outcome outcome;
  outcome.bits = call.bits;
  zepiVLCContext context = {7, call.multiplier};
  outcome.status = Decode(call, is_model, &at, &outcome.bits.acc, &outcome.bits.count, state->get(),
                          dst.raw(), &context);
  outcome.bytes_read = static_cast<size_t>(at - src.raw());
  outcome.count = context.count;
  outcome.target.assign(dst.raw(), dst.raw() + dst.bytes());
  return outcome;
}

// Decodes with the model, then with the export from exactly the bytes that the model read. `bytes`
// has more than enough bytes for a block.
Outcome Compare(const Call& call, const uint8_t* bytes, size_t size, State* state) {
  State model_state = *state;
  const Outcome want = Run(call, true, bytes, size, &model_state);
  const Outcome got = Run(call, false, bytes, want.bytes_read, state);
  EXPECT_EQ(got.status, want.status);
  EXPECT_EQ(got.bytes_read, want.bytes_read);
  EXPECT_EQ(got.bits.count, want.bits.count);
  EXPECT_EQ(got.bits.acc, want.bits.acc);
  EXPECT_EQ(got.count, want.count);
  EXPECT_EQ(harness::FirstDifference(got.target, want.target), "");
  EXPECT_TRUE(*state == model_state);
  EXPECT_LE(got.bits.count, 32u);
  return got;
}

Call RandomCall(Random& random) {
  Call call;
  call.kind = kKinds[random() % std::size(kKinds)];
  call.model_bits = static_cast<uint32_t>(random() % 2 ? random() % 16 : 0);
  const uint32_t row = call.kind == Kind::k16s ? 8 : 16;
  call.step = row + static_cast<uint32_t>(random() % 3 * (random() % 9));
  call.channel = static_cast<uint32_t>(random() % 3);
  const int32_t multipliers[] = {0, 1, -1, 3, 1000, INT32_MAX, INT32_MIN};
  call.multiplier = multipliers[random() % std::size(multipliers)];
  call.bits = RandomBits(random);
  return call;
}

// Random bits: runs that are too long, escapes of every length, blocks that end early or never.
TEST(VlcDecoder, AnyBytesAsTheModel) {
  Random random(harness::Seed());
  State state(3);
  uint8_t bytes[160];
  const int rounds = harness::Exhaustive() ? 30000 : 10000;
  for (int round = 0; round < rounds; ++round) {
    if (round % 40 == 0) Scramble(random, &state);
    if (round % 16 == 0) {
      zepiVLCScanSet_JPEGXR(state.get(), static_cast<uint32_t>(random() % 3));
      zepiVLCAdapt_JPEGXR(state.get(), static_cast<uint32_t>(random() % 2));
    }
    const auto kind = static_cast<unsigned>(random() % 4);
    for (uint8_t& byte : bytes) {
      byte = static_cast<uint8_t>(random());
      if (kind == 1) byte = static_cast<uint8_t>(byte & random());
      if (kind == 2) byte = static_cast<uint8_t>(byte | random());
      if (kind == 3) byte = static_cast<uint8_t>(byte & random() & random());
    }
    Compare(RandomCall(random), bytes, sizeof(bytes), &state);
    ASSERT_FALSE(HasFailure()) << "round " << round << " seed " << harness::Seed();
  }
}

// Every prefix of 16 bits (or a sample), followed by zeros, ones or noise, in every choice of
// tables.
TEST(VlcDecoder, EveryBeginning_Exhaustive) {
  Random random(harness::Seed());
  const uint32_t step = harness::Exhaustive() ? 1 : 97;
  Call call = {Kind::k32s, 0, 16, 0, 1, {0, 0}};
  for (auto prefix = static_cast<uint32_t>(random() % step); prefix < 0x10000; prefix += step) {
    State state;
    Scramble(random, &state);
    zepiVLCScanSet_JPEGXR(state.get(), prefix % 2);
    uint8_t bytes[160];
    const auto kind = static_cast<unsigned>(random() % 3);
    for (uint8_t& byte : bytes) {
      byte = kind == 0 ? 0 : kind == 1 ? uint8_t{255} : static_cast<uint8_t>(random());
    }
    bytes[0] = static_cast<uint8_t>(prefix >> 8);
    bytes[1] = static_cast<uint8_t>(prefix);
    call.channel = static_cast<uint32_t>(random() % 2);
    call.kind = kKinds[1 + random() % 4];
    Compare(call, bytes, sizeof(bytes), &state);
    ASSERT_FALSE(HasFailure()) << "prefix " << prefix << " seed " << harness::Seed();
  }
}

// Blocks that the encoder writes one after the other in one stream come back. Tables and scans
// adapt, and the two states are always equal.
template <class T, class Encode, class Decode4x4>
void RoundTrip(Encode encode, Decode4x4 decode) {
  Random random(harness::Seed());
  State writing, reading(1);
  constexpr size_t kBlocks = 600;
  constexpr auto kStep = static_cast<uint32_t>(4 * sizeof(T));
  Bytes stream(kBlocks * 130);
  std::vector<std::vector<T>> blocks;
  std::vector<uint32_t> counts, all_model_bits;
  uint8_t* dst = stream.data();
  uint32_t acc = 0, count = 0;
  const auto adapt = [&](size_t i, State* state) {
    if (i % 8 == 0) zepiVLCScanSet_JPEGXR(state->get(), static_cast<uint32_t>(i / 8 % 2));
    if (i % 50 == 0) zepiVLCAdapt_JPEGXR(state->get(), 1);
    if (i % 90 == 0) zepiVLCScanReset_JPEGXR(state->get(), static_cast<uint32_t>(i / 8 % 2));
  };
  for (size_t i = 0; i < kBlocks; ++i) {
    adapt(i, &writing);
    std::vector<T> block(16);
    const unsigned spread =
        2 + static_cast<unsigned>(random() % (i % 3 == 0 ? 8 * sizeof(T) - 4 : 4));
    for (T& value : block) value = random() % 3 ? T{0} : RandomValue<T>(spread, random);
    block[15] = 0x200;  // at least one coefficient to code
    const auto model_bits = static_cast<uint32_t>(random() % 4);
    zepiVLCContext context = {0, 0};
    ASSERT_EQ(encode(block.data(), kStep, static_cast<uint32_t>(i % 3), model_bits, &dst, &acc,
                     &count, writing.get(), &context),
              zepStatusOk);
    blocks.push_back(block);
    counts.push_back(context.count);
    all_model_bits.push_back(model_bits);
  }
  for (uint32_t left = (count + 7) / 8; left > 0; --left, acc <<= 8) {
    *dst++ = static_cast<uint8_t>(acc >> 24);
  }
  stream.resize(static_cast<size_t>(dst - stream.data()) + 4);
  const uint8_t* src = stream.data();
  acc = count = 0;
  for (size_t i = 0; i < kBlocks; ++i) {
    adapt(i, &reading);
    T block[16] = {};
    zepiVLCContext context = {0, 1};
    ASSERT_EQ(decode(&src, &acc, &count, all_model_bits[i], reading.get(), kStep,
                     static_cast<uint32_t>(i % 3), block, &context),
              zepStatusOk);
    ASSERT_EQ(context.count, counts[i]);
    for (size_t k = 1; k < 16; ++k) {
      const int32_t value = blocks[i][k];
      const int32_t magnitude = (value < 0 ? -value : value) >> all_model_bits[i];
      const int32_t level = value < 0 ? -magnitude : magnitude;
      ASSERT_EQ(block[k], static_cast<T>(level * (1 << all_model_bits[i]))) << i << " " << k;
    }
    ASSERT_EQ(block[0], 0);
  }
  ASSERT_TRUE(writing == reading);
  ASSERT_LE(src, stream.data() + stream.size());
}

TEST(VlcDecoder, BlocksComeBack16s) {
  RoundTrip<int16_t>([](auto... args) { return zepiVLCEncode4x4_JPEGXR_16s1u_C1R(args...); },
                     [](auto... args) { return zepiVLCDecode4x4_JPEGXR_1u16s_C1R(args...); });
}
TEST(VlcDecoder, BlocksComeBack32s) {
  RoundTrip<int32_t>([](auto... args) { return zepiVLCEncode4x4_JPEGXR_32s1u_C1R(args...); },
                     [](auto... args) { return zepiVLCDecode4x4_JPEGXR_1u32s_C1R(args...); });
}

TEST(VlcDecoder, LowpassComesBack) {
  Random random(harness::Seed());
  State writing, reading;
  for (int round = 0; round < 3000; ++round) {
    const int format = round % 3;
    const uint32_t slots = format == 0 ? 6 : format == 1 ? 14 : 15;
    const auto channel = static_cast<uint32_t>(round / 3 % 2);
    int32_t values[16] = {}, pairs[32], packed[16], back[16];
    uint32_t pair_count = 0;
    for (uint32_t k = 1; k <= slots; ++k) {
      if (random() % 3 == 0)
        values[k] = RandomValue<int32_t>(2 + static_cast<unsigned>(round) % 29, random);
    }
    values[slots] = 5;
    if (format == 2) {
      zepiVLCScan4x4DC_JPEGXR_32s(values, 0, writing.get(), pairs, &pair_count, packed);
    } else {
      int32_t run = 0;
      for (uint32_t k = 1; k <= slots; ++k, ++run) {
        if (values[k] == 0) continue;
        pairs[2 * pair_count] = run;
        pairs[2 * pair_count + 1] = values[k];
        ++pair_count;
        run = -1;
      }
    }
    uint8_t bytes[160] = {}, *dst = bytes;
    uint32_t acc = 0, count = 0;
    const zepStatus coded =
        format == 0
            ? zepiVLCEncodeDC420_JPEGXR_32s1u(pairs, pair_count, &dst, &acc, &count, writing.get())
        : format == 1
            ? zepiVLCEncodeDC422_JPEGXR_32s1u(pairs, pair_count, &dst, &acc, &count, writing.get())
            : zepiVLCEncodeDC444_JPEGXR_32s1u(pairs, pair_count, channel, &dst, &acc, &count,
                                              writing.get());
    ASSERT_EQ(coded, zepStatusOk);
    for (; count > 0; count -= count < 8 ? count : 8, acc <<= 8) {
      *dst++ = static_cast<uint8_t>(acc >> 24);
    }
    const uint8_t* src = bytes;
    acc = count = 0;
    back[0] = static_cast<int32_t>(channel);
    const zepStatus decoded =
        format == 0   ? zepiVLCDecodeDC420_JPEGXR_1u32s(&src, &acc, &count, reading.get(), back + 1)
        : format == 1 ? zepiVLCDecodeDC422_JPEGXR_1u32s(&src, &acc, &count, reading.get(), back + 1)
                      : zepiVLCDecodeDC444_JPEGXR_1u32s(&src, &acc, &count, reading.get(), back);
    ASSERT_EQ(decoded, zepStatusOk);
    ASSERT_EQ(back[0], static_cast<int32_t>(channel));
    for (uint32_t k = 1; k <= slots; ++k) ASSERT_EQ(back[k], values[k]) << round << " " << k;
    ASSERT_TRUE(writing == reading);
    if (round % 40 == 0) {
      zepiVLCAdapt_JPEGXR(writing.get(), 0);
      zepiVLCAdapt_JPEGXR(reading.get(), 0);
    }
    // At most 31 bits after the last used one.
    const auto read_bits = static_cast<ptrdiff_t>(8 * (src - bytes));
    ASSERT_LE(read_bits - static_cast<ptrdiff_t>(count), 8 * (dst - bytes));
    ASSERT_LT(count, 32u);
  }
}

// Every code of every table, for the first and for further levels, with every extra bit. The model
// is the reference; this test counts that all codes occurred.
TEST(VlcDecoder, EverySymbolOfEveryTable_Exhaustive) {
  const size_t step = harness::Exhaustive() ? 1 : 7;
  size_t number = 0;
  for (uint32_t first = 0; first < 5; ++first) {
    for (uint32_t index = 0; index < 4; ++index) {
      for (uint32_t levels = 0; levels < 4; ++levels) {
        for (uint32_t chroma = 0; chroma < 2; ++chroma) {
          State start;
          zepiVLCScanSet_JPEGXR(start.get(), 0);
          reference::ForceVlcTable(start.get(), 13 + 3 * chroma, first);
          reference::ForceVlcTable(start.get(), 14 + 3 * chroma, index);
          reference::ForceVlcTable(start.get(), 15 + 3 * chroma, 3 - index);
          reference::ForceVlcTable(start.get(), 19, levels % 2);
          reference::ForceVlcTable(start.get(), 20, levels / 2);
          for (const std::string& a : reference::VlcCodes(12, first)) {
            for (const std::string& b : reference::VlcCodes(7, levels % 2)) {
              for (const std::string& c : reference::VlcCodes(6, index)) {
                if (++number % step != 0) continue;
                const std::string digits = a + "1" + b + "01" + c + "0" + b + "110";
                uint8_t bytes[160] = {};
                for (size_t i = 0; i < digits.size(); ++i) {
                  if (digits[i] == '1') bytes[i / 8] |= static_cast<uint8_t>(0x80 >> i % 8);
                }
                State state = start;
                Compare({Kind::k16s, 0, 8, chroma, 1, {0, 0}}, bytes, sizeof(bytes), &state);
                ASSERT_FALSE(HasFailure())
                    << digits << " first " << first << " index " << index << " levels " << levels;
              }
            }
          }
        }
      }
    }
  }
}

// Escapes with n bits for every n up to 29, for the first and for further levels.
TEST(VlcDecoder, EveryEscape) {
  for (uint32_t n = 4; n <= 29; ++n) {
    std::string digits = reference::VlcCodes(12, 1)[3] + "1" + reference::VlcCodes(7, 0)[6];
    const auto append = [&](uint32_t value, uint32_t bits) {
      for (uint32_t i = bits; i > 0; --i) digits += (value >> (i - 1) & 1) != 0 ? '1' : '0';
    };
    append(n < 19 ? n - 4 : 15, 4);
    if (n >= 19) append(n < 22 ? n - 19 : 3, 2);
    if (n >= 22) append(n - 22, 3);
    const uint32_t value = 0x15A5A5A5u & ((1u << n) - 1);
    append(value, n);
    uint8_t bytes[160] = {};
    for (size_t i = 0; i < digits.size(); ++i) {
      if (digits[i] == '1') bytes[i / 8] |= static_cast<uint8_t>(0x80 >> i % 8);
    }
    State state;
    zepiVLCScanSet_JPEGXR(state.get(), 0);
    const Outcome outcome =
        Compare({Kind::k32s, 0, 16, 0, 1, {0, 0}}, bytes, sizeof(bytes), &state);
    int32_t level;
    std::memcpy(&level, &outcome.target[2 * 16], 4);  // coefficient 10 is at (0, 2)
    EXPECT_EQ(level, -static_cast<int32_t>(2 + (1u << n) + value)) << n;
  }
}

// A run of 14 slots with only one slot left, and bits after slot 15.
TEST(VlcDecoder, DamagedRunsStayInside) {
  for (uint32_t fill = 0; fill < 256; ++fill) {
    for (uint32_t first = 0; first < 12; ++first) {
      std::string digits = reference::VlcCodes(12, 1)[first] + "0";
      if ((first & 2) != 0) digits += reference::VlcCodes(7, 0)[0];
      if ((first & 1) == 0) digits += "0001111";  // the longest run
      uint8_t bytes[160];
      std::memset(bytes, static_cast<int>(fill), sizeof(bytes));
      for (size_t i = 0; i < digits.size(); ++i) {
        const auto bit = static_cast<uint8_t>(0x80 >> i % 8);
        bytes[i / 8] =
            static_cast<uint8_t>(digits[i] == '1' ? bytes[i / 8] | bit : bytes[i / 8] & ~bit);
      }
      for (const Kind kind : kKinds) {
        State state;
        zepiVLCScanSet_JPEGXR(state.get(), 1);
        const uint32_t row = kind == Kind::k16s ? 8 : 16;
        Compare({kind, 0, row, 1, 1, {0, 0}}, bytes, sizeof(bytes), &state);
        ASSERT_FALSE(HasFailure()) << "fill " << fill << " first " << first;
      }
    }
  }
}

class VlcDecoderChecks : public testing::Test {
 protected:
  template <class Call, class T>
  void CheckBlocks(const harness::Named<Call>& named, T* dst) {
    CheckOrder(named, &src_, &acc_, count_, 2u, state_.get(), 4u * static_cast<uint32_t>(sizeof(T)),
               1u, dst, &context_)
        .template Null<0>()
        .template Bad<0>(zepStatusNullPtr, {&none_})
        .template Null<1>()
        .template Null<2>()
        .template Null<4>()
        .template Null<7>()
        .template Null<8>()
        .template Bad<3>(zepStatusOutOfRange, {16u, 17u, 0xFFFFFFFFu})
        .Output(&src_, sizeof(src_))
        .Output(&acc_, 4)
        .Output(count_, 4)
        .Output(dst, 16 * sizeof(T))
        .Output(state_.get(), kStateBytes)
        .Output(&context_, sizeof(context_))
        .Run();
  }
  template <class Call>
  void CheckLowpass(const harness::Named<Call>& named) {
    CheckOrder(named, &src_, &acc_, count_, state_.get(), &wide_[0])
        .template Null<0>()
        .template Bad<0>(zepStatusNullPtr, {&none_})
        .template Null<1>()
        .template Null<2>()
        .template Null<3>()
        .template Null<4>()
        .Output(&src_, sizeof(src_))
        .Output(&acc_, 4)
        .Output(count_, 4)
        .Output(wide_, sizeof(wide_))
        .Output(state_.get(), kStateBytes)
        .Run();
  }

  State state_;
  uint8_t bytes_[600] = {0x5A, 0x17, 0x99};
  const uint8_t* src_ = bytes_;
  const uint8_t* none_ = nullptr;
  uint32_t acc_ = 0x12345678, counts_[1] = {20};
  uint32_t* count_ = counts_;
  int32_t wide_[16] = {1, 2, 3};
  int16_t narrow_[16] = {1, 2, 3};
  zepiVLCContext context_ = {1, 2};
};

TEST_F(VlcDecoderChecks, InTheirOrder) {
  CheckBlocks(HARNESS_NAMED(zepiVLCDecode4x4_JPEGXR_1u16s_C1R), &narrow_[0]);
  CheckBlocks(HARNESS_NAMED(zepiVLCDecode4x4_JPEGXR_1u32s_C1R), &wide_[0]);
  CheckLowpass(HARNESS_NAMED(zepiVLCDecodeDC420_JPEGXR_1u32s));
  CheckLowpass(HARNESS_NAMED(zepiVLCDecodeDC422_JPEGXR_1u32s));
  CheckLowpass(HARNESS_NAMED(zepiVLCDecodeDC444_JPEGXR_1u32s));
}

// A count above 32 is checked after all pointers.
TEST_F(VlcDecoderChecks, LongCounts) {
  for (const uint32_t count : {33u, 34u, 0xFFFFFFFFu}) {
    *count_ = count;
    const State before = state_;
    const uint8_t* const src = src_;
    EXPECT_EQ(zepiVLCDecode4x4_JPEGXR_1u16s_C1R(&src_, &acc_, count_, 0, state_.get(), 8, 0,
                                                narrow_, &context_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCDecode4x4_JPEGXR_1u32s_C1R(&src_, &acc_, count_, 0, state_.get(), 16, 0, wide_,
                                                &context_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCDecode4x4_JPEGXR_1u32s_C1R(&src_, &acc_, count_, 0, state_.get(), 16, 0, wide_,
                                                nullptr),
              zepStatusNullPtr);
    EXPECT_EQ(zepiVLCDecodeDC420_JPEGXR_1u32s(&src_, &acc_, count_, state_.get(), wide_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCDecodeDC422_JPEGXR_1u32s(&src_, &acc_, count_, state_.get(), wide_),
              zepStatusOutOfRange);
    EXPECT_EQ(zepiVLCDecodeDC444_JPEGXR_1u32s(&src_, &acc_, count_, state_.get(), wide_),
              zepStatusOutOfRange);
    EXPECT_EQ(src_, src);
    EXPECT_EQ(*count_, count);
    EXPECT_TRUE(state_ == before);
  }
}

}  // namespace
