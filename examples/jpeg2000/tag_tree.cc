// SPDX-License-Identifier: MIT
#include "jpeg2000/tag_tree.h"

#include <algorithm>

namespace jpeg2000 {

TagTree::TagTree(int width, int height) {
  size_t across = static_cast<size_t>(width);
  size_t down = static_cast<size_t>(height);
  size_t first = 0;
  while (across * down > 0) {
    const size_t next = first + across * down;
    const bool is_root = across * down == 1;
    const size_t parents_across = (across + 1) / 2;
    for (size_t i = first; i < next; ++i) {
      const size_t x = (i - first) % across;
      const size_t y = (i - first) / across;
      nodes_.push_back({is_root ? kRoot : next + y / 2 * parents_across + x / 2, 0, 0, false});
    }
    if (is_root) break;
    first = next;
    across = parents_across;
    down = (down + 1) / 2;
  }
}

void TagTree::Prepare() {
  std::vector<bool> has_value(nodes_.size(), false);
  for (size_t i = 0; i < nodes_.size(); ++i) {
    Node& node = nodes_[i];
    node.low = 0;
    node.known = false;
    if (node.parent == kRoot) continue;
    Node& parent = nodes_[node.parent];
    parent.value = has_value[node.parent] ? std::min(parent.value, node.value) : node.value;
    has_value[node.parent] = true;
  }
}

}  // namespace jpeg2000
