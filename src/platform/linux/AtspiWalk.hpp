#pragma once

#include <cstddef>
#include <vector>

namespace tallyfox::linux_os {

/// The first `limit` descendants of `root` in the order of the bounded depth-first walk: the last child first at every
/// level, the root itself not counted. `childrenOf(node)` gives a range of nodes; where a node's children are not known
/// yet it gives none, so that on a partly known tree a node's place is the first that it can have: nodes beyond the
/// limit are beyond it in the whole tree too.
template <typename Node, typename ChildrenOf>
[[nodiscard]] std::vector<Node> boundedWalk(const Node& root, std::size_t limit, ChildrenOf&& childrenOf) {
  std::vector<Node> order;
  std::vector<Node> stack = childrenOf(root);
  while (!stack.empty() && order.size() < limit) {
    order.push_back(stack.back());
    stack.pop_back();
    for (const Node& child : childrenOf(order.back()))
      stack.push_back(child);
  }
  return order;
}

}  // namespace tallyfox::linux_os
