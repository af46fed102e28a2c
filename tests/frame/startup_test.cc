// SPDX-License-Identifier: MIT
#include "simd/startup.h"

#include <gtest/gtest.h>

#include "frame/memory.h"
#include "simd/dispatch.h"
#include "zepjp.h"

namespace {

using zepjp::Variant;

TEST(Startup, BothBitsChooseTheOtherVariant) {
  EXPECT_EQ(zepjp::VariantOf(0), Variant::kV8);
  EXPECT_EQ(zepjp::VariantOf(0x10), Variant::kV8);
  EXPECT_EQ(zepjp::VariantOf(0x20), Variant::kV8);
  EXPECT_EQ(zepjp::VariantOf(0x30), Variant::kS8);
  EXPECT_EQ(zepjp::VariantOf(~uint64_t{0x30}), Variant::kV8);
  EXPECT_EQ(zepjp::VariantOf(~uint64_t{0}), Variant::kS8);
}

TEST(Startup, BestEnabledTableIsChosen) {
  const int ssse3 = 0, sse4 = 1, avx2 = 2, avx512 = 3;
  const zepjp::PerTarget<int> x86 = {&ssse3, &sse4, &avx2, &avx512};
  const auto choose = [&](bool has_sse4, bool has_avx2, bool has_avx512) {
    return *zepjp::Choose(x86, {has_sse4, has_avx2, has_avx512, Variant::kV8});
  };
  EXPECT_EQ(choose(false, false, false), ssse3);
  EXPECT_EQ(choose(true, false, false), sse4);
  EXPECT_EQ(choose(true, true, false), avx2);
  EXPECT_EQ(choose(true, true, true), avx512);
  const zepjp::PerTarget<int> x86_32 = {&ssse3, &sse4, nullptr, nullptr};
  EXPECT_EQ(*zepjp::Choose(x86_32, {true, true, true, Variant::kV8}), sse4);
  const int only = 4;
  const zepjp::PerTarget<int> other = {&only, nullptr, nullptr, nullptr};
  EXPECT_EQ(*zepjp::Choose(other, {false, false, false, Variant::kV8}), only);
}

TEST(Startup, MemoryRefusesSizesBelowOne) {
  EXPECT_EQ(zepjp::Allocate(0), nullptr);
  EXPECT_EQ(zepjp::Allocate(-1), nullptr);
  void* const memory = zepjp::Allocate(1);
  ASSERT_NE(memory, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(memory) % 64, 0U);
  zepjp::Release(memory);
}

TEST(Startup, EveryStatusHasItsName) {
  EXPECT_STREQ(zepStatusName(zepStatusOk), "zepStatusOk");
  EXPECT_STREQ(zepStatusName(zepStatusBadHuffCode), "zepStatusBadHuffCode");
  EXPECT_STREQ(zepStatusName(zepStatusOddSizeWarning), "zepStatusOddSizeWarning");
  EXPECT_STREQ(zepStatusName(1), "unknown status");
  EXPECT_STREQ(zepStatusName(-256), "unknown status");
}

}  // namespace
