// SPDX-License-Identifier: MIT
// Tables, blocks and streams for the tests of the Huffman coders.
#ifndef ZEPJP_TESTS_JPEG_HUFFMAN_HUFFMAN_CASES_H_
#define ZEPJP_TESTS_JPEG_HUFFMAN_HUFFMAN_CASES_H_

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "harness/difference.h"
#include "harness/guarded.h"
#include "harness/random.h"
#include "zepjp.h"

namespace huffman_cases {

using Block = std::array<int16_t, 64>;  // natural order

// The lists of a DHT segment.
struct Lists {
  std::array<uint8_t, 16> bits;
  std::vector<uint8_t> vals;
};

// The example tables of ITU-T T.81, K.3.
Lists StandardDc();
Lists StandardAc();

// A random prefix code for all of `symbols`; only the code of all ones is unused.
Lists RandomLists(std::vector<uint8_t> symbols, harness::Random& random);
// A random prefix code for all 256 symbols, or for some of them.
Lists RandomLists(harness::Random& random);
Lists RandomSparseLists(harness::Random& random);
// Arbitrary counts of codes, which may not form a prefix code.
Lists WildLists(harness::Random& random);

zepiEncodeHuffmanSpec EncoderTable(const Lists& lists);
zepiDecodeHuffmanSpec DecoderTable(const Lists& lists);

// A random block of a random kind: sparse, dense, with long runs, with large or extreme values.
Block RandomBlock(harness::Random& random);

// Both tables of a component, for encoder and decoder.
struct Tables {
  zepiEncodeHuffmanSpec dc_encoder, ac_encoder;
  zepiDecodeHuffmanSpec dc_decoder, ac_decoder;
};
Tables MakeTables(const Lists& dc, const Lists& ac);
Tables StandardTables();
Tables RandomTables(harness::Random& random);

// Memory at a protected page that is used for many short buffers in turn.
class Arena {
 public:
  Arena(size_t capacity, harness::Edge edge) : memory_(capacity, edge), edge_(edge) {}

  // Returns a buffer at the page, or `away` bytes from it, and fills all other memory again.
  uint8_t* Buffer(size_t size, size_t away = 0) {
    std::memset(memory_.raw(), harness::kFill, memory_.bytes());
    return edge_ == harness::Edge::kStart ? memory_.raw() + away
                                          : memory_.raw() + memory_.bytes() - size - away;
  }
  uint8_t* Buffer(const std::vector<uint8_t>& content) {
    uint8_t* buffer = Buffer(content.size());
    if (!content.empty()) std::memcpy(buffer, content.data(), content.size());
    return buffer;
  }
  // Describes the first difference of the bytes of two arenas.
  std::string DifferenceTo(const Arena& want) const {
    return harness::FirstDifference(memory_, want.memory_);
  }

 private:
  harness::Guarded<uint8_t> memory_;
  harness::Edge edge_;
};

// Blocks as the model encodes them, with a flush.
std::vector<uint8_t> Encode(const std::vector<Block>& blocks, const Tables& tables);

}  // namespace huffman_cases

#endif  // ZEPJP_TESTS_JPEG_HUFFMAN_HUFFMAN_CASES_H_
