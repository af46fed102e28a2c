// SPDX-License-Identifier: MIT
// Tag trees (ITU-T T.800, B.10.2): numbers of a grid of code-blocks, coded as what they exceed the
// minimum of their neighbourhood by.
#ifndef ZEPJP_EXAMPLES_JPEG2000_TAG_TREE_H_
#define ZEPJP_EXAMPLES_JPEG2000_TAG_TREE_H_

#include <cstddef>
#include <vector>

namespace jpeg2000 {

class TagTree {
 public:
  TagTree() = default;
  TagTree(int width, int height);

  // Reads until it is known whether the value of leaf `leaf` is below `threshold`, and says so.
  // `bits.Bit()` gives the next bit.
  template <class Bits>
  bool DecodeBelow(size_t leaf, int threshold, Bits* bits) {
    int low = 0;
    for (size_t depth = Path(leaf); depth-- > 0;) {
      Node& node = nodes_[path_[depth]];
      if (node.low < low) node.low = low;
      while (node.low < threshold && !node.known) {
        if (bits->Bit() != 0) {
          node.known = true;
        } else {
          ++node.low;
        }
      }
      low = node.low;
    }
    const Node& node = nodes_[leaf];
    return node.known && node.low < threshold;
  }
  // What is known of a leaf: its value is not less.
  int Low(size_t leaf) const { return nodes_[leaf].low; }

  // The value of a leaf to encode; Prepare() when all are set.
  void Set(size_t leaf, int value) { nodes_[leaf].value = value; }
  // Fills the inner nodes and forgets what was written.
  void Prepare();

  // Writes what DecodeBelow() reads, by `bits->Put(bit)`.
  template <class Bits>
  void EncodeBelow(size_t leaf, int threshold, Bits* bits) {
    int low = 0;
    for (size_t depth = Path(leaf); depth-- > 0;) {
      Node& node = nodes_[path_[depth]];
      if (node.low < low) node.low = low;
      while (node.low < threshold && !node.known) {
        if (node.low < node.value) {
          bits->Put(0);
          ++node.low;
        } else {
          bits->Put(1);
          node.known = true;
        }
      }
      low = node.low;
    }
  }

 private:
  struct Node {
    size_t parent;
    int value;
    int low;
    bool known;
  };
  static constexpr size_t kRoot = static_cast<size_t>(-1);

  // The nodes from a leaf to the root, and how many they are.
  size_t Path(size_t leaf) {
    size_t depth = 0;
    for (size_t node = leaf; node != kRoot; node = nodes_[node].parent) path_[depth++] = node;
    return depth;
  }

  std::vector<Node> nodes_;
  size_t path_[32] = {};
};

}  // namespace jpeg2000

#endif  // ZEPJP_EXAMPLES_JPEG2000_TAG_TREE_H_
