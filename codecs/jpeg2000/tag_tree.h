// SPDX-License-Identifier: MIT
// Tag trees (ITU-T T.800, B.10.2) code a grid of numbers, one for each code-block. An inner node is
// the minimum of its up to 2x2 children; a number is coded from the root to the leaf as the
// differences between nodes, each in unary, and only as far as a question ("below the threshold?")
// needs.
#ifndef ZEPJP_CODECS_JPEG2000_TAG_TREE_H_
#define ZEPJP_CODECS_JPEG2000_TAG_TREE_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace zepcodec::jpeg2000 {

// Nodes are stored level by level, the leaves first. A node's parent follows from its place, so a
// node takes eight bytes.
class TagTree {
 public:
  TagTree() = default;
  TagTree(int width, int height);

  // Reads as many bits as it takes to know whether the value of leaf `leaf` is below `threshold`.
  // `bits.Bit()` returns the next bit; at the end of the data `bits.failed()` is true.
  template <class Bits>
  bool DecodeBelow(size_t leaf, int threshold, Bits* bits) {
    int low = 0;
    const Path path = PathOf(leaf);
    for (size_t depth = path.length; depth-- > 0;) {
      Node& node = nodes_[path.nodes[depth]];
      node.RaiseTo(low);
      while (node.low() < threshold && !node.known()) {
        if (bits->Bit() != 0) {
          node.SetKnown();
        } else if (bits->failed()) {
          return false;
        } else {
          node.RaiseTo(node.low() + 1);
        }
      }
      low = node.low();
    }
    const Node& node = nodes_[leaf];
    return node.known() && node.low() < threshold;
  }
  // The lower bound of a leaf's value that is known so far.
  int Low(size_t leaf) const { return nodes_[leaf].low(); }

  // Sets the value of a leaf to encode. After all are set, call Prepare().
  void Set(size_t leaf, int value) { nodes_[leaf].value = value; }
  // Fills the inner nodes and resets the state of coding.
  void Prepare();

  // Writes the bits that DecodeBelow() reads, with `bits->Put(bit)`.
  template <class Bits>
  void EncodeBelow(size_t leaf, int threshold, Bits* bits) {
    int low = 0;
    const Path path = PathOf(leaf);
    for (size_t depth = path.length; depth-- > 0;) {
      Node& node = nodes_[path.nodes[depth]];
      node.RaiseTo(low);
      while (node.low() < threshold && !node.known()) {
        if (node.low() < node.value) {
          bits->Put(0);
          node.RaiseTo(node.low() + 1);
        } else {
          bits->Put(1);
          node.SetKnown();
        }
      }
      low = node.low();
    }
  }

 private:
  struct Node {
    int low() const { return state >> 1; }
    bool known() const { return (state & 1) != 0; }
    void RaiseTo(int low) { state = std::max(state, low * 2); }
    void SetKnown() { state |= 1; }

    int32_t value = 0;  // to encode
    int32_t state = 0;  // twice the lower bound that is known, plus 1 if it is the value
  };
  // The nodes from a leaf to the root.
  struct Path {
    size_t length;
    size_t nodes[32];
  };

  Path PathOf(size_t leaf) const {
    Path path;
    path.length = 1;
    path.nodes[0] = leaf;
    size_t across = width_, down = height_, first = 0;
    size_t x = leaf % across, y = leaf / across;
    while (across * down > 1) {
      first += across * down;
      across = (across + 1) / 2;
      down = (down + 1) / 2;
      x /= 2;
      y /= 2;
      path.nodes[path.length++] = first + y * across + x;
    }
    return path;
  }

  uint32_t width_ = 0, height_ = 0;
  std::vector<Node> nodes_;
};

}  // namespace zepcodec::jpeg2000

#endif  // ZEPJP_CODECS_JPEG2000_TAG_TREE_H_
