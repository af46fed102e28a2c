// SPDX-License-Identifier: MIT
#include "harness/check_order.h"
#include "jpegxr/vlc/vlc_cases.h"

namespace {

using harness::CheckOrder;
using vlc_cases::Guarded;
using vlc_cases::kStateBytes;
using vlc_cases::Random;
using vlc_cases::State;
using namespace reference;  // NOLINT: words of a state

TEST(VlcState, Size) {
  int32_t size = -1;
  EXPECT_EQ(zepiVLCGetStateSize_JPEGXR(&size), zepStatusOk);
  EXPECT_EQ(size, 1780);
}

TEST(VlcState, InitAsTheModel) {
  for (size_t offset = 0; offset < 4; ++offset) {
    Guarded<uint8_t> got(kStateBytes + offset);
    std::vector<uint8_t> want(kStateBytes);
    auto* state = reinterpret_cast<zepiVLCState*>(got.raw());
    auto* model = reinterpret_cast<zepiVLCState*>(want.data());
    EXPECT_EQ(::zepiVLCInit_JPEGXR(state), zepStatusOk);
    reference::zepiVLCInit_JPEGXR(model);
    EXPECT_EQ(harness::FirstByteDifference(state, model, kStateBytes), "");
    for (uint32_t scan = 0; scan < 3; ++scan) {
      EXPECT_EQ(::zepiVLCScanReset_JPEGXR(state, scan), zepStatusOk);
      reference::zepiVLCScanReset_JPEGXR(model, scan);
      EXPECT_EQ(harness::FirstByteDifference(state, model, kStateBytes), "");
      EXPECT_EQ(::zepiVLCScanSet_JPEGXR(state, scan), zepStatusOk);
      reference::zepiVLCScanSet_JPEGXR(model, scan);
      EXPECT_EQ(harness::FirstByteDifference(state, model, kStateBytes), "");
    }
    for (size_t i = 0; i < offset; ++i) EXPECT_EQ(got.raw()[kStateBytes + i], harness::kFill);
  }
}

TEST(VlcState, StartsAsItShould) {
  State state;
  EXPECT_EQ(GetWord(state.get(), 0), 2u);
  const uint32_t alphabets[21] = {5, 4, 8,  7, 7, 12, 6, 6, 12, 6, 6,
                                  7, 7, 12, 6, 6, 12, 6, 6, 7,  7};
  for (uint32_t t = 0; t < 21; ++t) {
    EXPECT_EQ(GetWord(state.get(), VlcWord(t, 0)), alphabets[t]);
    const bool has_pairs = alphabets[t] == 6 || alphabets[t] == 12;
    EXPECT_EQ(GetWord(state.get(), VlcWord(t, kVlcIndex)), has_pairs ? 1u : 0u);
    if (t >= 1 && t <= 4) continue;
    EXPECT_EQ(GetWord(state.get(), VlcWord(t, 2)), 1u);
    EXPECT_EQ(GetWord(state.get(), VlcWord(t, 3)), 8u);
    EXPECT_EQ(GetWord(state.get(), VlcWord(t, 4)),
              has_pairs ? static_cast<uint32_t>(-8) : 0x80000000u);
  }
  EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 0, 0)), 32767u);
  EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 15, 0)), 4u);
}

// Every index of every alphabet, with counters at and around every limit.
TEST(VlcState, AdaptAsTheModel_Exhaustive) {
  const int32_t deltas[] = {-100, -65, -64, -63, -9, -8, -7, -1, 0, 1, 7, 8, 9, 63, 64, 65, 100};
  for (uint32_t index = 0; index < 5; ++index) {
    for (const int32_t delta1 : deltas) {
      for (const int32_t delta2 : deltas) {
        State state;
        for (uint32_t t = 0; t < 21; ++t) {
          const uint32_t count = NumVlcTables(GetWord(state.get(), VlcWord(t, 0)));
          ForceVlcTable(state.get(), t, index < count ? index : count - 1);
          SetWord(state.get(), VlcWord(t, kVlcDelta1), static_cast<uint32_t>(delta1));
          SetWord(state.get(), VlcWord(t, kVlcDelta2), static_cast<uint32_t>(delta2));
        }
        for (const uint32_t group : {0u, 1u}) {
          State model = state;
          ASSERT_EQ(::zepiVLCAdapt_JPEGXR(state.get(), group), zepStatusOk);
          reference::zepiVLCAdapt_JPEGXR(model.get(), group);
          ASSERT_TRUE(state == model) << index << " " << delta1 << " " << delta2 << " " << group;
        }
      }
    }
  }
}

// The downward test comes first and uses only delta1.
TEST(VlcState, AdaptByHand) {
  State state;
  const uint32_t five = VlcWord(5, 0), thirteen = VlcWord(13, 0);
  SetWord(state.get(), five + kVlcDelta1, static_cast<uint32_t>(-9));
  SetWord(state.get(), five + kVlcDelta2, 50);
  SetWord(state.get(), thirteen + kVlcDelta2, 9);
  EXPECT_EQ(::zepiVLCAdapt_JPEGXR(state.get(), 0), zepStatusOk);
  EXPECT_EQ(GetWord(state.get(), five + kVlcIndex), 0u);
  EXPECT_EQ(GetWord(state.get(), five + kVlcDelta2), 0u);
  EXPECT_EQ(GetWord(state.get(), thirteen + kVlcIndex), 1u);  // of the other group
  EXPECT_EQ(::zepiVLCAdapt_JPEGXR(state.get(), 1), zepStatusOk);
  EXPECT_EQ(GetWord(state.get(), thirteen + kVlcIndex), 2u);
  SetWord(state.get(), five + kVlcDelta1, static_cast<uint32_t>(-1000));  // table 0 is the lowest
  EXPECT_EQ(::zepiVLCAdapt_JPEGXR(state.get(), 0), zepStatusOk);
  EXPECT_EQ(GetWord(state.get(), five + kVlcIndex), 0u);
  EXPECT_EQ(GetWord(state.get(), five + kVlcDelta1), static_cast<uint32_t>(-64));
}

TEST(VlcState, ScanMovesAheadWhatIsFrequent) {
  State state;
  int32_t values[16] = {}, pairs[32], packed[16];
  uint32_t count = 9;
  values[4] = 7;
  for (int times = 1; times <= 3; ++times) {
    EXPECT_EQ(::zepiVLCScan4x4DC_JPEGXR_32s(values, 0, state.get(), pairs, &count, packed),
              zepStatusOk);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(pairs[0], 1);
    EXPECT_EQ(pairs[1], 7);
    EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 1, 1)), times < 3 ? 1u : 4u);
    EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 2, 1)), times < 3 ? 4u : 1u);
  }
  EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 1, 0)), 33u);
  EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 2, 0)), 32u);
  EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 1, 2)), 3u);  // the position moves too
  EXPECT_EQ(::zepiVLCScanReset_JPEGXR(state.get(), 2), zepStatusOk);
  EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 1, 1)), 4u);  // and stays
  EXPECT_EQ(GetWord(state.get(), VlcScanWord(2, 1, 0)), 32u);
}

// A new state equals one that was used and initialized again.
TEST(VlcState, InitForgets) {
  Random random(harness::Seed());
  State used, fresh;
  vlc_cases::Scramble(random, &used);
  ASSERT_FALSE(used == fresh);
  ::zepiVLCInit_JPEGXR(used.get());
  ::zepiVLCInit_JPEGXR(fresh.get());
  EXPECT_TRUE(used == fresh);
}

TEST(VlcState, Checks) {
  State state;
  int32_t size = 0;
  EXPECT_EQ(::zepiVLCGetStateSize_JPEGXR(nullptr), zepStatusNullPtr);
  EXPECT_EQ(::zepiVLCInit_JPEGXR(nullptr), zepStatusNullPtr);
  CheckOrder(HARNESS_NAMED(zepiVLCGetStateSize_JPEGXR), &size).Null<0>().Output(&size, 4).Run();
  CheckOrder(HARNESS_NAMED(zepiVLCInit_JPEGXR), state.get()).Null<0>().Run();
  CheckOrder(HARNESS_NAMED(zepiVLCAdapt_JPEGXR), state.get(), 1u)
      .Null<0>()
      .Bad<1>(zepStatusOutOfRange, {2u, 3u, 0xFFFFFFFFu})
      .Output(state.get(), kStateBytes)
      .Run();
  CheckOrder(HARNESS_NAMED(zepiVLCScanReset_JPEGXR), state.get(), 2u)
      .Null<0>()
      .Bad<1>(zepStatusOutOfRange, {3u, 4u, 0xFFFFFFFFu})
      .Output(state.get(), kStateBytes)
      .Run();
  CheckOrder(HARNESS_NAMED(zepiVLCScanSet_JPEGXR), state.get(), 1u)
      .Null<0>()
      .Bad<1>(zepStatusOutOfRange, {3u, 4u, 0xFFFFFFFFu})
      .Output(state.get(), kStateBytes)
      .Run();
}

}  // namespace
