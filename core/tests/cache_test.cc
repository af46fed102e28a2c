// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include "zepcore.h"

namespace {

TEST(CacheSize, IsThatOfARealCache) {
  const int32_t size = zepGetMaxCacheSizeB();
  EXPECT_GE(size, 8 << 10);
  EXPECT_EQ(size % 1024, size == INT32_MAX ? 1023 : 0);
}

TEST(CacheSize, StaysTheSame) { EXPECT_EQ(zepGetMaxCacheSizeB(), zepGetMaxCacheSizeB()); }

}  // namespace
