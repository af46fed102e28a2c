// SPDX-License-Identifier: MIT
#include "codecs/jpeg2000/tag_tree.h"

#include <algorithm>
#include <limits>

namespace zepcodec::jpeg2000 {

TagTree::TagTree(int width, int height)
    : width_(static_cast<uint32_t>(width)), height_(static_cast<uint32_t>(height)) {
  size_t across = width_, down = height_;
  size_t count = across * down;
  while (across * down > 1) {
    across = (across + 1) / 2;
    down = (down + 1) / 2;
    count += across * down;
  }
  nodes_.resize(count);
}

void TagTree::Prepare() {
  const size_t leaves = size_t{width_} * height_;
  for (size_t i = 0; i < nodes_.size(); ++i) {
    nodes_[i].state = 0;
    if (i >= leaves) nodes_[i].value = std::numeric_limits<int32_t>::max();
  }
  for (size_t leaf = 0; leaf < leaves; ++leaf) {
    const Path path = PathOf(leaf);
    for (size_t depth = 1; depth < path.length; ++depth) {
      int32_t& value = nodes_[path.nodes[depth]].value;
      value = std::min(value, nodes_[leaf].value);
    }
  }
}

}  // namespace zepcodec::jpeg2000
