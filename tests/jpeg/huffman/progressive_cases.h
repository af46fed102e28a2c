// SPDX-License-Identifier: MIT
// Shared by the tests of progressive scans and of statistics.
#ifndef ZEPJP_TESTS_JPEG_HUFFMAN_PROGRESSIVE_CASES_H_
#define ZEPJP_TESTS_JPEG_HUFFMAN_PROGRESSIVE_CASES_H_

#include <vector>

#include "jpeg/huffman/huffman_cases.h"

// The export or the model of the same name.
#define HUFFMAN_CALL(is_export, function, ...) \
  ((is_export) ? ::function(__VA_ARGS__) : ::reference::function(__VA_ARGS__))

namespace huffman_cases {

struct Band {
  int32_t first, last, shift;
};
inline Band RandomBand(harness::Random& random) {
  const auto first = static_cast<int32_t>(1 + random() % 63);
  const auto last = static_cast<int32_t>(
      first + static_cast<int32_t>(random() % static_cast<uint32_t>(64 - first)));
  const auto shift = static_cast<int32_t>(random() % 3 != 0 ? random() % 4 : random() % 14);
  return random() % 2 == 0 ? Band{1, 63, shift} : Band{first, last, shift};
}

// The results of a call; of the correction bits, those within the count.
struct Outcome {
  zepStatus status = zepStatusOk;
  int32_t position = 0;
  int16_t last_dc = 0;
  zepiEncodeHuffmanState state = {};
};

// Some blocks, many of them sparse, and a size that may be too small for them.
struct Case {
  explicit Case(harness::Random& random)
      : table(huffman_cases::EncoderTable(random() % 5 == 0
                                              ? huffman_cases::RandomSparseLists(random)
                                              : huffman_cases::RandomLists(random))) {
    const size_t count = 1 + random() % 60;
    for (size_t i = 0; i < count; ++i) {
      Block block = {};
      if (random() % 3 != 0) block = huffman_cases::RandomBlock(random);
      blocks.push_back(block);
    }
    room = random() % 3 == 0 ? 1 + random() % 3000 : 100000;
  }
  zepiEncodeHuffmanSpec table;
  std::vector<Block> blocks;
  size_t room;
};

}  // namespace huffman_cases

#endif  // ZEPJP_TESTS_JPEG_HUFFMAN_PROGRESSIVE_CASES_H_
