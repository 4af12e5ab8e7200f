// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <deque>

#include "common/FlatMap.h"

namespace Tolvek {

/// What a back-off model knows of one context.
struct NgramNode {
  double bow = 0;              ///< log10 of the context's back-off weight
  FlatMap<int, double> probs;  ///< word index to log10 P(word | context)
};

/// The contexts of a back-off model. A context is reached by the path of its word indices, most
/// recent word first: the node of (a, b) is found by the path b, a. The root holds the unigrams.
///
/// Example: the bigram "a b" is an entry for b in the node of the path (a); its back-off weight is
/// the `bow` of the node of the path (b, a).
class NgramTrie {
 public:
  /// The node of the path `keys` (ended by `Vocab_None`), made, with those above it, if missing.
  /// Never null; the pointer stays valid as long as the trie.
  NgramNode* findTrie(const int* keys);

  const NgramNode& Root() const { return _nodes.front(); }

  /// Steps down without making nodes: the number of the child of node `parent` (the root is 0) for
  /// one more, older, word; -1 when there is none.
  int Child(int parent, int key) const;
  const NgramNode& Node(int number) const { return _nodes[static_cast<std::size_t>(number)]; }

  /// Calls `visit(int word, const NgramNode&)` for the contexts of one word.
  template <class Visit>
  void ForEachContextWord(Visit&& visit) const {
    for (const auto& [edge, child] : _edges) {
      if (edge >> 32U == 0) visit(static_cast<int>(edge & 0xFFFFFFFFU), Node(child));
    }
  }

 private:
  static std::uint64_t EdgeKey(int parent, int key) {
    return static_cast<std::uint64_t>(static_cast<std::uint32_t>(parent)) << 32U |
           static_cast<std::uint32_t>(key);
  }

  std::deque<NgramNode> _nodes =
      std::deque<NgramNode>(1);        ///< [0] is the root; elements of a deque stay put
  FlatMap<std::uint64_t, int> _edges;  ///< (parent, word) to child
};

}  // namespace Tolvek
