// SPDX-License-Identifier: MIT
// Runs the library in a program that has its own core library: it reports no features except the
// variant's bits, has its own thread count, and counts the memory that it allocates.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <vector>

#include "zepcore.h"
#include "zepjp.h"

namespace {

int thread_count_calls = 0;
int allocations = 0;

}  // namespace

uint64_t zepGetEnabledCpuFeatures(void) { return 0x30; }

int32_t ownGetNumThreads(void) {
  ++thread_count_calls;
  return 3;
}

void* zepMalloc(int32_t size) {
  ++allocations;
  return std::malloc(static_cast<size_t>(size));
}

void zepFree(void* memory) { std::free(memory); }

namespace {

TEST(ReplacedCore, ItsMaskChoosesTheVariant) {
  EXPECT_EQ(std::memcmp(zepjGetLibVersion()->cpuCode, "s8\0", 4), 0);
}

TEST(ReplacedCore, ItsThreadCountIsAsked) {
  const zepiSize size = {128, 65};
  std::vector<uint8_t> rgb(static_cast<size_t>(size.width * size.height * 3), 200);
  std::vector<uint8_t> y(static_cast<size_t>(size.width * size.height));
  const int before = thread_count_calls;
  ASSERT_EQ(zepiRGBToY_JPEG_8u_C3C1R(rgb.data(), size.width * 3, y.data(), size.width, size), 0);
  EXPECT_EQ(thread_count_calls, before + 1);
  for (const uint8_t value : y) ASSERT_EQ(value, 200);
}

// Only the functions named InitAlloc allocate: PackBits rows of any length do not, with and without
// room to spare.
TEST(ReplacedCore, OnlyInitAllocAsksForMemory) {
  zepiDecodeHuffmanState* state = nullptr;
  ASSERT_EQ(zepiDecodeHuffmanStateInitAlloc_JPEG_8u(&state), zepStatusOk);
  ASSERT_EQ(zepiDecodeHuffmanStateFree_JPEG_8u(state), zepStatusOk);
  EXPECT_EQ(allocations, 1);
  std::vector<uint8_t> row(300000);
  for (size_t i = 0; i < row.size(); ++i) row[i] = static_cast<uint8_t>((i * i) >> 5);
  std::vector<uint8_t> packed(row.size() + row.size() / 128 + 1);
  auto size = static_cast<int32_t>(packed.size());
  const auto length = static_cast<int32_t>(row.size());
  ASSERT_EQ(zepiPackBitsRow_TIFF_8u_C1(row.data(), length, packed.data(), &size), zepStatusOk);
  int32_t tight = size;
  ASSERT_EQ(zepiPackBitsRow_TIFF_8u_C1(row.data(), length, packed.data(), &tight), zepStatusOk);
  EXPECT_EQ(tight, size);
  EXPECT_EQ(allocations, 1);
}

}  // namespace
