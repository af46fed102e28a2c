// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "cache.h"

namespace {

using zepcore::CacheWords;

constexpr uint32_t kData = 1, kInstructions = 2, kUnified = 3;

CacheWords Words(uint32_t type, uint32_t line, uint32_t partitions, uint32_t ways, uint32_t sets) {
  constexpr uint32_t kOtherBitsOfEax = 0xFFFFFFE0U;  // level and sharing, which are ignored
  return {kOtherBitsOfEax | type, (ways - 1) << 22 | (partitions - 1) << 12 | (line - 1), sets - 1};
}

TEST(CacheWords, ListEndsWithTypeZero) {
  EXPECT_FALSE(zepcore::IsCache({0, 0, 0}));
  EXPECT_FALSE(zepcore::IsCache(Words(0, 64, 1, 8, 64)));
  for (const uint32_t type : {kData, kInstructions, kUnified}) {
    EXPECT_TRUE(zepcore::IsCache({type, 0, 0})) << type;
  }
}

TEST(CacheWords, SizeIsTheProductOfItsParts) {
  EXPECT_EQ(zepcore::DataCacheSize(Words(kData, 64, 1, 8, 64)), 32U << 10);
  EXPECT_EQ(zepcore::DataCacheSize(Words(kUnified, 64, 1, 16, 32768)), 32U << 20);
  EXPECT_EQ(zepcore::DataCacheSize(Words(kUnified, 64, 1, 11, 114688)), 64U * 11 * 114688);
  EXPECT_EQ(zepcore::DataCacheSize(Words(kData, 32, 2, 3, 5)), 32U * 2 * 3 * 5);
  EXPECT_EQ(zepcore::DataCacheSize(Words(kData, 1, 1, 1, 1)), 1U);
  EXPECT_EQ(zepcore::DataCacheSize(Words(kData, 4096, 1, 1, 1)), 4096U);
  EXPECT_EQ(zepcore::DataCacheSize(Words(kData, 1, 1024, 1, 1)), 1024U);
  EXPECT_EQ(zepcore::DataCacheSize(Words(kData, 1, 1, 1024, 1)), 1024U);
}

TEST(CacheWords, OnlyDataCounts) {
  EXPECT_EQ(zepcore::DataCacheSize(Words(kInstructions, 64, 1, 8, 64)), 0U);
  EXPECT_EQ(zepcore::DataCacheSize(Words(4, 64, 1, 8, 64)), 0U);
  EXPECT_EQ(zepcore::DataCacheSize(Words(0, 64, 1, 8, 64)), 0U);
}

TEST(CacheWords, LargestWordsSaturate) {
  EXPECT_EQ(zepcore::DataCacheSize({kUnified, UINT32_MAX, UINT32_MAX}), UINT64_MAX);
  EXPECT_EQ(zepcore::DataCacheSize({kUnified, UINT32_MAX, UINT32_MAX - 1}),
            UINT64_MAX - UINT32_MAX);
}

TEST(ReportedCacheSize, FallbackAndSaturation) {
  EXPECT_EQ(zepcore::ReportedCacheSize(0), 1 << 20);
  EXPECT_EQ(zepcore::ReportedCacheSize(1), 1);
  EXPECT_EQ(zepcore::ReportedCacheSize(32U << 20), 32 << 20);
  EXPECT_EQ(zepcore::ReportedCacheSize(INT32_MAX), INT32_MAX);
  EXPECT_EQ(zepcore::ReportedCacheSize(uint64_t{INT32_MAX} + 1), INT32_MAX);
  EXPECT_EQ(zepcore::ReportedCacheSize(uint64_t{1} << 32), INT32_MAX);
  EXPECT_EQ(zepcore::ReportedCacheSize(UINT64_MAX), INT32_MAX);
}

}  // namespace
