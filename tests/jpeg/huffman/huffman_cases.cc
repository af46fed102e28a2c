// SPDX-License-Identifier: MIT
#include "jpeg/huffman/huffman_cases.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

#include "reference/block_encoder.h"
#include "reference/huffman_tables.h"

namespace huffman_cases {
namespace {

using harness::Random;

std::vector<uint8_t> AllSymbols() {
  std::vector<uint8_t> symbols(256);
  std::iota(symbols.begin(), symbols.end(), uint8_t{0});
  return symbols;
}

// The number of leaves at each depth of a binary tree with `count` leaves and at most 16 levels,
// split at random; sometimes almost a chain.
std::array<int, 17> RandomLeaves(size_t count, Random& random) {
  std::array<int, 17> leaves = {1};
  const bool comb = random() % 4 == 0;
  for (size_t have = 1; have < count; ++have) {
    size_t depth = comb ? std::min<size_t>(15, have) : random() % 16;
    while (leaves[depth] == 0) depth = (depth + 1) % 16;
    --leaves[depth];
    leaves[depth + 1] += 2;
  }
  return leaves;
}

int16_t RandomValue(unsigned max_bits, Random& random) {
  const auto bits = static_cast<unsigned>(1 + random() % max_bits);
  const auto magnitude = static_cast<int>((1U << (bits - 1)) | (random() % (1U << (bits - 1))));
  return static_cast<int16_t>(random() % 2 ? magnitude : -magnitude);
}

}  // namespace

Lists StandardDc() {
  return {{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0}, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11}};
}

Lists StandardAc() {
  return {{0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 0x7d},
          {0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
           0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xa1, 0x08, 0x23, 0x42, 0xb1, 0xc1, 0x15, 0x52,
           0xd1, 0xf0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0a, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x25,
           0x26, 0x27, 0x28, 0x29, 0x2a, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3a, 0x43, 0x44, 0x45,
           0x46, 0x47, 0x48, 0x49, 0x4a, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5a, 0x63, 0x64,
           0x65, 0x66, 0x67, 0x68, 0x69, 0x6a, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7a, 0x83,
           0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8a, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
           0x9a, 0xa2, 0xa3, 0xa4, 0xa5, 0xa6, 0xa7, 0xa8, 0xa9, 0xaa, 0xb2, 0xb3, 0xb4, 0xb5, 0xb6,
           0xb7, 0xb8, 0xb9, 0xba, 0xc2, 0xc3, 0xc4, 0xc5, 0xc6, 0xc7, 0xc8, 0xc9, 0xca, 0xd2, 0xd3,
           0xd4, 0xd5, 0xd6, 0xd7, 0xd8, 0xd9, 0xda, 0xe1, 0xe2, 0xe3, 0xe4, 0xe5, 0xe6, 0xe7, 0xe8,
           0xe9, 0xea, 0xf1, 0xf2, 0xf3, 0xf4, 0xf5, 0xf6, 0xf7, 0xf8, 0xf9, 0xfa}};
}

Lists RandomLists(std::vector<uint8_t> symbols, Random& random) {
  std::shuffle(symbols.begin(), symbols.end(), random);
  std::array<int, 17> leaves = RandomLeaves(symbols.size() + 1, random);
  size_t deepest = 16;
  while (leaves[deepest] == 0) --deepest;
  --leaves[deepest];  // the code of ones
  Lists lists = {{}, std::move(symbols)};
  for (size_t length = 1; length <= 16; ++length) {
    // A list entry cannot hold 256 codes; one code is dropped.
    lists.bits[length - 1] = static_cast<uint8_t>(std::min(leaves[length], 255));
    if (leaves[length] > 255) lists.vals.pop_back();
  }
  return lists;
}

Lists RandomLists(Random& random) { return RandomLists(AllSymbols(), random); }

Lists RandomSparseLists(Random& random) {
  std::vector<uint8_t> symbols = AllSymbols();
  std::shuffle(symbols.begin(), symbols.end(), random);
  symbols.resize(1 + random() % 256);
  return RandomLists(std::move(symbols), random);
}

Lists WildLists(Random& random) {
  Lists lists = {};
  for (uint8_t& count : lists.bits) {
    if (random() % 3 != 0) continue;
    count = static_cast<uint8_t>(random() % (random() % 4 == 0 ? 256 : 6));
  }
  lists.vals.resize(256);
  for (uint8_t& value : lists.vals) value = static_cast<uint8_t>(random());
  return lists;
}

zepiEncodeHuffmanSpec EncoderTable(const Lists& lists) {
  zepiEncodeHuffmanSpec table;
  if (reference::zepiEncodeHuffmanSpecInit_JPEG_8u(lists.bits.data(), lists.vals.data(), &table) !=
      zepStatusOk) {
    throw std::invalid_argument("not an encoder's table");
  }
  return table;
}

zepiDecodeHuffmanSpec DecoderTable(const Lists& lists) {
  zepiDecodeHuffmanSpec table;
  if (reference::zepiDecodeHuffmanSpecInit_JPEG_8u(lists.bits.data(), lists.vals.data(), &table) !=
      zepStatusOk) {
    throw std::invalid_argument("not a decoder's table");
  }
  return table;
}

Block RandomBlock(Random& random) {
  Block block = {};
  const unsigned max_bits = random() % 2 ? 1 + random() % 4 : 1 + random() % 15;
  const auto one_in = 1 + random() % (random() % 2 ? 5 : 64);
  for (int16_t& value : block) {
    if (random() % one_in == 0) value = RandomValue(max_bits, random);
  }
  switch (random() % 8) {
    case 0: block.fill(0); break;
    case 1: block[63] = RandomValue(15, random); break;
    case 2: block[0] = random() % 2 ? -32768 : 32767; break;
    case 3: block[random() % 64] = random() % 2 ? -32767 : 32767; break;
    case 4:
      for (int16_t& value : block) value = RandomValue(15, random);
      break;
    default: break;
  }
  return block;
}

Tables MakeTables(const Lists& dc, const Lists& ac) {
  return {EncoderTable(dc), EncoderTable(ac), DecoderTable(dc), DecoderTable(ac)};
}

Tables StandardTables() { return MakeTables(StandardDc(), StandardAc()); }

Tables RandomTables(Random& random) { return MakeTables(RandomLists(random), RandomLists(random)); }

std::vector<uint8_t> Encode(const std::vector<Block>& blocks, const Tables& tables) {
  std::vector<uint8_t> bytes(blocks.size() * 520 + 16);
  const auto length = static_cast<int32_t>(bytes.size());
  int32_t position = 0;
  int16_t last_dc = 0;
  zepiEncodeHuffmanState state = {};
  for (const Block& block : blocks) {
    if (reference::zepiEncodeHuffman8x8_JPEG_16s1u_C1(block.data(), bytes.data(), length, &position,
                                                      &last_dc, &tables.dc_encoder,
                                                      &tables.ac_encoder, &state, 0) < 0) {
      throw std::invalid_argument("the block has symbols without a code");
    }
  }
  reference::zepiEncodeHuffman8x8_JPEG_16s1u_C1(nullptr, bytes.data(), length, &position, nullptr,
                                                nullptr, nullptr, &state, 1);
  bytes.resize(static_cast<size_t>(position));
  return bytes;
}

}  // namespace huffman_cases
