// SPDX-License-Identifier: Apache-2.0
#include "model/NgramTrie.h"

#include "model/Vocab.h"

namespace Tolvek {

NgramNode* NgramTrie::findTrie(const int* keys) {
  int node = 0;
  for (; *keys != Vocab_None; ++keys) {
    const auto [edge, inserted] =
        _edges.insert({EdgeKey(node, *keys), static_cast<int>(_nodes.size())});
    if (inserted) _nodes.emplace_back();
    node = edge->second;
  }
  return &_nodes[static_cast<std::size_t>(node)];
}

int NgramTrie::Child(int parent, int key) const {
  const auto edge = _edges.find(EdgeKey(parent, key));
  return edge == _edges.end() ? -1 : edge->second;
}

}  // namespace Tolvek
