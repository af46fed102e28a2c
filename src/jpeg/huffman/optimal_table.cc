// SPDX-License-Identifier: MIT
// The lists of the optimal Huffman table for counted symbols, with codes of at most 16 bits and
// without the code of all ones (ITU-T T.81, K.2, requires both).
//
// The lengths come from the package-merge algorithm. It makes 16 lists, one for each bit of length.
// The first list has the n symbols, sorted by weight (their count). Each later list merges these n
// symbols with the pairs of neighbours of the list before, sorted by weight. Then the first 2n - 2
// items of the last list are selected, and going back, the items that form the selected pairs. The
// length of a symbol's code is the number of lists in which it is selected. That minimises the
// total of weight times length; the heuristic of K.2 does not always reach the minimum.
//
// An extra symbol of weight 0 gets the longest code, the one of all ones, and is left out. Weights
// are below 2^31, so sums of up to 2^16 of them fit 64 bits.
#include <algorithm>
#include <cstring>

#include "frame/checks.h"
#include "jpeg/huffman/bit_reader.h"

namespace zepjp {
namespace {

constexpr int kSymbols = 256, kMaxLeaves = kSymbols + 1, kMaxItems = 2 * kMaxLeaves;

struct Leaf {
  int64_t weight;
  int symbol;
};

// One list: symbols and pairs, sorted by weight.
struct Round {
  int64_t weights[kMaxItems];
  bool is_leaf[kMaxItems];
  int count = 0;

  void Add(int64_t weight, bool is_symbol) {
    weights[count] = weight;
    is_leaf[count++] = is_symbol;
  }
};

void Merge(const Leaf* leaves, int count, const Round& before, Round* round) {
  round->count = 0;
  int pair = 0;
  for (int leaf = 0; leaf < count || 2 * pair + 1 < before.count;) {
    const bool has_pair = 2 * pair + 1 < before.count;
    const int64_t weight = has_pair ? before.weights[2 * pair] + before.weights[2 * pair + 1] : 0;
    if (leaf < count && (!has_pair || leaves[leaf].weight <= weight)) {
      round->Add(leaves[leaf++].weight, true);
    } else {
      round->Add(weight, false);
      ++pair;
    }
  }
}

// The code lengths of the leaves, which are sorted by weight.
void FindLengths(const Leaf* leaves, int count, int* lengths) {
  Round rounds[kMaxCodeBits];
  static constexpr Round kNone = {{}, {}, 0};
  for (int i = 0; i < kMaxCodeBits; ++i)
    Merge(leaves, count, i > 0 ? rounds[i - 1] : kNone, &rounds[i]);
  std::fill_n(lengths, count, 0);
  int taken = 2 * count - 2;
  for (int i = kMaxCodeBits - 1; i >= 0; --i) {
    const int symbols =
        static_cast<int>(std::count(rounds[i].is_leaf, rounds[i].is_leaf + taken, true));
    for (int leaf = 0; leaf < symbols; ++leaf) ++lengths[leaf];
    taken = 2 * (taken - symbols);
  }
}

void MakeLists(const int32_t* statistics, uint8_t* bits, uint8_t* values) {
  Leaf leaves[kMaxLeaves];
  int count = 0;
  for (int symbol = 0; symbol < kSymbols; ++symbol) {
    if (statistics[symbol] > 0) leaves[count++] = {statistics[symbol], symbol};
  }
  if (count == 0) leaves[count++] = {1, 0};
  leaves[count++] = {0, kSymbols};
  // Among equal weights the higher symbol comes first, so that its code is not the shorter one.
  std::sort(leaves, leaves + count, [](const Leaf& a, const Leaf& b) {
    return a.weight != b.weight ? a.weight < b.weight : a.symbol > b.symbol;
  });
  int lengths[kMaxLeaves];
  FindLengths(leaves, count, lengths);
  std::memset(bits, 0, kMaxCodeBits);
  std::memset(values, 0, kSymbols);
  int written = 0;
  for (int length = 1; length <= kMaxCodeBits; ++length) {
    const int start = written;
    for (int leaf = 1; leaf < count; ++leaf) {  // leaf 0 is the extra symbol
      if (lengths[leaf] != length) continue;
      values[written++] = static_cast<uint8_t>(leaves[leaf].symbol);
    }
    std::sort(values + start, values + written);
    bits[length - 1] = static_cast<uint8_t>(written - start);
  }
}

}  // namespace
}  // namespace zepjp

using namespace zepjp;

zepStatus ZEP_CALL zepiEncodeHuffmanRawTableInit_JPEG_8u(const int32_t pStatistics[256],
                                                         uint8_t pListBits[16],
                                                         uint8_t pListVals[256]) {
  if (auto bad = Checks().Ptr(pStatistics).Ptr(pListBits).Ptr(pListVals).Failed()) return bad;
  const bool is_negative =
      std::any_of(pStatistics, pStatistics + kSymbols, [](int32_t n) { return n < 0; });
  if (is_negative) return zepStatusError;
  MakeLists(pStatistics, pListBits, pListVals);
  return zepStatusOk;
}
