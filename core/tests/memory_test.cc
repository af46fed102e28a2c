// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "zepcore.h"

namespace {

bool IsAligned(const void* memory) { return reinterpret_cast<uintptr_t>(memory) % 64 == 0; }

TEST(Malloc, RefusesSizesBelowOne) {
  for (const int32_t size : {0, -1, -63, -64, -65, INT32_MIN, INT32_MIN + 1}) {
    EXPECT_EQ(zepMalloc(size), nullptr) << size;
  }
}

TEST(Malloc, EverySmallSizeIsAlignedAndDistinct) {
  constexpr int32_t kSizes = 300;
  std::vector<unsigned char*> blocks;
  for (int32_t size = 1; size <= kSizes; ++size) {
    auto* block = static_cast<unsigned char*>(zepMalloc(size));
    ASSERT_NE(block, nullptr) << size;
    EXPECT_TRUE(IsAligned(block)) << size;
    std::memset(block, size & 0xFF, static_cast<size_t>(size));
    blocks.push_back(block);
  }
  for (int32_t size = 1; size <= kSizes; ++size) {
    unsigned char* block = blocks[static_cast<size_t>(size) - 1];
    for (int32_t i = 0; i < size; ++i) ASSERT_EQ(block[i], size & 0xFF) << size;
    zepFree(block);
  }
}

TEST(Malloc, LargeSizes) {
  for (const int32_t size : {65537, (1 << 20) + 1, (64 << 20) - 1}) {
    auto* block = static_cast<unsigned char*>(zepMalloc(size));
    ASSERT_NE(block, nullptr) << size;
    EXPECT_TRUE(IsAligned(block)) << size;
    block[0] = 1;
    block[size - 1] = 2;
    zepFree(block);
  }
}

// Skipped with sanitizers, whose allocators end the program instead of returning null.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
TEST(Malloc, LargestSizes) {
  for (const int32_t size : {INT32_MAX, INT32_MAX - 62, INT32_MAX - 63, INT32_MAX - 64}) {
    auto* block = static_cast<unsigned char*>(zepMalloc(size));
    if (block == nullptr) continue;
    EXPECT_TRUE(IsAligned(block)) << size;
    block[0] = 1;
    block[size - 1] = 2;
    zepFree(block);
  }
}
#endif

TEST(Free, NullIsAllowed) { zepFree(nullptr); }

}  // namespace
