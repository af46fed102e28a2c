// SPDX-License-Identifier: MIT
// Tests the functions that allocate, with a core library whose memory comes from the test.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "jpeg/huffman/huffman_cases.h"
#include "zepcore.h"
#include "zepjp.h"

namespace {

struct Memory {
  bool fail = false;
  std::vector<int32_t> sizes;  // of the requests
  std::vector<void*> released;
};
Memory memory;

}  // namespace

// These replace the functions of the core library.
extern "C" {
#pragma GCC visibility push(default)
void* zepMalloc(int32_t size) {
  memory.sizes.push_back(size);
  if (memory.fail) return nullptr;
  void* block = std::malloc(static_cast<size_t>(size));
  std::memset(block, 0xCD, static_cast<size_t>(size));
  return block;
}
void zepFree(void* block) {
  memory.released.push_back(block);
  std::free(block);
}
#pragma GCC visibility pop
}

namespace {

class HuffmanMemory : public ::testing::Test {
 protected:
  HuffmanMemory() { memory = Memory(); }
  const huffman_cases::Lists lists_ = huffman_cases::StandardDc();
  const uint8_t* bits_ = lists_.bits.data();
  const uint8_t* vals_ = lists_.vals.data();
};

template <class Record>
Record* Garbage() {
  static Record record;
  return &record;
}

TEST_F(HuffmanMemory, TablesAreAllocatedAndReleased) {
  zepiEncodeHuffmanSpec* encoder = nullptr;
  ASSERT_EQ(zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(bits_, vals_, &encoder), zepStatusOk);
  const zepiEncodeHuffmanSpec encoder_model = huffman_cases::EncoderTable(lists_);
  EXPECT_EQ(harness::FirstByteDifference(encoder, &encoder_model, 1024), "");
  zepiDecodeHuffmanSpec* decoder = nullptr;
  ASSERT_EQ(zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(bits_, vals_, &decoder), zepStatusOk);
  const zepiDecodeHuffmanSpec decoder_model = huffman_cases::DecoderTable(lists_);
  EXPECT_EQ(harness::FirstByteDifference(decoder, &decoder_model, 1644), "");
  EXPECT_EQ(memory.sizes, (std::vector<int32_t>{1024, 1644}));
  const std::vector<void*> blocks = {encoder, decoder};
  EXPECT_EQ(zepiEncodeHuffmanSpecFree_JPEG_8u(encoder), zepStatusOk);
  EXPECT_EQ(zepiDecodeHuffmanSpecFree_JPEG_8u(decoder), zepStatusOk);
  EXPECT_EQ(memory.released, blocks);
}

TEST_F(HuffmanMemory, BadTablesAreStillTheCallers) {
  huffman_cases::Lists bad = lists_;
  bad.bits[0] = 4;
  bad.vals.resize(256);
  zepiEncodeHuffmanSpec* encoder = nullptr;
  EXPECT_EQ(zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(bad.bits.data(), bad.vals.data(), &encoder),
            zepStatusBadHuffTable);
  ASSERT_NE(encoder, nullptr);
  zepiDecodeHuffmanSpec* decoder = nullptr;
  EXPECT_EQ(zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(bad.bits.data(), bad.vals.data(), &decoder),
            zepStatusBadHuffTable);
  ASSERT_NE(decoder, nullptr);
  EXPECT_TRUE(memory.released.empty());
  EXPECT_EQ(zepiEncodeHuffmanSpecFree_JPEG_8u(encoder), zepStatusOk);
  EXPECT_EQ(zepiDecodeHuffmanSpecFree_JPEG_8u(decoder), zepStatusOk);
}

TEST_F(HuffmanMemory, StatesAreAllocatedAndReleased) {
  zepiEncodeHuffmanState* encoder = nullptr;
  ASSERT_EQ(zepiEncodeHuffmanStateInitAlloc_JPEG_8u(&encoder), zepStatusOk);
  const std::vector<uint8_t> zeros(1048);
  EXPECT_EQ(harness::FirstByteDifference(encoder, zeros.data(), 1048), "");
  zepiDecodeHuffmanState* decoder = nullptr;
  ASSERT_EQ(zepiDecodeHuffmanStateInitAlloc_JPEG_8u(&decoder), zepStatusOk);
  EXPECT_EQ(harness::FirstByteDifference(decoder, zeros.data(), 20), "");
  EXPECT_EQ(decoder->spare, 0xCDCDCDCDU);  // not changed
  EXPECT_EQ(memory.sizes, (std::vector<int32_t>{1048, 24}));
  const std::vector<void*> blocks = {encoder, decoder};
  EXPECT_EQ(zepiEncodeHuffmanStateFree_JPEG_8u(encoder), zepStatusOk);
  EXPECT_EQ(zepiDecodeHuffmanStateFree_JPEG_8u(decoder), zepStatusOk);
  EXPECT_EQ(memory.released, blocks);
}

TEST_F(HuffmanMemory, NoMemory) {
  memory.fail = true;
  auto* encoder_table = Garbage<zepiEncodeHuffmanSpec>();
  EXPECT_EQ(zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(bits_, vals_, &encoder_table), zepStatusNullPtr);
  EXPECT_EQ(encoder_table, nullptr);
  auto* decoder_table = Garbage<zepiDecodeHuffmanSpec>();
  EXPECT_EQ(zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(bits_, vals_, &decoder_table), zepStatusNullPtr);
  EXPECT_EQ(decoder_table, nullptr);
  auto* encoder_state = Garbage<zepiEncodeHuffmanState>();
  EXPECT_EQ(zepiEncodeHuffmanStateInitAlloc_JPEG_8u(&encoder_state), zepStatusNullPtr);
  EXPECT_EQ(encoder_state, nullptr);
  auto* decoder_state = Garbage<zepiDecodeHuffmanState>();
  EXPECT_EQ(zepiDecodeHuffmanStateInitAlloc_JPEG_8u(&decoder_state), zepStatusNullPtr);
  EXPECT_EQ(decoder_state, nullptr);
  EXPECT_EQ(memory.sizes.size(), 4U);
}

TEST_F(HuffmanMemory, BadArgumentsAskForNothing) {
  auto* table = Garbage<zepiEncodeHuffmanSpec>();
  auto* const before = table;
  EXPECT_EQ(zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(nullptr, vals_, &table), zepStatusNullPtr);
  EXPECT_EQ(zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(bits_, nullptr, &table), zepStatusNullPtr);
  EXPECT_EQ(zepiEncodeHuffmanSpecInitAlloc_JPEG_8u(bits_, vals_, nullptr), zepStatusNullPtr);
  EXPECT_EQ(table, before);
  auto* decoder = Garbage<zepiDecodeHuffmanSpec>();
  auto* const decoder_before = decoder;
  EXPECT_EQ(zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(nullptr, vals_, &decoder), zepStatusNullPtr);
  EXPECT_EQ(zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(bits_, nullptr, &decoder), zepStatusNullPtr);
  EXPECT_EQ(zepiDecodeHuffmanSpecInitAlloc_JPEG_8u(bits_, vals_, nullptr), zepStatusNullPtr);
  EXPECT_EQ(decoder, decoder_before);
  EXPECT_EQ(zepiEncodeHuffmanStateInitAlloc_JPEG_8u(nullptr), zepStatusNullPtr);
  EXPECT_EQ(zepiDecodeHuffmanStateInitAlloc_JPEG_8u(nullptr), zepStatusNullPtr);
  EXPECT_EQ(zepiEncodeHuffmanSpecFree_JPEG_8u(nullptr), zepStatusNullPtr);
  EXPECT_EQ(zepiDecodeHuffmanSpecFree_JPEG_8u(nullptr), zepStatusNullPtr);
  EXPECT_EQ(zepiEncodeHuffmanStateFree_JPEG_8u(nullptr), zepStatusNullPtr);
  EXPECT_EQ(zepiDecodeHuffmanStateFree_JPEG_8u(nullptr), zepStatusNullPtr);
  EXPECT_TRUE(memory.sizes.empty());
  EXPECT_TRUE(memory.released.empty());
}

}  // namespace
